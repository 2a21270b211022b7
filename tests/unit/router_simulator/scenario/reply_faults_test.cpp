#include <gmock/gmock.h>
#include <set>

#include "unit/router_simulator/scenario/scenario_simulator.h"

using namespace router_simulator;
using testing::AnyOf;
using testing::Contains;
using testing::EndsWith;
using testing::UnorderedElementsAre;

namespace {
class ReplyFaults : public ScenarioSimulator {
  protected:
    // A client of a simulator that does this fault to the first request that begins so.
    int client_under(const std::string& fault, const std::string& request = "BK R")
    {
        begin(R"({"request": ")" + request + R"(", "times": 1, )" + fault + "}");
        const int end = connect_client();
        printed.clear();
        return end;
    }

    // The reply to a request for the revision under the fault.
    std::string revision_under(const std::string& fault)
    {
        const int end = client_under(fault);
        says(end, ask_revision);
        return hears(end);
    }
};
} // namespace

TEST_F(ReplyFaults, DelayHoldsTheReplyAndWhatFollows)
{
    const int end = client_under(R"("fault": "delay", "ms": [40, 40])");
    says(end, ask_revision + ask_route);
    EXPECT_EQ(events(), "delay client=1 request=\"BK R\" ms=40\n");
    pass_ms(39);
    EXPECT_EQ(hears(end), "");
    pass_ms(1);
    EXPECT_EQ(hears(end), revision + route);
}

TEST_F(ReplyFaults, DelayOfOneClientHoldsUpNoOther)
{
    const int slow = client_under(R"("fault": "delay", "ms": [40, 40])");
    const int other = connect_client();
    says(slow, ask_revision);
    says(other, ask_revision);
    EXPECT_EQ(hears(other), revision);
    EXPECT_EQ(hears(slow), "");
}

TEST_F(ReplyFaults, DelayIsAddedToAnotherFault)
{
    begin(R"({"request": "", "fault": "duplicate"},
             {"request": "", "fault": "delay", "ms": [5, 5]})");
    const int end = connect_client();
    says(end, ask_revision);
    EXPECT_EQ(hears(end), "");
    pass_ms(5);
    EXPECT_EQ(hears(end), revision + revision);
}

TEST_F(ReplyFaults, LostReplyDoesNotCome)
{
    const int end = client_under(R"("fault": "lose")");
    says(end, ask_revision + ask_revision);
    EXPECT_EQ(hears(end), revision) << "the second's";
    EXPECT_EQ(events(), "lose client=1 request=\"BK R\"\n");
}

TEST_F(ReplyFaults, RequestOfALostReplyIsCarriedOut)
{
    const int end = client_under(R"("fault": "lose")", "TI");
    says(end, frame("N0BK\tE\tON") + frame("N0TI\t1\t3"));
    EXPECT_EQ(hears(end), frame("N0ER\t00\tBK"));
    EXPECT_EQ(server.router.routes.at(1), 3U);
    EXPECT_EQ(events(), "take client=1 destination=1 source=3 by=client\n"
                        "lose client=1 request=\"TI 1 3\"\n");
}

TEST_F(ReplyFaults, LateReplyLetsOthersPass)
{
    const int end = client_under(R"("fault": "late", "ms": [30, 30])");
    says(end, ask_revision + ask_route);
    EXPECT_EQ(hears(end), route);
    pass_ms(29);
    says(end, ask_route);
    EXPECT_EQ(hears(end), route);
    pass_ms(1);
    EXPECT_EQ(hears(end), revision);
}

TEST_F(ReplyFaults, DuplicateComesTwice)
{
    EXPECT_EQ(revision_under(R"("fault": "duplicate")"), revision + revision);
}

TEST_F(ReplyFaults, ReorderedSetComesLastMessageFirst)
{
    server.router.options.entries_per_answer = 2;
    const int end = client_under(R"("fault": "reorder")", "QN IS");
    says(end, frame("N0QN\tIS"));
    EXPECT_EQ(hears(end), frame("N0NQ\tS\t2\tCAM 3\t0002\t0\t0\tCAM 4\t0003\t0\t0") +
                              frame("N1NQ\tS\t2\tCAM 1\t0000\t0\t0\tCAM 2\t0001\t0\t0"));
}

TEST_F(ReplyFaults, ReorderedMessageComesBehindTheNextReply)
{
    const int end = client_under(R"("fault": "reorder")");
    says(end, ask_revision);
    EXPECT_EQ(hears(end), "");
    says(end, ask_route);
    EXPECT_EQ(hears(end), route + revision);
}

