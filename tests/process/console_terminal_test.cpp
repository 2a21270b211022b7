// The console on a terminal: what a person types and sees.
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>

#include "support/console_process.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {
bool same(const termios& left, const termios& right)
{
    return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag &&
           left.c_cflag == right.c_cflag && left.c_lflag == right.c_lflag;
}

class OnTerminal : public ConsoleProcess {
  protected:
    descriptor_pair terminal = pseudo_terminal();
    descriptor_pair errors = pipe_from_child(); // ends with the console, also without a terminal
    const termios settings_before = settings();

    void start_on_terminal(const std::vector<std::string>& options)
    {
        run(options, {terminal.childs.number, terminal.childs.number, errors.childs.number});
        terminal.childs.reset();
        errors.childs.reset();
    }

    void start_with_backend(const std::string& script)
    {
        start_on_terminal({"--router", "main=10.0.0.5", "--backend", script_backend(script)});
    }

    void type(const std::string& keys)
    {
        write_all(terminal.ours.number, keys);
    }

    // Reads until the text is on the screen after what was waited for before.
    void wait_for(const std::string& text)
    {
        std::size_t found = std::string::npos;
        while ((found = output.find(text, seen)) == std::string::npos)
            ASSERT_TRUE(read_more(terminal.ours.number)) << text;
        seen = found + text.size();
    }

    // What is typed before may be echoed by the terminal itself, and is no line yet.
    void begin_line()
    {
        wait_for("main connecting> ");
        type("un\t");
        wait_for("unlock\r\nmain connecting> un");
    }

    void quit()
    {
        type("\x15quit\r");
        EXPECT_EQ(status(), 0);
        EXPECT_TRUE(same(settings(), settings_before));
    }

    int status()
    {
        return status_after(terminal.ours.number);
    }

    termios settings() const
    {
        termios now{};
        EXPECT_EQ(tcgetattr(terminal.ours.number, &now), 0);
        return now;
    }

    void resize(unsigned short rows, unsigned short columns) const
    {
        const winsize size = {.ws_row = rows, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        ASSERT_EQ(ioctl(terminal.ours.number, TIOCSWINSZ, &size), 0);
    }

    std::size_t seen = 0; // of the output
};

// With a backend that says nothing.
class ConsoleTerminal : public OnTerminal {
  protected:
    void SetUp() override
    {
        start_with_backend("exec cat >/dev/null\n");
    }
};
} // namespace

TEST_F(ConsoleTerminal, CompletesAndQuits)
{
    wait_for("main connecting> ");
    type("hel\ttak\t\rqui\t\r");
    EXPECT_EQ(status(), 0);
    EXPECT_THAT(output,
                AllOf(HasSubstr("\"help\" lists the commands."), HasSubstr("take [DESTINATION")));
    EXPECT_TRUE(same(settings(), settings_before));
    EXPECT_FALSE(has_left_files());
}

TEST_F(ConsoleTerminal, ListsTheCommandsOnAnEmptyLine)
{
    wait_for("main connecting> ");
    type("\t");
    wait_for("\r\033[Jtake ");
    wait_for("main connecting> ");
    quit();
    EXPECT_THAT(output, Not(HasSubstr("> \"")));
}

TEST_F(ConsoleTerminal, ListsWhatAWordMayBecome)
{
    begin_line();
    type("lo\t");
    wait_for("ck ");
    quit();
}

TEST_F(ConsoleTerminal, IsLeftByTheEndOfInput)
{
    begin_line(); // before that the terminal itself may take the key
    type("\x15\x04");
    EXPECT_EQ(status(), 0);
    EXPECT_TRUE(same(settings(), settings_before));
}

TEST_F(ConsoleTerminal, IsLeftWithTheTerminal)
{
    begin_line();
    terminal.ours.reset();
    EXPECT_EQ(status_after(errors.ours.number), 0);
    EXPECT_FALSE(has_left_files());
}

class ConsoleTerminalSignal : public ConsoleTerminal, public testing::WithParamInterface<int> {};

TEST_P(ConsoleTerminalSignal, LeavesWithoutRunningTheLine)
{
    begin_line();
    type("stage");
    wait_for("stage");
    kill(console.process, GetParam());
    EXPECT_EQ(status(), 0);
    EXPECT_THAT(output, EndsWith("> unstage\r\n"));
    EXPECT_FALSE(has_left_files());
}

