#include "unit/console/console_test.h"

using namespace console;

class RecordCommands : public ConsoleTest {
  protected:
    routers::backend& backend()
    {
        return console.running.backends["main"];
    }

    void frame(routers::direction way, routers::meaning meaning, int destination, int source)
    {
        routers::traced_frame frame;
        frame.at = now;
        frame.way = way;
        frame.meaning = meaning;
        frame.destination = destination;
        frame.source = source;
        backend().trace.frames.push_back(frame);
    }
};

TEST_F(RecordCommands, HistoryTellsWhatWasAskedForAndWhatBecameOfIt)
{
    console.history.clear();
    EXPECT_EQ(says("history"), "Nothing has happened yet.\n");
    ask("take 2 3");
    wait_ms(12);
    carry_out(1, 2);
    wait_ms(3000);
    report(1, 4);
    happened();
    EXPECT_EQ(says("history"),
              "2026-11-21 14:02:11 anna asked for a take: MON B of main <- CAM 3.\n"
              "2026-11-21 14:02:11 MON B of main <- CAM 3: confirmed after 12 ms.\n"
              "2026-11-21 14:02:14 MON B of main shows CAM 5: taken by somebody else.\n");
    EXPECT_EQ(says("history somebody mon"),
              "2026-11-21 14:02:14 MON B of main shows CAM 5: taken by somebody else.\n");
    EXPECT_EQ(says("history zebra"), "Nothing that has happened fits.\n");
}

TEST_F(RecordCommands, HistoryNamesTheSalvo)
{
    ask("stage 1 3");
    ask("stage 2 3");
    ask("salvo save NEWS");
    ask("salvo take NEWS");
    happened();
    EXPECT_THAT(says("history asked"), testing::EndsWith("asked for a salvo NEWS: 2 rows.\n"));
}

TEST_F(RecordCommands, HistoryTellsWhatWasNotSentAtAll)
{
    console.history.clear();
    ask("lock 2");
    ask("take 2 3");
    ask("take 1 1");
    ask("stage 1 4");
    ask("stage 2 4");
    ask("take");
    ask("take --rest");
    happened();
    EXPECT_EQ(
        says("history asked"),
        "2026-11-21 14:02:11 anna asked for a take: MON B of main <- CAM 3: not sent: MON B is "
        "locked by "
        "anna.\n"
        "2026-11-21 14:02:11 anna asked for a take: MON A of main <- CAM 1: shown already.\n"
        "2026-11-21 14:02:11 anna asked for a take of the staged list: 2 rows, 2 not sent.\n"
        "2026-11-21 14:02:11 anna asked for a take of the staged list: 2 rows, 1 not sent.\n");
}

TEST_F(RecordCommands, HistoryKeepsTheNamesAndEndsOfThen)
{
    console.history.clear();
    ask("take 2 3");
    desk::trace_take(console.desk, now, "main", 1, 2);
    wait_ms(6000);
    happened();
    const std::string then = says("history");
    EXPECT_THAT(then, testing::HasSubstr("MON B of main <- CAM 3: timed out"));
    ask("set alias source 3 Studio");
    report(1, 2);
    happened();
    EXPECT_THAT(says("history"), testing::StartsWith(then));
    EXPECT_THAT(says("history"), testing::HasSubstr("MON B of main <- Studio: timed out"));
}

TEST_F(RecordCommands, HistoryNamesTheRouterWhicheverIsInUse)
{
    console.history.clear();
    ask("take 1 3");
    happened();
    ask("use back");
    ask("take 1 4");
    happened();
    const std::string told = "2026-11-21 14:02:11 anna asked for a take: MON A of main <- CAM 3.\n"
                             "2026-11-21 14:02:11 anna asked for a take: MON A of back <- CAM 4.\n";
    EXPECT_EQ(says("history"), told);
    ask("use main");
    EXPECT_EQ(says("history"), told);
}

