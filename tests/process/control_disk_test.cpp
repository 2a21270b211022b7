// The control server on a disk that is full, read-only, broken or slow.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <gmock/gmock.h>

#include "support/control_house.h"
#include "support/mapped_faults.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {
constexpr int HOUR_MS = 3'600'000;

class ControlDisk : public ControlHouse {
  protected:
    mapped_faults faults{directory.path / "faults"};
    std::vector<told_take> takes; // all that were told, in order

    void SetUp() override
    {
        launcher = faults.launcher(data);
        ASSERT_NO_FATAL_FAILURE(set_up());
        ASSERT_NO_FATAL_FAILURE(add_router("r1"));
        ASSERT_NO_FATAL_FAILURE(add_router("r2"));
    }

    void expect_taken(const std::string& router, int destination, int source)
    {
        takes.push_back(take(router, destination, source));
        EXPECT_EQ(takes.back().outcome, "confirmed") << takes.back().detail;
    }

    void expect_takes_go_on()
    {
        for (int i = 0; i < 4; ++i) {
            expect_taken("r1", i, 10 + static_cast<int>(takes.size()) % 20);
            expect_taken("r2", i, 10 + static_cast<int>(takes.size()) % 20);
        }
    }

    json troubles()
    {
        return get("/health").value("troubles", json());
    }

    json database()
    {
        return get("/api/v1/server").value("database", json());
    }

    // Each take once, with the end that was told.
    void expect_history_of_all()
    {
        const json entries = get("/api/v1/history?limit=1000").value("entries", json::array());
        for (const told_take& each : takes) {
            const auto is_its = [&](const json& entry) {
                return entry.value("operation", "") == each.operation;
            };
            EXPECT_EQ(std::count_if(entries.begin(), entries.end(), is_its), 1) << each.operation;
            const auto found = std::find_if(entries.begin(), entries.end(), is_its);
            if (found != entries.end()) {
                EXPECT_EQ(found->value("outcome", ""), each.outcome) << *found;
            }
        }
    }

    // What was told outlasts the process.
    void expect_all_after_a_restart(int signal)
    {
        EXPECT_EQ(end(signal), signal == SIGKILL ? -SIGKILL : 0);
        EXPECT_EQ(run({built_program("router_control"), "--data", data, "check"}), 0) << output;
        start_on_data();
        ASSERT_NE(address, "") << printed;
        expect_history_of_all();
        EXPECT_EQ(end(SIGTERM), 0);
    }
};

struct failure {
    const char* name;
    int write_error;
    int sync_error;
    const char* told; // in its trouble
};

void PrintTo(const failure& failure, std::ostream* stream)
{
    *stream << failure.name;
}

class ControlFailingDisk : public ControlDisk, public testing::WithParamInterface<failure> {
  protected:
    void begin_failure()
    {
        faults->sync_error = GetParam().sync_error;
        faults->write_error = GetParam().write_error;
    }

    void end_failure()
    {
        faults->write_error = 0;
        faults->sync_error = 0;
    }
};
} // namespace

TEST_P(ControlFailingDisk, HoldsNoTakeUpAndIsToldOf)
{
    expect_takes_go_on();
    EXPECT_THAT(troubles(), IsEmpty());
    begin_failure();
    expect_takes_go_on();
    const json told = troubles();
    ASSERT_EQ(told.size(), 1U) << told;
    EXPECT_EQ(told[0].value("code", ""), "journalFailing");
    EXPECT_THAT(told[0].value("detail", ""), HasSubstr(GetParam().told));
    EXPECT_THAT(get("/api/v1/server")["warnings"].dump(), HasSubstr(GetParam().told));
    EXPECT_THAT(get("/api/v1/server/log").dump(), HasSubstr("The history cannot be written"));
    EXPECT_GE(database().value("waiting", 0), 8);
    EXPECT_GE(database().value("failures", 0), 1);
    EXPECT_EQ(get("/ready").value("status", ""), "ready");
    expect_takes_go_on();
    end_failure();
    until("the history is written", [this] { return troubles().empty(); });
    EXPECT_EQ(database().value("waiting", -1), 0);
    EXPECT_EQ(database().value("lost", 0), 0);
    EXPECT_THAT(get("/api/v1/server/log").dump(), HasSubstr("The history is written again"));
    expect_takes_go_on();
    expect_history_of_all();
    expect_all_after_a_restart(SIGTERM);
}

INSTANTIATE_TEST_SUITE_P(All, ControlFailingDisk,
                         testing::Values(failure{"Full", ENOSPC, 0, "full"},
                                         failure{"ReadOnly", EROFS, 0, "disk I/O error"},
                                         failure{"LosesWhatIsWritten", 0, EIO, "disk I/O error"}),
                         [](const auto& each) { return each.param.name; });

// What a backend is started with is there already.
TEST_F(ControlDisk, KeepsNoBackendFromItsStartWhenItIsFull)
{
    expect_taken("r1", 1, 20);
    faults->write_error = ENOSPC;
    kill(backend_of("r1"), SIGKILL);
    until("it has been started anew",
          [this] { return get("/api/v1/routers/r1/statistics").value("backendStarts", 0) == 2; });
    until_ready("r1");
    expect_takes_go_on();
    EXPECT_EQ(troubles().size(), 1U);
    faults->write_error = 0;
    until("the history is written", [this] { return troubles().empty(); });
    expect_history_of_all();
}

TEST_F(ControlDisk, HoldsNothingUpWhenItHangs)
{
    faults->sync_ms = HOUR_MS;
    expect_takes_go_on();
    EXPECT_EQ(faults->syncing, 1) << "it still hangs";
    EXPECT_GE(database().value("waiting", 0), 8);
    EXPECT_EQ(get("/api/v1/routers/r1/routes").value("router", ""), "r1");
    EXPECT_EQ(get("/api/v1/history").value("code", ""), "overloaded");
    ASSERT_NO_FATAL_FAILURE(add_router("r3"));
    expect_taken("r3", 1, 20);
    until("it is told", [this] { return !troubles().empty(); });
    EXPECT_THAT(troubles()[0].value("detail", ""), HasSubstr("the disk does not answer"));
    expect_takes_go_on();
    EXPECT_EQ(faults->syncing, 1) << "it still hangs";
    faults->sync_ms = 0;
    until("all is written", [this] { return database().value("waiting", -1) == 0; });
    EXPECT_THAT(troubles(), IsEmpty());
    expect_history_of_all();
    expect_all_after_a_restart(SIGTERM);
}

TEST_F(ControlDisk, HasWhatWasToldHoweverSlowItIs)
{
    faults->sync_ms = 200;
    expect_takes_go_on();
    expect_all_after_a_restart(SIGKILL);
}
