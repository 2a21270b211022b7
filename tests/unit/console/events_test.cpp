#include "console/events.h"
#include "console/link_text.h"
#include "server/desk/locks.h"
#include "server/desk/takes.h"
#include "unit/console/console_test.h"

using namespace console;

using testing::IsEmpty;

class Events : public ConsoleTest {
  protected:
    const desk::actor ben{"ben", "panel", {desk::right::administer, {}, {}}};

    std::vector<notice> notices()
    {
        std::vector<notice> told;
        take_events(console, now, told);
        return told;
    }
};

TEST_F(Events, TellWhatHasChangedWhileTheLinkWasAway)
{
    link(desk::link_state::down);
    link(desk::link_state::ready);
    happened();
    report(0, 4);
    EXPECT_EQ(happened(true), "14:02:11 MON A shows CAM 5: taken by somebody else.\n");
}

TEST_F(Events, LeaveAPersonsOwnToTheOutcome)
{
    ask("stage 1 5");
    ask("stage 2 5");
    ask("take");
    happened();
    desk::trace_take(console.desk, now, "main", 0, 4);
    desk::trace_route(console.desk, now, "main", 0, 4);
    report(0, 4);
    EXPECT_EQ(happened(true), "");
}

TEST_F(Events, TellHowItStandsWithALink)
{
    struct {
        desk::link_state state;
        const char* reason;
        const char* text;
    } const cases[] = {
        {desk::link_state::down, "the router closed the connection",
         "14:02:11 main is down: the router closed the connection.\n"},
        {desk::link_state::connecting, "connecting to 10.0.0.5:12345",
         "14:02:11 main: connecting to 10.0.0.5:12345.\n"},
        {desk::link_state::reading, "reading names and routes",
         "14:02:11 main: reading names and routes.\n"},
        {desk::link_state::failing, "its backend does not stay up",
         "14:02:11 main is failing: its backend does not stay up.\n"},
        {desk::link_state::off, "no address is set", "14:02:11 main is off: no address is set.\n"},
        {desk::link_state::ready, "", "14:02:11 main is ready: 8 sources, 8 destinations.\n"},
    };
    for (const auto& [state, reason, text] : cases) {
        link(state, reason);
        EXPECT_EQ(happened(), text);
    }
}

TEST_F(Events, DoNotRepeatWhatWasSaidOfALinkUntilItIsReady)
{
    link(desk::link_state::down, "nobody answers");
    EXPECT_EQ(happened(), "14:02:11 main is down: nobody answers.\n");
    link(desk::link_state::reading, "reading names and routes");
    EXPECT_EQ(happened(), "14:02:11 main: reading names and routes.\n");
    for (int i = 0; i < 2; ++i) {
        link(desk::link_state::down, "nobody answers");
        EXPECT_EQ(happened(), "");
        link(desk::link_state::reading, "reading names and routes");
        EXPECT_EQ(happened(true), "14:02:11 main: reading names and routes.\n");
    }
    link(desk::link_state::ready);
    happened();
    link(desk::link_state::down, "nobody answers");
    EXPECT_EQ(happened(), "14:02:11 main is down: nobody answers.\n");
}

TEST_F(Events, TellALinkAsJson)
{
    link(desk::link_state::down, "gone");
    const std::vector<notice> told = notices();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].json, nlohmann::json::parse(R"({"type": "event", "event": "link",
        "at": "2026-11-21T14:02:11.000Z", "router": "main",
        "link": {"state": "down", "since": "2026-11-21T14:02:11.000Z", "reason": "gone",
                 "asOf": "2026-11-21T14:02:11.000Z"}})"));
}

TEST_F(Events, TellWhoseDoingAFactIs)
{
    report(0, 2);
    EXPECT_EQ(happened(), "") << "not followed";
    report(1, 3);
    report(2, desk::NO_SOURCE, "back");
    EXPECT_EQ(happened(true), "14:02:11 MON B shows CAM 4: taken by somebody else.\n"
                              "14:02:11 MON C of back shows no source: taken by somebody else.\n");
    desk::take_request request;
    request.rows = {{{"main", 0, 4}, {}}};
    desk::take(console.desk, now, ben, request);
    happened();
    carry_out(0, 4);
    EXPECT_THAT(happened(true), testing::StartsWith("14:02:11 MON A shows CAM 5: taken by ben.\n"));
}

TEST_F(Events, TellEachFactOfSeveralThatCameAtOnce)
{
    report(0, 2);
    report(0, 3);
    EXPECT_EQ(happened(true), "14:02:11 MON A shows CAM 3: taken by somebody else.\n"
                              "14:02:11 MON A shows CAM 4: taken by somebody else.\n");
    EXPECT_EQ(console.before["main"].at(0), 2);
}

