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
        type("in\t");
        wait_for("inputs  info\r\nrouter> in");
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

    std::size_t seen = 0; // of the output
};

bool same(const termios& left, const termios& right)
{
    return left.c_iflag == right.c_iflag && left.c_oflag == right.c_oflag &&
           left.c_cflag == right.c_cflag && left.c_lflag == right.c_lflag;
}

// With a backend that says nothing by itself.
class ConsoleTerminal : public OnTerminal {
  protected:
    void SetUp() override
    {
        start_on_terminal({"--file", "any", "--backend", script_backend("exec cat\n")});
    }
};
} // namespace

TEST_F(ConsoleTerminal, CompletesAndQuits)
{
    type("he\t\rq\t\r");
    EXPECT_EQ(status(), 0);
    EXPECT_THAT(output, AllOf(HasSubstr("\"help\" lists the commands."), HasSubstr("router> "),
                              HasSubstr("route an input to an output now")));
}

TEST_F(ConsoleTerminal, IsLeftByTheEndOfInput)
{
    type("\x04");
    EXPECT_EQ(status(), 0);
    EXPECT_TRUE(same(settings(), settings_before));
}

TEST_F(ConsoleTerminal, IsLeftWithTheTerminal)
{
    begin_line();
    terminal.ours.reset();
    EXPECT_EQ(status_after(errors.ours.number), 0);
}

class ConsoleTerminalSignal : public ConsoleTerminal, public testing::WithParamInterface<int> {};

TEST_P(ConsoleTerminalSignal, LeavesWithoutRunningTheLine)
{
    begin_line();
    type("fo");
    wait_for("fo");
    kill(console.process, GetParam());
    EXPECT_EQ(status(), 0);
    EXPECT_THAT(output, EndsWith("router> info\r\n"));
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
    type("\t");
    wait_for("inputs  info");
    EXPECT_TRUE(same(settings(), editing));
    type("\x15quit\r");
    EXPECT_EQ(status(), 0);
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
    wait_for("router> ");
    kill(console.process, SIGINT);
    wait_for("\"quit\" or Ctrl-D leaves the console.");
    type("quit\r");
    EXPECT_EQ(status(), 0);
}

TEST_F(ConsoleTerminal, KeysMayBeOfSeveralBytesOrNoCharacter)
{
    type("f\xC3\xB6\xE3\x83\x86\xFF!\r");
    wait_for("f\xC3\xB6\xE3\x83\x86?!\r\nThere is no command \"f\xC3\xB6\xE3\x83\x86?!\"");
    type("quit\r");
    EXPECT_EQ(status(), 0);
}

// Ctrl-P is the line before.
TEST_F(ConsoleTerminal, HistoryHasEachLineOnceAndNoEmptyOne)
{
    type("first\rsecond\rsecond\r\r  \r\x10\x10\r");
    wait_for("no command \"first\"");
    wait_for("no command \"second\"");
    wait_for("no command \"second\"");
    wait_for("no command \"first\"");
    type("quit\r");
    EXPECT_EQ(status(), 0);
}

TEST_F(ConsoleTerminal, ListsWhatAWordMayBecome)
{
    type("in\t");
    wait_for("\r\033[Jinputs  info\r\nrouter> in");
    type("f\t\r");
    wait_for("Model");
    type("quit\r");
    EXPECT_EQ(status(), 0);
}

TEST_F(OnTerminal, WhatTheBackendSaysAppearsAboveTheLine)
{
    const std::string order = (directory.path / "order").string();
    ASSERT_EQ(mkfifo(order.c_str(), S_IRWXU), 0);
    start_on_terminal(
        {"--file", "any", "--backend",
         script_backend("read go <" + order + "; echo '<ERR>out of luck' >&2; exec cat\n")});
    begin_line();
    std::ofstream(order) << "go\n";
    wait_for("\r\033[J<ERR>out of luck\r\nrouter> in");
    type("fo\r");
    wait_for("Model");
    type("quit\r");
    EXPECT_EQ(status(), 0);
}

TEST_F(OnTerminal, BackendThatEndsLeavesTheConsole)
{
    const std::string program = script_backend("echo '*COMMAND=info'; echo; read line; exit 5\n");
    start_on_terminal({"--file", "any", "--backend", program});
    type("refresh\r");
    EXPECT_EQ(status(), 3);
    EXPECT_THAT(output, HasSubstr("The backend exited with status 5."));
}

struct line_width {
    unsigned short columns; // 0: the terminal does not tell, then it is 80
    std::size_t typed;      // behind a prompt of 8 characters
    std::string wipe;       // how wiping it begins, or how the line ends that needs none
};

class ConsoleTerminalWidth : public OnTerminal, public testing::WithParamInterface<line_width> {};

TEST_P(ConsoleTerminalWidth, LineIsWipedFromItsFirstRow)
{
    const auto& [columns, typed, wipe] = GetParam();
    const winsize size = {.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    ASSERT_EQ(ioctl(terminal.ours.number, TIOCSWINSZ, &size), 0);
    start_on_terminal({"--file", "any", "--backend", script_backend("exec cat\n")});
    type(std::string(typed - 2, ' ') + "in\t");
    wait_for("\r\033[Jinputs  info");
    EXPECT_THAT(output.substr(0, output.find("\r\033[Jinputs")), EndsWith(wipe));
    type("\x15quit\r");
    EXPECT_EQ(status(), 0);
}

INSTANTIATE_TEST_SUITE_P(Each, ConsoleTerminalWidth,
                         testing::Values(line_width{0, 151, "\033[1A"},
                                         line_width{0, 152, "\033[2A"}, line_width{40, 31, "in"},
                                         line_width{40, 32, "\033[1A"}));
