// Whole runs under the fake clock: whatever the ledgers can find must end a run with 1 and stand in
// its verdict.
#include <functional>
#include <gmock/gmock.h>
#include <sstream>
#include <utility>

#include "soak/random_parent.h"
#include "soak/run.h"
#include "support/fake_clock.h"
#include "support/temporary_directory.h"
#include "unit/soak/scripted_backend.h"

using namespace soak;
using testing::HasSubstr;
using testing::Not;

namespace {
constexpr us_time_t SECOND = 1'000'000;

struct played_run {
    std::uint64_t seconds = LEAST_SECONDS;
    scripted_backend backend;
    volatile std::sig_atomic_t interrupted = 0;
    // The process as it is measured at so many seconds.
    std::function<std::optional<process_cost>(int)> measure = [](int) {
        return process_cost{.pss_kib = 900, .heap_kib = 100, .descriptors = 6};
    };
    std::filesystem::path folder; // "": a new one
};

// At so many seconds.
void at(int seconds, const std::function<void()>& event)
{
    at_us(FAKE_START_US + static_cast<us_time_t>(seconds) * SECOND, event);
}

// Ten times a second from the tenth second on, so that some meet a moment without disturbance.
void again_and_again(const std::function<void(int time)>& event)
{
    for (int time = 100; time < 10 * static_cast<int>(LEAST_SECONDS); ++time)
        at_us(FAKE_START_US + static_cast<us_time_t>(time) * SECOND / 10, [=] { event(time); });
}

struct row {
    const char* name;
    std::function<void(played_run&)> plant;
    const char* finding;
};

std::ostream& operator<<(std::ostream& output, const row& each)
{
    return output << each.name;
}

class SoakRun : public testing::Test {
  protected:
    played_run played;
    temporary_directory directory;
    std::string printed;

    void SetUp() override
    {
        reset_fake_clock();
    }
    // What is left in it would act on what is gone.
    void TearDown() override
    {
        reset_fake_clock();
    }
    int run()
    {
        std::ostringstream output;
        const run_options options{.seconds = played.seconds,
                                  .port = "4567",
                                  .other_port = "1",
                                  .output_folder =
                                      played.folder.empty() ? directory.path : played.folder};
        const int status = run_soak(
            options,
            {.backend = played.backend.link,
             .router_lines = played.backend.router_lines.number,
             .wait = [&](auto& descriptors) { played.backend.pass(descriptors); },
             .measure =
                 [&](pid_t) {
                     return played.measure(static_cast<int>((now_us() - FAKE_START_US) / SECOND));
                 },
             .visited = [&] { return std::exchange(played.backend.visits, false); },
             .interrupted = played.interrupted,
             .output = output});
        printed = output.str();
        return status;
    }
};

class SoakFindings : public SoakRun, public testing::WithParamInterface<row> {};

// The process at rest, until it is as given from the 45th second on.
auto grown(const process_cost& grown)
{
    return [grown](played_run& run) {
        run.measure = [grown](int second) {
            return second < 45 ? process_cost{.pss_kib = 900, .heap_kib = 100, .descriptors = 6}
                               : grown;
        };
    };
}

const row ROWS[] = {
    {"SecondReply",
     [](played_run& run) { at(30, [&] {
                               run.backend.sends({"dance", "", "reply", "1", {}});
                           }); },
     "reply to nothing, or a second one: id 1, dance"},
    {"WrongReply", [](played_run& run) { at(30, [&] { run.backend.wrong_error = "No"; }); },
     "wrong reply to "},
    {"NoReply", [](played_run& run) { at(30, [&] { run.backend.skips_reply = true; }); },
     "no reply within 15 s: id "},
    {"ReportOfNothing",
     [](played_run& run) {
         again_and_again([&](int) {
             run.backend.accepts = false;
             run.backend.changes(3, 9, "scenario");
             run.backend.accepts = true;
         });
     },
     "a report is not what was accepted: output 3 input 9"},
    {"AcceptedAndNotReported",
     [](played_run& run) {
         run.seconds = 300;
         run.backend.operators_take = run.backend.carries_out = false;
         for (int second = 10; second < 300; second += 25)
             at(second, [&run, second] {
                 run.backend.changes(3, second % 64, "scenario");
                 run.backend.says("<DBG>Accepting route change output=4 input=4");
             });
     },
     "accepted but never reported: output 4 input 4"},
    {"ReportedAndNeverShown",
     [](played_run& run) {
         again_and_again([&](int) {
             run.backend.sends({"outputs", "", "message", "", {{"o64.input.all", "3"}}});
         });
     },
     "reported, but never shown by the router: output 64 input 3"},
    {"NotKnownByPolling",
     [](played_run& run) {
         again_and_again([&](int time) {
             run.backend.router_tells(
                 R"("event":"take","source":64,"by":"scenario","destination":)" +
                 std::to_string(time % 64 + 1));
         });
     },
     "changed by the router, unknown to the parent after 5 s of polling: output "},
    {"NotKnownByQueries",
     [](played_run& run) {
         // Others' takes would tell the parent of a later change of this output.
         at(1, [&] { run.backend.operators_take = false; });
         again_and_again([&](int) {
             run.backend.router_tells(
                 R"("event":"take","source":64,"by":"scenario","destination":64)");
         });
         at(59, [&] { run.backend.router_tells(R"("event":"fault","fault":"lose","client":1)"); });
     },
     "changed by the router, unknown to the parent after three undisturbed queries: output 63 "
     "input 63, last reported input "},
    {"TakeThatIsNotMade", [](played_run& run) { run.backend.carries_out = false; },
     "a take did not reach the router: output "},
    {"TakeThatIsNotReported", [](played_run& run) { run.backend.reports = false; },
     "a take was not reported: output "},
    {"NeverSettled",
     [](played_run& run) {
         at(59, [&] {
             run.backend.operators_take = false;
             run.backend.router_tells(R"("event":"fault","fault":"ignore","lasting":true)");
             run.backend.router_tells(
                 R"("event":"take","source":64,"by":"scenario","destination":64)");
         });
     },
     "not all was known three minutes after the last command"},
    {"RouterEnds", [](played_run& run) { at(30, [&] { run.backend.router_ends(); }); },
     "the simulated router ended"},
    {"BackendEnds", [](played_run& run) { at(30, [&] { run.backend.ends(); }); },
     "the backend ended by itself"},
    {"BackendDoesNotEnd", [](played_run& run) { run.backend.ends_with_input = false; },
     "the backend had not ended 20 s after its input"},
    {"ExitStatus", [](played_run& run) { run.backend.exit_status = 3; },
     "the backend exited with status 3"},
    {"EndBySignal", [](played_run& run) { at(30, [&] { run.backend.is_killed(); }); },
     "the backend was ended by signal 9 (Killed)"},
    {"Heap", grown({.pss_kib = 900, .heap_kib = 20100, .descriptors = 6}),
     "the heap has grown by 20000 KiB, 16384 KiB allowed"},
    {"Pss", grown({.pss_kib = 20900, .heap_kib = 100, .descriptors = 6}),
     "PSS has grown by 20000 KiB, 16384 KiB allowed"},
    {"Descriptors", grown({.pss_kib = 900, .heap_kib = 100, .descriptors = 8}),
     "the number of open descriptors has grown by 2, 1 allowed"},
    {"NotMeasured",
     [](played_run& run) {
         run.measure = [](int) {
             return std::nullopt;
         };
     },
     "memory was measured 0 times, too seldom to tell a growth"},
    {"NoRouter", [](played_run& run) { run.backend.reaches_router = false; },
     "the backend never reached the router"},
    {"NoTake",
     [](played_run& run) {
         for (int second = 1; second < 300; second += 2)
             at(second,
                [&] { run.backend.router_tells(R"("event":"fault","fault":"lose","client":1)"); });
     },
     "no take was proved\n1 finding: FAILED"},
    {"NoQuery", [](played_run& run) { run.backend.loses_answers = true; },
     "no query of all outputs was left undisturbed\n1 finding: FAILED"},
    {"NoFlood",
     [](played_run& run) {
         // What is open when a run is interrupted is no finding.
         run.backend.answers_floods = false;
         at(30, [&] { run.interrupted = 1; });
     },
     "no flood was answered"},
    {"NoPortChange", [](played_run& run) { run.backend.follows_port = false; },
     "no change of the router's port was proved"},
    {"NoReconnection", [](played_run& run) { run.backend.reconnects = false; },
     "no reconnection was seen"},
};
} // namespace

