// Requests and answers on one connection.
#include "unit/web/transport/transport_test.h"

using namespace web;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

namespace {
using Http = TransportTest;

const std::string HOST = "Host: localhost\r\n";
const std::string LAST = HOST + "Connection: close\r\n\r\n";
} // namespace

TEST_F(Http, AnswersARequest)
{
    start();
    const std::string answer = answers("GET /a/b?c=d HTTP/1.1\r\n" + LAST);
    EXPECT_EQ(status_line(answer), "HTTP/1.1 200 OK");
    EXPECT_THAT(answer, HasSubstr("\r\nContent-Type: text/plain\r\nContent-Length: 9\r\n"
                                  "Connection: close\r\n\r\n/a/b?c=d "));
    EXPECT_THAT(answer, testing::ContainsRegex("\nDate: [A-Z][a-z]{2}, [0-9]{2} [A-Z][a-z]{2} "
                                               "[0-9]{4} [0-9:]{8} GMT\r\n"));
    EXPECT_EQ(requests.begin()->second.address, "127.0.0.1");
    EXPECT_FALSE(requests.begin()->second.encrypted);
}

TEST_F(Http, KeepsTheConnectionForTheNextRequest)
{
    start();
    test_client& client = connect("GET /a HTTP/1.1\r\n" + HOST + "\r\n");
    until_got(client, "/a ");
    EXPECT_THAT(client.got, Not(HasSubstr("Connection:")));
    client.send("POST /b HTTP/1.1\r\n" + LAST.substr(0, LAST.size() - 2) +
                "Content-Length: 4\r\n\r\nbody");
    until_ended(client);
    EXPECT_THAT(client.got, HasSubstr("\r\n\r\n/b body"));
    EXPECT_EQ(counters(*served).accepted, 1U);
    EXPECT_EQ(counters(*served).statuses.at(200), 2U);
}

TEST_F(Http, AnswersPipelinedRequestsInOrder)
{
    start();
    std::vector<request_id> asked;
    on_request = [&](request_id id, const request&) {
        asked.push_back(id);
    };
    test_client& client = connect("GET /1 HTTP/1.1\r\n" + HOST + "\r\nGET /2 HTTP/1.1\r\n" + LAST);
    until("the first one", [&] { return asked.size() == 1; });
    turns();
    ASSERT_EQ(asked.size(), 1U);
    respond(*served, asked[0], {200, "", "first", {}});
    until("the second one", [&] { return asked.size() == 2; });
    respond(*served, asked[1], {200, "", "second", {}});
    until_ended(client);
    EXPECT_THAT(client.got, testing::ContainsRegex("first.*Connection: close"));
    EXPECT_THAT(client.got, testing::EndsWith("second"));
}

TEST_F(Http, AnswersHeadWithoutTheBody)
{
    start();
    const std::string answer = answers("HEAD /a HTTP/1.1\r\n" + LAST);
    EXPECT_THAT(answer, HasSubstr("Content-Length: 3\r\n"));
    EXPECT_EQ(body_of(answer), "");
}

TEST_F(Http, SaysNoLengthWhereThereIsNoBody)
{
    start();
    on_request = [&](request_id id, const request&) {
        respond(*served, id, {204, "", "", {}});
    };
    const std::string answer = answers("DELETE /a HTTP/1.1\r\n" + LAST);
    EXPECT_EQ(status_line(answer), "HTTP/1.1 204 No Content");
    EXPECT_THAT(answer, Not(HasSubstr("Content-Length")));
}

TEST_F(Http, LetsNoLineIntoAHeader)
{
    start();
    on_request = [&](request_id id, const request&) {
        respond(*served, id, {303, "", "", {{"Location", "/a\r\nSet-Cookie: b=c"}}});
    };
    EXPECT_THAT(answers("GET / HTTP/1.1\r\n" + LAST),
                HasSubstr("\r\nLocation: /a  Set-Cookie: b=c\r\n"));
}

TEST_F(Http, ServesClientsOfTheOlderVersion)
{
    start();
    EXPECT_THAT(answers("GET /a HTTP/1.0\r\n\r\n"), HasSubstr("\r\nConnection: close\r\n"));
    test_client& client = connect("GET /a HTTP/1.0\r\nConnection: keep-alive\r\n\r\n");
    until_got(client, "/a ");
    EXPECT_THAT(client.got, HasSubstr("\r\nConnection: keep-alive\r\n"));
    client.send("GET /b HTTP/1.0\r\n\r\n");
    until_ended(client);
    EXPECT_THAT(client.got, testing::EndsWith("\r\n\r\n/b "));
}

