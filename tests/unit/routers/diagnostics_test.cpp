// Each message is produced by the backend itself, so that a text changed there is noticed here.
#include <cerrno>
#include <gmock/gmock.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "common/log.h"
#include "common/loop_flags.h"
#include "frame/settings.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/transaction.h"
#include "router_model/discovery.h"
#include "router_model/state.h"
#include "server/routers/diagnostics.h"
#include "unit/routers/told_test.h"

using namespace routers;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {
class Diagnostics : public ToldTest {
  protected:
    void SetUp() override
    {
        ToldTest::SetUp();
        router_ip_address = "127.0.0.1";
    }

    frame_line told_frame()
    {
        const auto frames = told_of<frame_line>();
        EXPECT_EQ(frames.size(), 1U);
        return frames.empty() ? frame_line{} : frames.back();
    }

    std::string told_text()
    {
        const auto texts = told_of<text_line>();
        return texts.empty() ? "" : texts.back().text;
    }
};
} // namespace

TEST_F(Diagnostics, TellOfAFrameSent)
{
    connect_router();
    told();
    connection_sendmsg(make_request("TI", {"F", "C"}));
    const frame_line line = told_frame();
    EXPECT_EQ(line.way, direction::sent);
    EXPECT_EQ(mnemonic_of(line.message), "TI");
    EXPECT_THAT(line.message.parameters, ElementsAre("F", "C"));
    EXPECT_EQ(line.message.raw, "N0TI\tF\tC4A");
}

TEST_F(Diagnostics, TellOfAFrameReceived)
{
    parse_router_bytes(frame(body("IQ", {"2", "0", "N", "N", "4"})));
    const frame_line line = told_frame();
    EXPECT_EQ(line.way, direction::received);
    EXPECT_FALSE(line.rejected);
    EXPECT_TRUE(line.message.ok);
    EXPECT_EQ(mnemonic_of(line.message), "IQ");
    EXPECT_THAT(line.message.parameters, ElementsAre("2", "0", "N", "N", "4"));
}

// Why the desk takes it from the frames alone.
TEST_F(Diagnostics, TellNoDisconnectionOfARouterWithNames)
{
    discovered_inputs = discovered_outputs = number_of_outputs = 4;
    for (const std::uint64_t base : {0U, 1U}) {
        input_index_base = output_index_base = base;
        for (const char* source : {"0", "FFFFFFFF"}) {
            parse_router_bytes(frame(body("IQ", {"2", "0", "N", "N", source})));
            handle_router_message(router_rx_queue.back());
        }
    }
    EXPECT_THAT(accepted_route_changes, ElementsAre(Field(&RouteChange::input, 0)));
}

TEST_F(Diagnostics, DecodeAsTheBackendDoes)
{
    for (const std::string& bytes :
         {frame(body("ER", {"05", "TI"})), frame(body("ER", {"00", "TI"})), frame(body("ER")),
          frame("N0"), frame("\r\n\x06"), frame(body("NQ", {"", ""}, '7')), std::string("\x06"),
          std::string("\x15"
                      "1a2B\x04"),
          std::string("\x15\x04")}) {
        parse_router_bytes(bytes);
        const router_message& theirs = router_rx_queue.back();
        const router_message ours = told_frame().message;
        EXPECT_EQ(fields(ours), fields(theirs)) << bytes;
    }
}

TEST_F(Diagnostics, TellWhichFramesTheBackendRejects)
{
    parse_router_bytes("\x01N0IQ\t1FF\x04");
    EXPECT_TRUE(told_frame().rejected);
    parse_router_bytes("\x01X\x04");
    EXPECT_TRUE(told_frame().rejected);
    EXPECT_TRUE(router_rx_queue.empty());
}

TEST_F(Diagnostics, TellOfAnAcceptedRoute)
{
    accept_route_change(12, -1);
    const auto routes = told_of<route_accepted>();
    ASSERT_EQ(routes.size(), 1U);
    EXPECT_EQ(routes[0].output, 12);
    EXPECT_EQ(routes[0].input, -1);
}

TEST_F(Diagnostics, TellHowAnAttemptGoesOn)
{
    router_accepts_connections();
    connect_to_router();
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::connecting, link_event::connected));
    close_router_connection();
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::closed));
}

