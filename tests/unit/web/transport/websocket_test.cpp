#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "unit/web/transport/transport_test.h"

using namespace web;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace {
// Of RFC 6455, with the answer that it must give.
const std::string HANDSHAKE = "GET /live HTTP/1.1\r\nHost: localhost\r\nUpgrade: WebSocket\r\n"
                              "Connection: keep-alive, Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                              "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                              "Sec-WebSocket-Protocol: router-control.v1\r\n\r\n";
const std::string ACCEPTED = "\r\nSec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n";

constexpr int TEXT = 0x81;
constexpr int BINARY = 0x82;
constexpr int CLOSE = 0x88;
constexpr int PING = 0x89;

// As a client must send it: with a mask, here of zeros.
std::string frame(int kind, const std::string& payload, bool masked = true)
{
    std::string text(1, static_cast<char>(kind));
    const int mask_bit = masked ? 0x80 : 0;
    const std::size_t size = payload.size();
    const int length = size < 126 ? 0 : size < 65'536 ? 2 : 8;
    text += static_cast<char>(mask_bit | (length == 0   ? static_cast<int>(size)
                                          : length == 2 ? 126
                                                        : 127));
    for (int i = length - 1; i >= 0; --i)
        text += static_cast<char>(size >> 8 * i & 0xff);
    return text + (masked ? std::string(4, '\0') : "") + payload;
}

std::string closing(int code, const std::string& reason = "")
{
    return std::string{static_cast<char>(CLOSE), static_cast<char>(reason.size() + 2),
                       static_cast<char>(code >> 8), static_cast<char>(code & 0xff)} +
           reason;
}

// That have come with bytes in them: each write of the other end makes one, at least.
std::uint32_t segments_of(const test_client& client)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    EXPECT_EQ(getsockopt(client.socket.number, IPPROTO_TCP, TCP_INFO, &info, &size), 0);
    return info.tcpi_data_segs_in;
}

class Websocket : public TransportTest {
  protected:
    stream_id stream = 0;

    Websocket()
    {
        on_request = [this](request_id id, const request&) {
            stream = id;
            open_websocket(*served, id, "router-control.v1");
        };
    }

    void say(const std::string& text)
    {
        send(*served, stream, std::make_shared<const std::string>(text));
    }

    test_client& open()
    {
        test_client& client = connect(HANDSHAKE);
        until_got(client, "\r\n\r\n");
        client.got.clear();
        return client;
    }

    // What a client gets that sends this, which ends the connection.
    std::string end_of(const std::string& bytes)
    {
        test_client& client = open();
        client.send(bytes);
        client.end_sending();
        until_ended(client);
        until("it is told", [&] { return !streams_gone.empty(); });
        streams_gone.clear();
        return client.got;
    }
};
} // namespace

TEST_F(Websocket, OpensWithItsSubprotocol)
{
    start();
    test_client& client = connect(HANDSHAKE);
    until_got(client, "\r\n\r\n");
    EXPECT_EQ(status_line(client.got), "HTTP/1.1 101 Switching Protocols");
    EXPECT_THAT(client.got, HasSubstr(ACCEPTED));
    EXPECT_THAT(client.got, HasSubstr("\r\nSec-WebSocket-Protocol: router-control.v1\r\n"));
    EXPECT_EQ(counters(*served).statuses.at(101), 1U);
    EXPECT_EQ(counters(*served).streams, 1U);
}

TEST_F(Websocket, CarriesMessagesBothWays)
{
    start();
    test_client& client = open();
    client.send(frame(TEXT, "hello") + frame(TEXT, "again"));
    until("both", [&] { return messages.size() == 2; });
    EXPECT_THAT(messages, ElementsAre("hello", "again"));
    say("one");
    say("two");
    EXPECT_EQ(unsent_bytes(*served, stream), 6U);
    until_got(client, frame(TEXT, "two", false));
    EXPECT_EQ(client.got, frame(TEXT, "one", false) + frame(TEXT, "two", false));
    EXPECT_THAT(drained, ElementsAre(stream));
    EXPECT_EQ(unsent_bytes(*served, stream), 0U);
}

TEST_F(Websocket, SendsALongMessageWhole)
{
    start();
    test_client& client = open();
    const std::string message(4 << 20, 'x');
    say(message);
    until("all of it", [&] { return client.got.size() >= message.size() + 10; });
    EXPECT_TRUE(client.got == frame(TEXT, message, false));
}