INSTANTIATE_TEST_SUITE_P(Each, ConsoleTerminalSignal, testing::Values(SIGTERM, SIGHUP));

TEST_F(ConsoleTerminal, GivesTheTerminalBackWhileItIsStopped)
{
    begin_line();
    const termios editing = settings();
    kill(console.process, SIGTSTP);
    int change = 0;
    ASSERT_EQ(waitpid(console.process, &change, WUNTRACED), console.process);
    ASSERT_TRUE(WIFSTOPPED(change));
    EXPECT_EQ(settings().c_lflag & (ICANON | ECHO), ICANON | ECHO); // as other programs want it
    kill(console.process, SIGCONT);
    wait_for("main connecting> un");
    EXPECT_TRUE(same(settings(), editing));
    quit();
}

// In the background it may have drawn its line already.
TEST_F(ConsoleTerminal, WipesItsRowWhenItGoesOn)
{
    begin_line();
    kill(console.process, SIGCONT);
    wait_for("\r\033[K");
    wait_for("main connecting> un");
    quit();
}

// The signal is what the terminal makes of Ctrl-C.
TEST_F(ConsoleTerminal, InterruptEmptiesTheLine)
{
    begin_line();
    kill(console.process, SIGINT);
    type("quit\r");
    EXPECT_EQ(status(), 0);
    EXPECT_THAT(output, Not(HasSubstr("leaves the console")));
}

TEST_F(ConsoleTerminal, InterruptOnAnEmptyLineTellsHowToLeave)
{
    wait_for("main connecting> ");
    kill(console.process, SIGINT);
    wait_for("\"quit\" or Ctrl-D leaves the console.");
    quit();
}

TEST_F(ConsoleTerminal, KeysMayBeOfSeveralBytesOrNoCharacter)
{
    wait_for("main connecting> ");
    type("f\xC3\xB6\xE3\x83\x86\xFF!\r");
    wait_for("There is no command \"f\xC3\xB6\xE3\x83\x86?!\"");
    quit();
}

