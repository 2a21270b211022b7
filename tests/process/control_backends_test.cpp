// The control server with a backend that is killed, stands still or never stops talking: the other
// router's takes go on, and what is told of its own is true.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "support/backend_script.h"
#include "support/control_house.h"
#include "support/mapped_faults.h"

using nlohmann::json;
using testing::StartsWith;

namespace {
class ControlBackends : public ControlHouse {
  protected:
    void set_up_routers(const std::vector<std::string>& options = {})
    {
        ASSERT_NO_FATAL_FAILURE(set_up(options));
        ASSERT_NO_FATAL_FAILURE(add_router("r1"));
        ASSERT_NO_FATAL_FAILURE(add_router("r2"));
    }

    // In place of r1's backend.
    std::string script(const std::string& commands)
    {
        const std::string path = directory.file(
            "backend", "#!/bin/sh\nif [ \"${2##*/}\" = r1.conf ]; then\n" + commands +
                           "fi\nexec '" + backend_program() + "' \"$@\"\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }

    void expect_taken(const std::string& router, int source)
    {
        for (int destination = 0; destination < 4; ++destination) {
            const told_take told = take(router, destination, source);
            EXPECT_EQ(told.outcome, "confirmed") << told.detail;
        }
    }

    // Does not wait for its end.
    std::string begin_take(int destination, int source)
    {
        return asked("PUT",
                     "/api/v1/routers/r1/destinations/" + std::to_string(destination) + "/route",
                     {{"source", source}})
            .value("id", "");
    }

    // From now on the router answers nothing. A query that it has not answered, either, may keep
    // the take from being sent: then it is asked for once more.
    std::string begin_unanswered_take()
    {
        for (;;) {
            kill(simulators.at("r1").child.process, SIGSTOP);
            const std::string operation = begin_take(5, 20);
            json row;
            until("it has been sent, or cannot be", [&] {
                row = get("/api/v1/operations/" + operation).at("rows").at(0);
                return row.value("state", "") == "sent" || row.value("outcome", "") != "open";
            });
            if (row.value("state", "") == "sent") return operation;
            kill(simulators.at("r1").child.process, SIGCONT);
            until_ready("r1");
        }
    }

    json row_of(const std::string& operation)
    {
        return get("/api/v1/operations/" + operation + "?wait=60000").at("rows").at(0);
    }

    int starts()
    {
        return get("/api/v1/routers/r1/statistics").value("backendStarts", 0);
    }
};
} // namespace

TEST_F(ControlBackends, AreStartedAnewWhenOneIsKilled)
{
    ASSERT_NO_FATAL_FAILURE(set_up_routers());
    const std::string operation = begin_unanswered_take();
    kill(backend_of("r1"), SIGKILL);
    expect_taken("r2", 20);
    const json row = row_of(operation);
    EXPECT_EQ(row.value("outcome", ""), "timedOut") << row;
    until("it is told", [this] {
        return get("/api/v1/server")["warnings"].dump().find("STUDIO r1") != std::string::npos;
    });
    kill(simulators.at("r1").child.process, SIGCONT);
    until_ready("r1");
    EXPECT_EQ(starts(), 2);
    expect_taken("r1", 21);
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(ControlBackends, AreStartedAnewWhenOneStandsStill)
{
    ASSERT_NO_FATAL_FAILURE(set_up_routers());
    kill(backend_of("r1"), SIGSTOP);
    const std::string operation = begin_take(5, 20);
    expect_taken("r2", 20);
    const json row = row_of(operation);
    EXPECT_EQ(row.value("outcome", ""), "timedOut") << row;
    EXPECT_THAT(row.value("detail", ""), StartsWith("it may have been sent"));
    until("it is started anew", [this] { return starts() == 2; });
    until_ready("r1");
    EXPECT_EQ(get("/api/v1/routers/r1/destinations/5/route").value("source", -1), 5);
    expect_taken("r1", 21);
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(ControlBackends, HoldNothingUpWhenOneNeverStopsTalking)
{
    ASSERT_NO_FATAL_FAILURE(
        set_up_routers({"--backend", script(becomes_ready() + "exec yes '<NOTE>flood' >&2\n")}));
    until("it floods",
          [this] { return get("/api/v1/routers/r1/log").value("forgotten", 0) > 100'000; });
    expect_taken("r2", 20);
    EXPECT_EQ(get("/api/v1/routers/r1/log")["lines"].size(), 500U);
    EXPECT_EQ(end(SIGTERM), 0);
}

// Its router seems to change all the time, until its process is killed.
TEST_F(ControlBackends, HoldNothingUpWhenOneNeverStopsReporting)
{
    const mapped_faults faults(directory.path / "faults");
    launcher = faults.launcher(data);
    const std::string changes = "*COMMAND=outputs\n*TYPE=message\no0.input.all=1\n\n"
                                "*COMMAND=outputs\n*TYPE=message\no0.input.all=0\n";
    ASSERT_NO_FATAL_FAILURE(set_up_routers(
        {"--backend", script("if ! [ -e \"$2.before\" ]; then\necho $$ >\"$2.before\"\n" +
                             becomes_ready() + "exec yes '" + changes + "'\nfi\n")}));
    expect_taken("r2", 20);
    pid_t flooding = 0;
    std::ifstream(data + "/backends/r1.conf.before") >> flooding;
    ASSERT_GT(flooding, 1);
    faults->sync_ms = 500; // so that on any machine
    until("more comes than the disk takes", [this] { return !get("/health")["troubles"].empty(); });
    expect_taken("r2", 21);
    faults->sync_ms = 0;
    kill(flooding, SIGKILL);
    expect_taken("r2", 22);
    until_ready("r1");
    expect_taken("r1", 22);
    until("the disk takes what comes", [this] { return get("/health")["troubles"].empty(); });
    EXPECT_EQ(end(SIGTERM), 0);
}
