#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;

namespace {
constexpr const char* SETTINGS = "/api/v1/people/me/settings";

struct Settings : AccountRequests {
    plain usual = plain::parse(R"({
        "theme": "system", "density": "comfortable", "view": "matrix", "swapAxes": false,
        "cellSize": "L", "headerWidth": 292, "hotMinutes": 10, "sourceFirst": false,
        "sound": false, "volume": 50, "singleKeys": true, "language": "en", "hintsSeen": false,
        "pins": [], "folds": [], "starredSalvos": []})");

    Settings()
    {
        as("ben");
    }
};
} // namespace

TEST_F(Settings, AreTheUsualOnesFirst)
{
    EXPECT_EQ(json_of(ask(method::get, SETTINGS)), usual);
    server.accounts.people["ben"].settings = "[]";
    EXPECT_EQ(json_of(ask(method::get, SETTINGS)), usual);
}

TEST_F(Settings, AreChangedOneByOne)
{
    const plain change = plain::parse(R"({
        "theme": "dark", "hintsSeen": true, "lastRouter": "r1",
        "pins": [{"router": "r1", "side": "destinations", "positions": [28, 29]}],
        "folds": [{"router": "r1", "side": "destinations", "groups": ["Gallery"]}],
        "starredSalvos": ["01KAN26Q1B5D9F2H6J0K4M8N3P"]})");
    plain expected = usual;
    expected.update(change);
    const response changed = ask(method::patch, SETTINGS, change.dump());
    EXPECT_EQ(json_of(changed), expected);
    const response now_ = ask(method::get, SETTINGS);
    EXPECT_EQ(json_of(now_), expected);
    EXPECT_EQ(header_of(now_, "ETag"), header_of(changed, "ETag"));
    expected["volume"] = 0;
    EXPECT_EQ(json_of(ask(method::patch, SETTINGS, R"({"volume": 0})")), expected);
    as("ana");
    EXPECT_EQ(json_of(ask(method::get, SETTINGS)), usual);
}

TEST_F(Settings, AreRefusedWithAllThatIsWrong)
{
    const std::string wrong = R"({
        "theme": "red", "swapAxes": 1, "headerWidth": 199, "language": "e n", "lastRouter": "",
        "pins": [{"router": "r1", "side": "left", "positions": [1024, 0]}],
        "folds": [{"router": "r1", "side": "sources", "groups": ["x", 1], "more": 1}],
        "starredSalvos": ["x"], "such": 1})";
    const response refused = ask(method::patch, SETTINGS, wrong);
    EXPECT_EQ(refused.status, 422);
    std::string pointers;
    const plain list = json_of(refused)["errors"];
    for (const plain& each : list)
        pointers += each["pointer"].get<std::string>() + " ";
    EXPECT_EQ(pointers, "/theme /headerWidth /swapAxes /language /lastRouter /pins/0/side "
                        "/pins/0/positions/0 /folds/0/groups/1 /folds/0/more /starredSalvos/0 "
                        "/such ");
    EXPECT_EQ(ask(method::patch, SETTINGS, "{}").status, 422);
    EXPECT_EQ(json_of(ask(method::get, SETTINGS)), usual);
}

TEST_F(Settings, OfAGuestAreNotKept)
{
    server.settings.demonstration = true;
    headers.clear();
    EXPECT_EQ(json_of(ask(method::get, SETTINGS)), usual);
    EXPECT_EQ(ask(method::patch, SETTINGS, R"({"volume": 0})").status, 404);
}