TEST_F(Diagnostics, TellOfAnAttemptThatSucceedsAtOnce)
{
    on_connect = [](int, const sockaddr_in&) {
        return 0;
    };
    connect_to_router();
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::connected));
}

TEST_F(Diagnostics, TellWhyAnAttemptFails)
{
    on_connect = [](int, const sockaddr_in&) {
        errno = ENETUNREACH;
        return -1;
    };
    connect_to_router();
    const auto lines = told_of<link_line>();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].what, link_event::connect_failed);
    EXPECT_EQ(lines[0].detail, "Network is unreachable");
    EXPECT_EQ(lines[1].what, link_event::closed);
}

TEST_F(Diagnostics, TellOfAnAttemptInProgressAndItsFailure)
{
    router_port = 1; // nobody listens there
    connect_to_router();
    for (int i = 0; i < 1000 && router_fd >= 0; ++i)
        connect_to_router();
    const auto lines = told_of<link_line>();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].what, link_event::connecting);
    EXPECT_EQ(lines[1].what, link_event::connect_failed);
    EXPECT_EQ(lines[1].detail, "Connection refused");
    EXPECT_EQ(lines[2].what, link_event::closed);
}

TEST_F(Diagnostics, TellOfAnAddressThatIsNone)
{
    router_ip_address = "the router";
    connect_to_router();
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::no_address));
}

TEST_F(Diagnostics, TellWhenThereIsNoSocket)
{
    force_result(SystemCall::Socket, ANY_DESCRIPTOR, -1, EMFILE);
    connect_to_router();
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::no_socket));
}

TEST_F(Diagnostics, TellThatTheRouterClosed)
{
    connect_router();
    router_closes();
    receive_from_router();
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::dropped, link_event::closed));
}

TEST_F(Diagnostics, TellOfABrokenConnection)
{
    connect_router();
    force_result(SystemCall::Read, router_fd, -1, ECONNRESET);
    receive_from_router();
    const auto lines = told_of<link_line>();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].what, link_event::broken);
    EXPECT_EQ(lines[0].detail, "Connection reset by peer");
}

TEST_F(Diagnostics, TellOfSilence)
{
    connect_router();
    advance_us(last_router_activity + 20'000'000 - fake_now_us);
    service_router_connection();
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::silent, link_event::closed));
}

TEST_F(Diagnostics, TellOfARequestUnanswered)
{
    connect_router();
    std::vector<router_message> response;
    do_timeout_send_and_recv(make_request("QD"), response, fake_now_us + 1000);
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::unanswered, link_event::closed));
    do_timeout_send_and_recv(make_request("QD"), response, fake_now_us + 1000);
    EXPECT_THAT(told_of_link(), ElementsAre(link_event::unable_to_send));
}

TEST_F(Diagnostics, TellHowDiscoveryEndsWithoutNames)
{
    connect_router();
    router_answers("QN IS", frame(body("NQ", {"S", "1", "CAM 1", "3", "0", "0"})));
    run_discovery();
    const auto all = told();
    std::vector<std::string> endings;
    std::vector<index_range> ranges;
    for (const diagnostic& each : all) {
        if (const auto* line = std::get_if<link_line>(&each)) endings.push_back(line->detail);
        if (const auto* range = std::get_if<index_range>(&each)) ranges.push_back(*range);
    }
    EXPECT_THAT(endings, ElementsAre("d=0 s=1 l=0)"));
    ASSERT_EQ(ranges.size(), 1U);
    EXPECT_TRUE(ranges[0].inputs);
    EXPECT_EQ(ranges[0].first, 3U);
    EXPECT_EQ(ranges[0].last, 3U);
}

TEST_F(Diagnostics, TellHowDiscoveryEndsWithNames)
{
    connect_router();
    router_answers("QN L", frame(body("NQ", {"L", "0"})));
    router_answers("QN IS", frame(body("NQ", {"S", "0"})));
    router_answers("QN ID", frame(body("NQ", {"D", "2", "A", "1", "0", "0", "B", "2", "0", "0"})));
    run_discovery();
    const auto all = told();
    std::vector<link_event> events;
    std::vector<index_range> ranges;
    for (const diagnostic& each : all) {
        if (const auto* line = std::get_if<link_line>(&each)) events.push_back(line->what);
        if (const auto* range = std::get_if<index_range>(&each)) ranges.push_back(*range);
    }
    EXPECT_THAT(events, ElementsAre(link_event::names_complete));
    ASSERT_EQ(ranges.size(), 1U);
    EXPECT_FALSE(ranges[0].inputs);
    EXPECT_EQ(ranges[0].first, 1U);
    EXPECT_EQ(ranges[0].last, 2U);
}

