#include "server/desk/locks.h"
#include "server/desk/stages.h"
#include "unit/console/console_test.h"

using namespace console;

class ShowCommands : public ConsoleTest {
  protected:
    void name(desk::side side, std::vector<std::string> names)
    {
        desk::report_names(console.desk, "main", side, std::move(names));
    }

    void label(desk::side side, int position, const std::string& alias, const std::string& group)
    {
        desk::set_label(console.desk, now, console.person, "main", side, position, {alias, group});
    }
};

TEST_F(ShowCommands, RoutesShowWhatTheRouterSaid)
{
    report(1, 2);
    report(2, desk::NO_SOURCE);
    EXPECT_EQ(says("routes 1-3"), "Numbers begin at 1.\n"
                                  "#  Destination  #  Source\n"
                                  "1  MON A        1  CAM 1\n"
                                  "2  MON B        3  CAM 3\n"
                                  "3  MON C           no source\n");
}

TEST_F(ShowCommands, RoutesTellWhatIsWishedStagedLockedAndWrong)
{
    ask("take 1 4");
    desk::stage_row(console.desk, now, console.person, {"main", 1, 4});
    report(1, 7);
    desk::set_lock(console.desk, now, {"ben", "panel", console.person.may}, "main", 2,
                   desk::lock_mode::protect, "on air", now.utc + std::chrono::minutes(10));
    ask("take 4 2");
    desk::trace_take(console.desk, now, "main", 3, 1);
    desk::trace_take_answer(console.desk, now, "main", "NAK 0005");
    EXPECT_EQ(says("routes 1-4"),
              "Numbers begin at 1.\n"
              "#  Destination  #  Source  State\n"
              "1  MON A        1  CAM 1   taking CAM 4 (queued)\n"
              "2  MON B        8  CAM 8   staged CAM 5 (showed CAM 1 then)\n"
              "3  MON C        1  CAM 1   protected by ben (on air) until 14:12:11\n"
              "4  MON D        1  CAM 1   CAM 2 refused by the router (NAK 0005)\n");
}

