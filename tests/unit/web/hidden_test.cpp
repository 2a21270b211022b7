// What somebody who may route one router alone is told of another.
#include "server/desk/salvos.h"
#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;
using testing::HasSubstr;
using testing::Not;

namespace {
struct Hidden : AccountRequests {
    desk::ulid both;   // a salvo of both routers
    desk::ulid second; // of the second one alone

    Hidden()
    {
        add_router("r1");
        add_router("r2");
        desk::report_names(server.desk, "r2", desk::side::destinations, {"SECRET 1", "SECRET 2"});
        server.accounts.people["ben"].may = {
            desk::right::none, {{"r1", desk::right::operate}}, std::nullopt};
        both = saved("Both", {{"r2", 1, 5}, {"r1", 1, 5}});
        second = saved("Covert", {{"r2", 1, 5}});
        as("ben");
    }

    desk::ulid saved(const std::string& name, const std::vector<desk::route>& rows)
    {
        desk::wanted_salvo wanted;
        wanted.name = name;
        wanted.rows = rows;
        return desk::add_salvo(server.desk, now, engineer, wanted).id;
    }

    std::string run(const std::string& what, const std::string& body)
    {
        return ask(method::post, "/api/v1/salvos/" + desk::text_of(both) + what, body).body;
    }

    // What Ben has taken of both routers, while he still might.
    void ben_has_taken(const desk::ulid& salvo)
    {
        desk::batch_command command;
        const desk::actor ben{"ben", "panel", {desk::right::operate, {}, {}}};
        ASSERT_EQ(desk::run_salvo(server.desk, now, ben, salvo, 0, command).why,
                  desk::reason::none);
        for (const char* const router : {"r1", "r2"})
            carries_out(router, 1, 5);
    }
};
} // namespace

TEST_F(Hidden, RowsAreInNoDryRun)
{
    const plain dry = plain::parse(run("/dry-run", R"({"rule":"rest"})"));
    ASSERT_EQ(dry["rows"].size(), 1U);
    EXPECT_EQ(dry["rows"][0]["router"], "r1");
    EXPECT_EQ(dry["change"], 1);
    EXPECT_EQ(dry["blocked"], 0);
}

TEST_F(Hidden, RowsAreInNoRefusal)
{
    const std::string refused = run("/take", R"({"rule":"all"})");
    EXPECT_THAT(refused, Not(HasSubstr("SECRET")));
    EXPECT_THAT(refused, Not(HasSubstr("r2")));
    const plain told = plain::parse(refused);
    EXPECT_EQ(told["code"], "noRight");
    EXPECT_EQ(told["detail"], "ben may not view all that this is about");
    EXPECT_EQ(told["errors"], plain::parse(R"([{"pointer":"/rows/0","code":"blockedByOtherRow",
                                                "detail":"another row is blocked"}])"));
}

TEST_F(Hidden, NamesAreInNoRefusalOfASalvo)
{
    const response refused =
        ask(method::post, "/api/v1/salvos",
            R"({"name":"x","rows":[{"router":"r2","destination":1,"source":5}]})");
    EXPECT_EQ(refused.status, 403);
    EXPECT_THAT(refused.body, Not(HasSubstr("SECRET")));
    EXPECT_THAT(refused.body, Not(HasSubstr("ROUTER r2")));
}

TEST_F(Hidden, RowsAreInNoUndo)
{
    ben_has_taken(both);
    const plain would = json_of(ask(method::get, "/api/v1/undo"));
    ASSERT_EQ(would["dryRun"]["rows"].size(), 1U);
    EXPECT_EQ(would["of"]["salvo"]["name"], "Both");
    for (const char* const rule : {"all", "rest"}) {
        const std::string told =
            ask(method::post, "/api/v1/undo", R"({"rule":")" + std::string(rule) + "\"}").body;
        EXPECT_THAT(told, Not(HasSubstr("SECRET"))) << rule;
        EXPECT_THAT(told, Not(HasSubstr("r2"))) << rule;
    }
}

TEST_F(Hidden, SalvosHaveNoNameInUndo)
{
    ben_has_taken(second);
    const std::string told = ask(method::get, "/api/v1/undo").body;
    EXPECT_THAT(told, Not(HasSubstr("Covert")));
    EXPECT_THAT(told, Not(HasSubstr("SECRET")));
    const response undone = ask(method::post, "/api/v1/undo", "{}");
    EXPECT_EQ(json_of(undone)["code"], "noRight");
    EXPECT_THAT(undone.body, Not(HasSubstr("SECRET")));
}

TEST_F(Hidden, IsAnOperationThatTheJournalAloneRemembers)
{
    for (const char* const router : {"r1", "r2"}) {
        const request_id id = send(method::get, "/api/v1/operations/01J00000000000000000000000");
        desk::batch batch;
        batch.rows.emplace_back().wished = {router, 1, 5};
        server.journal.news.answers = {{server.journal.questions.back().first, {}, "", batch}};
        pass();
        EXPECT_EQ(answers[id].status, router == std::string("r1") ? 200 : 404);
    }
}
