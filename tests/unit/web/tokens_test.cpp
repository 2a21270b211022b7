#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;

namespace {
constexpr const char* TOKENS = "/api/v1/tokens";

struct Tokens : AccountRequests {
    const std::string playout = R"({"id": "playout", "name": "Playout automation", "kind": "api",
        "rights": {"usual": "operate", "exceptions": {}}, "expires": "2099-12-31T00:00:00.000Z"})";

    Tokens()
    {
        as("ana");
    }
};
} // namespace

TEST_F(Tokens, ActForPrograms)
{
    const response made = ask(method::post, TOKENS, playout);
    EXPECT_EQ(made.status, 201);
    EXPECT_EQ(header_of(made, "Location"), "/api/v1/tokens/playout");
    plain token = json_of(made);
    const std::string secret = token["secret"];
    token.erase("secret");
    plain expected = plain::parse(playout);
    expected["created"] = time_text(now.utc);
    EXPECT_EQ(token, expected);
    EXPECT_EQ(json_of(ask(method::get, TOKENS)), (plain{{"tokens", {expected}}}));

    headers = {{"authorization", "Bearer " + secret}};
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/session")), plain::parse(R"({
        "person": {"id": "playout", "name": "Playout automation"}, "origin": "api",
        "rights": {"usual": "operate", "exceptions": {}},
        "expires": "2099-12-31T00:00:00.000Z", "demonstration": false})"));
    EXPECT_EQ(ask(method::get, TOKENS).status, 403);
    as("ana");
    EXPECT_EQ(json_of(ask(method::get, TOKENS))["tokens"][0]["lastUsed"], time_text(now.utc));
    EXPECT_EQ(ask(method::remove, "/api/v1/tokens/playout").status, 204);
    EXPECT_EQ(json_of(ask(method::remove, "/api/v1/tokens/playout"))["detail"],
              "There is no token playout.");
    headers = {{"authorization", "Bearer " + secret}};
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
}

TEST_F(Tokens, HoldAgainAfterARestartWhenTheirEndIsNotKept)
{
    ask(method::post, TOKENS, playout);
    server.kept = 0;
    server.journal.news.health.failure = "disk I/O error";
    pass();
    const response removed = ask(method::remove, "/api/v1/tokens/playout");
    EXPECT_EQ(removed.status, 503);
    EXPECT_EQ(json_of(removed)["code"], "journalFailing");
    EXPECT_TRUE(server.accounts.tokens.empty());
}

TEST_F(Tokens, AreNotMadeWithValuesThatCannotBe)
{
    const std::map<std::string, std::string> bodies = {
        {R"({})", "/id /name /kind /rights "},
        {R"({"id": "p", "name": "x", "kind": "both", "rights": {}, "expires": 5})",
         "/kind /rights/usual /rights/exceptions /expires "},
        {R"({"id": "p", "name": "x", "kind": "api", "rights": {"usual": "view", "exceptions": {}},
             "expires": "1999-12-31T00:00:00Z"})",
         "/expires "}};
    for (const auto& [body, pointers] : bodies) {
        std::string wrong;
        const plain list = json_of(ask(method::post, TOKENS, body))["errors"];
        for (const plain& each : list)
            wrong += each["pointer"].get<std::string>() + " ";
        EXPECT_EQ(wrong, pointers) << body;
    }
    plain taken = plain::parse(playout);
    taken["id"] = "ben";
    EXPECT_EQ(json_of(ask(method::post, TOKENS, taken.dump()))["code"], "nameTaken");
    EXPECT_TRUE(server.accounts.tokens.empty());
}

TEST_F(Tokens, KeepTheirIdsFromPeople)
{
    ask(method::post, TOKENS, playout);
    const response refused = ask(method::post, "/api/v1/people", R"({"id": "playout", "name": "x",
            "password": "quiet harbour", "rights": {"usual": "view", "exceptions": {}}})");
    EXPECT_EQ(json_of(refused)["code"], "nameTaken");
}
