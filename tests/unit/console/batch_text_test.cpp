#include "console/batch_text.h"
#include "server/desk/takes.h"
#include "unit/console/console_test.h"

using namespace console;

class BatchText : public ConsoleTest {
  public:
    using ConsoleTest::carry_out, ConsoleTest::console, ConsoleTest::link, ConsoleTest::now,
        ConsoleTest::wait_ms;

    // One batch, whatever its command.
    desk::ulid take(const std::vector<desk::route>& routes,
                    desk::batch_rule rule = desk::batch_rule::rest)
    {
        desk::take_request request;
        request.rule = rule;
        for (const desk::route& route : routes)
            request.rows.push_back({route, {}});
        return desk::take(console.desk, now, console.person, request).batch;
    }

    void send(int destination, int source)
    {
        desk::trace_take(console.desk, now, "main", destination, source);
        desk::trace_query(console.desk, "main", destination);
    }

    void acknowledge_take()
    {
        desk::trace_take_answer(console.desk, now, "main", "");
    }

    // Nothing was asked behind it.
    void refuse_take(int destination, const std::string& how)
    {
        desk::trace_query_unanswered(console.desk, now, "main", destination, false);
        desk::trace_take_answer(console.desk, now, "main", how);
    }

    // In answer to a query, when one is under way.
    void show(int destination, int source)
    {
        desk::trace_route(console.desk, now, "main", destination, source);
        report(destination, source);
    }

    void take_away_link()
    {
        link(desk::link_state::down, "connection refused");
        desk::report_backend_ended(console.desk, now, "main");
    }
};

// What happens to a take of CAM 3 to MON A, which shows CAM 1, and what is said of it.
struct ending {
    const char* name;
    void (*happens)(BatchText& test);
    const char* text;
    const char* code;
    verdict judged;
};

class BatchTextOfOne : public BatchText, public testing::WithParamInterface<ending> {};

const ending ENDINGS[] = {
    {"confirmed",
     [](BatchText& test) {
         test.wait_ms(12);
         test.carry_out(0, 2);
     },
     "MON A shows CAM 3: confirmed after 12 ms.\n", "confirmed", verdict::done},
    {"confirmed, then taken by somebody else",
     [](BatchText& test) {
         test.carry_out(0, 2);
         test.show(0, 4);
     },
     "MON A showed CAM 3: confirmed after 0.0 ms; it shows CAM 5 by now, taken by somebody "
     "else.\n",
     "confirmed", verdict::done},
    {"confirmed, then the link lost",
     [](BatchText& test) {
         test.wait_ms(1500);
         test.carry_out(0, 2);
         test.link(desk::link_state::down, "connection refused");
     },
     "MON A showed CAM 3: confirmed after 1.5 s; what it shows by now is not known.\n", "confirmed",
     verdict::done},
    {"contradicted by another's take",
     [](BatchText& test) {
         test.send(0, 2);
         test.show(0, 4);
     },
     "MON A <- CAM 3: not confirmed: the router shows CAM 5 instead: taken by somebody else.\n",
     "contradicted", verdict::refused},
    {"contradicted by what it showed before",
     [](BatchText& test) {
         test.send(0, 2);
         test.show(0, 0);
     },
     "MON A <- CAM 3: not confirmed: the router still shows CAM 1.\n", "contradicted",
     verdict::refused},
    {"refused",
     [](BatchText& test) {
         test.send(0, 2);
         test.refuse_take(0, "NAK 0005");
     },
     "MON A <- CAM 3: refused by the router (NAK 0005).\n", "refused", verdict::refused},
    {"timed out",
     [](BatchText& test) {
         test.wait_ms(40);
         test.send(0, 2);
         test.wait_ms(3000);
     },
     "MON A <- CAM 3: timed out: not confirmed within 3.0 s of being sent; MON A shows CAM 1.\n",
     "timedOut", verdict::refused},
    {"timed out, perhaps sent",
     [](BatchText& test) {
         test.link(desk::link_state::down, "connection refused");
         desk::report_backend_ended(test.console.desk, test.now, "main", false);
     },
     "MON A <- CAM 3: timed out: it may have been sent: part of the traffic could not be read; "
     "what "
     "it shows by now is not known.\n",
     "timedOut", verdict::refused},
    {"link lost before it was sent", [](BatchText& test) { test.take_away_link(); },
     "MON A <- CAM 3: not sent: the link was lost before it was sent.\n", "notSent",
     verdict::not_ready},
    {"not sent in time",
     [](BatchText& test) {
         test.wait_ms(5000);
         desk::report_backend_ended(test.console.desk, test.now, "main");
     },
     "MON A <- CAM 3: not sent: it could not be sent in time.\n", "notSent", verdict::refused},
    {"superseded",
     [](BatchText& test) {
         test.take({{"main", 0, 3}});
         test.send(0, 3);
     },
     "MON A <- CAM 3: superseded: anna asked for CAM 4 before it was sent.\n", "superseded",
     verdict::refused},
    {"unknown",
     [](BatchText& test) {
         const desk::house kept = test.console.desk.house;
         test.console.desk = desk::make_desk(2, kept, test.now);
         test.console.desk.live["main"].source_names = {"", "", "CAM 3"};
         test.console.desk.live["main"].destination_names = {"MON A"};
     },
     "MON A <- CAM 3: unknown: the program was restarted.\n", "unknown", verdict::refused},
};

