#include <gtest/gtest.h>

#include "soak/reply_ledger.h"

using namespace soak;

namespace {
class ReplyLedger : public testing::Test {
  protected:
    reply_ledger ledger;

    void expect(const std::string& id, us_time_t now)
    {
        expect_reply(ledger, id, {"dance", "Unknown command dance", true, now});
    }
    std::string reply(const std::string& id, us_time_t now)
    {
        return enter_reply(ledger, {"dance", "Unknown command dance", "reply", id, {}}, now);
    }
};
} // namespace

TEST_F(ReplyLedger, RightReplyClosesTheCommand)
{
    expect("1", 100);
    EXPECT_TRUE(find_reply(ledger, "1")->reaches_router);
    EXPECT_EQ(reply("1", 350), "");
    EXPECT_EQ(find_reply(ledger, "1"), nullptr);
    EXPECT_EQ(ledger.longest_wait_us, 250U);
    EXPECT_EQ(ledger.sent, 1U);
    EXPECT_EQ(ledger.replied, 1U);
}

TEST_F(ReplyLedger, SecondReplyIsAFinding)
{
    expect("1", 0);
    reply("1", 1);
    EXPECT_EQ(reply("1", 2), "reply to nothing, or a second one: id 1, dance");
}

TEST_F(ReplyLedger, WrongTextIsAFinding)
{
    expect("1", 0);
    EXPECT_EQ(enter_reply(ledger, {"dance", "", "reply", "1", {}}, 1),
              "wrong reply to 1: command \"dance\" error \"\" in place of \"dance\" \"Unknown "
              "command dance\"");
    expect("2", 0);
    EXPECT_NE(enter_reply(ledger, {"", "Unknown command dance", "reply", "2", {}}, 1), "");
    expect("3", 0);
    EXPECT_NE(
        enter_reply(ledger, {"dance", "Unknown command dance", "reply", "3", {{"a", "b"}}}, 1), "");
}

TEST_F(ReplyLedger, ReplyThatStaysAwayIsAFindingOnce)
{
    expect("1", 100);
    EXPECT_EQ(find_overdue_reply(ledger, 100), "");
    EXPECT_EQ(find_overdue_reply(ledger, 100 + LONGEST_ALLOWED_WAIT_US), "");
    EXPECT_EQ(find_overdue_reply(ledger, 101 + LONGEST_ALLOWED_WAIT_US),
              "no reply within 15 s: id 1, dance Unknown command dance");
    EXPECT_EQ(find_overdue_reply(ledger, 102 + LONGEST_ALLOWED_WAIT_US), "");
}

TEST_F(ReplyLedger, OwnPauseDoesNotCount)
{
    expect("1", 100);
    restart_waits(ledger, 5000);
    EXPECT_EQ(reply("1", 5010), "");
    EXPECT_EQ(ledger.longest_wait_us, 10U);
}

TEST_F(ReplyLedger, WaitBeginsBehindTheCommandsBefore)
{
    for (const char* id : {"9", "10", "11"})
        expect(id, 100);
    EXPECT_EQ(find_overdue_reply(ledger, 100), "");
    reply("9", 100 + LONGEST_ALLOWED_WAIT_US);
    const us_time_t later = 101 + LONGEST_ALLOWED_WAIT_US;
    EXPECT_EQ(find_overdue_reply(ledger, later), "");
    reply("11", later + 1); // the one before it does not gain by that
    EXPECT_EQ(find_overdue_reply(ledger, later + LONGEST_ALLOWED_WAIT_US), "");
    EXPECT_EQ(find_overdue_reply(ledger, later + LONGEST_ALLOWED_WAIT_US + 1),
              "no reply within 15 s: id 10, dance Unknown command dance");
}