TEST_F(RecordCommands, HistoryNamesNoRouterWhereThereIsOne)
{
    desk::remove_router(console.desk, now, console.person, "back");
    happened();
    ask("take 1 3");
    happened();
    EXPECT_THAT(says("history take"), testing::EndsWith("a take: MON A <- CAM 3.\n"));
}

TEST_F(RecordCommands, HistoryIsBoundedInRows)
{
    desk::entry entry{now.utc, "ben", "panel", {}};
    desk::batch_made made;
    made.batch.rows.resize(HISTORY_ROWS / 2 + 1);
    for (desk::wish& row : made.batch.rows)
        row.wished = {"main", 0, 1};
    entry.what = made;
    console.desk.entries = {entry, entry};
    happened();
    EXPECT_EQ(console.history_rows, HISTORY_ROWS / 2 + 1);
    EXPECT_EQ(console.history.size(), 1U);
    EXPECT_THAT(says("history"), testing::StartsWith("What happened before "));
}

TEST_F(RecordCommands, HistoryAsJson)
{
    report(1, 4);
    happened();
    EXPECT_EQ(ask("history somebody").json["rows"], nlohmann::json::parse(R"([
        {"event": "fact", "at": "2026-11-21T14:02:11.000Z", "router": "main",
         "destination": {"index": 1, "name": "MON B"}, "source": {"index": 4, "name": "CAM 5"},
         "was": {"index": 0, "name": "CAM 1"}}])"));
}

TEST_F(RecordCommands, HistoryOutlivesARemovedRouter)
{
    console.history.clear();
    const desk::actor ben{"ben", "panel", console.person.may};
    desk::set_label(console.desk, now, ben, "back", desk::side::sources, 2, {"Studio", "Live"});
    desk::remove_router(console.desk, now, ben, "back");
    happened();
    EXPECT_EQ(says("history"), "2026-11-21 14:02:11 Source 3 of back is Studio, in group Live.\n"
                               "2026-11-21 14:02:11 back was removed.\n");
}

TEST_F(RecordCommands, TraceTellsTheLastFrames)
{
    EXPECT_EQ(says("trace"), "Nothing has passed between the backend and the router yet.\n");
    frame(routers::direction::sent, routers::meaning::take, 0, 1);
    wait_ms(42);
    frame(routers::direction::received, routers::meaning::route, 0, 1);
    EXPECT_EQ(says("trace"), "14:02:11.000 > take MON A <- CAM 2\n"
                             "14:02:11.042 < MON A shows CAM 2\n"
                             "> to the router, < from it.\n");
    EXPECT_EQ(says("trace 1"), "14:02:11.042 < MON A shows CAM 2\n"
                               "> to the router, < from it.\n");
    const nlohmann::json row = ask("trace 1").json["rows"][0];
    EXPECT_EQ(row["direction"], "received");
    EXPECT_EQ(row["text"], "MON A shows CAM 2");
    EXPECT_EQ(row["at"], "2026-11-21T14:02:11.042Z");
    EXPECT_EQ(says("trace 0"), "\"0\" is no count: 1 or more.\n");
    EXPECT_EQ(ask("trace x").verdict, verdict::wrong_use);
}

TEST_F(RecordCommands, TraceShowsTwentyUnlessToldOtherwise)
{
    for (int i = 0; i < 30; ++i)
        frame(routers::direction::sent, routers::meaning::query, 0, 0);
    EXPECT_EQ(ask("trace").json["rows"].size(), 20U);
    EXPECT_EQ(ask("trace 25").json["rows"].size(), 25U);
    EXPECT_EQ(ask("trace 1000").json["rows"].size(), 30U);
}

