#include <gmock/gmock.h>

#include "soak/ledgers.h"

using namespace soak;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
constexpr us_time_t SECOND = 1'000'000;
constexpr us_time_t START = 1'000 * SECOND;

class Ledgers : public testing::Test {
  protected:
    ledgers books;
    us_time_t now = START;

    // A connected backend that knows all of a router with two destinations, long undisturbed.
    void SetUp() override
    {
        books.routes = make_route_ledger(2, now);
        event(R"({"event":"connected","client":1})");
        diagnostics("<NOTE>Connection sucessful.");
        diagnostics("<DBG>Router finished returning levels, sources, destinations");
        message("info", {{"inputs", "2"}, {"outputs", "2"}});
        message("inputs", {{"i0.name", "CAM"}, {"i1.name", "VTR"}});
        message("outputs", {{"o0.name", "MON"}, {"o1.name", "PGM"}});
        reports_route(0, 0);
        reports_route(1, 1);
        pass(100 * SECOND);
        reports_route(0, 0); // reports are judged from here on
        pass(10 * SECOND);
        ASSERT_THAT(books.findings, IsEmpty());
        ASSERT_TRUE(all_settled(books));
    }
    void event(const std::string& line)
    {
        const auto parsed = parse_event(line);
        ASSERT_TRUE(parsed);
        enter_event(books, *parsed, now);
    }
    void diagnostics(const std::string& line)
    {
        enter_diagnostics(books, line, now);
    }
    void reported(int output, const std::string& input)
    {
        enter_record(
            books,
            {"outputs", "", "message", "", {{"o" + std::to_string(output) + ".input.all", input}}},
            now);
    }
    void message(const std::string& command, const std::map<std::string, std::string>& fields)
    {
        enter_record(books, {command, "", "message", "", fields}, now);
    }
    void reports_route(int output, int input)
    {
        diagnostics("<DBG>Accepting route change output=" + std::to_string(output) +
                    " input=" + std::to_string(input));
        reported(output, std::to_string(input));
    }
    void pass(us_time_t time, bool reading = true)
    {
        for (const us_time_t end = now + time; now < end; now += SECOND / 10)
            judge(books, reading, now);
    }
};
} // namespace

