#include "server/desk/locks.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using testing::HasSubstr;

namespace {
constexpr auto STAGE = "/api/v1/routers/r1/stage";

struct Stage : ServerTest {
    Stage()
    {
        add_router("r1");
        add_router("r2");
        desk::set_lock(server.desk, now, engineer, "r1", 7, desk::lock_mode::lock, "Live feed", {});
    }

    void put_rows()
    {
        EXPECT_EQ(ask(method::put, STAGE,
                      R"({"rows":[{"destination":1,"source":5},{"destination":2,"source":null}]})")
                      .status,
                  200);
    }

    std::vector<int> staged()
    {
        std::vector<int> destinations;
        const json stage = json_of(ask(method::get, STAGE));
        for (const json& row : stage["rows"])
            destinations.push_back(row["destination"]);
        return destinations;
    }
};
} // namespace

TEST_F(Stage, KeepsRowsWithWhatTheirDestinationsShowed)
{
    EXPECT_EQ(ask(method::get, STAGE).body, R"({"router":"r1","rows":[]})");
    const response put =
        ask(method::put, STAGE,
            R"({"rows":[{"destination":1,"source":5},{"destination":7,"source":0}]})");
    EXPECT_EQ(put.body,
              R"x({"router":"r1","rows":[{"destination":1,"destinationName":"DST 2","source":5,)x"
              R"x("sourceName":"SRC 6","seen":1,"seenName":"SRC 2",)x"
              R"x("staged":"2025-12-18T00:00:00.000Z","changed":false},)x"
              R"x({"destination":7,"destinationName":"DST 8","source":0,"sourceName":"SRC 1",)x"
              R"x("seen":7,"seenName":"SRC 8","staged":"2025-12-18T00:00:00.000Z",)x"
              R"x("changed":false,"blocked":{"reason":"destinationLocked",)x"
              R"x("detail":"DST 8 is locked by erna (Live feed)"}}]})x");
    const response got = ask(method::get, STAGE);
    EXPECT_EQ(got.body, put.body);
    EXPECT_EQ(header_of(got, "ETag"), header_of(put, "ETag"));
    put_rows();
    EXPECT_THAT(staged(), testing::ElementsAre(1, 2)) << "these and no others";
}

TEST_F(Stage, ChangesSomeRows)
{
    put_rows();
    shows("r1", 2, 6);
    json rows = json_of(ask(method::get, STAGE))["rows"];
    EXPECT_TRUE(rows[1]["changed"]);
    EXPECT_EQ(rows[1]["now"]["source"], 6);
    EXPECT_TRUE(rows[1]["now"].at("by").is_null());
    EXPECT_EQ(rows[1]["blocked"]["reason"], "changedSince");
    rows = json_of(
        ask(method::patch, STAGE,
            R"({"rows":[{"destination":3,"source":5}],"remove":[1,6],"keep":[2,5]})"))["rows"];
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0]["destination"], 2);
    EXPECT_FALSE(rows[0]["changed"]);
    EXPECT_EQ(rows[1]["destination"], 3);
}

TEST_F(Stage, TakesAllOfItsRowsOrNone)
{
    put_rows();
    for (const char* const body :
         {R"({"rows":[{"destination":3,"source":5},{"destination":300,"source":5}]})",
          R"({"rows":[{"destination":3,"source":5},{"destination":4,"source":50}]})",
          R"({"rows":[{"destination":3,"source":5},{"destination":3,"source":6}]})",
          R"({"rows":[{"destination":3,"source":5}],"remove":[-1]})", R"({"rows":5})",
          R"({"rows":[],"level":1})", "[]"}) {
        EXPECT_EQ(ask(method::patch, STAGE, body).status, 422) << body;
        EXPECT_EQ(ask(method::put, STAGE, body).status, 422) << body;
    }
    EXPECT_EQ(ask(method::patch, STAGE, "{}").status, 422);
    EXPECT_THAT(staged(), testing::ElementsAre(1, 2));
}

TEST_F(Stage, IsNotChangedWhenSomebodyElseHas)
{
    put_rows();
    headers = {{"if-match", header_of(ask(method::get, STAGE), "ETag")}};
    EXPECT_EQ(ask(method::patch, STAGE, R"({"remove":[1]})").status, 200);
    EXPECT_EQ(ask(method::patch, STAGE, R"({"remove":[2]})").status, 412);
}

TEST_F(Stage, IsTakenAsOneBatch)
{
    ask(method::put, STAGE,
        R"({"rows":[{"destination":1,"source":5},{"destination":7,"source":0}]})");
    const json told =
        json_of(ask(method::post, STAGE + std::string("/dry-run"), R"({"rule":"rest"})"));
    EXPECT_EQ(told["change"], 1);
    EXPECT_EQ(told["blocked"], 1);
    const request_id id =
        send(method::post, STAGE + std::string("/take?wait=2000"), R"({"rule":"rest"})");
    carries_out("r1", 1, 5);
    ASSERT_TRUE(answers.contains(id));
    EXPECT_EQ(answers[id].status, 200);
    EXPECT_EQ(json_of(answers[id])["kind"], "stage");
    EXPECT_EQ(json_of(answers[id])["counts"], json::parse(R"({"confirmed":1,"notSent":1})"));
    EXPECT_THAT(staged(), testing::ElementsAre(7)) << "what is blocked stays";
    EXPECT_EQ(json_of(ask(method::post, STAGE + std::string("/take"), "{}"))["code"],
              "destinationLocked");
}

TEST_F(Stage, HasNothingToTakeWhenItIsEmpty)
{
    put_rows();
    EXPECT_EQ(ask(method::remove, STAGE).status, 204);
    for (const char* const what : {"/take", "/dry-run"})
        EXPECT_EQ(ask(method::post, STAGE + std::string(what), "{}").body,
                  R"({"type":"/problems/nothing-to-do","title":"Nothing to do","status":409,)"
                  R"("code":"nothingToDo","detail":"nothing is staged","router":"r1"})");
    EXPECT_EQ(ask(method::post, "/api/v1/routers/r9/stage/take", "{}").status, 404);
}

TEST_F(Stage, TellsWhoHasStagedWhat)
{
    put_rows();
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r1/stages").body,
              R"({"router":"r1","stages":[{"person":{"id":"guest","name":"guest"},)"
              R"("destinations":[1,2]}]})");
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r2/stages").body, R"({"router":"r2","stages":[]})");
}
