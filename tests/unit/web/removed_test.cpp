// Of somebody who was removed, for somebody else who is given the same id.
#include "server/desk/locks.h"
#include "server/desk/notices.h"
#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;

namespace {
const std::string DESTINATIONS = "/api/v1/routers/r1/destinations/";
constexpr auto STAGE = "/api/v1/routers/r1/stage";
constexpr auto LABEL = "/api/v1/routers/r1/sources/1";

struct Removed : AccountRequests {
    Removed()
    {
        add_router("r1");
        server.accounts.people["ben"].may = {desk::right::engineer, {}, {}};
        as("ben");
        ask(method::put, STAGE, R"({"rows":[{"destination":1,"source":2}]})");
        ask(method::put, DESTINATIONS + "4/route", R"({"source":6})");
        carries_out("r1", 4, 6);
        ask(method::put, DESTINATIONS + "2/lock", R"({"mode":"protect","reason":"on air"})");
        ask(method::put, DESTINATIONS + "3/lock", R"({"mode":"protect"})");
        ask(method::patch, "/api/v1/people/me/settings", R"({"theme":"light"})");
        headers.emplace_back("idempotency-key", "k1");
        ask(method::patch, LABEL, R"({"alias":"CAM"})");
        as("ana");
        ask(method::remove, DESTINATIONS + "3/lock?force=true&reason=needed");
    }

    void replace_ben()
    {
        EXPECT_EQ(ask(method::remove, "/api/v1/people/ben").status, 204);
        EXPECT_FALSE(server.desk.stages.contains("ben"));
        EXPECT_FALSE(server.first_answers.of.contains("ben"));
        wait(std::chrono::seconds(1));
        const response added =
            ask_with_password(method::post, "/api/v1/people",
                              R"({"id":"ben","name":"Benedikt","password":"river otter lantern",
                "rights":{"usual":"engineer","exceptions":{}}})");
        EXPECT_EQ(added.status, 201) << added.body;
        as("ben");
    }
};
} // namespace

TEST_F(Removed, TheirWorkIsGone)
{
    EXPECT_EQ(notices_of(server.desk.house, "ben", now.utc).size(), 1U);
    replace_ben();
    EXPECT_EQ(json_of(ask(method::get, STAGE))["rows"], plain::array());
    EXPECT_EQ(ask(method::get, "/api/v1/undo").body, R"({"steps":0})");
    EXPECT_TRUE(notices_of(server.desk.house, "ben", now.utc).empty());
    EXPECT_NE(json_of(ask(method::get, "/api/v1/people/me/settings"))["theme"], "light");
}

TEST_F(Removed, TheirAnswersAreGone)
{
    replace_ben();
    headers.emplace_back("idempotency-key", "k1");
    const response labelled = ask(method::patch, LABEL, R"({"alias":"CAM"})");
    EXPECT_EQ(labelled.status, 200);
    EXPECT_EQ(header_of(labelled, "Idempotency-Replayed"), "");
}

TEST_F(Removed, TheirLocksStayAndAreNobodys)
{
    replace_ben();
    const plain refused = json_of(ask(method::put, DESTINATIONS + "2/route", R"({"source":6})"));
    EXPECT_EQ(refused["code"], "destinationProtected");
    EXPECT_EQ(refused["detail"], "DST 3 is protected by ben (removed) (on air)");
    EXPECT_EQ(refused["lockedBy"], (plain{{"id", "ben (removed)"}, {"name", "ben (removed)"}}));
    EXPECT_EQ(ask(method::remove, DESTINATIONS + "2/lock").status, 409);
    EXPECT_EQ(ask(method::remove, DESTINATIONS + "2/lock?force=true&reason=gone").status, 200);
}

TEST_F(Removed, TokensLeaveNothingEither)
{
    const char* const tally = R"({"id":"tally","name":"Tally","kind":"api",
                                  "rights":{"usual":"engineer","exceptions":{}}})";
    const auto act = [&] {
        as("ana");
        const std::string secret = json_of(ask(method::post, "/api/v1/tokens", tally))["secret"];
        headers = {{"authorization", "Bearer " + secret}};
    };
    act();
    ask(method::put, STAGE, R"({"rows":[{"destination":1,"source":2}]})");
    as("ana");
    EXPECT_EQ(ask(method::remove, "/api/v1/tokens/tally").status, 204);
    act();
    EXPECT_EQ(json_of(ask(method::get, STAGE))["rows"], plain::array());
}