TEST_F(Ledgers, ChangeThatIsReportedIsRight)
{
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    reports_route(1, 4);
    pass(20 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
    EXPECT_EQ(books.routes.known_by_polling, 1U);
    EXPECT_EQ(books.events.at("take"), 1U);
}

TEST_F(Ledgers, ChangeThatIsNotReportedIsAFinding)
{
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    pass(20 * SECOND);
    EXPECT_THAT(books.findings,
                ElementsAre("changed by the router, unknown to the parent after 5 s of polling: "
                            "output 1 input 4, last reported input 1"));
    EXPECT_EQ(books.finding_count, 1U);
}

TEST_F(Ledgers, ReportOfATakeCountsWhateverFollows)
{
    books.proofs.take = {
        .id = "7", .output = 1, .input = 0, .sent = now, .made = false, .reported = false};
    event(R"({"event":"take","destination":2,"source":1,"by":"client","client":1})");
    reports_route(1, 0);
    event(R"({"event":"take","destination":2,"source":2,"by":"scenario"})");
    reports_route(1, 1);
    event(R"({"event":"take","destination":2,"source":1,"by":"scenario"})");
    pass(9 * SECOND / 2);
    EXPECT_THAT(books.findings, IsEmpty());
    EXPECT_EQ(books.proofs.takes, 1U);
}

TEST_F(Ledgers, AcceptedChangeWithoutReportIsAFinding)
{
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    event(R"({"event":"fault","fault":"lose","client":1,"request":"QI 2 0"})");
    diagnostics("<DBG>Accepting route change output=1 input=4");
    pass(30 * SECOND);
    EXPECT_THAT(books.findings, ElementsAre("accepted but never reported: output 1 input 4"));
}

TEST_F(Ledgers, ReportThatNobodyMadeIsAFinding)
{
    reported(0, "1");
    pass(3 * SECOND);
    EXPECT_THAT(books.findings,
                ElementsAre("reported, but never shown by the router: output 0 input 1"));
}

TEST_F(Ledgers, NoneIsNoRoute)
{
    reports_route(0, -1);
    reported(0, "none");
    pass(3 * SECOND);
    EXPECT_THAT(books.findings,
                testing::Each("reported, but never shown by the router: output 0 input "
                              "-1"));
    EXPECT_EQ(books.finding_count, 2U);
}

TEST_F(Ledgers, NamesAreNoRoutes)
{
    message("outputs", {{"o0.name", "MON"}, {"o1.input.allx", "7"}});
    EXPECT_EQ(books.reports.reported, 3U); // those of the beginning
}

TEST_F(Ledgers, ContradictionMayBeReported)
{
    event(
        R"({"event":"fault","fault":"contradict","client":1,"request":"QI 2 0","destination":2,"source":9})");
    reports_route(1, 8);
    pass(3 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
    EXPECT_FALSE(all_settled(books));
    reports_route(1, 1);
    EXPECT_TRUE(all_settled(books));
}

TEST_F(Ledgers, FaultThatOnlyDelaysExcusesNothing)
{
    for (const char* only_delays : {"", R"("only_delays":true,)"}) {
        event(std::string(R"({"event":"fault",)") + only_delays +
              R"("fault":"some","client":1,"request":"QI 2 0"})");
        EXPECT_EQ(undisturbed_since(books.routes, now), *only_delays != '\0');
        now += SECOND;
    }
    EXPECT_EQ(books.faults, 2U);
}

TEST_F(Ledgers, FaultThatLastsExcusesToItsEnd)
{
    event(R"({"event":"fault","fault":"burst","lasting":true,"client":1})");
    pass(20 * SECOND);
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    pass(20 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
    event(R"({"event":"end of fault","fault":"burst","client":1})");
    reports_route(1, 4);
    pass(20 * SECOND);
    event(R"({"event":"take","destination":2,"source":6,"by":"scenario"})");
    pass(20 * SECOND);
    EXPECT_EQ(books.finding_count, 1U);
}

TEST_F(Ledgers, FaultOfAConnectionEndsWithIt)
{
    event(R"({"event":"fault","fault":"silence","lasting":true,"client":1})");
    event(R"({"event":"fault","fault":"refuse","lasting":true})");
    event(R"({"event":"gone","client":1})");
    EXPECT_THAT(books.lasting, ElementsAre(std::pair("refuse", 0)));
}

TEST_F(Ledgers, FaultOfAForgottenConnectionEndsWithTheNextOne)
{
    event(R"({"event":"fault","fault":"half-open","lasting":true,"client":1})");
    event(R"({"event":"fault","fault":"ignore","lasting":true})");
    event(R"({"event":"connected","client":2})");
    EXPECT_THAT(books.lasting, ElementsAre(std::pair("ignore", 0)));
    event(R"({"event":"end of fault","fault":"ignore"})");
    EXPECT_THAT(books.lasting, IsEmpty());
    EXPECT_EQ(books.events.at("end of ignore"), 1U);
}

TEST_F(Ledgers, LostConnectionExcusesUntilTheRouterIsLearnt)
{
    diagnostics("<NOTE>Connection to router closed");
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    pass(60 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
    event(R"({"event":"connected","client":2})");
    diagnostics("<NOTE>Connection sucessful.");
    diagnostics("<DBG>Router finished returning levels, sources, destinations");
    reports_route(1, 4);
    pass(60 * SECOND);
    EXPECT_TRUE(all_settled(books));
    EXPECT_EQ(books.link.connections, 2U);
    diagnostics("<NOTE>Connection sucessful."); // to another port
    EXPECT_EQ(books.link.connections, 2U);
    EXPECT_EQ(books.complaints.at("<NOTE>Connection sucessful."), 3U);
}

TEST_F(Ledgers, SpoiltNamesExcuseUntilTheNextConnection)
{
    event(R"({"event":"fault","fault":"checksum","client":1,"request":"QN ID"})");
    reports_route(0, 1); // a position that has moved
    pass(60 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
    event(R"({"event":"connected","client":2})");
    reports_route(0, 0);
    event(R"({"event":"fault","fault":"cut","only_delays":true,"client":2,"request":"QN ID"})");
    pass(60 * SECOND);
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    pass(60 * SECOND);
    EXPECT_EQ(books.finding_count, 1U);
}

TEST_F(Ledgers, MissingNamesExcuseUntilTheyAreKnownAgain)
{
    for (const char* count : {"1", "0"}) {
        message("info", {{"inputs", "2"}, {"outputs", count}});
        reports_route(0, 1);
        pass(60 * SECOND);
    }
    message("outputs", {}); // names
    message("info", {{"inputs", "1"}, {"outputs", "2"}});
    reports_route(0, 1);
    pass(60 * SECOND);
    message("info", {{"inputs", "2"}, {"outputs", "2"}});
    reports_route(0, 0); // on its way since before
    pass(60 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
    reports_route(0, 1);
    pass(60 * SECOND);
    EXPECT_THAT(books.findings,
                testing::Contains("reported, but never shown by the router: output 0 input 1"));
}

TEST_F(Ledgers, PositionsStayDoubtfulForAMomentAfterTheRouterIsLearnt)
{
    diagnostics("<NOTE>Connection to router closed");
    diagnostics("<DBG>Router finished returning levels, sources, destinations");
    reports_route(0, 1); // on its way since before
    reports_route(0, 0);
    pass(60 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
}

TEST_F(Ledgers, PositionWithoutNameExcuses)
{
    message("inputs", {{"i0.name", "CAM"}, {"i1.name", ""}});
    reports_route(0, 1);
    pass(60 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
}

TEST_F(Ledgers, EmptyReportIsAFinding)
{
    message("outputs", {});
    pass(30 * SECOND);
    EXPECT_THAT(books.findings, ElementsAre("a report is not what was accepted: "));
}

TEST_F(Ledgers, TimedOutNamesExcuseUntilTheNextConnection)
{
    diagnostics("<ERR>Timeout during query (d=0 s=1 l=1)");
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    pass(60 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
}

TEST_F(Ledgers, OnlyComplaintsAreCounted)
{
    for (const char* line : {"<ERR>Timeout receiving message", "<DBG>'garbage", "more garbage"})
        diagnostics(line);
    EXPECT_THAT(books.complaints, ElementsAre(testing::Pair("<ERR>Timeout receiving message", 1),
                                              testing::Pair("<NOTE>Connection sucessful.", 1)));
}

TEST_F(Ledgers, CommandThatReachesTheRouterDisturbs)
{
    expect_reply(books.replies, "7", {"route output", "", true, now});
    pass(2 * SECOND);
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    enter_record(books, {"route output", "", "reply", "7", {}}, now);
    pass(60 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
}

TEST_F(Ledgers, LateReplyIsAFinding)
{
    expect_reply(books.replies, "7", {"dance", "", false, now});
    EXPECT_FALSE(all_settled(books));
    pass(16 * SECOND);
    EXPECT_THAT(books.findings, ElementsAre("no reply within 15 s: id 7, dance "));
}

TEST_F(Ledgers, ReportsOfABackendThatIsBehindAreNotJudged)
{
    expect_reply(books.replies, "7", {"dance", "", false, now});
    pass(2 * SECOND);
    reported(0, "0"); // of a change before
    enter_record(books, {"dance", "", "reply", "7", {}}, now);
    pass(30 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
    reported(0, "0");
    pass(30 * SECOND);
    reports_route(0, 0);
    pass(30 * SECOND);
    EXPECT_THAT(books.findings, IsEmpty());
    reported(0, "0");
    pass(30 * SECOND);
    EXPECT_THAT(books.findings, ElementsAre("a report is not what was accepted: output 0 input 0"));
}

TEST_F(Ledgers, ParentThatDoesNotReadMissesNothing)
{
    expect_reply(books.replies, "7", {"dance", "", false, now});
    event(R"({"event":"take","destination":2,"source":5,"by":"scenario"})");
    diagnostics("<DBG>Accepting route change output=1 input=4");
    pass(60 * SECOND, false);
    EXPECT_THAT(books.findings, IsEmpty());
}