INSTANTIATE_TEST_SUITE_P(Endings, BatchTextOfOne, testing::ValuesIn(ENDINGS));

TEST_P(BatchTextOfOne, SaysHowItEnded)
{
    const ending& expected = GetParam();
    const desk::ulid batch = take({{"main", 0, 2}});
    EXPECT_FALSE(has_ended(console.desk.house, batch));
    EXPECT_FALSE(has_outcome(console.desk.house, batch));
    expected.happens(*this);
    ASSERT_TRUE(has_outcome(console.desk.house, batch)) << expected.name;
    EXPECT_EQ(outcome_text(console, batch), expected.text) << expected.name;
    EXPECT_EQ(outcome_json(console, batch).at("rows").at(0).at("outcome"), expected.code);
    EXPECT_EQ(verdict_of(console.desk.house.batches.at(batch)), expected.judged) << expected.name;
}

TEST_F(BatchText, TellsOfManyRowsTheFiguresAndWhatWasNotConfirmed)
{
    report(3, 2);
    const desk::ulid batch = take({{"main", 0, 2}, {"main", 1, 2}, {"main", 2, 2}, {"main", 3, 2}});
    carry_out(0, 2);
    wait_ms(212);
    carry_out(1, 2);
    acknowledge_take();
    acknowledge_take();
    EXPECT_FALSE(has_outcome(console.desk.house, batch));
    send(2, 2);
    refuse_take(2, "ER 10");
    EXPECT_EQ(outcome_text(console, batch), "2 of 3 confirmed, slowest 212 ms, 1 shown already.\n"
                                            "  MON C <- CAM 3: refused by the router (ER 10)\n");
}

