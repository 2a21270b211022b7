#include <gtest/gtest.h>

#include "soak/random_parent.h"

using namespace soak;

namespace {
constexpr us_time_t SECOND = 1'000'000;
constexpr us_time_t START = 1'000 * SECOND;

class RandomParent : public testing::Test {
  protected:
    parent_link::backend_link backend;
    reply_ledger replies;
    route_ledger routes = make_route_ledger(64, START);
    random_parent parent;
    us_time_t now = START;
    bool router_takes = true;

    parent_tools tools()
    {
        return {backend, replies, routes};
    }
    // Acts a hundred times a second; every command is answered at once.
    void act_for(us_time_t time, bool link_up = true)
    {
        for (const us_time_t end = now + time; now < end; now += SECOND / 100) {
            act(parent, tools(), link_up, now);
            answer_all();
            if (router_takes) note_take(parent, parent.take.output, parent.take.input);
            EXPECT_EQ(judge_proofs(parent, routes, now), "");
        }
    }
    void answer_all()
    {
        for (const auto& [id, reply] : replies.open)
            note_proof_reply(parent, id, now);
        replies.replied += replies.open.size();
        replies.open.clear();
    }
    // Goes on to the beginning of the next calm phase.
    void become_calm()
    {
        while (parent.calm)
            act_for(SECOND / 100);
        while (!parent.calm)
            act_for(SECOND / 100);
    }
};
} // namespace

TEST_F(RandomParent, BusyAndCalmPhasesFollowEachOther)
{
    act_for(SECOND);
    EXPECT_FALSE(parent.calm);
    EXPECT_GT(replies.sent, 5U);
    become_calm();
    const std::uint64_t sent = replies.sent;
    act_for(5 * SECOND);
    EXPECT_TRUE(parent.calm);
    EXPECT_LT(replies.sent - sent, 40U);
}

TEST_F(RandomParent, ReadingPausesAndComesBack)
{
    int pauses = 0;
    for (int i = 0; i < 20; ++i) {
        become_calm();
        EXPECT_TRUE(backend.reads_output);
        act_for(12 * SECOND);
        pauses += backend.reads_output ? 0 : 1;
    }
    EXPECT_GT(pauses, 0);
    backend.reads_output = false;
    stop_acting(parent, tools(), now);
    EXPECT_TRUE(backend.reads_output);
}

TEST_F(RandomParent, UndisturbedQueryCounts)
{
    become_calm();
    act_for(3 * SECOND);
    EXPECT_EQ(parent.proved_queries, 1U);
}

TEST_F(RandomParent, DisturbedQueryDoesNotCount)
{
    become_calm();
    act_for(SECOND);
    EXPECT_NE(parent.query.id, "");
    note_disturbance(routes, now);
    act_for(3 * SECOND);
    EXPECT_EQ(parent.query.id, "");
    EXPECT_EQ(parent.proved_queries, 0U);
}

TEST_F(RandomParent, OneQueryAtATime)
{
    send_proof_query(parent, tools(), now);
    const std::string id = parent.query.id;
    send_proof_query(parent, tools(), now);
    EXPECT_EQ(parent.query.id, id);
    EXPECT_EQ(replies.sent, 1U);
}

TEST_F(RandomParent, TakeThatTheRouterMakesIsProved)
{
    become_calm();
    act_for(8 * SECOND);
    ASSERT_GE(parent.take.output, 0);
    act_for(4 * SECOND);
    EXPECT_EQ(parent.take.output, -1);
    EXPECT_EQ(parent.proved_takes, 1U);
}

TEST_F(RandomParent, TakeThatStaysAwayIsAFinding)
{
    router_takes = false;
    become_calm();
    act_for(8 * SECOND);
    const proof_take take = parent.take;
    note_take(parent, take.output, take.input + 1);
    EXPECT_EQ(judge_proofs(parent, routes, take.sent + 5 * SECOND),
              "a take did not reach the router: output " + std::to_string(take.output) + " input " +
                  std::to_string(take.input));
    EXPECT_EQ(judge_proofs(parent, routes, take.sent + 5 * SECOND), "");
}

TEST_F(RandomParent, DisturbedTakeProvesNothing)
{
    become_calm();
    act_for(8 * SECOND);
    ASSERT_GE(parent.take.output, 0);
    note_disturbance(routes, now);
    EXPECT_EQ(judge_proofs(parent, routes, now + 5 * SECOND), "");
    EXPECT_EQ(parent.proved_takes, 0U);
}

TEST_F(RandomParent, NothingIsTakenWithoutTheRouter)
{
    become_calm();
    act_for(8 * SECOND, false);
    EXPECT_EQ(parent.take.output, -1);
}
