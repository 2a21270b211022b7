#include <gmock/gmock.h>

#include "server/web/request_reader.h"
#include "server/web/target.h"
#include "server/web/transport_limits.h"

using namespace web;
using testing::HasSubstr;

namespace {
const std::string HOST = "Host: localhost\r\n";

// "GET /a/b body, keeps", the refusal's code, or "more".
std::string outcome(request_reader& reader, reading reached)
{
    if (reached == reading::refused) return reader.refusal.code;
    if (reached == reading::more) return "more";
    std::string text;
    for (const std::string& each : reader.request.path)
        text += "/" + each;
    return text + " " + reader.request.body + (reader.keeps_open ? ", keeps" : ", closes");
}

std::string read_whole(const std::string& bytes)
{
    request_reader reader;
    reader.input = bytes;
    return outcome(reader, read_request(reader));
}

std::string read_bytewise(const std::string& bytes)
{
    request_reader reader;
    reading reached = reading::more;
    for (const char each : bytes) {
        reader.input += each;
        reached = read_request(reader);
        if (reached != reading::more) break;
    }
    return outcome(reader, reached);
}

// In one piece and byte by byte.
std::string read(const std::string& bytes)
{
    const std::string whole = read_whole(bytes);
    EXPECT_EQ(read_bytewise(bytes), whole) << bytes;
    return whole;
}

std::string refusal_with(const std::string& lines)
{
    return read("POST /a HTTP/1.1\r\n" + HOST + lines + "\r\n");
}
} // namespace

TEST(RequestReader, ReadsARequest)
{
    request_reader reader;
    reader.input = "PATCH /a%20b?x=1 HTTP/1.1\r\nHOST: h:8080\r\nX-One:  two \r\n"
                   "Content-Length: 4\r\n\r\nbodyGET ";
    ASSERT_EQ(read_request(reader), reading::whole);
    EXPECT_EQ(reader.request.method, method::patch);
    EXPECT_THAT(reader.request.path, testing::ElementsAre("a b"));
    EXPECT_THAT(reader.request.query, testing::ElementsAre(testing::Pair("x", "1")));
    EXPECT_THAT(reader.request.headers, testing::ElementsAre(testing::Pair("content-length", "4"),
                                                             testing::Pair("host", "h:8080"),
                                                             testing::Pair("x-one", "two")));
    EXPECT_EQ(reader.request.body, "body");
    EXPECT_EQ(reader.input, "GET ");
}

TEST(RequestReader, ReadsOneAfterTheOther)
{
    request_reader reader;
    reader.input = "GET /a HTTP/1.1\r\n" + HOST + "\r\n\r\nPUT /b HTTP/1.1\r\n" + HOST +
                   "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\nGET /c";
    EXPECT_EQ(outcome(reader, read_request(reader)), "/a , keeps");
    begin_request(reader);
    EXPECT_EQ(outcome(reader, read_request(reader)), "/b abc, keeps");
    begin_request(reader);
    EXPECT_EQ(outcome(reader, read_request(reader)), "more");
    EXPECT_EQ(reader.input, "GET /c");
}

TEST(RequestReader, KnowsTheMethods)
{
    const std::vector<std::pair<std::string, method>> methods = {
        {"GET", method::get},     {"HEAD", method::head},     {"POST", method::post},
        {"PUT", method::put},     {"PATCH", method::patch},   {"DELETE", method::remove},
        {"TRACE", method::other}, {"OPTIONS", method::other}, {"WHATEVER", method::other}};
    for (const auto& [word, wanted] : methods) {
        request_reader reader;
        reader.input = word + " / HTTP/1.1\r\n" + HOST + "\r\n";
        EXPECT_EQ(read_request(reader), reading::whole) << word;
        EXPECT_EQ(reader.request.method, wanted) << word;
    }
}

TEST(RequestReader, KnowsWhetherAnotherMayFollow)
{
    const std::string old = "GET / HTTP/1.0\r\n";
    EXPECT_EQ(read("GET / HTTP/1.1\r\n" + HOST + "\r\n"), " , keeps");
    EXPECT_EQ(read("GET / HTTP/1.1\r\n" + HOST + "Connection: Close\r\n\r\n"), " , closes");
    EXPECT_EQ(read(old + "\r\n"), " , closes");
    EXPECT_EQ(read(old + "Connection: Keep-Alive\r\n\r\n"), " , keeps");
}

