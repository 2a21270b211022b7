#include "server/desk/locks.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using namespace std::chrono_literals;

namespace {
constexpr auto SALVOS = "/api/v1/salvos";
constexpr auto EVENING =
    R"({"name":"Evening news","rows":[{"router":"r1","destination":1,"source":5},)"
    R"({"router":"r2","destination":2,"source":null}]})";

struct Salvos : ServerTest {
    Salvos()
    {
        add_router("r1");
        add_router("r2");
        desk::set_lock(server.desk, now, engineer, "r1", 7, desk::lock_mode::lock, "Live feed", {});
    }

    std::string saved(const std::string& body)
    {
        const response made = ask(method::post, SALVOS, body);
        EXPECT_EQ(made.status, 201) << made.body;
        return header_of(made, "Location");
    }

    std::string complaint(method method, const std::string& target, const std::string& body = {})
    {
        const response refused = ask(method, target, body);
        return json_of(refused).value("code", "none") + " " + std::to_string(refused.status);
    }
};
} // namespace

TEST_F(Salvos, AreSavedWithTheirRows)
{
    EXPECT_EQ(json_of(ask(method::get, SALVOS))["salvos"], json::array());
    const response made = ask(method::post, SALVOS, EVENING);
    const std::string id = json_of(made)["id"];
    EXPECT_EQ(made.status, 201);
    EXPECT_EQ(header_of(made, "Location"), "/api/v1/salvos/" + id);
    EXPECT_EQ(made.body,
              R"({"id":")" + id +
                  R"(","name":"Evening news","note":"","rule":"all","version":1,)"
                  R"("author":{"id":"guest","name":"guest"},"saved":"2025-12-18T00:00:00.000Z",)"
                  R"("rows":[{"router":"r1","destination":1,"destinationName":"DST 2","source":5,)"
                  R"("sourceName":"SRC 6"},{"router":"r2","destination":2,)"
                  R"("destinationName":"DST 3","source":null}]})");
    const response got = ask(method::get, header_of(made, "Location"));
    EXPECT_EQ(got.body, made.body);
    EXPECT_EQ(header_of(got, "ETag"), header_of(made, "ETag"));
    EXPECT_EQ(text_of(json_of(ask(method::get, SALVOS))["salvos"][0]),
              R"({"id":")" + id +
                  R"(","name":"Evening news","note":"","rule":"all","version":1,)"
                  R"("author":{"id":"guest","name":"guest"},"saved":"2025-12-18T00:00:00.000Z",)"
                  R"("rowCount":2,"routers":["r1","r2"]})");
}

TEST_F(Salvos, AreRefusedWithWhatIsWrong)
{
    saved(EVENING);
    EXPECT_EQ(
        complaint(method::post, SALVOS,
                  R"({"name":"evening NEWS","rows":[{"router":"r1","destination":1,"source":5}]})"),
        "nameTaken 409");
    const auto row = [](const std::string& text) {
        return R"({"name":"x","rows":[)" + text + "]}";
    };
    EXPECT_EQ(
        complaint(method::post, SALVOS, row(R"({"router":"r1","destination":300,"source":5})")),
        "noSuchDestination 422");
    EXPECT_EQ(
        complaint(method::post, SALVOS, row(R"({"router":"r1","destination":3,"source":50})")),
        "noSuchSource 422");
    EXPECT_EQ(complaint(method::post, SALVOS, row(R"({"router":"r9","destination":3,"source":5})")),
              "noSuchRouter 422");
    EXPECT_EQ(complaint(method::post, SALVOS,
                        row(R"({"router":"r1","destination":3,"source":5},)"
                            R"({"router":"r1","destination":3,"source":6})")),
              "duplicateDestination 422");
    for (const std::string& body :
         {row(""), row("7"), std::string(R"({"name":""})"), std::string("{}"),
          std::string(R"({"name":"x","rows":[{"destination":3,"source":5}]})")})
        EXPECT_EQ(complaint(method::post, SALVOS, body), "badValue 422") << body;
}

