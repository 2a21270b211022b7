#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/commands.h"
#include "unit/console/console_view.h"

using namespace console;
using testing::HasSubstr;
using testing::IsEmpty;

class ConsoleCommands : public testing::Test {
  protected:
    console_state state;
    us_time_t now = 7'000'000;
    command_result result;

    ConsoleCommands()
    {
        state.view = known_router();
    }

    // The records of one command as the backend will read them.
    std::string sent(const std::string& command)
    {
        result = run_command(state, common::split_words(command).commands.at(0), now);
        std::string text;
        for (const ParentRecord& record : result.records)
            encode_record(record, text);
        return text;
    }

    void expect_refused(const std::string& command, const std::string& text)
    {
        EXPECT_EQ(sent(command), "");
        EXPECT_TRUE(result.refused);
        EXPECT_EQ(result.text, text);
    }
};

TEST_F(ConsoleCommands, TakeStagesAndFlushes)
{
    EXPECT_EQ(sent("take 1 0"), "*COMMAND=route output\n*TYPE=command\n*ID=1\n"
                                "from input=0\nqueue=add\nto output=1\n\n"
                                "*COMMAND=route output\n*TYPE=command\n*ID=2\nqueue=flush\n\n");
    EXPECT_EQ(result.text, "Taking 1 MON B from 0 CAM 1\n");
    EXPECT_EQ(state.view.routes[1].request, request_state::pending);
    EXPECT_EQ(state.view.routes[1].asked, 0);
    EXPECT_EQ(state.view.routes[1].asked_at, now);
}

TEST_F(ConsoleCommands, TakeByNamesDoesTheSame)
{
    EXPECT_THAT(sent("take 'mon b' \"CAM 1\""),
                HasSubstr("from input=0\nqueue=add\nto output=1\n"));
    EXPECT_FALSE(result.refused);
}

TEST_F(ConsoleCommands, TakeTakesWhatWasStagedToo)
{
    sent("stage 0 2");
    sent("take 1 0");
    EXPECT_EQ(result.text, "Taking 0 MON A from 2\nTaking 1 MON B from 0 CAM 1\n");
    EXPECT_EQ(state.view.routes[0].request, request_state::pending);
    EXPECT_THAT(state.view.staged, IsEmpty());
}

TEST_F(ConsoleCommands, StageOnlyStages)
{
    EXPECT_EQ(sent("stage 1 0"), "*COMMAND=route output\n*TYPE=command\n*ID=1\n"
                                 "from input=0\nqueue=add\nto output=1\n\n");
    EXPECT_EQ(result.text, "Staged 1 MON B from 0 CAM 1\n");
    EXPECT_EQ(state.view.routes[1].request, request_state::none);
}

TEST_F(ConsoleCommands, FlushTakesStagedRoutes)
{
    sent("stage 1 0");
    EXPECT_EQ(sent("flush"), "*COMMAND=route output\n*TYPE=command\n*ID=2\nqueue=flush\n\n");
    EXPECT_EQ(state.view.routes[1].request, request_state::pending);
    sent("flush");
    EXPECT_EQ(result.text, "Nothing was staged.\n");
}

TEST_F(ConsoleCommands, DiscardForgetsStagedRoutes)
{
    sent("stage 1 0");
    EXPECT_EQ(sent("discard"), "*COMMAND=route output\n*TYPE=command\n*ID=2\nqueue=discard\n\n");
    EXPECT_EQ(result.text, "Discarded 1 staged route.\n");
    EXPECT_THAT(state.view.staged, IsEmpty());
    sent("stage 1 0");
    sent("stage 0 0");
    sent("discard");
    EXPECT_EQ(result.text, "Discarded 2 staged routes.\n");
    sent("discard");
    EXPECT_EQ(result.text, "Nothing was staged.\n");
}

TEST_F(ConsoleCommands, TakeWhileRouterIsAwayTellsSo)
{
    diagnose(state.view, "<WARN>Connection timeout");
    sent("take 1 0");
    EXPECT_EQ(result.text, "Taking 1 MON B from 0 CAM 1\n"
                           "The router is not connected (the router has fallen silent); "
                           "it is asked when it is ready.\n");
}