TEST_F(ReplyFaults, TooMuchBehindTheNextReplyEndsTheClient)
{
    const int end = connect_client();
    shaped_reply reply = plain_reply({});
    reply.behind_next = true;
    reply.pieces = {{.bytes = std::string(MAX_WAITING_OUTPUT, 'x')}};
    send_reply(server, 1, reply);
    EXPECT_FALSE(has_ended(end));
    reply.pieces = {{.bytes = "x"}};
    send_reply(server, 1, reply);
    EXPECT_TRUE(has_ended(end));
}

TEST_F(ReplyFaults, ChecksumIsWrong)
{
    EXPECT_TRUE(revision.ends_with("EE\x04"));
    EXPECT_EQ(revision_under(R"("fault": "checksum")"), "\x01N0KB\tR\tr1E0\x04");
    stop_server(simulated);
    server.router.options.revision = "r?";
    EXPECT_TRUE(frame("N0KB\tR\tr?").ends_with("E0\x04"));
    EXPECT_EQ(revision_under(R"("fault": "checksum")"), "\x01N0KB\tR\tr?E1\x04");
}

TEST_F(ReplyFaults, NakStandsForARequestThatIsNotCarriedOut)
{
    const int end = client_under(R"("fault": "nak")", "TI");
    says(end, frame("N0TI\t1\t3"));
    EXPECT_EQ(hears(end), "\x15"
                          "0001\x04");
    EXPECT_EQ(server.router.routes.at(1), 1U);
    EXPECT_EQ(events(), "nak client=1 request=\"TI 1 3\"\n");
}

TEST_F(ReplyFaults, ErrorCarriesItsCodeAndTheRequest)
{
    const int end = client_under(R"("fault": "error", "code": "0A")", "TI");
    says(end, frame("N0TI\t1\t3"));
    EXPECT_EQ(hears(end), frame("N0ER\t0A\tTI"));
    EXPECT_EQ(server.router.routes.at(1), 1U);
}

TEST_F(ReplyFaults, TruncatedReplyLacksItsEnd)
{
    EXPECT_EQ(revision_under(R"("fault": "truncate", "bytes": 4)"), revision.substr(0, 4));
}

TEST_F(ReplyFaults, TruncationConcernsTheFirstFrameOnly)
{
    server.router.options.entries_per_answer = 3;
    const int end = client_under(R"("fault": "truncate", "bytes": 0)", "QN IS");
    says(end, frame("N0QN\tIS"));
    EXPECT_EQ(hears(end), frame("N0NQ\tS\t1\tCAM 4\t0003\t0\t0"));
}

TEST_F(ReplyFaults, FrameHasTheLengthItIsGiven)
{
    for (const std::size_t length : {4095U, 4096U, 4097U}) {
        const std::string heard =
            revision_under(R"("fault": "length", "bytes": )" + std::to_string(length));
        const std::string body = "N0KB\tR\tr1" + std::string(length - 11, 'X');
        EXPECT_TRUE(heard == frame(body)) << heard.size();
        EXPECT_EQ(heard.size(), length + 2);
        stop_server(simulated);
        server.last_client = 0;
    }
}

TEST_F(ReplyFaults, ShortFrameHasItsLengthToo)
{
    EXPECT_EQ(revision_under(R"("fault": "length", "bytes": 3)"), frame("N"));
    stop_server(simulated);
    EXPECT_EQ(revision_under(R"("fault": "length", "bytes": 0)"), "\x01\x04");
}

TEST_F(ReplyFaults, FrameHoldsANul)
{
    const std::string heard = revision_under(R"("fault": "nul")");
    EXPECT_EQ(heard, std::string("\x01N0KB\t\0R\tr1EE\x04", 14));
}

TEST_F(ReplyFaults, CutReplyComesInPieces)
{
    const int end = client_under(R"("fault": "cut", "at": [1, 5, 9, 999], "ms": 20)");
    says(end, ask_revision + ask_route);
    EXPECT_EQ(hears(end), revision.substr(0, 1));
    pass_ms(20);
    EXPECT_EQ(hears(end), revision.substr(1, 4));
    pass_ms(20);
    EXPECT_EQ(hears(end), revision.substr(5, 4));
    pass_ms(20);
    EXPECT_EQ(hears(end), revision.substr(9) + route);
}

TEST_F(ReplyFaults, ContradictedStatusShowsAnotherSource)
{
    const int end = client_under(R"("fault": "contradict")", "QI");
    says(end, ask_route);
    const std::string heard = hears(end);
    EXPECT_THAT(heard, AnyOf(frame("N0IQ\t0001\t0\tN\tN\t0000"), frame("N0IQ\t0001\t0\tN\tN\t0002"),
                             frame("N0IQ\t0001\t0\tN\tN\t0003")));
    EXPECT_EQ(events(), "contradict client=1 request=\"QI 1 0\" destination=1 source=" +
                            heard.substr(heard.size() - 4, 1) + "\n");
    says(end, frame("N0QD"));
    EXPECT_EQ(hears(end), frame("N0DQ\tMON B\t1\t0001")) << "the truth can be found out";
}

