// Signing in and out.
#include "server/accounts/people.h"
#include "server/accounts/sessions.h"
#include "server/web/credentials.h"
#include "server/web/fields.h"
#include "server/web/forgotten.h"
#include "server/web/handlers.h"
#include "server/web/passwords.h"
#include "server/web/people_json.h"

namespace web {

namespace {
const problem WRONG_PASSWORD = {"wrongPassword", "The name or the password is wrong."};

// The session that the request comes from; null when it comes from none.
const accounts::session* session_of(const server& server, const request& request)
{
    if (find_header(request, "authorization") != nullptr) return nullptr;
    return accounts::find_session(server.accounts, session_secret(server, request));
}

// Of a person who may: the session begins with the answer.
response signed_in(server& server, const desk::moment& now, const std::string& id,
                   const std::string& address)
{
    const std::string secret = accounts::open_session(server.accounts, now, id, address);
    if (secret.empty()) return problem_response(WRONG_PASSWORD);
    desk::actor actor;
    accounts::actor_of_session(server.accounts, now, secret, actor);
    response given = json_response(session_json(
        server, actor, accounts::end_of(*accounts::find_session(server.accounts, secret))));
    given.headers.emplace_back("Set-Cookie", session_cookie(server, secret));
    return given;
}

// An id that tells the name: "Ana K." is ana-k. Letters beyond ASCII become their bytes' digits.
std::string id_of_name(const std::string& name)
{
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string id;
    for (const char letter : accounts::typed_id(name)) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte >= 0x80) {
            id += DIGITS[byte / 16];
            id += DIGITS[byte % 16];
        } else if ((letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9')) {
            id += letter;
        } else if (!id.empty() && id.back() != '-') {
            id += '-';
        }
    }
    id.resize(std::min(id.size(), accounts::PERSON_ID_LENGTH));
    while (id.ends_with('-'))
        id.pop_back();
    return id == "me" ? "me-" : id;
}

answer sign_in_by_name(server& server, const call& call, const std::string& name)
{
    const std::string id = id_of_name(name);
    if (id.empty())
        return problem_of({{"/person", "badValue", "person must have a letter or a digit"}});
    const accounts::objection against = accounts::admit(server.accounts, call.now, id, name);
    if (against.why != accounts::refusal::none) return problem_of(against);
    return signed_in(server, call.now, id, call.request.address);
}

answer sign_in_by_password(server& server, const call& call, const std::string& typed,
                           const std::string& password)
{
    const auto check =
        begin_check(server, call.now, accounts::typed_id(typed), call.request.address, password);
    if (!check) return too_many_attempts();
    answer held;
    held.until = call.now.steady + LONGEST_PASSWORD_CHECK;
    held.later = [check = *check, until = held.until](
                     web::server& those, const desk::moment& now) -> std::optional<response> {
        const std::optional<bool> right = is_right(those, now, check);
        if (!right && now.steady < until) return std::nullopt;
        if (!right) {
            drop_check(those, now, check);
            return problem_response(password_overload());
        }
        if (*right) return signed_in(those, now, check.account, check.address);
        accounts::tell_failed_sign_in(those.accounts, now, check.account, check.address);
        return problem_response(WRONG_PASSWORD);
    };
    held.abandoned = [check = *check](web::server& those, const desk::moment& now) {
        drop_check(those, now, check);
    };
    return held;
}

response first_administrator(server& server, const desk::moment& now, const std::string& id,
                             const accounts::person& wanted, const std::string& address)
{
    const desk::actor first{id, "panel", wanted.may};
    accounts::objection against = accounts::set_person(server.accounts, now, first, id, wanted);
    if (against.why == accounts::refusal::none)
        against = accounts::set_password(server.accounts, now, first, id, wanted.password);
    if (against.why != accounts::refusal::none) return problem_response(problem_of(against));
    server.first_code.clear();
    forget_person(server, now, first, id);
    return signed_in(server, now, id, address);
}
} // namespace

answer make_first_administrator(server& server, const call& call)
{
    const problem not_first = {"notFirst",
                               "There are people already. An administrator can add you."};
    std::vector<problem_at> wrong;
    fields body = fields_of(call.body, "", wrong);
    for (const char* const name : {"code", "id", "name", "password"})
        require(body, name);
    const std::string code = read_text(body, "code", 64, 1).value_or("");
    const std::string id = read_text(body, "id").value_or("");
    const std::string password = read_secret(body, "password", SIZE_MAX).value_or("");
    accounts::person wanted;
    wanted.name = read_text(body, "name", 255, 1).value_or("");
    wanted.may.usual = desk::right::administer;
    finish(body);
    if (wrong.empty() && !accounts::is_person_id(id))
        complain(body, "id", accounts::PERSON_ID_RULE);
    const std::string complaint = accounts::password_complaint(password);
    if (wrong.empty() && !complaint.empty()) complain(body, "password", complaint);
    if (!wrong.empty()) return problem_of(wrong);
    if (server.first_code.empty()) return not_first;
    if (!accounts::same_secret(accounts::hash_code(server.first_code), accounts::hash_code(code)))
        return problem_of({{"/code", "badValue", "The code is another one."}});
    return after_hashing(server, call, password,
                         [=, address = call.request.address](
                             web::server& those, const desk::moment& now, const std::string& hash) {
                             if (those.first_code.empty()) return problem_response(not_first);
                             accounts::person made = wanted;
                             made.password = hash;
                             return first_administrator(those, now, id, made, address);
                         });
}

answer sign_in(server& server, const call& call)
{
    std::vector<problem_at> wrong;
    fields body = fields_of(call.body, "", wrong);
    require(body, "person");
    const std::string person = read_text(body, "person", 255, 1).value_or("");
    const std::string password =
        read_secret(body, "password", accounts::LONGEST_PASSWORD).value_or("");
    finish(body);
    if (!wrong.empty()) return problem_of(wrong);
    if (server.settings.demonstration) return sign_in_by_name(server, call, person);
    return sign_in_by_password(server, call, person, password);
}

answer get_session(server& server, const call& call)
{
    std::optional<desk::wall> expires;
    if (const accounts::session* const session = session_of(server, call.request))
        expires = accounts::end_of(*session);
    else if (const auto token = server.accounts.tokens.find(call.actor.person);
             token != server.accounts.tokens.end())
        expires = token->second.expires;
    return json_response(session_json(server, call.actor, expires));
}

answer sign_out(server& server, const call& call)
{
    if (session_of(server, call.request) != nullptr)
        accounts::end_session(server.accounts, call.now, session_secret(server, call.request));
    return response{204, "", "", {{"Set-Cookie", session_cookie(server, "")}}};
}

} // namespace web