TEST_F(Websocket, SendsWhatWaitsInOneWrite)
{
    start();
    test_client& client = open();
    const std::uint32_t before = segments_of(client);
    std::string expected;
    for (int i = 0; i < 50; ++i) {
        say(std::string(200, 'x') + std::to_string(i));
        expected += frame(TEXT, std::string(200, 'x') + std::to_string(i), false);
    }
    until("all of them", [&] { return client.got.size() >= expected.size(); });
    EXPECT_EQ(client.got, expected);
    EXPECT_EQ(segments_of(client) - before, 1U);
    EXPECT_THAT(drained, ElementsAre(stream));
    EXPECT_EQ(counters(*served).bytes_out, expected.size() - 50 * std::size_t{4});
}

TEST_F(Websocket, SendsMessagesOfAnyLengthAfterEachOther)
{
    start();
    test_client& client = open();
    std::string expected;
    for (const std::size_t size :
         std::vector<std::size_t>{0, 125, 126, 5, 16'384, 16'385, 7, 65'535, 65'536, 1, 0}) {
        say(std::string(size, 'x'));
        expected += frame(TEXT, std::string(size, 'x'), false);
    }
    until("all of them", [&] { return client.got.size() >= expected.size(); });
    EXPECT_TRUE(client.got == expected);
}

TEST_F(Websocket, AnswersPingsBetweenWholeMessages)
{
    start();
    test_client& client = open();
    common::owned_descriptor unread = std::move(client.socket);
    const std::string message(5000, 'x');
    const std::string pong = frame(0x8a, "p", false);
    constexpr int MESSAGES = 3000; // more than the system keeps
    for (int i = 0; i < MESSAGES; ++i) {
        say(message);
        if (i % 100 != 0) continue;
        const std::string ping = frame(PING, "p");
        ASSERT_EQ(::send(unread.number, ping.data(), ping.size(), 0), std::ssize(ping));
        turns(1);
    }
    client.socket = std::move(unread);
    until("all of them", [&] { return unsent_bytes(*served, stream) == 0; });
    say("last");
    until_got(client, frame(TEXT, "last", false));
    int messages_got = 0, pongs = 0;
    for (std::string_view rest = client.got; rest.size() > 6;)
        if (rest.starts_with(pong)) {
            ++pongs;
            rest.remove_prefix(pong.size());
        } else {
            ASSERT_TRUE(rest.starts_with(frame(TEXT, message, false))) << messages_got;
            ++messages_got;
            rest.remove_prefix(message.size() + 4);
        }
    EXPECT_EQ(messages_got, MESSAGES);
    EXPECT_GT(pongs, 0);
}

TEST_F(Websocket, JoinsAMessageThatComesInPieces)
{
    start();
    test_client& client = open();
    client.send(frame(0x01, "a") + frame(0x00, "b") + frame(PING, "p"));
    until_got(client, frame(0x8a, "p", false));
    client.send(frame(0x80, "c"));
    until("the message", [&] { return !messages.empty(); });
    EXPECT_THAT(messages, ElementsAre("abc"));
}

TEST_F(Websocket, RefusesWhatIsNotItsProtocol)
{
    start();
    EXPECT_EQ(end_of(frame(BINARY, "x")), closing(1003, "only text is understood"));
    EXPECT_EQ(end_of(frame(TEXT, "\xff")).substr(2, 2), "\x03\xef"); // 1007
    for (const std::string& broken :
         {frame(TEXT, "unmasked", false), frame(0xc1, "compressed"), frame(0x83, "of no kind"),
          frame(0x80, "goes on with nothing"), frame(0x01, "a") + frame(TEXT, "not its rest"),
          frame(0x09, "a ping in pieces"), frame(PING, std::string(126, 'x'))})
        EXPECT_EQ(end_of(broken).substr(2, 2), "\x03\xea") << broken; // 1002
    EXPECT_TRUE(messages.empty());
}

TEST_F(Websocket, BoundsTheSizeOfMessages)
{
    start();
    test_client& client = open();
    client.send(frame(TEXT, std::string(LONGEST_MESSAGE, 'x')));
    until("the longest", [&] { return !messages.empty(); });
    EXPECT_EQ(end_of(frame(TEXT, std::string(LONGEST_MESSAGE + 1, 'x'))).substr(2, 2),
              "\x03\xf1"); // 1009
    const std::string begun = frame(0x01, std::string(LONGEST_MESSAGE, 'x'));
    EXPECT_EQ(end_of(begun + frame(0x80, "x")).substr(2, 2), "\x03\xf1");
    EXPECT_EQ(messages.size(), 1U);
}