TEST_F(ReplyFaults, EverySourceButTheRoutedOneContradicts)
{
    begin(R"({"request": "QI", "fault": "contradict"})");
    const int end = connect_client();
    std::set<std::string> shown;
    for (int i = 0; i < 100; ++i) {
        says(end, ask_route);
        shown.insert(hears(end));
    }
    EXPECT_THAT(shown, UnorderedElementsAre(frame("N0IQ\t0001\t0\tN\tN\t0000"),
                                            frame("N0IQ\t0001\t0\tN\tN\t0002"),
                                            frame("N0IQ\t0001\t0\tN\tN\t0003")));
}

TEST_F(ReplyFaults, ContradictedTakeIsFollowedByAnotherSource)
{
    const int end = client_under(R"("fault": "contradict")", "TI");
    says(end, frame("N0TI\t1\t3"));
    EXPECT_THAT(hears(end),
                AnyOf(frame("N0IQ\t0001\t0\tN\tN\t0000"), frame("N0IQ\t0001\t0\tN\tN\t0001"),
                      frame("N0IQ\t0001\t0\tN\tN\t0002")));
    EXPECT_EQ(server.router.routes.at(1), 3U);
}

TEST_F(ReplyFaults, NothingContradictsARouterOfOneSource)
{
    server.router =
        make_router({.sources = 1, .destinations = 2, .source_base = 0, .destination_base = 0});
    const int end = client_under(R"("fault": "contradict")", "QI");
    says(end, ask_route);
    EXPECT_EQ(hears(end), frame("N0IQ\t0001\t0\tN\tN\t0000"));
    EXPECT_EQ(events(), "contradict client=1 request=\"QI 1 0\"\n");
}

TEST_F(ReplyFaults, EndlessReplyRepeatsItsFirstMessageAsNotTheLast)
{
    const int end = client_under(R"("fault": "endless", "messages": 3, "rate": 100)");
    says(end, ask_revision);
    serve(simulated, 0);
    const std::string again = frame("N1KB\tR\tr1");
    EXPECT_EQ(hears(end), again);
    pass_ms(10);
    EXPECT_EQ(hears(end), again);
    EXPECT_EQ(events(), "endless client=1 request=\"BK R\"\n");
    pass_ms(100);
    EXPECT_EQ(hears(end), again);
    EXPECT_EQ(events(), "end of endless client=1\n");
}

TEST_F(ReplyFaults, EndlessLastsWhereSomethingIsRepeated)
{
    server.json_events = true;
    begin(R"({"request": "", "fault": "endless", "messages": 3, "rate": 100})");
    const int end = connect_client();
    printed.clear();
    says(end, frame("N0TI\t1\t3"));
    EXPECT_THAT(printed, Contains(EndsWith(R"("fault":"endless","client":1,"request":"TI 1 3"})")));
    says(end, ask_revision);
    EXPECT_THAT(printed, Contains(EndsWith(
                             R"("fault":"endless","lasting":true,"client":1,"request":"BK R"})")));
}

TEST_F(ReplyFaults, ProgramsAreToldWhatOnlyDelays)
{
    server.json_events = true;
    const int end = client_under(R"("fault": "cut", "at": [1], "ms": 20)");
    printed.clear();
    says(end, ask_revision);
    EXPECT_THAT(printed, Contains(EndsWith(
                             R"("fault":"cut","only_delays":true,"client":1,"request":"BK R"})")));
}

TEST_F(ReplyFaults, DelayOfAnEndlessReplyRepeatsNothing)
{
    begin(R"({"request": "", "fault": "endless", "messages": 3, "rate": 100},
             {"request": "", "fault": "delay", "ms": [5, 5]})");
    const int end = connect_client();
    events();
    says(end, ask_revision);
    pass_ms(100);
    EXPECT_EQ(events(), "endless client=1 request=\"BK R\"\n"
                        "delay client=1 request=\"BK R\" ms=5\n"
                        "end of endless client=1\n");
}

TEST_F(ReplyFaults, BadFrameIsRejectedAsEver)
{
    const int end = client_under(R"("fault": "lose")", "");
    says(end, "\x01N0QDEE\x04");
    EXPECT_EQ(hears(end), "\x15"
                          "0001\x04");
    EXPECT_EQ(events(), "bad frame client=1 reason=\"bad checksum\"\n");
}
