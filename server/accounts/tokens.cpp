#include "server/accounts/tokens.h"

#include <algorithm>

#include "server/accounts/people.h"
#include "server/desk/words.h"

namespace accounts {

namespace {
constexpr std::string_view SECRET_BEGINS = "rc_";

objection no_right(const desk::actor& actor)
{
    return {refusal::no_right, actor.person + " is no administrator."};
}
} // namespace

objection make_token(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                     const std::string& id, const token& wanted, std::string& secret)
{
    if (!is_administrator(actor)) return no_right(actor);
    objection against = complaint_about(accounts, id, wanted.name, wanted.may);
    if (against.why != refusal::none) return against;
    if (accounts.tokens.size() >= TOKENS)
        return {refusal::too_many, "There are as many tokens as there can be."};
    token made{desk::cut_text(wanted.name), wanted.kind, wanted.may, {}, now.utc, wanted.expires};
    secret = new_secret();
    hash_secret(secret, made.hash);
    secret.insert(0, SECRET_BEGINS);
    accounts.tokens[id] = std::move(made);
    tell(accounts, now, actor, event::kind::token_made, id);
    return {};
}

objection remove_token(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                       const std::string& id)
{
    if (!is_administrator(actor)) return no_right(actor);
    const auto found = accounts.tokens.find(id);
    if (found == accounts.tokens.end())
        return {refusal::no_such_token, "There is no token " + desk::cut_text(id) + "."};
    // In this order: the id may be the key that goes.
    tell(accounts, now, actor, event::kind::token_removed, id);
    accounts.tokens.erase(found);
    return {};
}

bool actor_of_token(accounts_state& accounts, const desk::moment& now, std::string_view secret,
                    token_kind kind, desk::actor& actor)
{
    secret_hash hash{};
    if (!secret.starts_with(SECRET_BEGINS) ||
        !hash_secret(secret.substr(SECRET_BEGINS.size()), hash))
        return false;
    const auto found =
        std::find_if(accounts.tokens.begin(), accounts.tokens.end(), [&](const auto& each) {
            return each.second.kind == kind && each.second.hash == hash;
        });
    if (found == accounts.tokens.end()) return false;
    token& token = found->second;
    if (token.expires && now.utc >= *token.expires) return false;
    token.used = std::max(token.used, now.utc);
    actor = {found->first, "api", token.may};
    if (token.used - token.use_told < SESSION_USE_KEPT) return true;
    token.use_told = token.used;
    tell(accounts, now, actor, event::kind::token_used, found->first);
    return true;
}

} // namespace accounts
