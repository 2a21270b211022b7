// Answers whose body comes by and by.
#include <sys/socket.h>

#include "unit/web/transport/transport_test.h"

using namespace web;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {
class Stream : public TransportTest {
  protected:
    stream_id stream = 0;

    Stream()
    {
        on_request = [this](request_id id, const request&) {
            stream = id;
            open_stream(*served, id, {200, "text/event-stream", "", {}});
        };
    }

    void say(const std::string& text)
    {
        send(*served, stream, std::make_shared<const std::string>(text));
    }

    test_client& open(const std::string& version = "1.1", const std::string& method = "GET")
    {
        test_client& client =
            connect(method + " /a HTTP/" + version + "\r\nHost: localhost\r\n\r\n");
        until("the stream", [&] { return stream != 0; });
        return client;
    }
};
} // namespace

TEST_F(Stream, ComesInChunks)
{
    start();
    test_client& client = open();
    until_got(client, "\r\n\r\n");
    EXPECT_EQ(status_line(client.got), "HTTP/1.1 200 OK");
    EXPECT_THAT(client.got, HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
    EXPECT_THAT(client.got, Not(HasSubstr("Content-Length")));
    say("data: 1\n\n");
    until_got(client, "\r\n9\r\ndata: 1\n\n\r\n");
    say(""); // which is no end
    say("0123456789abcdef");
    until_got(client, "\n10\r\n0123456789abcdef\r\n");
    finish(*served, stream);
    until_got(client, "\r\n0\r\n\r\n");
}

TEST_F(Stream, MayBeFollowedByAnotherAnswer)
{
    start();
    test_client& client = open();
    say("one");
    finish(*served, stream);
    say("nothing after the end");
    until_got(client, "3\r\none\r\n0\r\n\r\n");
    on_request = [&](request_id id, const request&) {
        respond(*served, id, {200, "", "two", {}});
    };
    client.send("GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    until_ended(client);
    EXPECT_THAT(client.got, EndsWith("\r\n\r\ntwo"));
    EXPECT_THAT(client.got, Not(HasSubstr("nothing")));
}

TEST_F(Stream, BeginsWithTheBodyOfItsHead)
{
    start();
    on_request = [&](request_id id, const request&) {
        open_stream(*served, id, {200, "text/csv", "a,b\n", {}});
        finish(*served, id);
    };
    test_client& client = connect("GET /a HTTP/1.1\r\nHost: localhost\r\n\r\n");
    until_got(client, "\r\n\r\n4\r\na,b\n\r\n0\r\n\r\n");
}

TEST_F(Stream, EndsWithTheConnectionForOlderClients)
{
    start();
    test_client& client = open("1.0");
    say("one");
    finish(*served, stream);
    until_ended(client);
    EXPECT_THAT(client.got, Not(HasSubstr("chunked")));
    EXPECT_THAT(client.got, EndsWith("\r\n\r\none"));
}

TEST_F(Stream, IsAHeadAloneForHead)
{
    start();
    test_client& client = open("1.1", "HEAD");
    say("one");
    finish(*served, stream);
    client.send("HEAD /b HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    until("the second one", [&] { return requests.size() == 2; });
    finish(*served, stream);
    until_ended(client);
    EXPECT_THAT(client.got, Not(HasSubstr("one")));
}

TEST_F(Stream, TellsWhenAllIsSent)
{
    start();
    test_client& client = open();
    say("one");
    say("two");
    EXPECT_EQ(unsent_bytes(*served, stream), 6U);
    until_got(client, "6\r\nonetwo\r\n");
    EXPECT_THAT(drained, ElementsAre(stream));
    EXPECT_EQ(unsent_bytes(*served, stream), 0U);
    EXPECT_EQ(unsent_bytes(*served, stream + 1), 0U); // not known
}

TEST_F(Stream, TellsOfAClientThatHasGone)
{
    start();
    test_client& client = open();
    until_got(client, "\r\n\r\n");
    client.end_by_reset();
    until("it is told", [&] { return !streams_gone.empty(); });
    EXPECT_THAT(streams_gone, ElementsAre(stream));
    EXPECT_TRUE(gone.empty());
    say("into the void");
    until("it is closed", [&] { return counters(*served).open == 0; });
}

TEST_F(Stream, TellsOfAClientThatTakesNothing)
{
    limits.taking = 300ms;
    start();
    test_client& client = open();
    const common::owned_descriptor unread = std::move(client.socket);
    say(std::string(20 << 20, 'x'));
    until("it is told", [&] { return !streams_gone.empty(); });
    EXPECT_TRUE(drained.empty());
}

TEST_F(Stream, KeepsNobodyWaitingForOneThatTakesNothing)
{
    start();
    test_client& stuck = open();
    const stream_id slow = std::exchange(stream, 0);
    const common::owned_descriptor unread = std::move(stuck.socket);
    test_client& other = open();
    const auto bytes = std::make_shared<const std::string>(std::string(1 << 20, 'x'));
    for (int i = 0; i < 20; ++i) {
        drained.clear();
        send(*served, slow, bytes);
        send(*served, stream, bytes);
        until("the other has all", [&] { return !drained.empty(); });
    }
    EXPECT_THAT(drained, ElementsAre(stream));
    EXPECT_GT(unsent_bytes(*served, slow), 10U << 20U); // what the owner bounds it by
    until("all", [&] { return other.got.size() > 20U << 20U; });
}

TEST_F(Stream, LetsARequestComeBetweenWhatManyAreTold)
{
    start();
    std::vector<stream_id> streams;
    for (int i = 0; i < 400; ++i) {
        stream = 0;
        until_got(open(), "\r\n\r\n");
        streams.push_back(stream);
    }
    std::size_t told = 0;
    on_request = [&](request_id id, const request&) {
        for (const test_client& each : clients) {
            char byte = 0;
            const bool waits = recv(each.socket.number, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 1;
            if (waits || each.got.ends_with("x\r\n")) ++told;
        }
        respond(*served, id, {200, "", "", {}});
    };
    test_client& asking = connect("GET /b HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const auto bytes = std::make_shared<const std::string>("x");
    for (const stream_id each : streams)
        send(*served, each, bytes);
    until_got(asking, "HTTP/1.1 200 OK");
    EXPECT_LT(told, streams.size() / 2);
    until("all are told", [&] { return drained.size() == streams.size(); });
}

TEST_F(Stream, IsCutOffWhenItCannotBeWhole)
{
    start();
    test_client& client = open();
    say("one");
    until_got(client, "one");
    close(*served, stream, 1001, "the server ends");
    until_ended(client);
    EXPECT_THAT(client.got, Not(HasSubstr("0\r\n\r\n")));
    turns();
    EXPECT_TRUE(streams_gone.empty());
}

TEST_F(Stream, SharesItsBytesWithOthers)
{
    start();
    std::vector<stream_id> streams;
    for (int i = 0; i < 3; ++i) {
        stream = 0;
        open();
        streams.push_back(stream);
    }
    const auto bytes = std::make_shared<const std::string>("x");
    for (const stream_id each : streams)
        send(*served, each, bytes);
    EXPECT_EQ(bytes.use_count(), 4);
}
