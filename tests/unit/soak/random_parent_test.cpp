#include <gtest/gtest.h>

#include "soak/random_parent.h"

using namespace soak;

namespace {
constexpr us_time_t SECOND = 1'000'000;
constexpr us_time_t START = 1'000 * SECOND;

class RandomParent : public testing::Test {
  protected:
    parent_link::backend_link backend;
    ledgers books;
    random_parent parent;
    us_time_t now = START;
    bool follows_port = true; // connects to the other port when it is set
    bool reaches_router = true;

    void SetUp() override
    {
        books.routes = make_route_ledger(64, START);
        books.link.up = true;
    }
    // Acts a hundred times a second; every command is answered at once, every take made. The link
    // is down while another port is set, also where that is not why.
    void act_for(us_time_t time)
    {
        for (const us_time_t end = now + time; now < end; now += SECOND / 100) {
            act(parent, backend, books, now);
            books.link.up = reaches_router && parent.port_returns == 0;
            if (follows_port && parent.port_returns != 0) note_visit(parent, books, now);
            for (const auto& [id, reply] : books.replies.open)
                note_proof_reply(books.proofs, id, now);
            books.replies.open.clear();
            note_take_made(books.proofs, books.proofs.take.output, books.proofs.take.input);
            note_take_reported(books.proofs, books.proofs.take.output, books.proofs.take.input);
            EXPECT_EQ(judge_proofs(books.proofs, books.routes, now), "");
        }
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
    EXPECT_GT(books.replies.sent, 5U);
    become_calm();
    const std::uint64_t sent = books.replies.sent;
    act_for(5 * SECOND);
    EXPECT_TRUE(parent.calm);
    EXPECT_LT(books.replies.sent - sent, 40U);
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
    stop_acting(parent, backend, books, now);
    EXPECT_TRUE(backend.reads_output);
}

TEST_F(RandomParent, RepliesAreNotLateForItsOwnPause)
{
    backend.reads_output = false;
    parent.phase_ends = parent.next_command = now + 60 * SECOND;
    parent.reads_again = now + 20 * SECOND;
    expect_reply(books.replies, "x", {"dance", "", false, now});
    act(parent, backend, books, now + 20 * SECOND);
    EXPECT_EQ(find_overdue_reply(books.replies, now + 20 * SECOND), "");
    EXPECT_EQ(books.replies.open.at("x").sent, now + 20 * SECOND);
}

TEST_F(RandomParent, EverythingHappensOnceInTheLeastTime)
{
    for (const unsigned seed : {1U, 2U, 3U, 4U, 5U}) {
        parent = {};
        parent.random.seed(seed);
        books.proofs = {};
        act_for(LEAST_SECONDS * SECOND);
        EXPECT_GE(books.proofs.queries, 1U) << seed;
        EXPECT_GE(books.proofs.takes, 1U) << seed;
        EXPECT_GE(books.proofs.floods, 1U) << seed;
        EXPECT_GE(books.proofs.port_changes, 1U) << seed;
    }
}

TEST_F(RandomParent, FloodsAndPortChangesComeAgain)
{
    act_for(30 * 60 * SECOND);
    EXPECT_GT(books.proofs.floods, 5U);
    EXPECT_GT(books.proofs.port_changes, 2U);
}

TEST_F(RandomParent, PortChangeThatIsNotFollowedDoesNotCount)
{
    follows_port = false;
    while (parent.port_returns == 0)
        act_for(SECOND / 100);
    act_for(10 * SECOND);
    EXPECT_EQ(parent.port_returns, 0U);
    note_visit(parent, books, now); // too late
    EXPECT_EQ(books.proofs.port_changes, 0U);
}

TEST_F(RandomParent, PortChangeAtTheEndDoesNotCount)
{
    parent.port_returns = now + SECOND;
    stop_acting(parent, backend, books, now);
    note_visit(parent, books, now);
    EXPECT_EQ(books.proofs.port_changes, 0U);
}

TEST_F(RandomParent, RouterIsLeftOnlyWhenItIsKnown)
{
    reaches_router = books.link.up = false;
    act_for(120 * SECOND);
    EXPECT_EQ(books.proofs.port_changes, 0U);
}

TEST_F(RandomParent, NothingIsTakenWithoutTheRouter)
{
    reaches_router = books.link.up = false;
    become_calm();
    act_for(9 * SECOND);
    EXPECT_EQ(books.proofs.take.output, -1);
    EXPECT_FALSE(parent.taken);
}

TEST_F(RandomParent, OwnRequestsDisturb)
{
    become_calm();
    now += 2 * SECOND;
    ASSERT_TRUE(undisturbed_since(books.routes, now));
    act(parent, backend, books, now); // the query of the calm phase
    EXPECT_FALSE(undisturbed_since(books.routes, now));
}

TEST_F(RandomParent, SettlesByQueriesAndThenByATake)
{
    EXPECT_FALSE(settle(parent, backend, books, now)); // no route is known
    const std::string id = books.proofs.query.id;
    EXPECT_NE(id, "");
    EXPECT_FALSE(settle(parent, backend, books, now));
    EXPECT_EQ(books.proofs.query.id, id);
    EXPECT_EQ(books.replies.sent, 1U);

    for (destination_state& state : books.routes.destinations)
        state.known = true;
    books.replies.open.clear();
    books.proofs.query = {};
    EXPECT_FALSE(settle(parent, backend, books, now)); // no query is proved
    EXPECT_NE(books.proofs.query.id, "");

    books.replies.open.clear();
    books.proofs.query = {};
    books.proofs.queries = 1;
    EXPECT_FALSE(settle(parent, backend, books, now)); // the query has just disturbed
    EXPECT_EQ(books.proofs.take.output, -1);
    EXPECT_FALSE(settle(parent, backend, books, now + 2 * SECOND));
    EXPECT_GE(books.proofs.take.output, 0);
    EXPECT_FALSE(settle(parent, backend, books, now + 3 * SECOND));

    books.replies.open.clear();
    books.proofs.take = {};
    books.proofs.takes = 1;
    EXPECT_TRUE(settle(parent, backend, books, now + 9 * SECOND));
}