TEST_F(Diagnostics, KeepEverythingElseAsTextWithItsLevel)
{
    log_debug("a");
    log_note("b");
    log_warning("c");
    log_error("Device is a \"%s\"", "<NOTE>Connection to router closed");
    log_untagged("<dbg>");
    log_note("Router: ACK");
    std::vector<std::pair<level, std::string>> texts;
    for (const text_line& line : told_of<text_line>())
        texts.emplace_back(line.level, line.text);
    EXPECT_THAT(
        texts,
        ElementsAre(std::pair(level::debug, "a"), std::pair(level::note, "b"),
                    std::pair(level::warning, "c"),
                    std::pair(level::error, "Device is a \"<NOTE>Connection to router closed\""),
                    std::pair(level::none, "<dbg>"), std::pair(level::note, "Router: ACK")));
}

TEST_F(Diagnostics, TakeNothingOfWhatARouterSaysForAnythingElse)
{
    connect_router();
    told();
    const std::string forged = "\n<DBG>Send to router: " + frame("N0TI\t1\t2").substr(0, 11) +
                               "\n<NOTE>Connection to router closed\n<DBG>Router: ACK\n<ERR>";
    router_says_bytes(frame(body("KB", {"N", forged})));
    router_says_bytes("\x15" + forged + "\x04" + "\x01" + forged + std::string(1, '\0') + "\x04");
    receive_from_router();
    handle_router_message(router_rx_queue.front());
    std::vector<std::size_t> kinds;
    for (const diagnostic& each : told())
        kinds.push_back(each.index());
    // The message, the NAK, the NUL and what came before it, the message as it is handled.
    EXPECT_THAT(kinds, ElementsAre(0, 0, 4, 4, 4));
    EXPECT_THAT(router_rx_queue.front().raw, HasSubstr(forged));
}

TEST_F(Diagnostics, KeepAMessageOfTheRouterWithItsLineEnds)
{
    parse_router_bytes(frame(body("KB", {"N", "two\nlines\n"})));
    EXPECT_THAT(told_frame().message.parameters, ElementsAre("N", "two\nlines\n"));
}

TEST_F(Diagnostics, ReadOnlyWhatIsExactlyAsTheBackendWritesIt)
{
    for (const std::string text :
         {"", "<DBG>", "<DBG>Router: MSG", "<DBG>Router: ACK ", "<NOTE>Router: MSG \x01N0BKF5",
          "<DBG>Send to router: ", "<DBG>Send to router: \x01", "<DBG>Send to router: \x01N0BKF5",
          "<DBG>Send to router: \x01N0BKF6\x04", "<DBG>Accepting route change output=1 input=",
          "<DBG>Accepting route change output=1 input=2 ",
          "<DBG>Accepting route change output= input=2", "<DBG>Accepting route change output=1",
          "<DBG>Accepting route change output=99999999999 input=1", "<DBG>Inputs range from 1",
          "<DBG>Outputs range from 1-x", "<DBG>Connection to router closed",
          "<NOTE>Connection to router closed.", "<ERR>Failed to connect to router, "}) {
        const diagnostic read = read_diagnostic(text);
        const auto* const line = std::get_if<text_line>(&read);
        ASSERT_NE(line, nullptr) << text;
        EXPECT_THAT(text, HasSubstr(line->text));
    }
}

RC_GTEST_PROP(AnyDiagnostics, AreReadWithoutHarm, (const std::string& text))
{
    const auto beginning = *rc::gen::element<std::string>(
        "", "<DBG>", "<DBG>Router: MSG ", "<DBG>Router: NAK ", "<DBG>Send to router: \x01",
        "<DBG>Accepting route change output=", "<DBG>Inputs range from ",
        "<ERR>Timeout during query (");
    const auto end = *rc::gen::element<std::string>("", "\x04", " input=1", "-9");
    const diagnostic read = read_diagnostic(beginning + text + end);
    if (const auto* line = std::get_if<frame_line>(&read))
        RC_ASSERT((beginning + text + end).find(line->message.raw) != std::string::npos);
}
