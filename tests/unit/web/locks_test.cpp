#include "server/accounts/sessions.h"
#include "server/desk/locks.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;

namespace {
const std::string LOCK = "/api/v1/routers/r1/destinations/1/lock";

using names = std::set<std::string, std::less<>>;

struct Locks : ServerTest {
    Locks()
    {
        add_router("r1", 4, 4);
        server.accounts.people["ben"].name = "Ben L.";
    }

    void locked_by_ben()
    {
        const desk::actor ben{"ben", "panel", {desk::right::operate, {}, {}}};
        ASSERT_EQ(
            desk::set_lock(server.desk, now, ben, "r1", 1, desk::lock_mode::lock, "Live feed", {})
                .why,
            desk::reason::none);
    }

    json refused(method method, const std::string& target, const std::string& body = {})
    {
        const response answer = ask(method, target, body);
        EXPECT_GE(answer.status, 400) << answer.body;
        return json_of(answer);
    }
};
} // namespace

TEST_F(Locks, AreSetShownAndRemoved)
{
    const std::string lock =
        R"({"router":"r1","destination":1,"destinationName":"DST 2","mode":"lock",)"
        R"("owner":{"id":"guest","name":"guest"},"reason":"Live feed",)"
        R"("since":"2025-12-18T00:00:00.000Z","until":"2099-12-31T18:00:00.000Z"})";
    EXPECT_EQ(ask(method::put, LOCK,
                  R"({"mode":"lock","reason":"Live feed","until":"2099-12-31T19:00:00+01:00"})")
                  .body,
              lock);
    EXPECT_EQ(ask(method::get, LOCK).body, lock);
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r1/locks").body,
              R"({"router":"r1","revision":11,"locks":[)" + lock + "]}");
    EXPECT_EQ(ask(method::put, "/api/v1/routers/r1/destinations/DST%202/lock?by=name",
                  R"({"mode":"protect"})")
                  .body,
              R"({"router":"r1","destination":1,"destinationName":"DST 2","mode":"protect",)"
              R"("owner":{"id":"guest","name":"guest"},"reason":"",)"
              R"("since":"2025-12-18T00:00:00.000Z"})");
    const response removed = ask(method::remove, LOCK);
    EXPECT_EQ(removed.status, 200);
    EXPECT_EQ(json_of(removed)["mode"], "protect");
    const json nothing = refused(method::get, LOCK);
    EXPECT_EQ(nothing["code"], "noSuchLock");
    EXPECT_EQ(nothing["detail"], "DST 2 is neither locked nor protected");
    EXPECT_EQ(refused(method::remove, LOCK), nothing);
}

TEST_F(Locks, OfOthersAreBrokenWithAReason)
{
    locked_by_ben();
    const json foreign = refused(method::remove, LOCK);
    EXPECT_EQ(foreign["status"], 409);
    EXPECT_EQ(foreign["code"], "destinationLocked");
    EXPECT_EQ(foreign["lockedBy"], json::parse(R"({"id":"ben","name":"Ben L."})"));
    EXPECT_EQ(foreign["destination"], 1);
    EXPECT_EQ(refused(method::put, LOCK, R"({"mode":"protect"})"), foreign);
    EXPECT_EQ(refused(method::remove, LOCK + "?force=false&reason=because"), foreign);
    for (const char* const query : {"?force=true", "?force=true&reason=xx",
                                    "?force=true&reason=+++", "?force=yes&reason=because"}) {
        const json wrong = refused(method::remove, LOCK + query);
        EXPECT_EQ(wrong["status"], 422) << query;
        EXPECT_EQ(wrong["errors"][0]["pointer"],
                  std::string(query).starts_with("?force=yes") ? "force" : "reason")
            << query;
    }
    const response broken = ask(method::remove, LOCK + "?force=true&reason=wrong+studio");
    EXPECT_EQ(broken.status, 200);
    EXPECT_EQ(json_of(broken)["owner"]["name"], "Ben L.");
    EXPECT_EQ(ask(method::get, LOCK).status, 404);
}

TEST_F(Locks, AreForThoseWhoMayRouteTheDestination)
{
    server.settings.demonstration = false;
    server.accounts.people["ben"].may = {desk::right::operate, {}, names{"Monitors"}};
    headers = {
        {"cookie", "session=" + accounts::open_session(server.accounts, now, "ben", address)},
        {"origin", "http://localhost"}};
    const json wrong = refused(method::put, LOCK, R"({"mode":"lock"})");
    EXPECT_EQ(wrong["status"], 403);
    EXPECT_EQ(wrong["detail"], "ben may not route DST 2 of ROUTER r1");
    EXPECT_EQ(wrong["destination"], 1);
    const desk::label monitor{"", "Monitors"};
    desk::set_label(server.desk, now, engineer, "r1", desk::side::destinations, 1, monitor);
    EXPECT_EQ(ask(method::put, LOCK, R"({"mode":"lock"})").status, 200);
}

TEST_F(Locks, AreRefusedWithThePlaceOfWhatIsWrong)
{
    const struct {
        const char* body;
        const char* place;
    } cases[] = {{"", ""},
                 {"{}", "/mode"},
                 {R"({"mode":"locked"})", "/mode"},
                 {R"({"mode":"lock","until":"tomorrow"})", "/until"},
                 {R"({"mode":"lock","until":"2025-12-18T00:00:00Z"})", "/until"},
                 {R"({"mode":"lock","reason":7})", "/reason"},
                 {R"({"mode":"lock","owner":"ben"})", "/owner"}};
    for (const auto& each : cases) {
        const json wrong = refused(method::put, LOCK, each.body);
        EXPECT_EQ(wrong["status"], 422) << each.body;
        EXPECT_EQ(wrong["errors"][0]["pointer"], each.place) << each.body;
    }
    EXPECT_EQ(refused(method::put, "/api/v1/routers/r1/destinations/4/lock",
                      R"({"mode":"lock"})")["code"],
              "noSuchDestination");
    EXPECT_EQ(refused(method::get, "/api/v1/routers/r9/locks")["code"], "noSuchRouter");
}