TEST_F(Http, ReadsABodyInChunks)
{
    start();
    const std::string head = "PUT /a HTTP/1.1\r\nTransfer-Encoding: chunked\r\n" + LAST;
    EXPECT_EQ(body_of(answers(head + "4\r\nabcd\r\n2;x=y\r\nef\r\n0\r\n\r\n")), "/a abcdef");
    // What follows a body is passed over: it could say what the head must say.
    EXPECT_EQ(body_of(answers(head + "1\r\na\r\n0\r\nAuthorization: Bearer b\r\n\r\n")), "/a a");
    EXPECT_FALSE(requests.rbegin()->second.headers.contains("authorization"));
}

TEST_F(Http, SaysThatABodyMayCome)
{
    start();
    test_client& client = connect("PUT /a HTTP/1.1\r\nContent-Length: 4\r\n"
                                  "Expect: 100-continue\r\n" +
                                  LAST);
    until_got(client, "HTTP/1.1 100 Continue\r\n\r\n");
    EXPECT_TRUE(requests.empty());
    client.send("body");
    until_ended(client);
    EXPECT_EQ(body_of(client.got), "/a body");
    // One that comes at once needs no leave.
    const std::string answer =
        answers("PUT /a HTTP/1.1\r\nContent-Length: 4\r\nExpect: 100-continue\r\n" + LAST + "body");
    EXPECT_EQ(status_line(answer), "HTTP/1.1 200 OK");
}

TEST_F(Http, RefusesABodyThatIsTooLargeBeforeItComes)
{
    start();
    const std::string head = "PUT /a HTTP/1.1\r\nExpect: 100-continue\r\n" + LAST;
    const std::string answer =
        answers(head.substr(0, head.size() - 2) + "Content-Length: 1048577\r\n\r\n");
    EXPECT_EQ(problem_of(answer), "413 bodyTooLarge");
    EXPECT_THAT(answer, HasSubstr("\r\nConnection: close\r\n"));
}

TEST_F(Http, SaysWhyToAClientThatStillSends)
{
    start();
    test_client& client = connect("PUT /a HTTP/1.1\r\nContent-Length: 9999999\r\n" + HOST + "\r\n" +
                                  std::string(100'000, 'x'));
    until_ended(client);
    EXPECT_FALSE(client.reset);
    EXPECT_EQ(problem_of(client.got), "413 bodyTooLarge");
}

TEST_F(Http, AnswersAClientThatHasEndedItsSending)
{
    start();
    std::vector<request_id> asked;
    on_request = [&](request_id id, const request&) {
        asked.push_back(id);
    };
    test_client& client = connect("GET /a HTTP/1.1\r\n" + HOST + "\r\n");
    client.end_sending();
    until("the request", [&] { return !asked.empty(); });
    turns();
    EXPECT_TRUE(gone.empty());
    respond(*served, asked[0], {200, "", "late", {}});
    until_ended(client);
    EXPECT_EQ(body_of(client.got), "late");
}

TEST_F(Http, TellsOfAClientThatHasGoneBeforeItsAnswer)
{
    start();
    on_request = [](request_id, const request&) {
    };
    test_client& client = connect("GET /a HTTP/1.1\r\n" + HOST + "\r\n");
    until("the request", [&] { return !requests.empty(); });
    const request_id asked = requests.begin()->first;
    client.end_by_reset();
    until("its end", [&] { return !gone.empty(); });
    EXPECT_EQ(gone, std::vector{asked});
    respond(*served, asked, {200, "", "nobody's", {}}); // nothing happens
    until("all closed", [&] { return counters(*served).open == 0; });
    EXPECT_TRUE(counters(*served).statuses.empty());
}

TEST_F(Http, EndsWithAClientThatGoesInTheMiddleOfARequest)
{
    start();
    test_client& reset = connect("PUT /a HTTP/1.1\r\nContent-Length: 9\r\n" + HOST + "\r\nbo");
    test_client& ended = connect("GET /a HTT");
    until("both", [&] { return counters(*served).open == 2; });
    reset.end_by_reset();
    ended.end_sending();
    until("both gone", [&] { return counters(*served).open == 0; });
    EXPECT_TRUE(requests.empty() && gone.empty());
    EXPECT_EQ(ended.got, "");
}
