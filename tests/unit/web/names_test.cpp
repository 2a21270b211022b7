#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;

namespace {
const std::string ROUTER = "/api/v1/routers/r1";

struct Names : ServerTest {
    Names()
    {
        add_router("r1", 8, 3);
        desk::report_names(server.desk, "r1", desk::side::sources,
                           {"CAM 1", "SPARE", "CAM 3", "", "SPARE", "CAM 6", "SPARE", "CAM 8"});
    }

    void label(desk::side side, int position, const std::string& alias, const std::string& group)
    {
        desk::set_label(server.desk, now, engineer, "r1", side, position, {alias, group});
    }

    // The source that the path names: its index, or "404 noSuchSource: ...".
    std::string found(const std::string& rest)
    {
        const json body = json_of(ask(method::get, ROUTER + "/sources/" + rest));
        if (body.contains("index")) return std::to_string(body["index"].get<int>());
        return body["code"].get<std::string>() + ": " + body["detail"].get<std::string>();
    }
};
} // namespace

TEST_F(Names, AreListedWithAliasesAndGroups)
{
    label(desk::side::destinations, 1, "Gallery", "Monitors");
    EXPECT_EQ(ask(method::get, ROUTER + "/destinations").body,
              R"({"router":"r1","revision":11,"destinations":[)"
              R"({"index":0,"number":1,"name":"DST 1","routerName":"DST 1","alias":"","group":"",)"
              R"("routable":true},)"
              R"({"index":1,"number":2,"name":"Gallery","routerName":"DST 2","alias":"Gallery",)"
              R"("group":"Monitors","routable":true},)"
              R"({"index":2,"number":3,"name":"DST 3","routerName":"DST 3","alias":"","group":"",)"
              R"("routable":true}]})");
    EXPECT_EQ(ask(method::get, ROUTER + "/destinations/1").body,
              R"({"index":1,"number":2,"name":"Gallery","routerName":"DST 2","alias":"Gallery",)"
              R"("group":"Monitors","routable":true})");
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r9/destinations").status, 404);
}

TEST_F(Names, MayBeMoreThanCanBeRouted)
{
    desk::report_counts(server.desk, "r1", 6, 3);
    const json sources = json_of(ask(method::get, ROUTER + "/sources"))["sources"];
    ASSERT_EQ(sources.size(), 8U);
    EXPECT_EQ(sources[5]["routable"], true);
    EXPECT_EQ(sources[6]["routable"], false);
    EXPECT_EQ(sources[3]["name"], "source 4");
    EXPECT_EQ(sources[3]["routerName"], "");
}

TEST_F(Names, AreNumbersUntilTheRouterHasBeenRead)
{
    desk::router_settings settings;
    settings.id = "new";
    settings.name = "N";
    settings.inputs = 2;
    desk::set_router(server.desk, now, engineer, settings);
    EXPECT_EQ(ask(method::get, "/api/v1/routers/new/sources").body,
              R"({"router":"new","revision":1,"sources":[)"
              R"({"index":0,"number":1,"name":"source 1","alias":"","group":"","routable":true},)"
              R"({"index":1,"number":2,"name":"source 2","alias":"","group":"",)"
              R"("routable":true}]})");
    EXPECT_EQ(ask(method::get, "/api/v1/routers/new/sources/2").status, 404);
    EXPECT_EQ(ask(method::get, "/api/v1/routers/new/destinations/255").status, 200);
    EXPECT_EQ(ask(method::get, "/api/v1/routers/new/destinations/256").status, 404);
}

