// Accounts with an administrator, an operator and somebody who may only look.
#pragma once

#include <gmock/gmock.h>

#include "server/accounts/people.h"
#include "server/accounts/sessions.h"
#include "server/accounts/tokens.h"

namespace accounts {

class AccountsTest : public testing::Test {
  protected:
    accounts_state accounts;
    desk::moment now{desk::monotonic(5'000'000), desk::wall(1'000'000'000)};
    desk::actor eve{"eve", "test", {desk::right::administer, {}, {}}};
    desk::actor anna{"anna", "test", {desk::right::operate, {}, {}}};
    desk::actor guest{"guest", "test", {desk::right::view, {}, {}}};

    AccountsTest()
    {
        begin_secrets();
        for (const desk::actor& each : {eve, anna, guest}) {
            person person;
            person.name = "The " + each.person;
            person.password = "hash of " + each.person;
            person.may = each.may;
            person.created = now.utc;
            accounts.people[each.person] = person;
        }
    }

    // What was told since the last call.
    std::vector<event::kind> told()
    {
        std::vector<event::kind> kinds;
        for (const event& each : accounts.events)
            kinds.push_back(each.what);
        accounts.events.clear();
        return kinds;
    }

    void advance(desk::wall time)
    {
        now.utc += time;
        now.steady += time;
    }
};

} // namespace accounts
