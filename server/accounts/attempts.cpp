#include "server/accounts/attempts.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdint>
#include <iterator>

namespace accounts {

namespace {
using tallies = std::map<std::string, failures, std::less<>>;

std::size_t failures_of(const tallies& all, const std::string& whose, desk::monotonic now)
{
    const auto found = all.find(whose);
    if (found == all.end() || now - found->second.last > FAILURES_COUNT) return 0;
    return found->second.count;
}

// "2001:db8:0:7::/64" of an IPv6 address, whose clients choose the rest of it themselves.
std::string network_of(const std::string& address)
{
    in6_addr bytes{};
    if (inet_pton(AF_INET6, address.c_str(), &bytes) != 1) return address;
    std::fill(std::begin(bytes.s6_addr) + 8, std::end(bytes.s6_addr), std::uint8_t{0});
    char text[INET6_ADDRSTRLEN];
    return std::string(inet_ntop(AF_INET6, &bytes, text, sizeof text)) + "/64";
}

desk::monotonic wait_after(std::size_t failures, std::size_t without_wait)
{
    desk::monotonic wait{};
    for (std::size_t i = without_wait; i <= failures && wait < LONGEST_WAIT; ++i)
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
    const std::string network = network_of(address);
    if (too_many_under_way(attempts, network) ||
        !attempts.under_way.insert({network, account}).second)
        return std::nullopt;
    return std::max(
        wait_after(failures_of(attempts.on_account, account, now), FAILURES_WITHOUT_WAIT),
        wait_after(failures_of(attempts.from_address, network, now), FAILURES_OF_ADDRESS));
}

void end_attempt(attempts& attempts, desk::monotonic now, const std::string& account,
                 const std::string& address, bool succeeded)
{
    const std::string network = network_of(address);
    attempts.under_way.erase({network, account});
    if (succeeded) {
        attempts.on_account.erase(account);
        return; // the address keeps its failures: on other accounts, they may have been attacks
    }
    count_failure(attempts.on_account, account, now);
    count_failure(attempts.from_address, network, now);
}

} // namespace accounts