// They change how their neighbours look, or make two names look the same.
TEST_F(Names, AndWordsHaveNoCharactersThatAreNotSeen)
{
    const struct {
        method how;
        std::string target;
        std::string before; // and after the character
        std::string after = "\"}";
    } cases[] = {
        {method::patch, ROUTER, R"({"name":"A)"},
        {method::patch, ROUTER + "/sources/1", R"({"alias":"A)"},
        {method::patch, ROUTER + "/sources", R"({"rows":[{"index":1,"group":"A)", "\"}]}"},
        {method::put, ROUTER + "/destinations/1/lock", R"({"mode":"lock","reason":"A)"},
        {method::put, ROUTER + "/destinations/1/route", R"({"source":1,"reason":"A)"},
        {method::post, "/api/v1/undo", R"({"reason":"A)"},
        {method::post, "/api/v1/salvos", R"({"name":"A)",
         R"(","rows":[{"router":"r1","destination":1,"source":5}]})"},
        {method::post, "/api/v1/salvos", R"({"name":"x","note":"A)",
         R"(","rows":[{"router":"r1","destination":1,"source":5}]})"},
    };
    for (const auto& each : cases) {
        for (const char* const unseen : {"\\u202e", "\\u200b", "\\u2066", "\\ufeff", "\\u00ad"}) {
            const response refused = ask(each.how, each.target, each.before + unseen + each.after);
            EXPECT_EQ(refused.status, 422) << each.target << " " << each.before << unseen;
            EXPECT_THAT(refused.body, testing::HasSubstr(" has a character that is not seen, U+"));
        }
    }
    EXPECT_EQ(json_of(ask(method::patch, ROUTER, "{\"name\":\"A\u202e\"}"))["detail"],
              "name has a character that is not seen, U+202E");
    EXPECT_EQ(json_of(ask(method::remove,
                          ROUTER + "/destinations/1/lock?reason=on%E2%80%8Bair"))["detail"],
              "reason has a character that is not seen, U+200B");
    EXPECT_EQ(ask(method::patch, ROUTER, R"({"name":"Zürich 東京"})").status, 200);
}

TEST_F(Names, AreFoundByPosition)
{
    EXPECT_EQ(found("0"), "0");
    EXPECT_EQ(found("7?by=index"), "7");
    EXPECT_EQ(found("8"), "noSuchSource: ROUTER r1 has no source 9");
    EXPECT_EQ(found("-1"),
              "noSuchSource: ROUTER r1 has no source \"-1\": a position is a number from 0");
    EXPECT_EQ(
        found("99999999999"),
        "noSuchSource: ROUTER r1 has no source \"99999999999\": a position is a number from 0");
    EXPECT_EQ(found("CAM%201"),
              "noSuchSource: ROUTER r1 has no source \"CAM 1\": a position is a number from 0");
    EXPECT_EQ(found("1?by=number"), "badValue: by must be index or name");
}

TEST_F(Names, AreFoundByNameAnAliasFirst)
{
    EXPECT_EQ(found("CAM%203?by=name"), "2");
    EXPECT_EQ(found("cam%203?by=name"), "noSuchSource: ROUTER r1 has no source called cam 3");
    EXPECT_EQ(found("SPARE?by=name"), "nameNotUnique: SPARE is the name of 2, 5 and 7.");
    label(desk::side::sources, 0, "SPARE", "");
    EXPECT_EQ(found("SPARE?by=name"), "0");
    EXPECT_EQ(found("CAM%201?by=name"), "0");
    label(desk::side::sources, 5, "SPARE", "");
    EXPECT_EQ(found("SPARE?by=name"), "nameNotUnique: SPARE is the name of 1 and 6.");
    const response refused = ask(method::get, ROUTER + "/sources/SPARE?by=name");
    EXPECT_EQ(refused.status, 409);
    EXPECT_EQ(json_of(refused)["router"], "r1");
}

TEST_F(Names, SayThatManyAreCalledTheSame)
{
    add_router("r2", 20, 1);
    desk::report_names(server.desk, "r2", desk::side::sources,
                       std::vector<std::string>(20, "SPARE"));
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/routers/r2/sources/SPARE?by=name"))["detail"],
              "SPARE is the name of 1, 2, 3, 4, 5, 6, 7, 8, 9, 10 and others.");
}