TEST_F(Events, LeaveOwnFactsToTheOutcome)
{
    ask("take 1 3");
    happened();
    carry_out(0, 2);
    for (const notice& each : notices())
        EXPECT_NE(each.json["event"], "fact");
    EXPECT_EQ(console.before["main"].at(0), 0);
}

TEST_F(Events, AreSilentWhenAConnectionBringsTheSameRoutes)
{
    link(desk::link_state::down, "gone");
    link(desk::link_state::ready);
    happened();
    for (int i = 0; i < POSITIONS_HERE; ++i)
        report(i, i == 3 ? 6 : 0);
    EXPECT_EQ(happened(true), "14:02:11 MON D shows CAM 7: taken by somebody else.\n");
    EXPECT_EQ(console.before["main"], (std::map<int, int>{{3, 0}}));
}

TEST_F(Events, TellNamesAndSizes)
{
    desk::report_counts(console.desk, "main", POSITIONS_HERE, 4);
    desk::report_names(console.desk, "main", desk::side::sources, {"A", "B"});
    EXPECT_EQ(happened(true), "14:02:11 main can route 8 sources, 4 destinations.\n"
                              "14:02:11 main gave names: 2 sources, 8 destinations.\n");
}

TEST_F(Events, TellWhatOthersLockAndSet)
{
    desk::set_lock(console.desk, now, ben, "main", 0, desk::lock_mode::lock, "on air",
                   now.utc + std::chrono::seconds(5));
    desk::set_label(console.desk, now, ben, "main", desk::side::sources, 2, {"Studio", "Live"});
    EXPECT_EQ(happened(), "");
    desk::set_lock(console.desk, now, ben, "main", 1, desk::lock_mode::protect, "", {});
    EXPECT_EQ(happened(true), "14:02:11 MON B is protected by ben.\n");
    wait_ms(5000);
    EXPECT_EQ(happened(true), "14:02:16 The lock of ben on MON A has expired.\n");
    desk::set_label(console.desk, now, ben, "main", desk::side::sources, 2, {"", ""});
    EXPECT_EQ(happened(true), "14:02:16 Source 3 of main has no alias.\n");
}

TEST_F(Events, SayNothingOfWhatTheirPersonHasJustDone)
{
    desk::set_lock(console.desk, now, console.person, "main", 0, desk::lock_mode::lock, "", {});
    EXPECT_EQ(happened(true), "");
    EXPECT_EQ(console.history.size(), 3U) << "two routers that were set, and the lock";
}

TEST_F(Events, CountALinksAgeAlsoWhereNobodyLookedMeanwhile)
{
    happened();
    wait_ms(20'000);
    link(desk::link_state::down, "lost");
    wait_ms(5000);
    link(desk::link_state::ready);
    wait_ms(3000);
    happened();
    EXPECT_EQ(link_age(console, now, "main"), "0:03");
    link(desk::link_state::down, "lost");
    happened();
    wait_ms(4000);
    now.utc += std::chrono::hours(2);
    link(desk::link_state::down, "lost again");
    happened();
    EXPECT_EQ(link_age(console, now, "main"), "0:04");
}

TEST_F(Events, ForgetARouterThatWasRemoved)
{
    report(0, 2, "back");
    desk::remove_router(console.desk, now, console.person, "back");
    EXPECT_EQ(happened(true), "");
    EXPECT_FALSE(console.shown.contains("back"));
    EXPECT_FALSE(console.links.contains("back"));
}

TEST_F(Events, SayWhetherTheHouseIsDifferent)
{
    std::vector<notice> told;
    link(desk::link_state::down, "gone");
    EXPECT_FALSE(take_events(console, now, told));
    desk::set_lock(console.desk, now, ben, "main", 0, desk::lock_mode::lock, "", {});
    EXPECT_TRUE(take_events(console, now, told));
}

TEST_F(Events, TellsAPersonWhatLocksOthersHaveBroken)
{
    ask("lock 3 news");
    ask("lock 4");
    desk::remove_lock(console.desk, now, ben, "main", 2, true, "needed for the show");
    desk::remove_lock(console.desk, now, console.person, "main", 3, false, "");
    const desk::house kept = console.desk.house;
    now.utc += std::chrono::hours(3);
    console.desk = desk::make_desk(2, kept, now);
    const auto missed = missed_notices(console, now);
    ASSERT_EQ(missed.size(), 1U);
    EXPECT_EQ(missed[0].text, "17:02:11 Your lock on destination 3 was broken by ben at 2026-11-21 "
                              "14:02:11 (needed for the show).\n");
    EXPECT_TRUE(missed[0].always);
    EXPECT_EQ(missed[0].json["event"], "lockBroken");
    EXPECT_EQ(missed[0].json["at"], "2026-11-21T14:02:11.000Z");
    EXPECT_EQ(missed[0].json["person"], "ben");
    console.person.person = "ben";
    EXPECT_TRUE(missed_notices(console, now).empty());
}