TEST_P(SoakFindings, EndTheRunWithOne)
{
    GetParam().plant(played);
    EXPECT_EQ(run(), 1);
    EXPECT_THAT(printed, HasSubstr(std::string("\nFINDING: ") + GetParam().finding));
    EXPECT_THAT(printed, HasSubstr(": FAILED\n"));
    EXPECT_THAT(printed, Not(HasSubstr("Nothing was lost")));
}

INSTANTIATE_TEST_SUITE_P(All, SoakFindings, testing::ValuesIn(ROWS),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(SoakRun, FindsNothingWhereAllIsWell)
{
    EXPECT_EQ(run(), 0);
    EXPECT_THAT(printed, Not(HasSubstr("FINDING")));
    EXPECT_THAT(printed, HasSubstr("Growth: the heap has grown by 0 KiB, 16384 KiB allowed.\n"));
    EXPECT_THAT(printed, HasSubstr("Nothing was lost, invented or late.\n"));
}

TEST_F(SoakRun, SaysEachFindingAtOnce)
{
    at(30, [&] { played.backend.sends({"dance", "", "reply", "1", {}}); });
    at(40, [&] { played.backend.sends({"jump", "", "reply", "2", {}}); });
    EXPECT_EQ(run(), 1);
    const std::string finding = " s  FINDING: reply to nothing, or a second one: id ";
    EXPECT_THAT(printed, HasSubstr("\n    30" + finding + "1, dance\n"));
    EXPECT_THAT(printed, HasSubstr("\n    40" + finding + "2, jump\n"));
    EXPECT_THAT(printed, HasSubstr("\n2 findings: FAILED\n"));
}

TEST_F(SoakRun, FailsWhenTheFiguresCannotBeWritten)
{
    played.folder = "/nowhere";
    EXPECT_EQ(run(), 1);
    EXPECT_THAT(printed, HasSubstr("Cannot write /nowhere/soak.json\n"));
}
