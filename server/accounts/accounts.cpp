#include "server/accounts/accounts.h"

namespace accounts {

const person* find_person(const accounts_state& accounts, std::string_view id)
{
    const auto found = accounts.people.find(id);
    return found == accounts.people.end() ? nullptr : &found->second;
}

bool is_administrator(const desk::actor& actor)
{
    return actor.may.usual == desk::right::administer;
}

void tell(accounts_state& accounts, const desk::moment& now, const desk::actor& actor,
          event::kind what, const std::string& subject)
{
    if (what == event::kind::person_set || what == event::kind::person_removed ||
        what == event::kind::token_made || what == event::kind::token_removed)
        ++accounts.people_set;
    const bool is_use = what == event::kind::signed_in || what == event::kind::sign_in_failed ||
                        what == event::kind::session_used;
    if (!is_use) ++accounts.changes;
    accounts.events.push_back({now.utc, actor.person, actor.origin, what, subject});
}

} // namespace accounts
