// A router that is given another address: it may be another one.
#include "server/desk/setup.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::Contains;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {
class Moves : public DeskTest {
  protected:
    void move()
    {
        router_settings settings = find_router(desk, "main")->settings;
        ++settings.port;
        set_router(desk, now, eve, settings);
    }
};
} // namespace

TEST_F(Moves, ForgetWhoseDoingItIsWhatIsShown)
{
    wish(anna, 0, 5);
    carry_out(0, 5);
    wish(anna, 1, 6);
    takes(1, 6);
    wait_ms(3000);
    router_settings settings = find_router(desk, "main")->settings;
    settings.name = "Other";
    set_router(desk, now, eve, settings);
    EXPECT_EQ(author_of(0).person, "anna");
    EXPECT_EQ(troubles().size(), 1);
    move();
    EXPECT_EQ(author_of(0), authorship{});
    EXPECT_TRUE(troubles().empty());
}

// Also what its backend still says of the one before.
TEST_F(Moves, LeaveNothingKnownOfWhatIsShown)
{
    forget_told();
    move();
    const live_router& live = desk.live.at("main");
    EXPECT_EQ(source_shown(live, 3), UNKNOWN_SOURCE);
    EXPECT_THAT(changed(), Contains(Pair(change::kind::fact, 3)));
    report(3, 6);
    EXPECT_EQ(source_shown(live, 3), UNKNOWN_SOURCE);
    report_link(desk, now, "main", link_state::down, "ended");
    report_backend_ended(desk, now, "main");
    forget_told();
    connect("main");
    EXPECT_THAT(outside_changes(), IsEmpty());
    report(3, 5);
    EXPECT_THAT(outside_changes(), SizeIs(1)) << "from 0 to 5";
}

// It was sent to the one before, which nobody hears any more.
TEST_F(Moves, EndWhatWasSentBefore)
{
    const auto sent = wish(anna, 0, 5);
    takes(0, 5);
    const auto queued = wish(anna, 1, 5);
    const auto late = wish(anna, 2, 5);
    move();
    EXPECT_EQ(became(sent), "unknown: the router was given another address");
    EXPECT_EQ(became(queued), "queued");
    takes(2, 5);
    EXPECT_EQ(became(late), "sent");
    report_link(desk, now, "main", link_state::down, "ended");
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(row_of(queued).end, outcome::not_sent);
    EXPECT_EQ(became(late), "unknown: the router was given another address");
    connect("main");
    for (const int destination : {0, 2}) {
        shows(destination, 5);
        report(destination, 5);
        EXPECT_EQ(author_of(destination), authorship{});
    }
    EXPECT_EQ(row_of(sent).confirmed_late_after, std::nullopt);
    EXPECT_THAT(outside_changes(), IsEmpty()) << "it may have been moved back";
}

TEST_F(Moves, FindNothingOfWhatARestartEnded)
{
    const auto one = wish(anna, 0, 5);
    takes(0, 5);
    desk_state again = make_desk(2, desk.house, now);
    desk = std::move(again);
    move();
    connect("main");
    report(0, 3);
    EXPECT_EQ(row_of(one).found, std::nullopt);
}

// A mistyped port that is put right: the take may still be read.
TEST_F(Moves, BackNameNobodyForATakeOfBefore)
{
    wish(anna, 0, 5);
    takes(0, 5);
    shows(0, 0);
    report(0, 0);
    for (int i = 0; i < 2; ++i) {
        move();
        report_link(desk, now, "main", link_state::down, "ended");
        report_backend_ended(desk, now, "main");
        connect("main");
    }
    shows(0, 5);
    report(0, 5);
    EXPECT_THAT(outside_changes(), IsEmpty());
}