TEST(RequestReader, RefusesWhatIsNoRequest)
{
    for (const std::string line :
         {"GET /a", "GET  /a HTTP/1.1", "GET /a HTTP/1.1 ", "/a HTTP/1.1", " GET /a HTTP/1.1",
          "GET /a HTTP/2.0", "GET /a HTTP/1.2", "GET /a http/1.1", "G(T /a HTTP/1.1",
          "\x16\x03\x01\x02", "GET /a\tHTTP/1.1"})
        EXPECT_EQ(read(line + "\r\n" + HOST + "\r\n"), "malformedRequest") << line;
}

TEST(RequestReader, RefusesTargetsThatAreNoPath)
{
    for (const std::string target : {"http://localhost/a", "*", "localhost:80", "//a", "/../a"})
        EXPECT_EQ(read("GET " + target + " HTTP/1.1\r\n" + HOST + "\r\n"), "malformedRequest")
            << target;
}

TEST(RequestReader, RefusesLinesThatEndOtherwise)
{
    EXPECT_EQ(read("GET /a HTTP/1.1\n" + HOST + "\r\n"), "malformedRequest");
    EXPECT_EQ(read("GET /a HTTP/1.1\r\nHost: a\n\r\n"), "malformedRequest");
    EXPECT_EQ(read("GET /a HTTP/1.1\r\nHost: a\rX: b\r\n\r\n"), "malformedRequest");
    EXPECT_EQ(read("\nGET /a HTTP/1.1\r\n" + HOST + "\r\n"), "malformedRequest");
    EXPECT_EQ(refusal_with(std::string("X: a\0b\r\n", 8)), "malformedRequest");
}

TEST(RequestReader, RefusesHeadersThatOthersReadOtherwise)
{
    for (const std::string line : {"X: a\r\n b\r\n", "X: a\r\n\tb\r\n", "X : a\r\n", " X: a\r\n",
                                   "X\r\n", ": a\r\n", "X(: a\r\n", "X: \x01\r\n"})
        EXPECT_EQ(refusal_with(line), "malformedRequest") << line;
}

TEST(RequestReader, WantsOneHost)
{
    EXPECT_EQ(read("GET /a HTTP/1.1\r\n\r\n"), "malformedRequest");
    EXPECT_EQ(read("GET /a HTTP/1.1\r\n" + HOST + HOST + "\r\n"), "malformedRequest");
    for (const std::string host : {"", "a b", "a,b", "a/b", "user@a"})
        EXPECT_EQ(read("GET / HTTP/1.1\r\nHost: " + host + "\r\n\r\n"), "malformedRequest") << host;
    EXPECT_EQ(read("GET / HTTP/1.1\r\nHost: [::1]:8080\r\n\r\n"), " , keeps");
    EXPECT_EQ(read("GET / HTTP/1.0\r\n\r\n"), " , closes");
}

TEST(RequestReader, WantsOneLengthOfABody)
{
    const std::string length = "Content-Length: 1\r\n";
    const std::string chunked = "Transfer-Encoding: chunked\r\n";
    for (const std::string& lines :
         {length + length, length + "Content-Length: 2\r\n",
          std::string("Content-Length: 1, 1\r\n"), std::string("Content-Length: +1\r\n"),
          std::string("Content-Length: -1\r\n"), std::string("Content-Length: 0x1\r\n"),
          std::string("Content-Length:\r\n"),
          std::string("Content-Length: 99999999999999999999\r\n"), length + chunked,
          chunked + length, chunked + chunked, std::string("Transfer-Encoding: gzip\r\n"),
          std::string("Transfer-Encoding: gzip, chunked\r\n"),
          std::string("Transfer-Encoding: chunked, identity\r\n"),
          std::string("Transfer-Encoding: xchunked\r\n"), std::string("Transfer-Encoding:\r\n")})
        EXPECT_EQ(refusal_with(lines), "malformedRequest") << lines;
    EXPECT_EQ(read("POST /a HTTP/1.0\r\n" + chunked + "\r\n"), "malformedRequest");
}