TEST_F(ShowCommands, RoutesTellOfTroubleWhatIsTrueNow)
{
    ask("take 2 4");
    wait_ms(1000);
    desk::trace_take(console.desk, now, "main", 1, 3);
    desk::trace_query(console.desk, "main", 1);
    desk::trace_route(console.desk, now, "main", 1, 0);
    report(1, 0);
    wait_ms(60'000);
    report(1, 6);
    EXPECT_EQ(says("routes problems"), "Numbers begin at 1.\n"
                                       "#  Destination  #  Source  State\n"
                                       "2  MON B        7  CAM 7   CAM 4 was not confirmed at "
                                       "14:02:12\n");
    report(1, 3);
    EXPECT_EQ(says("routes 2"), "Numbers begin at 1.\n"
                                "#  Destination  #  Source  State\n"
                                "2  MON B        4  CAM 4   CAM 4 was not confirmed at 14:02:12\n");
    EXPECT_EQ(says("routes problems"), "No destination of main fits.\n");
    EXPECT_EQ(ask("routes 2").json["rows"][0]["problem"], false);
}

TEST_F(ShowCommands, RoutesTellTheDayWhereALockEndsOnAnother)
{
    ask("lock 1 11h");
    ask("lock 2 40d");
    EXPECT_EQ(says("routes 1-2"), "Numbers begin at 1.\n"
                                  "#  Destination  #  Source  State\n"
                                  "1  MON A        1  CAM 1   locked by anna until 01:02:11\n"
                                  "2  MON B        1  CAM 1   locked by anna until 2026-12-31 "
                                  "14:02:11\n");
}

TEST_F(ShowCommands, RoutesOfALostLinkSaySinceWhenAndWhy)
{
    link(desk::link_state::down, "the router closed the connection");
    happened();
    wait_ms(42'000);
    EXPECT_EQ(says("routes 1"),
              "As of 14:02:11, link down 0:42: the router closed the connection.\n"
              "Numbers begin at 1.\n"
              "#  Destination  #  Source\n"
              "1  MON A        1  CAM 1\n");
    EXPECT_EQ(says("sources 1"),
              "As of 14:02:11, link down 0:42: the router closed the connection.\n"
              "Numbers begin at 1.\n"
              "#  Source\n"
              "1  CAM 1\n");
}

TEST_F(ShowCommands, RoutesOfAnEarlierConnectionSayWhenTheyWereTold)
{
    wait_ms(60'000);
    link(desk::link_state::down, "gone");
    happened();
    link(desk::link_state::ready);
    happened();
    report(1, 5);
    EXPECT_EQ(says("routes 1-2"), "Numbers begin at 1.\n"
                                  "#  Destination  #  Source  State\n"
                                  "1  MON A        1  CAM 1   as of 14:02:11\n"
                                  "2  MON B        6  CAM 6\n");
    const auto rows = ask("routes 1-2").json["rows"];
    EXPECT_EQ(rows[0]["fresh"], false);
    EXPECT_EQ(rows[0]["asOf"], "2026-11-21T14:02:11.000Z");
    EXPECT_EQ(rows[1]["fresh"], true);
    EXPECT_FALSE(rows[1].contains("asOf"));
}

// By an earlier take: that is not the doing of the one that was not sent.
TEST_F(ShowCommands, RoutesTellWhyNothingWasSentThoughItIsShown)
{
    ask("take 2 4");
    desk::report_backend_ended(console.desk, now, "main");
    report(1, 3);
    EXPECT_THAT(says("routes 2"), testing::EndsWith("CAM 4   CAM 4 not sent: the backend was ended "
                                                    "before it was sent\n"));
}

TEST_F(ShowCommands, RoutesThatAreDoubtedSayWhenTheyWereTold)
{
    wait_ms(5000);
    console.desk.live.at("main").facts[1].connection = 0;
    EXPECT_EQ(says("routes problems"), "Numbers begin at 1.\n"
                                       "#  Destination  #  Source  State\n"
                                       "2  MON B        1  CAM 1   as of 14:02:11\n");
    EXPECT_EQ(ask("routes 2").json["rows"][0]["fresh"], false);
}

TEST_F(ShowCommands, RoutesThatWereNeverToldAreUnknown)
{
    desk::report_counts(console.desk, "main", POSITIONS_HERE, POSITIONS_HERE + 1);
    EXPECT_EQ(says("routes problems"), "Numbers begin at 1.\n"
                                       "#  Destination    Source\n"
                                       "9  destination 9  unknown\n");
}

TEST_F(ShowCommands, RouterThatNothingIsKnownOfSaysWhy)
{
    desk::router_settings settings;
    settings.id = settings.name = "new";
    desk::set_router(console.desk, now, console.person, settings);
    link(desk::link_state::off, "no address is set", "new");
    ask("use new");
    EXPECT_EQ(says("routes"), "Link off 0:00: no address is set.\nNo destinations are known.\n");
    EXPECT_EQ(says("where 1"), says("routes"));
    EXPECT_EQ(says("sources"), "Link off 0:00: no address is set.\nNo sources are known.\n");
    EXPECT_EQ(ask("routes").json["link"]["state"], "off");
}

TEST_F(ShowCommands, FilterThatNothingFitsSaysSo)
{
    EXPECT_EQ(says("routes zebra"), "No destination of main fits.\n");
    EXPECT_EQ(says("sources zebra"), "No source of main fits.\n");
}

TEST_F(ShowCommands, NamesShowAliasesGroupsAndLocks)
{
    label(desk::side::sources, 0, "Studio 1", "Studios");
    EXPECT_EQ(says("sources 1-2"), "Numbers begin at 1.\n"
                                   "#  Source    Router's name  Group\n"
                                   "1  Studio 1  CAM 1          Studios\n"
                                   "2  CAM 2\n");
    desk::set_lock(console.desk, now, console.person, "main", 1, desk::lock_mode::lock, "", {});
    EXPECT_EQ(says("destinations 1-2"), "Numbers begin at 1.\n"
                                        "#  Destination  State\n"
                                        "1  MON A\n"
                                        "2  MON B        locked by anna\n");
}

TEST_F(ShowCommands, NamesBeyondWhatCanBeRoutedSaySo)
{
    name(desk::side::sources,
         {"CAM 1", "CAM 2", "CAM 3", "CAM 4", "CAM 5", "CAM 6", "CAM 7", "CAM 8", "CAM 9"});
    EXPECT_EQ(says("sources 8-9"), "8 of 9 sources can be routed.\n"
                                   "Numbers begin at 1.\n"
                                   "#  Source  State\n"
                                   "8  CAM 8\n"
                                   "9  CAM 9   cannot be routed\n");
    EXPECT_EQ(ask("sources 9").json["rows"][0]["routable"], false);
}

TEST_F(ShowCommands, NumbersBeginWhereTheRouterSays)
{
    desk::router_settings settings = desk::find_router(console.desk, "main")->settings;
    settings.first_number = 0;
    desk::set_router(console.desk, now, console.person, settings);
    EXPECT_EQ(says("routes 0"), "Numbers begin at 0.\n"
                                "#  Destination  #  Source\n"
                                "0  MON A        0  CAM 1\n");
    EXPECT_EQ(ask("routes 0").json["rows"][0]["destination"]["index"], 0);
}

TEST_F(ShowCommands, WideNamesKeepColumnsAligned)
{
    name(desk::side::destinations, {"监视器", "MON B", "🎥 C"});
    EXPECT_EQ(says("routes 1-3"), "Numbers begin at 1.\n"
                                  "#  Destination  #  Source\n"
                                  "1  监视器       1  CAM 1\n"
                                  "2  MON B        1  CAM 1\n"
                                  "3  🎥 C         1  CAM 1\n");
}

TEST_F(ShowCommands, LongNamesAreCutWhereTheTerminalIsNarrow)
{
    name(desk::side::destinations, {std::string(255, 'x'), "MON B"});
    EXPECT_THAT(says("routes 1-2"), testing::HasSubstr(std::string(255, 'x') + "  1  CAM 1\n"));
    console.columns = 30;
    EXPECT_EQ(says("routes 1-2"), "Numbers begin at 1.\n"
                                  "#  Destination       #  Source\n"
                                  "1  xxxxxxxxxxxxxxx…  1  CAM 1\n"
                                  "2  MON B             1  CAM 1\n");
}

TEST_F(ShowCommands, WhereTellsWhichDestinationsShowTheSource)
{
    report(1, 2);
    report(4, 2);
    desk::report_counts(console.desk, "main", POSITIONS_HERE, POSITIONS_HERE + 1);
    EXPECT_EQ(says("where 3"), "Numbers begin at 1.\n"
                               "CAM 3 is shown by 2 destinations.\n"
                               "#  Destination  #  Source\n"
                               "2  MON B        3  CAM 3\n"
                               "5  MON E        3  CAM 3\n"
                               "What 1 destination shows is not known.\n");
    EXPECT_EQ(says("where 4"), "No destination of main shows CAM 4.\n"
                               "What 1 destination shows is not known.\n");
    const answer told = ask("where 3");
    EXPECT_EQ(told.json["source"]["index"], 2);
    EXPECT_EQ(told.json["rows"].size(), 2U);
    EXPECT_EQ(told.json["unknown"], 1);
}

TEST_F(ShowCommands, RoutesAsJson)
{
    report(1, desk::NO_SOURCE);
    ask("take 2 4");
    const nlohmann::json told = ask("routes 2").json;
    EXPECT_EQ(told, nlohmann::json::parse(R"({"command": "routes", "router": "main",
        "link": {"state": "ready", "since": "2026-11-21T14:02:11.000Z", "reason": ""},
        "firstNumber": 1,
        "rows": [{"destination": {"index": 1, "name": "MON B"}, "group": "", "source": null,
                  "fresh": true, "problem": false, "confirmed": "2026-11-21T14:02:11.000Z",
                  "wish": {"source": {"index": 3, "name": "CAM 4"}, "state": "queued"}}]})"));
}
