#include "server/accounts/sessions.h"

#include <algorithm>

namespace accounts {

namespace {
using session_place = std::map<secret_hash, session>::iterator;

bool is_over(const session& session, const desk::moment& now)
{
    return now.utc > end_of(session);
}

void saw(accounts_state& accounts, const session& session)
{
    desk::wall& seen = accounts.people.find(session.person)->second.seen;
    seen = std::max(seen, session.used);
}

session_place end(accounts_state& accounts, const desk::moment& now, session_place session)
{
    saw(accounts, session->second);
    tell(accounts, now, {session->second.person, session->second.address, {}},
         event::kind::session_ended, text_of(session->first));
    return accounts.sessions.erase(session);
}

template <typename Condition>
void end_where(accounts_state& accounts, const desk::moment& now, const Condition& condition)
{
    for (auto session = accounts.sessions.begin(); session != accounts.sessions.end();)
        session = condition(session->second) ? end(accounts, now, session) : std::next(session);
}

session_place place_of(accounts_state& accounts, std::string_view secret)
{
    secret_hash hash{};
    return hash_secret(secret, hash) ? accounts.sessions.find(hash) : accounts.sessions.end();
}

void make_room(accounts_state& accounts, const desk::moment& now, const std::string& id)
{
    std::size_t count = 0;
    auto idlest = accounts.sessions.end();
    for (auto each = accounts.sessions.begin(); each != accounts.sessions.end(); ++each) {
        if (each->second.person != id) continue;
        ++count;
        if (idlest == accounts.sessions.end() || each->second.used < idlest->second.used)
            idlest = each;
    }
    if (count >= SESSIONS_PER_PERSON) end(accounts, now, idlest);
}
} // namespace

std::string open_session(accounts_state& accounts, const desk::moment& now, const std::string& id,
                         const std::string& address)
{
    const person* const person = find_person(accounts, id);
    if (person == nullptr || person->disabled) return "";
    make_room(accounts, now, id);
    std::string secret = new_secret();
    secret_hash hash{};
    hash_secret(secret, hash);
    accounts.sessions[hash] = {id, address, now.utc, now.utc, now.utc};
    saw(accounts, accounts.sessions[hash]);
    tell(accounts, now, {id, address, {}}, event::kind::signed_in, text_of(hash));
    return secret;
}

void tell_failed_sign_in(accounts_state& accounts, const desk::moment& now, const std::string& id,
                         const std::string& address)
{
    tell(accounts, now, {id, address, {}}, event::kind::sign_in_failed, id);
}

const session* find_session(const accounts_state& accounts, std::string_view secret)
{
    secret_hash hash{};
    if (!hash_secret(secret, hash)) return nullptr;
    const auto found = accounts.sessions.find(hash);
    return found == accounts.sessions.end() ? nullptr : &found->second;
}

std::map<std::string, desk::wall, std::less<>> last_uses(const accounts_state& accounts)
{
    std::map<std::string, desk::wall, std::less<>> uses;
    for (const auto& [id, person] : accounts.people)
        if (person.seen > desk::wall{}) uses[id] = person.seen;
    for (const auto& [hash, session] : accounts.sessions) {
        desk::wall& last = uses[session.person];
        last = std::max(last, session.used);
    }
    return uses;
}

desk::wall end_of(const session& session)
{
    return std::min<desk::wall>(session.used + SESSION_IDLE, session.begun + SESSION_LIFE);
}

bool actor_of_session(accounts_state& accounts, const desk::moment& now, std::string_view secret,
                      desk::actor& actor)
{
    const auto found = place_of(accounts, secret);
    if (found == accounts.sessions.end()) return false;
    session& session = found->second;
    if (is_over(session, now)) {
        end(accounts, now, found);
        return false;
    }
    session.used = std::max(session.used, now.utc);
    actor = {session.person, "panel", find_person(accounts, session.person)->may};
    if (session.used - session.use_told >= SESSION_USE_KEPT) {
        session.use_told = session.used;
        saw(accounts, session);
        tell(accounts, now, actor, event::kind::session_used, text_of(found->first));
    }
    return true;
}

void end_session(accounts_state& accounts, const desk::moment& now, std::string_view secret)
{
    const auto found = place_of(accounts, secret);
    if (found != accounts.sessions.end()) end(accounts, now, found);
}

void end_sessions(accounts_state& accounts, const desk::moment& now, const std::string& id)
{
    end_where(accounts, now, [&](const session& session) { return session.person == id; });
}

void end_old_sessions(accounts_state& accounts, const desk::moment& now)
{
    end_where(accounts, now, [&](const session& session) { return is_over(session, now); });
}

} // namespace accounts
