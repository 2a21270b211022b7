// How a console without a terminal ends: by signals, readers that go, disks that are full.
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/resource.h>

#include "support/console_process.h"

using testing::EndsWith;
using testing::HasSubstr;

namespace {
class ConsoleEnd : public ScriptedConsole {
  protected:
    void fill_output();
};
} // namespace

TEST_F(ConsoleEnd, SignalWithAWishOpenSaysThatItsEndIsNotKnown)
{
    ASSERT_TRUE(start_with_open_wish({"take", "MON A", "CAM 3"}));
    kill(console.process, SIGTERM);
    EXPECT_EQ(status_after(printed.ours.number), 128 + SIGTERM);
    EXPECT_THAT(output, EndsWith("MON A <- CAM 3: it is not known what became of it.\n"));
    EXPECT_FALSE(has_left_files());
}

TEST_F(ConsoleEnd, WatchGoesOnUntilASignal)
{
    start_simulator();
    start_console(on_simulator({"watch"}));
    ASSERT_TRUE(read_until(printed.ours.number, "is ready"));
    tell_simulator("take 3 4");
    EXPECT_TRUE(read_until(printed.ours.number, "MON C shows CAM 4"));
    kill(console.process, SIGINT);
    EXPECT_EQ(status_after(printed.ours.number), 0);
    EXPECT_FALSE(has_left_files());
}

TEST_F(ConsoleEnd, EndsWhenNobodyReadsAnyMore)
{
    start_simulator();
    start_console(on_simulator({"watch"}));
    ASSERT_TRUE(read_until(printed.ours.number, "is ready"));
    printed.ours.reset();
    tell_simulator("take 3 4");
    EXPECT_EQ(status_at_end(console), 0);
}

TEST_F(ConsoleEnd, OutputThatCannotBeWrittenIsNoSuccess)
{
    start_simulator();
    const common::owned_descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{}, {"take", "MON A", "CAM 3"}}) {
        input = pipe_to_child();
        printed = pipe_from_child();
        run(on_simulator(words), {input.childs.number, full.number, printed.childs.number});
        input.childs.reset();
        printed.childs.reset();
        output.clear();
        write_all(input.ours.number, "take 'MON A' 'CAM 3'\n");
        input.ours.reset();
        EXPECT_EQ(status_after(printed.ours.number), 2);
        EXPECT_EQ(output, "Cannot write the output: No space left on device.\n");
    }
    tell_simulator("routes");
    EXPECT_TRUE(simulator_prints("1 MON A <- 1 CAM 1"));
}

TEST_F(ConsoleEnd, WatchThatCannotWriteIsNoSuccess)
{
    start_simulator();
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit narrow{1024, usual.rlim_max};
    const std::string path = (directory.path / "watched").string();
    const common::owned_descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    input = pipe_to_child();
    printed = pipe_from_child();
    setrlimit(RLIMIT_FSIZE, &narrow);
    run(on_simulator({"watch"}), {input.childs.number, file.number, printed.childs.number});
    setrlimit(RLIMIT_FSIZE, &usual);
    printed.childs.reset();
    ASSERT_TRUE(until([&] {
        std::ifstream written(path);
        return std::string(std::istreambuf_iterator<char>(written), {}).find("is ready") !=
               std::string::npos;
    }));
    std::string takes;
    for (int destination = 1; destination <= 32; ++destination)
        takes += "take " + std::to_string(destination) + " 9\n";
    tell_simulator(takes);
    EXPECT_EQ(status_after(printed.ours.number), 2);
    EXPECT_EQ(output, "Cannot write the output: File too large.\n");
}

TEST_F(ConsoleEnd, EverySignalThatEndsItRemovesItsFiles)
{
    start_simulator();
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        start_console(on_simulator());
        ASSERT_TRUE(read_until(printed.ours.number, "is ready"));
        kill(console.process, signal);
        EXPECT_EQ(status_after(printed.ours.number), 128 + signal);
        EXPECT_FALSE(has_left_files()) << signal;
    }
}

TEST_F(ConsoleEnd, FileThatMayNotGrowIsAnErrorLikeOthers)
{
    start_simulator();
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit narrow{512, usual.rlim_max}; // enough for the backend's configuration
    const std::string file = (directory.path / "routes").string();
    setrlimit(RLIMIT_FSIZE, &narrow);
    start_console(on_simulator({"save", file}));
    setrlimit(RLIMIT_FSIZE, &usual);
    EXPECT_EQ(status_after(printed.ours.number), 2);
    EXPECT_THAT(output, EndsWith("Cannot write " + file + ": File too large.\n"));
}

// Until the pipe that it prints into takes no more.
void ConsoleEnd::fill_output()
{
    printed = pipe_from_child();
    input = pipe_to_child();
    start_simulator();
    run(on_simulator(), {input.childs.number, printed.childs.number, printed.childs.number});
    input.childs.reset();
    output.clear();
    std::string script;
    for (int i = 0; i < 200; ++i)
        script += "routes\n";
    write_all(input.ours.number, script + "help take\n");
    EXPECT_TRUE(until([&] {
        pollfd watched = {printed.childs.number, POLLOUT, 0};
        return poll(&watched, 1, 0) == 0;
    }));
}

TEST_F(ConsoleEnd, ReaderThatIsSlowLosesNothing)
{
    fill_output();
    ASSERT_TRUE(common::set_nonblocking(printed.childs.number, error)) << error;
    printed.childs.reset();
    input.ours.reset();
    EXPECT_EQ(status_after(printed.ours.number), 0);
    EXPECT_THAT(output, HasSubstr("take [DESTINATION SOURCE]"));
}

TEST_F(ConsoleEnd, SignalEndsAConsoleThatNobodyReads)
{
    fill_output();
    kill(console.process, SIGTERM);
    EXPECT_EQ(status_at_end(console), 128 + SIGTERM);
    EXPECT_FALSE(has_left_files());
}

// Its input ends with the console, whatever becomes of that.
TEST_F(ConsoleEnd, BackendEndsWithAConsoleThatIsKilled)
{
    const std::string ended = (directory.path / "ended").string();
    start_console({"--router", "main=127.0.0.1:1", "--backend",
                   script_backend("cat >/dev/null; echo >" + ended + "\n"), "watch", "--wait-ready",
                   "0"});
    ASSERT_TRUE(read_until(printed.ours.number, "connecting"));
    kill(console.process, SIGKILL);
    EXPECT_EQ(status_after(printed.ours.number), -SIGKILL);
    EXPECT_TRUE(until([&] { return std::filesystem::exists(ended); }));
}