TEST_F(RecordCommands, LogTellsWhatTheBackendSaid)
{
    EXPECT_EQ(says("log"), "The backend has said nothing yet.\n");
    backend().log.push_back({now, routers::level::warning, "no answer"});
    backend().log.push_back({now, routers::level::none, "plain"});
    EXPECT_EQ(says("log"), "14:02:11.000 warning: no answer\n"
                           "14:02:11.000 plain\n");
    EXPECT_EQ(ask("log 1").json["rows"], nlohmann::json::parse(R"([
        {"at": "2026-11-21T14:02:11.000Z", "level": "", "text": "plain"}])"));
}

TEST_F(RecordCommands, LogTellsHowMuchIsForgotten)
{
    backend().log.push_back({now, routers::level::none, "second"});
    backend().log.push_back({now, routers::level::none, "third"});
    EXPECT_EQ(ask("log").json["forgotten"], 0);
    backend().forgotten = 1;
    EXPECT_EQ(says("log"), "1 line before these has been forgotten.\n"
                           "14:02:11.000 second\n"
                           "14:02:11.000 third\n");
    EXPECT_EQ(says("log 1"), "14:02:11.000 third\n") << "the one before is still there";
    backend().forgotten = 1200;
    EXPECT_THAT(says("log 9"),
                testing::StartsWith("1200 lines before these have been forgotten.\n"));
    EXPECT_EQ(ask("log 1").json["forgotten"], 1200);
}

TEST_F(RecordCommands, WatchFollows)
{
    EXPECT_TRUE(ask("watch").follow);
}

TEST_F(RecordCommands, InfoTellsWhatIsKnown)
{
    wait_ms(42'000);
    EXPECT_EQ(says("info"), "Router         main\n"
                            "Address        none\n"
                            "Link           ready since 14:02:11 (0:42)\n"
                            "Sources        8\n"
                            "Destinations   8\n"
                            "Numbers        begin at 1\n");
    link(desk::link_state::down, "gone");
    desk::report_counts(console.desk, "main", 4, POSITIONS_HERE);
    EXPECT_THAT(says("info"), testing::HasSubstr("Link           down since 14:02:53 (0:00): gone\n"
                                                 "Sources        4 of 8 can be routed\n"));
    EXPECT_EQ(ask("info").json["sources"], 4);
    EXPECT_EQ(ask("info").json["namedSources"], 8);
}

TEST_F(RecordCommands, InfoTellsWhatTheRouterTellsOfItself)
{
    backend().info.identity = {"Box", "", "Switcher", "Maker"};
    backend().starts = 1;
    EXPECT_THAT(says("info"), testing::HasSubstr("Model          Box\n"
                                                 "Firmware       not told\n"
                                                 "Product        Switcher\n"
                                                 "Company        Maker\n"
                                                 "Backend        started 1 time\n"
                                                 "Frames         0 sent, 0 received\n"));
    EXPECT_EQ(ask("info").json["company"], "Maker");
}

TEST_F(RecordCommands, RoutersTellTheirLinks)
{
    link(desk::link_state::down, "the router closed the connection", "back");
    EXPECT_EQ(says("routers"),
              "   Router  Address  Sources  Destinations  Link\n"
              "   back    none           8             8  down since 14:02:11 (0:00): the router "
              "closed the connection\n"
              "*  main    none           8             8  ready since 14:02:11 (0:00)\n"
              "* is the one that commands concern; \"use\" changes that.\n");
    const nlohmann::json json = ask("routers").json;
    EXPECT_EQ(json["inUse"], "main");
    EXPECT_EQ(json["rows"][0]["link"]["state"], "down");
}

TEST_F(RecordCommands, HistoryTellsProgramsWhatWasWished)
{
    ask("take 1 3");
    happened();
    const nlohmann::json wished = {{{"router", "main"},
                                    {"destination", {{"index", 0}, {"name", "MON A"}}},
                                    {"was", {{"index", 0}, {"name", "CAM 1"}}},
                                    {"source", {{"index", 2}, {"name", "CAM 3"}}}}};
    const nlohmann::json last = ask("history").json["rows"].back();
    EXPECT_EQ(last["event"], "wished");
    EXPECT_EQ(last["wishes"], wished);
}