TEST_F(BatchText, TellsOfTwentyRowsAtMost)
{
    add_router("big");
    desk::report_counts(console.desk, "big", 30, 30);
    std::vector<desk::route> routes;
    for (int i = 0; i < 23; ++i)
        routes.push_back({"big", i, 2});
    const desk::ulid batch = take(routes);
    link(desk::link_state::down, "", "big");
    desk::report_backend_ended(console.desk, now, "big");
    const std::string text = outcome_text(console, batch);
    EXPECT_THAT(text, testing::StartsWith("none of 23 confirmed.\n"
                                          "  MON A of big <- CAM 3: not sent: the link was lost "
                                          "before it was sent\n"));
    EXPECT_THAT(text, testing::EndsWith("\n  and 3 more\n"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 22);
}

TEST_F(BatchText, TellsOfWhichWishesTheEndIsNotKnown)
{
    const desk::ulid some = take({{"main", 0, 2}, {"main", 1, 2}, {"back", 2, desk::NO_SOURCE}});
    carry_out(0, 2);
    EXPECT_EQ(unknown_text(console, some),
              "MON B <- CAM 3: it is not known what became of it.\n"
              "MON C of back <- no source: it is not known what became of it.\n");
    add_router("big");
    desk::report_counts(console.desk, "big", 30, 30);
    std::vector<desk::route> routes;
    for (int i = 0; i < 23; ++i)
        routes.push_back({"big", i, 2});
    const std::string text = unknown_text(console, take(routes));
    EXPECT_THAT(text, testing::EndsWith("\n  and 3 more\n"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 21);
}

TEST_F(BatchText, NamesWhatBatchItWas)
{
    ask("take 1 3");
    carry_out(0, 2);
    happened();
    const desk::ulid undo = ask("undo").batch;
    wait_ms(3);
    carry_out(0, 0);
    EXPECT_EQ(outcome_text(console, undo), "Undo: MON A shows CAM 1: confirmed after 3.0 ms.\n");
    const desk::ulid redo = ask("redo").batch;
    carry_out(0, 2);
    EXPECT_EQ(outcome_text(console, redo), "Redo: MON A shows CAM 3: confirmed after 0.0 ms.\n");
}

TEST_F(BatchText, HasNoOutcomeOfWhatWasNeverOnItsWay)
{
    EXPECT_FALSE(has_outcome(console.desk.house, take({{"main", 0, 0}}))) << "shown already";
    link(desk::link_state::down);
    EXPECT_FALSE(has_outcome(console.desk.house, take({{"main", 0, 3}}))) << "refused by us";
    EXPECT_FALSE(has_outcome(console.desk.house, {1, 2})) << "forgotten";
    EXPECT_TRUE(has_ended(console.desk.house, {1, 2}));
    EXPECT_EQ(outcome_text(console, {1, 2}), "");
    EXPECT_EQ(outcome_json(console, {1, 2}), nullptr);
}

TEST_F(BatchText, TellsOfALateConfirmation)
{
    const desk::ulid batch = take({{"main", 0, 2}});
    send(0, 2);
    wait_ms(3000);
    EXPECT_EQ(late_text(console, {batch, 0}), "") << "not confirmed at all";
    EXPECT_EQ(late_json(console, {batch, 0}), nullptr);
    wait_ms(1250);
    report(0, 2);
    EXPECT_EQ(late_text(console, {batch, 0}), "MON A shows CAM 3: confirmed late, after 4.2 s.\n");
    EXPECT_EQ(end_text(console.desk.house.batches.at(batch).rows[0]),
              "timed out: not confirmed within 3.0 s of being sent; confirmed late, after 4.2 s");
    const nlohmann::json json = late_json(console, {batch, 0});
    EXPECT_EQ(json.at("event"), "confirmedLate");
    EXPECT_EQ(json.at("batch"), desk::text_of(batch));
    EXPECT_EQ(json.at("confirmedLateMs"), 4250.0);
    EXPECT_EQ(json.at("outcome"), "timedOut");
}

TEST_F(BatchText, GivesProgramsTheSameFacts)
{
    const desk::ulid batch = take({{"main", 0, 2}, {"main", 1, desk::NO_SOURCE}});
    now.steady += std::chrono::microseconds(12'345);
    carry_out(0, 2);
    acknowledge_take();
    send(1, desk::NO_SOURCE);
    refuse_take(1, "NAK 0005");
    const nlohmann::json expected = {{"event", "outcome"},
                                     {"batch", desk::text_of(batch)},
                                     {"kind", "take"},
                                     {"confirmed", 1},
                                     {"unchanged", 0},
                                     {"slowestMs", 12.345},
                                     {"rows",
                                      {{{"router", "main"},
                                        {"destination", {{"index", 0}, {"name", "MON A"}}},
                                        {"was", {{"index", 0}, {"name", "CAM 1"}}},
                                        {"source", {{"index", 2}, {"name", "CAM 3"}}},
                                        {"outcome", "confirmed"},
                                        {"unchanged", false},
                                        {"latencyMs", 12.345}},
                                       {{"router", "main"},
                                        {"destination", {{"index", 1}, {"name", "MON B"}}},
                                        {"was", {{"index", 0}, {"name", "CAM 1"}}},
                                        {"source", nullptr},
                                        {"outcome", "refused"},
                                        {"detail", "NAK 0005"}}}}};
    EXPECT_EQ(outcome_json(console, batch), expected);
}