// Ctrl-P is the line before.
TEST_F(ConsoleTerminal, HistoryOutlivesTheConsole)
{
    wait_for("main connecting> ");
    type("first\rsecond\r second\rsecond\r");
    for (int i = 0; i < 3; ++i)
        wait_for("no command \"second\"");
    quit();
    seen = output.size();
    terminal = pseudo_terminal();
    errors = pipe_from_child();
    start_with_backend("exec cat >/dev/null\n");
    wait_for("main connecting> ");
    type("\x10\x10\x10\x10\x10\r");
    wait_for("no command \"first\"");
    quit();
    struct stat status {};
    ASSERT_EQ(stat((directory.path / "router_console" / "history").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(ConsoleTerminal, LongTextIsReadByScreens)
{
    wait_for("main connecting> ");
    resize(8, 60);
    type("help\r");
    wait_for("-- space: more");
    EXPECT_THAT(output, Not(HasSubstr("exit")));
    type(" ");
    wait_for("-- space: more");
    type("qinfo x\r");
    wait_for("main connecting> ");
    wait_for("info x\r\n");
    quit();
    EXPECT_THAT(output, Not(HasSubstr("the same as quit")));
}

TEST_F(ConsoleTerminal, LongTextTellsItsKeysAgainWhenItGoesOn)
{
    wait_for("main connecting> ");
    type("help\r");
    wait_for("-- space: more");
    kill(console.process, SIGCONT);
    wait_for("-- space: more");
    type("q");
    quit();
}

TEST_F(ConsoleTerminal, LongTextIsReadBackFromItsEnd)
{
    wait_for("main connecting> ");
    resize(4, 100);
    type("help undo\r"); // six lines, of which three stand on a screen
    wait_for("undo [--rest]");
    wait_for("-- space: more");
    type(" ");
    wait_for("-- that was all");
    type("b");
    wait_for("undo [--rest]");
    for (int i = 0; i < 3; ++i) {
        wait_for("-- space: more");
        type("\r");
    }
    wait_for("-- that was all");
    type(" ");
    wait_for("main connecting> ");
    quit();
}

TEST_F(ConsoleTerminal, InterruptEndsALongText)
{
    wait_for("main connecting> ");
    resize(8, 60);
    type("help\r");
    wait_for("-- space: more");
    kill(console.process, SIGINT);
    wait_for("main connecting> ");
    quit();
}

TEST_F(ConsoleTerminal, KeyEndsAWatchAndBeginsTheNextLine)
{
    for (const std::string key : {"x", "\xC3\xA9"}) {
        wait_for("main connecting> ");
        type("watch\r");
        wait_for("Any key ends it.\r\n");
        type(key);
        wait_for("main connecting> " + key);
        type("\r");
        wait_for("There is no command \"" + key + "\"");
    }
    quit();
}

TEST_F(OnTerminal, WhatHappensAppearsAboveTheLineWithANewPrompt)
{
    const std::string order = (directory.path / "order").string();
    ASSERT_EQ(mkfifo(order.c_str(), S_IRWXU), 0);
    start_with_backend("read go <" + order + "; exit 5\n");
    begin_line();
    std::ofstream(order) << "go\n";
    wait_for("\r\033[J");
    wait_for(" main");
    wait_for("> un");
    quit();
}

TEST_F(OnTerminal, FollowsARouterWhileALineIsTyped)
{
    start_simulator();
    start_on_terminal({"--router", simulator_as("main")});
    wait_for("main ready> ");
    type("un\t");
    wait_for("main ready> un");
    write_all(simulator.input.number, "drop\n");
    wait_for("main is down: ");
    wait_for("main ready> un");
    type("\x15take 1 \"CAM 3\"\r");
    wait_for("MON A shows CAM 3: confirmed");
    quit();
}

TEST_F(OnTerminal, TellsOnceWhoseLocksWereBroken)
{
    const std::string data = (directory.path / "house.json").string();
    const auto open = [&](const std::string& person) {
        start_on_terminal({"--router", "main=10.0.0.5", "--data", data, "--person", person,
                           "--backend", script_backend("exec cat >/dev/null\n")});
        wait_for("main connecting> ");
    };
    const auto leave = [&] {
        quit();
        seen = output.size();
        terminal = pseudo_terminal();
        errors = pipe_from_child();
    };
    open("anna");
    type("lock 3 'on air'\r");
    wait_for("is locked by anna");
    leave();
    open("ben");
    type("unlock 3 needed\r");
    wait_for(" no longer.");
    leave();
    open("anna");
    EXPECT_THAT(output, HasSubstr(" Your lock on destination 3 was broken by ben at "));
    leave();
    output.erase(seen = 0);
    open("anna");
    EXPECT_THAT(output, Not(HasSubstr("broken")));
    quit();
}

TEST_F(ConsoleTerminal, LineIsDrawnAgainInAnotherWidth)
{
    begin_line();
    type(std::string(60, 'x'));
    wait_for("xxxx");
    resize(24, 40);
    kill(console.process, SIGWINCH); // it is not the terminal's own program
    wait_for("\r\033[Jmain connecting> un");
    quit();
}

struct line_width {
    unsigned short columns; // 0: the terminal does not tell, then it is 80
    std::size_t typed;      // behind a prompt of 17 characters
    std::string wipe;       // how wiping it begins, or how the line ends that needs none
};

class ConsoleTerminalWidth : public OnTerminal, public testing::WithParamInterface<line_width> {};

TEST_P(ConsoleTerminalWidth, LineIsWipedFromItsFirstRow)
{
    const auto& [columns, typed, wipe] = GetParam();
    resize(24, columns);
    start_with_backend("exec cat >/dev/null\n");
    wait_for("main connecting> ");
    type(std::string(typed - 2, ' ') + "un\t");
    wait_for("\r\033[Junstage");
    EXPECT_THAT(output.substr(0, output.find("\r\033[Junstage")), EndsWith(wipe));
    quit();
}

INSTANTIATE_TEST_SUITE_P(Each, ConsoleTerminalWidth,
                         testing::Values(line_width{0, 142, "\033[1A"},
                                         line_width{0, 143, "\033[2A"}, line_width{40, 22, "un"},
                                         line_width{40, 23, "\033[1A"}));
