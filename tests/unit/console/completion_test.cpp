#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/completion.h"

using namespace console;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class ConsoleCompletion : public testing::Test {
  protected:
    router_view view;

    ConsoleCompletion()
    {
        view.inputs = 3;
        view.outputs = 2;
        view.input_names = {"CAM 1", "CAM 2", "VTR", "BEYOND"};
        view.output_names = {"Mon", "10"};
    }

    // The line after completion.
    std::string completed(const std::string& before)
    {
        const completion result = complete(view, before);
        return before.substr(0, result.start) + result.replacement;
    }
};

TEST_F(ConsoleCompletion, CompletesCommand)
{
    EXPECT_EQ(completed("ta"), "take ");
    EXPECT_EQ(completed("wait ;  ta"), "wait ;  take ");
}

TEST_F(ConsoleCompletion, ListsCommandsThatBeginAlike)
{
    EXPECT_THAT(complete(view, "re").choices, ElementsAre("refresh"));
    EXPECT_THAT(complete(view, "in").choices, ElementsAre("inputs", "info"));
    EXPECT_EQ(completed("in"), "in");
}

TEST_F(ConsoleCompletion, BeginsAnewAfterSemicolon)
{
    EXPECT_THAT(complete(view, "log debug;").choices, Contains("take"));
    EXPECT_THAT(complete(view, "log ;").choices, Contains("take"));
}

TEST_F(ConsoleCompletion, CompletesOutputThenInput)
{
    EXPECT_EQ(completed("take m"), "take Mon ");
    EXPECT_EQ(completed("stage Mon v"), "stage Mon VTR ");
    EXPECT_THAT(complete(view, "take Mon VTR ").choices, IsEmpty());
}

TEST_F(ConsoleCompletion, GoesAsFarAsNamesAgreeAndOpensQuote)
{
    EXPECT_EQ(completed("take Mon c"), "take Mon \"CAM ");
    EXPECT_THAT(complete(view, "take Mon \"CAM ").choices, ElementsAre("CAM 1", "CAM 2"));
    EXPECT_EQ(completed("take Mon \"CAM 2"), "take Mon \"CAM 2\" ");
}

TEST_F(ConsoleCompletion, QuotesNameThatLooksLikeNumber)
{
    EXPECT_EQ(completed("take 1"), "take \"10\" ");
}

TEST_F(ConsoleCompletion, CompletesSettingsAndLevels)
{
    EXPECT_EQ(completed("set ip"), "set \"ip address\" ");
    EXPECT_EQ(completed("set port 1"), "set port 1");
    EXPECT_EQ(completed("log d"), "log debug ");
}

TEST_F(ConsoleCompletion, LeavesAloneWhatNothingBeginsWith)
{
    EXPECT_EQ(completed("take zebra"), "take zebra");
    EXPECT_EQ(completed("zebra M"), "zebra M");
    EXPECT_EQ(completed("take Mon BEY"), "take Mon BEY");
}

TEST_F(ConsoleCompletion, NeverCutsCharacterInTwo)
{
    view.input_names = {"K\xC3\xB6ln", "K\xC3\xA4", "x"};
    EXPECT_EQ(completed("take Mon k"), "take Mon K");
    view.input_names = {"K\xC3\xA5", "K\xC3\xB8", "x"};
    EXPECT_EQ(completed("take Mon k"), "take Mon K");
}
