#include "server/accounts/tokens.h"
#include "server/desk/locks.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using namespace std::chrono_literals;

namespace {
struct SimpleRoute : ServerTest {
    std::string secret;

    SimpleRoute()
    {
        server.settings.simple_form = true;
        server.settings.demonstration = false;
        add_router("r1");
        desk::set_lock(server.desk, now, engineer, "r1", 7, desk::lock_mode::lock, "Live feed", {});
        secret = make_token(accounts::token_kind::simple);
    }

    std::string make_token(accounts::token_kind kind)
    {
        std::string made;
        accounts::token wanted;
        wanted.name = "buttons";
        wanted.kind = kind;
        wanted.may.usual = desk::right::operate;
        const std::string id = kind == accounts::token_kind::simple ? "buttons" : "program";
        EXPECT_EQ(accounts::make_token(server.accounts, now, engineer, id, wanted, made).why,
                  accounts::refusal::none);
        return made;
    }

    std::string target(const std::string& rest)
    {
        return "/api/v1/simple/route?router=r1&token=" + secret + rest;
    }

    std::string text(const response& response)
    {
        EXPECT_THAT(response.type, testing::StartsWith("text/plain"));
        EXPECT_EQ(header_of(response, "ETag"), "");
        EXPECT_EQ(header_of(response, "Cache-Control"), "no-store");
        return std::to_string(response.status) + " " + response.body;
    }

    std::string line(const std::string& rest)
    {
        return text(ask(method::get, target(rest)));
    }
};
} // namespace

TEST_F(SimpleRoute, RoutesAndSaysSo)
{
    const request_id id = send(method::get, target("&destination=3&source=2"));
    EXPECT_FALSE(answers.contains(id));
    carries_out("r1", 3, 2);
    EXPECT_EQ(text(answers[id]), "200 OK 3 2\n");
    EXPECT_EQ(line("&destination=3&source=2"), "200 OK 3 2\n");
    EXPECT_EQ(line("&destination=DST%205&source=SRC%205&by=name"), "200 OK 4 4\n");
    EXPECT_EQ(line("&destination=3&source=none&wait=0"), "202 OPEN 3 none\n");
}

TEST_F(SimpleRoute, IsNotCarriedOutByHead)
{
    const response refused = ask(method::head, target("&destination=3&source=2"));
    EXPECT_EQ(refused.status, 405);
    EXPECT_EQ(header_of(refused, "Allow"), "GET");
    EXPECT_TRUE(server.desk.house.batches.empty());
}

TEST_F(SimpleRoute, SaysWhyNot)
{
    EXPECT_EQ(line("&destination=7&source=2"), "409 ERR DST 8 is locked by erna (Live feed)\n");
    EXPECT_EQ(line("&destination=8&source=2"), "404 ERR ROUTER r1 has no destination 9\n");
    EXPECT_EQ(line("&destination=3&source=9"), "422 ERR ROUTER r1 has no source 10\n");
    EXPECT_EQ(line("&destination=3"), "422 ERR source is missing\n");
    EXPECT_EQ(line("&destination=3&source=2&by=alias"), "422 ERR by must be index or name\n");
    EXPECT_EQ(line("&destination=3&source=2&wait=x"),
              "422 ERR wait must be a number of milliseconds from 0 to 65000\n");
    const request_id id = send(method::get, target("&destination=3&source=2"));
    desk::trace_take(server.desk, now, "r1", 3, 2);
    desk::trace_take_answer(server.desk, now, "r1", "NAK 0005");
    pass();
    EXPECT_EQ(text(answers[id]), "502 ERR NAK 0005\n");
}

TEST_F(SimpleRoute, NeedsATokenOfItsOwn)
{
    const std::string own = secret;
    for (const std::string& other :
         {std::string("rc_0"), std::string(), make_token(accounts::token_kind::api)}) {
        secret = other;
        EXPECT_EQ(line("&destination=3&source=3"), "401 ERR no such token\n");
    }
    EXPECT_EQ(text(ask(method::get, "/api/v1/simple/route?router=r1&destination=3&source=3")),
              "401 ERR no such token\n");
}

TEST_F(SimpleRoute, IsRefusedToPagesOfOtherSites)
{
    const std::string refused = "403 ERR a page of another site asked for this\n";
    for (const std::string site : {"cross-site", "same-site"}) {
        headers = {{"sec-fetch-site", site}};
        EXPECT_EQ(line("&destination=3&source=3"), refused) << site;
    }
    headers = {{"origin", "http://localhost"}};
    EXPECT_EQ(line("&destination=3&source=3"), refused);
    headers = {{"sec-fetch-site", "none"}};
    EXPECT_EQ(line("&destination=3&source=3"), "200 OK 3 3\n");
}

TEST_F(SimpleRoute, IsOffUnlessItIsSwitchedOn)
{
    server.settings.simple_form = false;
    EXPECT_EQ(line("&destination=3&source=3"), "403 ERR the simple form is off\n");
}

TEST_F(SimpleRoute, SaysWhenItIsNotKeptInTime)
{
    server.kept = 0;
    const request_id id = send(method::get, target("&destination=3&source=3"));
    wait(LONGEST_KEEPING);
    EXPECT_EQ(text(answers[id]), "200 OK 3 3\n");
    EXPECT_EQ(header_of(answers[id], "Journal-Kept"), "false");
    server.kept = UINT64_MAX;
    EXPECT_EQ(header_of(ask(method::get, target("&destination=3&source=3")), "Journal-Kept"), "");
}

TEST_F(SimpleRoute, IsKeptBeforeItIsTold)
{
    server.kept = 0;
    const request_id id = send(method::get, target("&destination=3&source=3"));
    EXPECT_FALSE(answers.contains(id));
    server.kept = server.given;
    pass();
    EXPECT_EQ(text(answers[id]), "200 OK 3 3\n");
}
