#include "server/accounts/attempts.h"

#include <algorithm>

namespace accounts {

namespace {
using tallies = std::map<std::string, failures, std::less<>>;

std::size_t failures_of(const tallies& all, const std::string& whose, desk::monotonic now)
{
    const auto found = all.find(whose);
    if (found == all.end() || now - found->second.last > FAILURES_COUNT) return 0;
    return found->second.count;
}

desk::monotonic wait_after(std::size_t failures)
{
    desk::monotonic wait{};
    for (std::size_t i = FAILURES_WITHOUT_WAIT; i <= failures && wait < LONGEST_WAIT; ++i)
        wait = wait == desk::monotonic{} ? desk::monotonic(FIRST_WAIT) : 2 * wait;
    return std::min<desk::monotonic>(wait, LONGEST_WAIT);
}

void count_failure(tallies& all, const std::string& whose, desk::monotonic now)
{
    const std::size_t before = failures_of(all, whose, now);
    all[whose] = {before + 1, now};
    if (all.size() > FAILURES_KEPT)
        all.erase(std::min_element(all.begin(), all.end(), [](const auto& one, const auto& other) {
            return one.second.last < other.second.last;
        }));
}

bool too_many_under_way(const attempts& attempts, const std::string& address)
{
    std::size_t count = 0;
    for (auto each = attempts.under_way.lower_bound({address, ""});
         each != attempts.under_way.end() && each->first == address; ++each)
        ++count;
    return count >= ATTEMPTS_AT_ONCE_BY_ADDRESS;
}
} // namespace

std::optional<desk::monotonic> begin_attempt(attempts& attempts, desk::monotonic now,
                                             const std::string& account, const std::string& address)
{
    if (too_many_under_way(attempts, address) ||
        !attempts.under_way.insert({address, account}).second)
        return std::nullopt;
    return wait_after(std::max(failures_of(attempts.on_account, account, now),
                               failures_of(attempts.from_address, address, now)));
}

void end_attempt(attempts& attempts, desk::monotonic now, const std::string& account,
                 const std::string& address, bool succeeded)
{
    attempts.under_way.erase({address, account});
    if (succeeded) {
        attempts.on_account.erase(account);
        return; // the address keeps its failures: on other accounts, they may have been attacks
    }
    count_failure(attempts.on_account, account, now);
    count_failure(attempts.from_address, address, now);
}

} // namespace accounts