TEST_F(Websocket, BoundsTheRateOfMessages)
{
    start();
    std::string flood;
    for (int i = 0; i < MESSAGES_AT_ONCE * 2; ++i)
        flood += frame(TEXT, "x");
    EXPECT_EQ(end_of(flood), closing(1008, "too many messages"));
    EXPECT_GE(messages.size(), static_cast<std::size_t>(MESSAGES_AT_ONCE));
    EXPECT_LT(messages.size(), static_cast<std::size_t>(MESSAGES_AT_ONCE * 2));
}

TEST_F(Websocket, BoundsTheRateOfPings)
{
    start();
    std::string flood;
    for (int i = 0; i < MESSAGES_AT_ONCE * 2; ++i)
        flood += frame(PING, "");
    EXPECT_THAT(end_of(flood), HasSubstr(closing(1008, "too many messages")));
}

TEST_F(Websocket, EndsWhenTheClientDoes)
{
    limits.closing = 300ms; // its socket, it does not
    start();
    test_client& client = open();
    client.send(frame(CLOSE, std::string("\x03\xe8", 2)));
    until_ended(client);
    EXPECT_EQ(client.got, closing(1000));
    until("it is told", [&] { return !streams_gone.empty(); });
    EXPECT_THAT(streams_gone, ElementsAre(stream));
    EXPECT_EQ(counters(*served).streams, 0U);
    say("into the void");
    streams_gone.clear();
    open().end_by_reset();
    until("it is told", [&] { return !streams_gone.empty(); });
}

TEST_F(Websocket, EndsAfterWhatWasGiven)
{
    start();
    test_client& client = open();
    say("last");
    finish(*served, stream);
    until_got(client, closing(1000));
    EXPECT_EQ(client.got, frame(TEXT, "last", false) + closing(1000));
    client.send(frame(TEXT, "too late") + frame(CLOSE, std::string("\x03\xe8", 2)));
    until_ended(client);
    EXPECT_TRUE(streams_gone.empty() && messages.empty());
}

TEST_F(Websocket, IsClosedWithACodeAndAReason)
{
    start();
    test_client& client = open();
    say(std::string(20 << 20, 'x')); // more than the system keeps
    turns();
    say("dropped");
    close(*served, stream, 1013, "too slow");
    until_got(client, closing(1013, "too slow"));
    EXPECT_THAT(client.got, testing::Not(HasSubstr("dropped")));
    client.send(frame(CLOSE, ""));
    until_ended(client);
    EXPECT_FALSE(client.reset);
    EXPECT_TRUE(streams_gone.empty());
}

TEST_F(Websocket, WaitsABoundedTimeForTheClientsClose)
{
    limits.closing = 300ms;
    start();
    test_client& silent = open();
    close(*served, stream, 1001, std::string(200, 'r'));
    until_ended(silent);
    EXPECT_EQ(silent.got, closing(1001, std::string(123, 'r')));
    test_client& stuck = open(); // it does not even read
    const common::owned_descriptor unread = std::move(stuck.socket);
    say(std::string(20 << 20, 'x'));
    turns();
    close(*served, stream, 1001, "");
    until("closed", [&] { return counters(*served).open == 0; });
}

TEST_F(Websocket, WaitsABoundedTimeForTheEndOfOneThatBrokeARule)
{
    limits.closing = 300ms;
    start();
    test_client& client = open();
    client.send(frame(TEXT, "\xff"));
    until("closed", [&] { return counters(*served).open == 0; });
    EXPECT_THAT(streams_gone, ElementsAre(stream));
}

TEST_F(Websocket, TellsOfAClientThatTakesNothing)
{
    limits.taking = 300ms;
    start();
    test_client& client = open();
    const common::owned_descriptor unread = std::move(client.socket);
    say(std::string(20 << 20, 'x'));
    until("it is told", [&] { return !streams_gone.empty(); });
    EXPECT_THAT(streams_gone, ElementsAre(stream));
}

TEST_F(Websocket, IsNotOpenedForOtherRequests)
{
    start();
    const auto without = [&](const std::string& line) {
        std::string text = HANDSHAKE;
        const std::size_t at = text.find(line);
        text.erase(at, text.find("\r\n", at) + 2 - at);
        text.insert(text.size() - 2, "Via: 1.1 x\r\n");
        return text;
    };
    for (const std::string line : {"Upgrade:", "Sec-WebSocket-Version", "Sec-WebSocket-Key"}) {
        test_client& client = connect(without(line));
        until_got(client, "}");
        EXPECT_EQ(problem_of(client.got), "426 upgradeRequired") << line;
    }
    test_client& early = connect(HANDSHAKE + frame(TEXT, "before it is let in"));
    until_got(early, "}");
    EXPECT_THAT(early.got, HasSubstr("426 Upgrade Required"));
    EXPECT_TRUE(messages.empty());
}
