#include "server/accounts/tokens.h"

#include <algorithm>

#include "server/desk/words.h"

namespace accounts {

namespace {
bool may_manage(const desk::actor& actor, const std::string& person)
{
    return is_administrator(actor) || actor.person == person;
}

desk::rights at_most(desk::rights may, desk::right most)
{
    may.usual = std::min(may.usual, most);
    for (auto& [router, right] : may.exceptions)
        right = std::min(right, most);
    return may;
}
desk::right highest(const desk::rights& may)
{
    desk::right highest = may.usual;
    for (const auto& [router, right] : may.exceptions)
        highest = std::max(highest, right);
    return highest;
}
} // namespace

objection make_token(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                     const token& wanted, desk::ulid& id, std::string& secret)
{
    if (!may_manage(actor, wanted.person))
        return {refusal::no_right, "tokens of others are made by administrators"};
    if (wanted.most > highest(actor.may)) // who acts by a token gets no more out of another one
        return {refusal::no_right,
                actor.person + " may not give the right to " + desk::text_of(wanted.most)};
    if (find_person(accounts, wanted.person) == nullptr)
        return {refusal::no_such_person, "there is no person " + desk::cut_text(wanted.person)};
    if (wanted.name.empty()) return {refusal::bad_value, "a token needs a name"};
    if (accounts.tokens.size() >= TOKENS)
        return {refusal::too_many, "there are as many tokens as there can be"};
    token made = wanted;
    made.name = desk::cut_text(wanted.name);
    made.created = now.utc;
    secret = new_secret();
    hash_secret(secret, made.hash);
    id = make_id(accounts.ids, now.utc);
    accounts.tokens[id] = std::move(made);
    tell(accounts, now, actor, event::kind::token_made, text_of(id));
    return {};
}

objection remove_token(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
                       const desk::ulid& id)
{
    const auto found = accounts.tokens.find(id);
    // Whoever may not remove it learns no more than that.
    if (found == accounts.tokens.end() || !may_manage(actor, found->second.person))
        return {refusal::no_such_token, "there is no token " + text_of(id) + " of " + actor.person};
    // In this order: the id may be the key that goes.
    tell(accounts, now, actor, event::kind::token_removed, text_of(id));
    accounts.tokens.erase(found);
    return {};
}

bool actor_of_token(const accounts_state& accounts, std::string_view secret, token_kind kind,
                    desk::actor& actor)
{
    secret_hash hash{};
    if (!hash_secret(secret, hash)) return false;
    const auto found =
        std::find_if(accounts.tokens.begin(), accounts.tokens.end(), [&](const auto& each) {
            return each.second.kind == kind && each.second.hash == hash;
        });
    if (found == accounts.tokens.end()) return false;
    const token& token = found->second;
    const person& person = *find_person(accounts, token.person);
    if (person.disabled) return false;
    actor = {token.person, "token " + token.name, at_most(person.may, token.most)};
    return true;
}

} // namespace accounts
