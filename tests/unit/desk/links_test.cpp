#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using kind = change::kind;

namespace {
class Links : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");
};
} // namespace

TEST_F(Links, TellStateReasonAndTime)
{
    const wall ready_since = main.link_since;
    wait_ms(50);
    link(link_state::ready, "ignored");
    EXPECT_THAT(changed(), IsEmpty());
    link(link_state::down, "no\nanswer");
    EXPECT_EQ(main.link, link_state::down);
    EXPECT_EQ(main.link_reason, "no answer");
    EXPECT_EQ(main.link_since, ready_since + wall(50));
    wait_ms(50);
    link(link_state::down, "refused");
    EXPECT_EQ(main.link_reason, "refused");
    EXPECT_EQ(main.link_since, ready_since + wall(50));
    link(link_state::ready, "ignored");
    EXPECT_EQ(main.link_reason, "");
    EXPECT_THAT(changed(),
                ElementsAre(Pair(kind::link, 0), Pair(kind::link, 0), Pair(kind::link, 0)));
}

TEST_F(Links, TellSinceWhenRoutesAreStale)
{
    EXPECT_EQ(stale_since(main), std::nullopt);
    wait_ms(50);
    const wall lost = now.utc;
    link(link_state::down, "no answer");
    wait_ms(50);
    EXPECT_EQ(stale_since(main), lost);
    link(link_state::reading, "");
    EXPECT_EQ(stale_since(main), lost);
    link(link_state::ready, "");
    EXPECT_EQ(stale_since(main), lost); // nothing has been said again yet
    for (int destination = 0; destination < main.outputs; ++destination)
        report(destination, 1);
    EXPECT_EQ(stale_since(main), std::nullopt);
    doubt_fact(desk, "main", 0); // of this connection
    EXPECT_EQ(stale_since(main), std::nullopt);
}

TEST_F(Links, BeginConnections)
{
    struct {
        link_state from, to;
        bool begins;
    } const cases[] = {
        {link_state::connecting, link_state::reading, true},
        {link_state::reading, link_state::ready, false},
        {link_state::connecting, link_state::ready, true},
        {link_state::ready, link_state::reading, true},
        {link_state::ready, link_state::down, false},
        {link_state::ready, link_state::connecting, false},
        {link_state::reading, link_state::down, false},
        {link_state::off, link_state::ready, true},
        {link_state::failing, link_state::reading, true},
    };
    for (const auto& c : cases) {
        link(c.from);
        const auto before = main.connection;
        link(c.to);
        EXPECT_EQ(main.connection, before + (c.begins ? 1 : 0))
            << text_of(c.from) << " " << text_of(c.to);
    }
}

TEST_F(Links, MakeFactsStaleUntilTheyAreSaidAgain)
{
    report(2, 5);
    link(link_state::down);
    EXPECT_FALSE(is_fresh(main, 2));
    EXPECT_EQ(source_shown(main, 2), 5);
    link(link_state::reading);
    changed();
    report(3, 0); // what is read belongs to the connection that becomes ready
    EXPECT_THAT(changed(), ElementsAre(Pair(kind::fact, 3)));
    link(link_state::ready);
    changed();
    EXPECT_FALSE(is_fresh(main, 2));
    EXPECT_TRUE(is_fresh(main, 3));
    report(2, 5);
    EXPECT_TRUE(is_fresh(main, 2));
    EXPECT_THAT(changed(), ElementsAre(Pair(kind::fact, 2)));
}

TEST_F(Links, ThatAreLostEndTheBackendThatHoldsWishes)
{
    const auto sent = wish(anna, 0, 2);
    takes(0, 2);
    const auto queued = wish(anna, 1, 2);
    wish(anna, 1, 3);
    const auto held = wish(anna, 1, 2);
    const auto elsewhere = wish(anna, std::vector<route>{{"back", 1, 2}});
    ordered();
    link(link_state::down, "no answer");
    EXPECT_THAT(ordered(), ElementsAre("end main"));
    EXPECT_EQ(became(held), "not sent linkLost: the link was lost before it was sent");
    EXPECT_EQ(became(queued), "queued");
    link(link_state::connecting);
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(became(queued), "not sent linkLost: the link was lost before it was sent");
    EXPECT_EQ(became(sent), "sent");
    EXPECT_EQ(became(elsewhere), "queued");
    EXPECT_THAT(ordered(), IsEmpty());
    wait_ms(3000);
    EXPECT_EQ(became(sent), "timed out");
}

TEST_F(Links, ThatAreLostLeaveABackendThatHoldsNone)
{
    wish(anna, 0, 2);
    takes(0, 2);
    ordered();
    link(link_state::down);
    EXPECT_THAT(ordered(), IsEmpty());
}

TEST_F(Links, ThatAreLostForgetTheTraffic)
{
    const auto one = wish(anna, 0, 2);
    trace_query(desk, "main", 0);
    takes(0, 2);
    link(link_state::down);
    EXPECT_THAT(main.queries_under_way, IsEmpty());
    EXPECT_THAT(main.takes_unanswered, IsEmpty());
    link(link_state::reading);
    trace_query(desk, "main", 0);
    link(link_state::ready);
    EXPECT_THAT(main.queries_under_way, SizeIs(1));
    shows(0, 0);
    EXPECT_EQ(became(one), "contradicted: the router still shows CAM 1");
}

TEST_F(Links, EndWithTheBackendAndWhatItHeld)
{
    const auto sent = wish(anna, 0, 2);
    takes(0, 2);
    const auto queued = wish(anna, 1, 2);
    wish(anna, 1, 3);
    const auto held = wish(anna, 1, 2);
    ordered();
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(became(sent), "sent");
    EXPECT_EQ(became(queued), "not sent backendEnded: the backend was ended before it was sent");
    EXPECT_EQ(became(held), "not sent backendEnded: the backend was ended before it was sent");
    EXPECT_THAT(ordered(), IsEmpty());
    EXPECT_EQ(said(wish(anna, 2, 2)), "goes");
}

TEST_F(Links, ThatAreLostAreTheReasonThoughItIsLate)
{
    const auto one = wish(anna, 0, 2);
    wait_ms(4999);
    link(link_state::down);
    wait_ms(1);
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(became(one), "not sent linkLost: the link was lost before it was sent");
}

TEST_F(Links, LeaveOpenWhetherAWishWasSentOfWhichNotAllWasHeard)
{
    const auto sent = wish(anna, 0, 2);
    takes(0, 2);
    const auto queued = wish(anna, 1, 2);
    wish(anna, 1, 3);
    const auto held = wish(anna, 1, 2);
    report_backend_ended(desk, now, "main", false);
    EXPECT_EQ(became(sent), "sent");
    EXPECT_EQ(became(queued),
              "timed out: it may have been sent: part of the traffic could not be read");
    EXPECT_EQ(became(held), "not sent backendEnded: the backend was ended before it was sent");
}