TEST_F(ConsoleCommands, UnknownNamesAreRefused)
{
    expect_refused("take 2 0", "There is no output 2: they are numbered 0 to 1.\n");
    expect_refused("take 0 zebra", "There is no input \"zebra\"; \"inputs\" lists them.\n");
    expect_refused("stage mon 0", "\"mon\" may be 0 MON A, 1 MON B.\n");
    EXPECT_THAT(state.view.staged, IsEmpty());
}

TEST_F(ConsoleCommands, UnknownCommandAndWrongNumberOfWordsAreRefused)
{
    expect_refused("bogus", "There is no command \"bogus\"; \"help\" lists them.\n");
    expect_refused("take 1", "Usage: take OUTPUT INPUT\n");
    expect_refused("wait 3", "Usage: wait\n");
}

TEST_F(ConsoleCommands, SetSendsSetting)
{
    EXPECT_EQ(sent("set 'ip address' 127.0.0.9"),
              "*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=127.0.0.9\n\n");
    expect_refused("set speed 9", "There is no setting \"speed\"; there is inputs, \"ip address\", "
                                  "outputs, port.\n");
}

TEST_F(ConsoleCommands, RefreshAsksForOutputs)
{
    EXPECT_EQ(sent("refresh"), "*COMMAND=report\n*TYPE=command\n*ID=1\nwhat=outputs\n\n");
}

TEST_F(ConsoleCommands, ShowsWhatIsKnown)
{
    sent("routes");
    EXPECT_THAT(result.text, HasSubstr("0  MON A   1  CAM 2\n"));
    sent("inputs");
    EXPECT_THAT(result.text, HasSubstr("0  CAM 1\n"));
    sent("outputs");
    EXPECT_THAT(result.text, HasSubstr("1  MON B\n"));
    sent("info");
    EXPECT_THAT(result.text, HasSubstr("Model     Box\n"));
}

TEST_F(ConsoleCommands, WaitAndQuitAreLeftToCaller)
{
    EXPECT_EQ(sent("wait"), "");
    EXPECT_TRUE(result.wait);
    EXPECT_EQ(sent("quit"), "");
    EXPECT_TRUE(result.quit);
    EXPECT_FALSE(result.wait);
}

TEST_F(ConsoleCommands, HelpNamesEveryCommand)
{
    sent("help");
    EXPECT_THAT(result.text, HasSubstr("\n  wait                      until every route is "));
    EXPECT_THAT(result.text, HasSubstr("\n  log debug|note|warn|off   which diagnostics "));
    for (const command& each : all_commands())
        EXPECT_THAT('\n' + result.text, HasSubstr("\n  " + std::string(each.name) + ' '));
}

TEST_F(ConsoleCommands, LogChoosesDiagnostics)
{
    EXPECT_EQ(state.log, log_level::warn);
    sent("log debug");
    EXPECT_EQ(state.log, log_level::debug);
    sent("log note");
    EXPECT_EQ(state.log, log_level::note);
    sent("log off");
    EXPECT_EQ(state.log, log_level::off);
    expect_refused("log loud", "The levels are debug, note, warn and off.\n");
}

TEST(ConsoleCommandsLog, ShowsFromLevelUpwards)
{
    const auto shown = [](log_level level) {
        std::string result;
        for (const char* const text : {"<DBG>a", "Discarding", "<NOTE>b", "<WARN>c", "<ERR>d"})
            result += is_shown(level, text, false) ? '1' : '0';
        return result;
    };
    EXPECT_EQ(shown(log_level::debug), "11111");
    EXPECT_EQ(shown(log_level::note), "00111");
    EXPECT_EQ(shown(log_level::warn), "00011");
    EXPECT_EQ(shown(log_level::off), "00000");
}

TEST(ConsoleCommandsLog, LeavesLinkToNewsAtWarn)
{
    EXPECT_FALSE(is_shown(log_level::warn, "<ERR>Connection failed, Refused", true));
    EXPECT_TRUE(is_shown(log_level::note, "<ERR>Connection failed, Refused", true));
}
