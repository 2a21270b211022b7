// How fast passwords may be tried: the more attempts have failed on an account, or very many more
// from an address, the longer the next one waits before it is looked at. Of an IPv6 address its /64
// counts, which is one client's. Nobody can lock an account's owner out: the wait has a longest.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "server/accounts/limits.h"
#include "server/desk/moment.h"

namespace accounts {

struct failures {
    std::size_t count = 0;
    desk::monotonic last{};
};

struct attempts {
    std::map<std::string, failures, std::less<>>
        on_account; // by the name given, that of nobody too
    std::map<std::string, failures, std::less<>> from_address; // by the client's, or its network
    std::set<std::pair<std::string, std::string>> under_way;   // address, account
};

// How long the attempt must wait. None: refused, as one on this account from this address is under
// way, or too many from this address are; it may be tried again in a second.
std::optional<desk::monotonic> begin_attempt(attempts& attempts, desk::monotonic now,
                                             const std::string& account,
                                             const std::string& address);

// Each that has begun ends, also when its client has gone.
void end_attempt(attempts& attempts, desk::monotonic now, const std::string& account,
                 const std::string& address, bool succeeded);

} // namespace accounts
