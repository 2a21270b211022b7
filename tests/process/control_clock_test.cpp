// The control server under a wall clock that is set back.
#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <set>

#include "support/control_house.h"
#include "support/mapped_faults.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Le;

namespace {
constexpr int HOUR_S = 3600;

class ControlClock : public ControlHouse {
  protected:
    mapped_faults faults{directory.path / "faults"};
    std::vector<std::string> operations; // in the order of their making

    void SetUp() override
    {
        launcher = faults.launcher(data);
        ASSERT_NO_FATAL_FAILURE(set_up());
        ASSERT_NO_FATAL_FAILURE(add_router("r1"));
    }

    void expect_taken(int destination, int source)
    {
        const told_take told = take("r1", destination, source);
        EXPECT_EQ(told.outcome, "confirmed") << told.detail;
        operations.push_back(told.operation);
    }

    void undo()
    {
        const json answer = asked("POST", "/api/v1/undo?wait=60000", {{"rule", "rest"}});
        ASSERT_TRUE(answer.contains("id")) << answer;
        operations.push_back(answer["id"]);
    }

    int source_of(int destination)
    {
        return get("/api/v1/routers/r1/destinations/" + std::to_string(destination) + "/route")
            .value("source", -1);
    }

    std::string clock()
    {
        return get("/api/v1/server").value("time", "");
    }

    std::string lock_path(int destination)
    {
        return "/api/v1/routers/r1/destinations/" + std::to_string(destination) + "/lock";
    }

    // "2026-11-22T14:05:20.711Z", by the server's clock, so much later.
    std::string in(std::chrono::seconds later)
    {
        const std::time_t then = std::time(nullptr) - faults->clock_behind_s + later.count();
        char text[32];
        std::strftime(text, sizeof text, "%FT%T.000Z", std::gmtime(&then));
        return text;
    }

    // Of all history, by pages of three.
    std::vector<json> history()
    {
        std::vector<json> entries;
        std::string cursor;
        do {
            const json page =
                get("/api/v1/history?limit=3" + (cursor.empty() ? "" : "&cursor=" + cursor));
            for (const json& entry : page.value("entries", json::array()))
                entries.push_back(entry);
            cursor = page.value("next", "");
        } while (!cursor.empty());
        return entries;
    }

    // When the operations stand in it: a slow disk keeps them after their answers.
    std::vector<json> kept_history()
    {
        std::vector<json> entries;
        until("all operations are kept", [&] {
            entries = history();
            return std::all_of(operations.begin(), operations.end(), [&](const auto& operation) {
                return std::any_of(entries.begin(), entries.end(), [&](const json& entry) {
                    return entry.value("operation", "") == operation;
                });
            });
        });
        return entries;
    }

    // Newest first by the clock, each operation once.
    void expect_orderly_history()
    {
        EXPECT_TRUE(std::is_sorted(operations.begin(), operations.end()));
        std::string last = "9999";
        std::multiset<std::string> found;
        std::set<std::string> ids;
        for (const json& entry : kept_history()) {
            EXPECT_THAT(entry.value("time", ""), Le(last));
            EXPECT_TRUE(ids.insert(entry.value("id", "")).second) << entry;
            last = entry.value("time", "");
            found.insert(entry.value("operation", ""));
        }
        for (const std::string& operation : operations)
            EXPECT_EQ(found.count(operation), 1U) << operation;
    }
};
} // namespace

TEST_F(ControlClock, GoesOnInOrderWhenItIsSetBack)
{
    for (int i = 0; i < 3; ++i)
        expect_taken(i, 20 + i);
    const std::string before = clock();
    faults->clock_behind_s = HOUR_S;
    EXPECT_LT(clock(), before);
    for (int i = 0; i < 3; ++i)
        expect_taken(i, 10 + i);
    undo();
    EXPECT_EQ(source_of(2), 22);
    undo();
    EXPECT_EQ(source_of(1), 21);
    expect_orderly_history();
    EXPECT_EQ(end(SIGTERM), 0);
    start_on_data();
    ASSERT_NE(address, "") << printed;
    until_ready("r1");
    undo();
    EXPECT_EQ(source_of(0), 20) << "what was taken last before the restart";
    expect_taken(0, 15);
    undo();
    EXPECT_EQ(source_of(0), 20);
    expect_orderly_history();
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(ControlClock, KeepsLocksToTheTimeThatTheyWereGiven)
{
    using std::chrono::minutes;
    using std::chrono::seconds;
    const auto lock = [this](int destination, seconds lasts) {
        const json answer =
            asked("PUT", lock_path(destination), {{"mode", "lock"}, {"until", in(lasts)}});
        EXPECT_EQ(answer.value("destination", -1), destination) << answer;
    };
    lock(7, minutes(30));
    faults->clock_behind_s = HOUR_S;
    EXPECT_EQ(take("r1", 7, 20).outcome, "destinationLocked");
    lock(8, seconds(2));
    const auto is_locked = [this](int destination) {
        const json locks = get("/api/v1/routers/r1/locks").value("locks", json::array());
        return std::any_of(locks.begin(), locks.end(), [&](const json& each) {
            return each.value("destination", -1) == destination;
        });
    };
    EXPECT_TRUE(is_locked(7));
    until("the short one has ended", [&] { return !is_locked(8); });
    expect_taken(8, 20);
    EXPECT_TRUE(is_locked(7));
    faults->clock_behind_s = -HOUR_S; // set right, and more
    until("the long one has ended", [&] { return !is_locked(7); });
    expect_taken(7, 20);
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(ControlClock, EndsNoSession)
{
    const std::string jar = directory.path / "cookies"; // of the administrator
    const auto as_browser = [&](const std::string& path, std::vector<std::string> words = {}) {
        words.insert(words.end(), {"--cookie", jar});
        return json::parse(ask(path, words), nullptr, false);
    };
    faults->clock_behind_s = HOUR_S;
    EXPECT_THAT(as_browser("/api/v1/session").dump(), HasSubstr("\"ana\""));
    EXPECT_EQ(as_browser("/api/v1/routers/r1/destinations/3/route?wait=60000",
                         {"--request", "PUT", "--header", "Origin: " + address, "--header",
                          "Content-Type: application/json", "--data", R"({"source": 20})"})
                  .value("state", ""),
              "ended");
    faults->clock_behind_s = 0;
    EXPECT_THAT(as_browser("/api/v1/session").dump(), HasSubstr("\"ana\""));
    EXPECT_EQ(end(SIGTERM), 0);
}
