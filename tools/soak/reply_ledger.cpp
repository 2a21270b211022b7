#include "soak/reply_ledger.h"

#include <algorithm>
#include <tuple>

namespace soak {

void expect_reply(reply_ledger& ledger, const std::string& id, const expected_reply& reply)
{
    ledger.open[id] = reply;
    ++ledger.sent;
}

const expected_reply* find_reply(const reply_ledger& ledger, const std::string& id)
{
    const auto found = ledger.open.find(id);
    return found == ledger.open.end() ? nullptr : &found->second;
}

std::string enter_reply(reply_ledger& ledger, const ParentRecord& reply, us_time_t now)
{
    const auto found = ledger.open.find(reply.id);
    if (found == ledger.open.end())
        return "reply to nothing, or a second one: id " + reply.id + ", " + reply.command;
    const expected_reply expected = found->second;
    ledger.open.erase(found);
    ++ledger.replied;
    ledger.longest_wait_us = std::max(ledger.longest_wait_us, now - expected.sent);
    if (reply.command == expected.command && reply.error == expected.error && reply.fields.empty())
        return "";
    return "wrong reply to " + reply.id + ": command \"" + reply.command + "\" error \"" +
           reply.error + "\" in place of \"" + expected.command + "\" \"" + expected.error + "\"";
}

void restart_waits(reply_ledger& ledger, us_time_t now)
{
    for (auto& [id, expected] : ledger.open)
        expected.sent = now;
}

std::string find_overdue_reply(reply_ledger& ledger, us_time_t now)
{
    const auto oldest = std::min_element(
        ledger.open.begin(), ledger.open.end(), [](const auto& left, const auto& right) {
            return std::tuple(left.second.sent, left.first.size(), left.first) <
                   std::tuple(right.second.sent, right.first.size(), right.first);
        });
    if (oldest == ledger.open.end()) return "";
    if (oldest->first != ledger.oldest) {
        ledger.oldest = oldest->first;
        ledger.oldest_since = now;
    }
    if (now - std::max(oldest->second.sent, ledger.oldest_since) <= LONGEST_ALLOWED_WAIT_US)
        return "";
    std::string text = "no reply within 15 s: id " + oldest->first + ", " + oldest->second.command +
                       " " + oldest->second.error;
    ledger.open.erase(oldest);
    return text;
}

} // namespace soak
