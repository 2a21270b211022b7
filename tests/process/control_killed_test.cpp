// The control server killed at any moment: what it has answered is there when it starts again.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <thread>

#include "support/control_house.h"

using nlohmann::json;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;

namespace {
constexpr int DESTINATIONS = 32;
constexpr int CHANGES = 40; // that one life is asked for, in one go

struct asked_change {
    std::string method;
    std::string path;
    std::string body;
};

// What a server has acknowledged, over all its lives.
struct acknowledged {
    std::vector<std::string> operations;
    std::vector<std::string> salvos;
    std::string alias;                    // of the first source
    std::vector<std::string> later_alias; // asked for since, without an answer
};

class ControlKilled : public ControlHouse {
  protected:
    std::mt19937_64 random{std::random_device{}()};
    acknowledged known;

    asked_change any_change(int number)
    {
        const std::string mark = std::to_string(random());
        if (number % 8 == 0)
            return {"PATCH", "/api/v1/routers/r1/sources/0", json{{"alias", mark}}.dump()};
        if (number % 8 == 1)
            return {"POST", "/api/v1/salvos",
                    json{{"name", mark},
                         {"rows", {{{"router", "r1"}, {"destination", 0}, {"source", 1}}}}}
                        .dump()};
        const std::string destination = std::to_string(random() % DESTINATIONS);
        return {"PUT", "/api/v1/routers/r1/destinations/" + destination + "/route",
                json{{"source", random() % DESTINATIONS}}.dump()};
    }

    // One after the other over one connection, by a client that ends when the server does.
    std::vector<asked_change> begin_changes(child_process& client, common::child_pipes& its)
    {
        std::vector<asked_change> changes;
        std::vector<std::string> words = {"curl"};
        for (int i = 0; i < CHANGES; ++i) {
            changes.push_back(any_change(i));
            if (i > 0) words.emplace_back("--next");
            words.insert(words.end(),
                         {"--silent", "--no-buffer", "--request", changes.back().method, "--header",
                          "Authorization: Bearer " + token, "--header",
                          "Content-Type: application/json", "--data", changes.back().body,
                          "--write-out", "\\n%{http_code}\\n", address + changes.back().path});
        }
        std::string error;
        EXPECT_TRUE(
            common::start_on_pipes(client, its, words, common::error_output::inherited, error))
            << error;
        return changes;
    }

    // Each answer is a line, with its status on the next one.
    void note_answers(const std::vector<asked_change>& changes, const std::string& answers)
    {
        std::istringstream lines(answers);
        std::string body;
        std::string status;
        std::size_t next = 0;
        for (; std::getline(lines, body) && std::getline(lines, status) && status != "000"; ++next)
            note_answer(changes.at(next), json::parse(body), status);
        for (; next < changes.size(); ++next)
            if (changes[next].method == "PATCH")
                known.later_alias.push_back(json::parse(changes[next].body).at("alias"));
    }

    void note_answer(const asked_change& change, const json& body, const std::string& status)
    {
        if (change.method == "PATCH") {
            EXPECT_EQ(status, "200") << body;
            known.alias = body.value("alias", "");
            known.later_alias.clear();
        } else if (change.method == "POST") {
            EXPECT_EQ(status, "201") << body;
            known.salvos.push_back(body.value("id", ""));
        } else {
            EXPECT_THAT(status, AnyOf("200", "202")) << body; // 200: it was shown already
            known.operations.push_back(body.value("id", ""));
        }
    }

    void live_and_be_killed()
    {
        child_process client;
        common::child_pipes its;
        const std::vector<asked_change> changes = begin_changes(client, its);
        std::string answers;
        // Some answers are awaited: on a slow machine time alone would bring none.
        const auto lines = static_cast<std::ptrdiff_t>(2 * (random() % 8));
        while (std::count(answers.begin(), answers.end(), '\n') < lines &&
               common::read_some(its.output.number, answers) != common::read_outcome::ended) {
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000));
        EXPECT_EQ(end(SIGKILL), -SIGKILL);
        common::read_to_end(its.output.number, answers);
        common::status_at_end(client);
        note_answers(changes, answers);
    }

    // Nothing acknowledged is missing, and nothing is half there.
    void expect_all()
    {
        EXPECT_EQ(run({built_program("router_control"), "--data", data, "check"}), 0) << output;
        start_on_data();
        ASSERT_NE(address, "") << printed;
        for (const std::string& id : known.operations) {
            const json operation = asked("GET", "/api/v1/operations/" + id);
            EXPECT_EQ(operation.value("state", ""), "ended") << id << ": " << operation;
        }
        const json salvos = asked("GET", "/api/v1/salvos");
        for (const std::string& id : known.salvos)
            EXPECT_THAT(salvos.dump(), HasSubstr(id));
        if (known.alias.empty() && known.later_alias.empty()) return;
        const std::string alias = asked("GET", "/api/v1/routers/r1/sources/0").value("alias", "");
        known.later_alias.push_back(known.alias);
        EXPECT_THAT(known.later_alias, Contains(alias));
        known.later_alias = {};
        known.alias = alias;
    }
};
} // namespace

// CONTROL_KILLS: how often.
TEST_F(ControlKilled, LosesNothingThatItHasAnswered)
{
    const char* const given = std::getenv("CONTROL_KILLS");
    const int kills = given == nullptr ? 20 : std::stoi(given);
    ASSERT_NO_FATAL_FAILURE(set_up());
    ASSERT_NO_FATAL_FAILURE(add_router("r1"));
    for (int i = 0; i < kills && !HasFatalFailure(); ++i) {
        until_ready("r1");
        live_and_be_killed();
        known.operations.erase(known.operations.begin(),
                               known.operations.end() -
                                   std::min<std::ptrdiff_t>(CHANGES, std::ssize(known.operations)));
        expect_all();
    }
    EXPECT_FALSE(known.operations.empty());
    EXPECT_FALSE(known.salvos.empty());
    EXPECT_EQ(end(SIGTERM), 0);
}
