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
    accounts.events.push_back({now.utc, actor.person, actor.origin, what, subject});
}

} // namespace accounts
