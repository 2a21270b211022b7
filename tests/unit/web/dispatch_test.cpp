#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using testing::HasSubstr;

namespace {
constexpr auto SECRET_HEADER = "authorization";

struct Dispatch : ServerTest {
    // As a browser sends it from a page of the server.
    void from_own_page()
    {
        headers = {{"cookie", "session=x"}, {"origin", "http://localhost"}};
    }

    std::string code_of_answer(method method, const std::string& target,
                               const std::string& body = {})
    {
        return json_of(ask(method, target, body)).value("code", "");
    }
};
} // namespace

TEST_F(Dispatch, AnswersWhatIsOpenToEverybody)
{
    server.settings.demonstration = false;
    EXPECT_EQ(ask(method::get, "/health").body, R"({"status":"alive","troubles":[]})");
    EXPECT_EQ(ask(method::get, "/ready").body, R"({"status":"ready"})");
    EXPECT_THAT(ask(method::get, "/openapi.yaml").body, HasSubstr("openapi: 3.1.0"));
    EXPECT_EQ(json_of(ask(method::get, "/version"))["instance"], desk::text_of(server.instance));
}

TEST_F(Dispatch, TellsWhatIsNotThereAndWhichMethodsThereAre)
{
    EXPECT_EQ(ask(method::get, "/nothing").status, 404);
    const response refused = ask(method::remove, "/health");
    EXPECT_EQ(refused.status, 405);
    EXPECT_EQ(header_of(refused, "Allow"), "GET, HEAD");
}

TEST_F(Dispatch, AsksForSigningIn)
{
    server.settings.demonstration = false;
    const response refused = ask(method::get, "/api/v1/routers");
    EXPECT_EQ(refused.status, 401);
    EXPECT_EQ(header_of(refused, "WWW-Authenticate"), "Bearer");
    headers = {{SECRET_HEADER, "Bearer of-nobody"}};
    EXPECT_EQ(ask(method::get, "/api/v1/routers").status, 401);
}

TEST_F(Dispatch, RefusesChangesThatPagesOfOthersAskFor)
{
    from_own_page();
    EXPECT_NE(code_of_answer(method::post, "/api/v1/undo", "{}"), "foreignOrigin");
    for (const char* const origin :
         {"http://example.net", "null", "http://localhost:81", "https://localhost", "localhost"}) {
        headers = {{"origin", origin}};
        EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", "{}"), "foreignOrigin") << origin;
    }
    headers = {{"cookie", "session=x"}}; // every browser tells where it comes from
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", "{}"), "foreignOrigin");
    headers = {{"sec-fetch-site", "cross-site"}};
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", "{}"), "foreignOrigin");
}

TEST_F(Dispatch, RefusesChangesThatPagesWithoutTlsAskForWhereThereIsTls)
{
    server.settings.secure = true;
    headers = {{"origin", "https://localhost"}};
    EXPECT_NE(code_of_answer(method::post, "/api/v1/undo", "{}"), "foreignOrigin");
    from_own_page();
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", "{}"), "foreignOrigin");
}

TEST_F(Dispatch, GoesByItsOwnNamesAlone)
{
    server.settings.hosts = {"localhost"};
    EXPECT_EQ(ask(method::get, "/health").status, 200);
    headers = {{"host", "evil.example"}};
    EXPECT_EQ(code_of_answer(method::get, "/health"), "foreignOrigin");
}

TEST_F(Dispatch, ReadsJsonAlone)
{
    headers = {{"content-type", "text/plain"}};
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", "{}"), "unsupportedMediaType");
    headers = {{"content-type", "Application/JSON; charset=utf-8"}};
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", "{"), "malformedJson");
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", R"({"rule":1,"rule":2})"),
              "malformedJson");
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", std::string(33, '[')), "malformedJson");
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", R"({"rule":1e999})"), "malformedJson");
    EXPECT_TRUE(server.log.lines.empty());
}

TEST_F(Dispatch, ReadsNoBodyThatIsEncoded)
{
    for (const char* const encoding : {"gzip", "identity, gzip", "x"}) {
        headers = {{"content-encoding", encoding}};
        const response refused = ask(method::post, "/api/v1/undo", "{}");
        EXPECT_EQ(refused.status, 415) << encoding;
        EXPECT_EQ(json_of(refused)["detail"], "Send the body without a Content-Encoding.");
        EXPECT_EQ(header_of(refused, "Accept-Encoding"), "identity");
    }
    headers = {{"content-encoding", "Identity"}};
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", "{}"), "nothingToDo");
}

TEST_F(Dispatch, RepeatsLittleOfWhatItDoesNotKnow)
{
    const std::string name(900'000, 'x');
    for (const std::string& body :
         {json{{name, 1}}.dump(), R"({"rule":)" + name + "}", json{{"rule", name}}.dump()}) {
        const response refused = ask(method::post, "/api/v1/undo", body);
        EXPECT_GE(refused.status, 400);
        EXPECT_LT(refused.body.size(), 4000U);
    }
    EXPECT_LT(ask(method::post, "/api/v1/undo?" + std::string(8000, 'x') + "=1", "{}").body.size(),
              4000U);
}

TEST_F(Dispatch, ReadsLittleOfThoseWhoHaveNotSignedIn)
{
    server.settings.demonstration = false;
    const std::string body(8192, ' ');
    for (const char* const open : {"/api/v1/session", "/api/v1/first-administrator"}) {
        EXPECT_EQ(code_of_answer(method::post, open, body), "malformedJson");
        EXPECT_EQ(code_of_answer(method::post, open, body + " "), "bodyTooLarge");
    }
}

TEST_F(Dispatch, RefusesParametersThatAreNotDescribed)
{
    const response refused = ask(method::post, "/api/v1/undo?wait=0&waiting=1", "{}");
    EXPECT_EQ(refused.status, 422);
    EXPECT_EQ(json_of(refused)["errors"], json::parse(R"([{"pointer":"waiting","code":"badValue",
                                              "detail":"there is no parameter waiting here"}])"));
    for (const char* const name : {"wai", "rule", "Wait", ""})
        EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo?" + std::string(name) + "=0", "{}"),
                  "badValue")
            << name;
    EXPECT_NE(code_of_answer(method::post, "/api/v1/undo?wait=0", "{}"), "badValue");
}

TEST_F(Dispatch, GivesEachAnswerATagThatChangesWithIt)
{
    const std::string tag = header_of(ask(method::get, "/ready"), "ETag");
    EXPECT_NE(tag, "");
    headers = {{"if-none-match", "\"other\", " + tag}};
    const response same = ask(method::get, "/ready");
    EXPECT_EQ(same.status, 304);
    EXPECT_EQ(same.body, "");
    EXPECT_EQ(header_of(same, "ETag"), tag);
    EXPECT_EQ(ask(method::get, "/health").status, 200);
}

TEST_F(Dispatch, TakesNothingNewWhenItEnds)
{
    server.stopping = true;
    EXPECT_EQ(code_of_answer(method::get, "/ready"), "stopping");
    EXPECT_EQ(code_of_answer(method::post, "/api/v1/undo", "{}"), "stopping");
    EXPECT_EQ(ask(method::get, "/health").status, 200);
}
