#include "server/accounts/sessions.h"

#include <algorithm>

namespace accounts {

namespace {
using session_place = std::map<secret_hash, session>::iterator;

bool is_over(const session& session, const desk::moment& now)
{
    return now.utc - session.used > SESSION_IDLE || now.utc - session.begun > SESSION_LIFE;
}

session_place end(accounts_state& accounts, const desk::moment& now, session_place session)
{
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

session_place find_session(accounts_state& accounts, std::string_view secret)
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
    tell(accounts, now, {id, address, {}}, event::kind::signed_in, text_of(hash));
    return secret;
}

bool actor_of_session(accounts_state& accounts, const desk::moment& now, std::string_view secret,
                      desk::actor& actor)
{
    const auto found = find_session(accounts, secret);
    if (found == accounts.sessions.end()) return false;
    session& session = found->second;
    if (is_over(session, now)) {
        end(accounts, now, found);
        return false;
    }
    session.used = std::max(session.used, now.utc);
    actor = {session.person, session.address, find_person(accounts, session.person)->may};
    if (session.used - session.use_told >= SESSION_USE_KEPT) {
        session.use_told = session.used;
        tell(accounts, now, actor, event::kind::session_used, text_of(found->first));
    }
    return true;
}

void end_session(accounts_state& accounts, const desk::moment& now, std::string_view secret)
{
    const auto found = find_session(accounts, secret);
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
