// A router that is given another address: it may be another one.
#include "server/desk/setup.h"
#include "server/desk/stages.h"
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

    void backend_ends(bool heard_all = true)
    {
        report_backend_ended(desk, now, "main", heard_all);
        report_link(desk, now, "main", link_state::down, "ended");
    }

    void start_anew()
    {
        desk_state again = make_desk(2, desk.house, now);
        desk = std::move(again);
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
    backend_ends();
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
    backend_ends();
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
    start_anew();
    move();
    connect("main");
    report(0, 3);
    EXPECT_EQ(row_of(one).found, std::nullopt);
}

// Those were sent to the router at the address of then.
TEST_F(Moves, FindNothingOfTheWishesBeforeAtALaterStart)
{
    const auto one = wish(anna, 0, 5);
    takes(0, 5);
    move();
    backend_ends();
    start_anew();
    EXPECT_THAT(troubles(), IsEmpty());
    connect("main");
    report(0, 5);
    EXPECT_EQ(row_of(one).found, std::nullopt);
    EXPECT_EQ(row_of(one).confirmed_late_after, std::nullopt);
    EXPECT_THAT(outside_changes(), IsEmpty()) << "it may have been moved back";
}

// Whether it was sent is not known, but to which router it would have been.
TEST_F(Moves, EndWhatMayHaveBeenSentBefore)
{
    const auto first = wish(anna, 0, 5);
    const auto second = wish(anna, 0, 6);
    move();
    backend_ends(false);
    for (const auto& each : {first, second})
        EXPECT_EQ(became(each), "unknown: the router was given another address");
    EXPECT_THAT(troubles(), IsEmpty());
    connect("main");
    report(0, 6);
    EXPECT_EQ(row_of(second).confirmed_late_after, std::nullopt);
}

TEST_F(Moves, LeaveInTroubleWhatWasNotSent)
{
    const auto queued = wish(anna, 0, 5);
    move();
    backend_ends();
    EXPECT_EQ(row_of(queued).end, outcome::not_sent);
    EXPECT_THAT(troubles(), SizeIs(1));
}

// The link is no more that of before, and its backend no more believed.
TEST_F(Moves, LeaveNothingKnownOfWhatTheRouterHas)
{
    const live_router& live = desk.live.at("main");
    move();
    link(link_state::ready);
    EXPECT_EQ(live.link, link_state::connecting);
    EXPECT_EQ(live.link_reason, "the router was given another address");
    report_counts(desk, "main", 2, 3);
    report_names(desk, "main", side::sources, {"OLD"});
    report_names(desk, "main", side::destinations, {"OLD"});
    EXPECT_EQ(live.inputs + live.outputs, 2 * POSITIONS_HERE) << "what ends is told by its name";
    EXPECT_EQ(live.source_names[0] + live.destination_names[0], "CAM 1MON A");
    backend_ends();
    EXPECT_EQ(live.link, link_state::down);
    EXPECT_EQ(live.inputs + live.outputs, 0);
    EXPECT_THAT(live.source_names, IsEmpty());
    EXPECT_THAT(live.destination_names, IsEmpty());
    report_counts(desk, "main", 2, 3);
    EXPECT_EQ(live.outputs, 3);
}

// The backend that is meant has not been started yet.
TEST_F(Moves, WaitForNoBackendWhereNoneRuns)
{
    link(link_state::off, "no address is set");
    move();
    EXPECT_EQ(desk.live.at("main").link, link_state::off);
    EXPECT_THAT(desk.live.at("main").source_names, IsEmpty());
    connect("main");
    EXPECT_EQ(said(wish(anna, 0, 5)), "goes");
}

TEST_F(Moves, LeaveStagedRowsToBeLookedAtAgain)
{
    stage_row(desk, now, anna, {"main", 0, 5});
    stage_row(desk, now, anna, {"back", 0, 5});
    forget_told();
    move();
    EXPECT_THAT(changed(), Contains(Pair(change::kind::stage, 0)));
    backend_ends();
    connect("main");
    const auto& stages = desk.stages.at("anna");
    EXPECT_TRUE(has_changed(desk.live.at("main"), 0, stages.at("main").at(0)));
    EXPECT_FALSE(has_changed(desk.live.at("back"), 0, stages.at("back").at(0)));
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
        backend_ends();
        connect("main");
    }
    shows(0, 5);
    report(0, 5);
    EXPECT_THAT(outside_changes(), IsEmpty());
}