TEST_F(Salvos, KeepTheirVersions)
{
    const std::string evening = saved(EVENING);
    headers = {{"if-match", header_of(ask(method::get, evening), "ETag")}};
    const response put = ask(method::put, evening,
                             R"({"name":"Evening news","note":"with transmission","rule":"rest",)"
                             R"("rows":[{"router":"r1","destination":7,"source":0}]})");
    EXPECT_EQ(put.status, 200);
    EXPECT_EQ(json_of(put)["version"], 2);
    EXPECT_EQ(complaint(method::put, evening, EVENING), "changedMeanwhile 412");
    headers.clear();
    EXPECT_EQ(ask(method::get, evening).body, put.body);
    EXPECT_EQ(json_of(ask(method::get, evening + "?version=1"))["rows"].size(), 2U);
    EXPECT_EQ(complaint(method::get, evening + "?version=3"), "noSuchVersion 404");
    EXPECT_EQ(complaint(method::get, evening + "?version=0"), "badValue 422");
    const json versions = json_of(ask(method::get, evening + "/versions"))["versions"];
    ASSERT_EQ(versions.size(), 2U);
    EXPECT_EQ(text_of(versions[0]),
              R"({"version":2,"author":{"id":"guest","name":"guest"},)"
              R"("saved":"2025-12-18T00:00:00.000Z","note":"with transmission","rowCount":1})");
    EXPECT_EQ(versions[1]["version"], 1);
}

TEST_F(Salvos, AreRunByTheirOwnRuleOrAnother)
{
    const std::string evening =
        saved(R"({"name":"Evening news","rule":"rest","rows":[{"router":"r1","destination":1,)"
              R"("source":5},{"router":"r1","destination":7,"source":0}]})");
    const json would = json_of(ask(method::post, evening + "/dry-run", "{}"));
    EXPECT_EQ(would["rule"], "rest");
    EXPECT_EQ(would["change"], 1);
    EXPECT_EQ(would["blocked"], 1);
    const request_id id = send(method::post, evening + "/take?wait=2000", R"({"reason":"on air"})");
    carries_out("r1", 1, 5);
    ASSERT_TRUE(answers.contains(id));
    const json told = json_of(answers[id]);
    EXPECT_EQ(told["kind"], "salvo");
    EXPECT_EQ("/api/v1/salvos/" + told["salvo"]["id"].get<std::string>(), evening);
    EXPECT_EQ(told["salvo"]["name"], "Evening news");
    EXPECT_EQ(told["salvo"]["version"], 1);
    EXPECT_EQ(told["counts"], json::parse(R"({"confirmed":1,"notSent":1})"));
    EXPECT_FALSE(told.contains("of"));
    EXPECT_EQ(complaint(method::post, evening + "/take", R"({"rule":"all"})"),
              "destinationLocked 409");
    EXPECT_EQ(complaint(method::post, evening + "/take", R"({"version":2})"), "noSuchVersion 404");
    EXPECT_EQ(complaint(method::post, evening + "/dry-run", R"({"reason":"x"})"), "badValue 422");
}

TEST_F(Salvos, CanBeRestored)
{
    const std::string evening = saved(EVENING);
    EXPECT_EQ(complaint(method::post, evening + "/restore"), "notDeleted 409");
    EXPECT_EQ(ask(method::remove, evening).status, 204);
    EXPECT_EQ(complaint(method::get, evening), "noSuchSalvo 404");
    EXPECT_EQ(json_of(ask(method::get, SALVOS))["salvos"].size(), 0U);
    const json deleted = json_of(ask(method::get, SALVOS + std::string("?deleted=true")))["salvos"];
    ASSERT_EQ(deleted.size(), 1U);
    EXPECT_EQ(deleted[0]["deleted"], "2025-12-18T00:00:00.000Z");
    EXPECT_EQ(ask(method::post, evening + "/restore").status, 200);
    EXPECT_EQ(ask(method::get, evening).status, 200);
}

TEST_F(Salvos, MustBeThere)
{
    for (const std::string id : {"01J00000000000000000000000", "x"}) {
        const std::string salvo = SALVOS + ("/" + id);
        EXPECT_EQ(complaint(method::get, salvo), "noSuchSalvo 404");
        EXPECT_EQ(complaint(method::put, salvo, EVENING), "noSuchSalvo 404");
        EXPECT_EQ(complaint(method::remove, salvo), "noSuchSalvo 404");
        EXPECT_EQ(complaint(method::get, salvo + "/versions"), "noSuchSalvo 404");
        for (const char* const what : {"/restore", "/dry-run", "/take"})
            EXPECT_EQ(complaint(method::post, salvo + what, "{}"), "noSuchSalvo 404") << what;
    }
}