TEST(RequestReader, RefusesBrokenChunks)
{
    const std::string head = "POST /a HTTP/1.1\r\nTransfer-Encoding: chunked\r\n" + HOST + "\r\n";
    for (const std::string body :
         {"x\r\n", "-1\r\n", "1\na\n", "1\r\nab\r\n", "\r\n", " 1\r\na\r\n"})
        EXPECT_EQ(read(head + body + "0\r\n\r\n"), "malformedRequest") << body;
    EXPECT_EQ(read(head + "1;" + std::string(20'000, 'x')), "malformedRequest");
    EXPECT_EQ(read(head + "0\r\nX: " + std::string(20'000, 'x')), "malformedRequest");
}

TEST(RequestReader, JoinsHeadersButForThoseOfWhichThereIsOne)
{
    request_reader reader;
    reader.input =
        "GET / HTTP/1.1\r\n" + HOST + "If-Match: \"1\"\r\nA: b\r\nif-match: \"2\"\r\n\r\n";
    ASSERT_EQ(read_request(reader), reading::whole);
    EXPECT_EQ(reader.request.headers["if-match"], "\"1\", \"2\"");
    for (const std::string name :
         {"Authorization", "Cookie", "Content-Type", "Origin", "Idempotency-Key", "Last-Event-ID",
          "Sec-Fetch-Site", "Sec-WebSocket-Key", "Sec-WebSocket-Version"})
        EXPECT_EQ(refusal_with(name + ": a\r\n" + name + ": a\r\n"), "malformedRequest") << name;
}

TEST(RequestReader, RefusesAnAddressThatIsTooLong)
{
    const std::string longest = "/?" + std::string(LONGEST_TARGET - 2, 'a');
    const std::string rest = " HTTP/1.1\r\n" + HOST + "\r\n";
    EXPECT_EQ(read_whole("GET " + longest + rest), " , keeps");
    EXPECT_EQ(read("GET " + longest + "a" + rest), "addressTooLong");
    EXPECT_EQ(read("GET /" + std::string(10'000, 'a')), "addressTooLong"); // without its end
}

TEST(RequestReader, RefusesHeadersThatAreTooLarge)
{
    const std::string begin = "GET / HTTP/1.1\r\n" + HOST + "X: ";
    const std::string fits(LONGEST_HEAD - begin.size() - 4, 'a');
    EXPECT_EQ(read_whole(begin + fits + "\r\n\r\n"), " , keeps");
    EXPECT_EQ(read(begin + fits + "a\r\n\r\n"), "headersTooLarge");
    EXPECT_EQ(read(begin + fits + "aaaaa"), "headersTooLarge"); // without their end
}

TEST(RequestReader, LooksAtEachByteOfTheHeadOnce)
{
    const std::string begin = "GET / HTTP/1.1\r\n" + HOST + "X: ";
    const std::string head = begin + std::string(LONGEST_HEAD - begin.size() - 4, 'a') + "\r\n\r\n";
    constexpr std::size_t LAST = 3; // that may be the beginning of the head's end
    request_reader reader;
    for (std::size_t i = 0; i + 1 < head.size(); ++i) {
        reader.input += head[i];
        if (i >= LAST) reader.input[i - LAST] = '\0'; // would be refused, seen again
        ASSERT_EQ(read_request(reader), reading::more) << i;
    }
    reader.input = head;
    EXPECT_EQ(outcome(reader, read_request(reader)), " , keeps");
}

TEST(RequestReader, RefusesABodyThatIsTooLarge)
{
    const std::string longest(LONGEST_BODY, 'x');
    request_reader reader;
    reader.input = "PUT / HTTP/1.1\r\nContent-Length: 1048576\r\n" + HOST + "\r\n" + longest;
    EXPECT_EQ(read_request(reader), reading::whole);
    EXPECT_EQ(reader.request.body, longest);
    EXPECT_EQ(refusal_with("Content-Length: 1048577\r\n"), "bodyTooLarge");
    const std::string chunks = "PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n" + HOST + "\r\n";
    EXPECT_EQ(read_whole(chunks + "100000\r\n" + longest + "\r\n0\r\n\r\n"),
              " " + longest + ", keeps");
    EXPECT_EQ(read_whole(chunks + "100000\r\n" + longest + "\r\n1\r\nx\r\n0\r\n\r\n"),
              "bodyTooLarge");
    EXPECT_EQ(read_whole(chunks + "100001\r\n"), "bodyTooLarge");
    EXPECT_EQ(read_whole(chunks + "10000000000000000\r\n"), "bodyTooLarge"); // beyond 64 bits
}

TEST(RequestReader, KnowsWhoWaitsForLeaveToSendABody)
{
    const auto waits = [](const std::string& bytes) {
        request_reader reader;
        reader.input = bytes;
        read_request(reader);
        return reader.waits_for_leave;
    };
    const std::string rest = HOST + "Expect: 100-Continue\r\nContent-Length: 1\r\n\r\n";
    EXPECT_TRUE(waits("PUT / HTTP/1.1\r\n" + rest));
    EXPECT_FALSE(waits("PUT / HTTP/1.0\r\n" + rest));
    EXPECT_FALSE(waits("PUT / HTTP/1.1\r\n" + HOST + "Expect: 100-continue\r\n\r\n"));
    EXPECT_FALSE(waits("PUT / HTTP/1.1\r\n" + HOST + "Content-Length: 1\r\n\r\n"));
}
