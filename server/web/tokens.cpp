#include "server/accounts/tokens.h"

#include "server/accounts/account_json.h"
#include "server/accounts/people.h"
#include "server/web/fields.h"
#include "server/web/forgotten.h"
#include "server/web/handlers.h"
#include "server/web/people_json.h"

namespace web {

namespace {
json token_record(const std::string& id, const accounts::token& token)
{
    json record = {{"id", id},
                   {"name", token.name},
                   {"kind", token.kind == accounts::token_kind::api ? "api" : "simple"},
                   {"rights", accounts::rights_object(token.may)},
                   {"created", time_text(token.created)}};
    if (token.expires) record["expires"] = time_text(*token.expires);
    if (token.used > desk::wall{}) record["lastUsed"] = time_text(token.used);
    return record;
}
} // namespace

answer list_tokens(server& server, const call& /*call*/)
{
    json tokens = json::array();
    for (const auto& [id, token] : server.accounts.tokens)
        tokens.push_back(token_record(id, token));
    return json_response({{"tokens", tokens}});
}

answer add_token(server& server, const call& call)
{
    std::vector<problem_at> wrong;
    fields body = fields_of(call.body, "", wrong);
    for (const char* const name : {"id", "name", "kind", "rights"})
        require(body, name);
    const std::string id = read_text(body, "id").value_or("");
    accounts::token wanted;
    wanted.name = read_text(body, "name", 255, 1).value_or("");
    wanted.kind =
        static_cast<accounts::token_kind>(read_word(body, "kind", {"api", "simple"}).value_or(0));
    if (const json* const rights = find_member(body, "rights"))
        wanted.may = read_rights(*rights, "/rights", wrong);
    wanted.expires = read_time(body, "expires");
    finish(body);
    if (wrong.empty() && !accounts::is_person_id(id))
        complain(body, "id", accounts::PERSON_ID_RULE);
    if (wrong.empty() && wanted.expires && *wanted.expires <= call.now.utc)
        complain(body, "expires", "expires must be in the future");
    if (!wrong.empty()) return problem_of(wrong);
    std::string secret;
    const accounts::objection against =
        accounts::make_token(server.accounts, call.now, call.actor, id, wanted, secret);
    if (against.why != accounts::refusal::none) return problem_of(against);
    forget_person(server, call.now, call.actor, id);
    json made = token_record(id, server.accounts.tokens.at(id));
    made["secret"] = secret;
    response given = json_response(made, 201);
    given.headers.emplace_back("Location", "/api/v1/tokens/" + id);
    return given;
}

answer remove_token(server& server, const call& call)
{
    const accounts::objection against =
        accounts::remove_token(server.accounts, call.now, call.actor, call.values.front());
    if (against.why != accounts::refusal::none) return problem_of(against);
    forget_person(server, call.now, call.actor, call.values.front());
    return response{204, "", "", {}};
}

} // namespace web
