#include "console/completion.h"
#include "support/temporary_directory.h"
#include "unit/console/console_test.h"

using namespace console;

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class Completion : public ConsoleTest {
  protected:
    // The line after completion.
    std::string completed(const std::string& before) const
    {
        const completion result = complete(console, before);
        return before.substr(0, result.start) + result.replacement;
    }

    std::vector<std::string> choices(const std::string& before) const
    {
        return complete(console, before).choices;
    }

    void name_sources(std::vector<std::string> names)
    {
        names.resize(POSITIONS_HERE, "X");
        desk::report_names(console.desk, "main", desk::side::sources, names);
    }
};

TEST_F(Completion, ListsAllCommandsOnAnEmptyLine)
{
    EXPECT_THAT(choices(""), Contains("take"));
    EXPECT_THAT(choices("  "), Contains("quit"));
    EXPECT_EQ(completed(""), "") << "a list, and nothing typed";
    EXPECT_THAT(choices("take 1 2;"), Contains("take"));
    EXPECT_THAT(choices("take 1 2; "), Contains("take"));
}

TEST_F(Completion, CompletesCommands)
{
    EXPECT_EQ(completed("tak"), "take ");
    EXPECT_EQ(completed("help ;  tak"), "help ;  take ");
    EXPECT_EQ(completed("help TAK"), "help take ");
}

TEST_F(Completion, CompletesDestinationThenSource)
{
    EXPECT_EQ(completed("take mon"), "take \"MON ");
    EXPECT_EQ(completed("take \"MON "), "take \"MON ");
    EXPECT_THAT(choices("take \"MON "), testing::SizeIs(POSITIONS_HERE));
    EXPECT_EQ(completed("take \"MON B"), "take \"MON B\" ");
    EXPECT_EQ(completed("take 1 \"CAM 3"), "take 1 \"CAM 3\" ");
    EXPECT_EQ(completed("ta 1 \"CAM 3"), "ta 1 \"CAM 3\" ") << "a shortened command";
    EXPECT_THAT(choices("take 1 2 "), IsEmpty());
}

TEST_F(Completion, KnowsAliasesAndTheRouterInUse)
{
    desk::set_label(console.desk, now, console.person, "main", desk::side::sources, 2,
                    {"Guest", "studio"});
    EXPECT_EQ(completed("take 1 gu"), "take 1 Guest ");
    EXPECT_THAT(choices("take 1 \"CAM 3"), ElementsAre("CAM 3"));
    console.router = "back";
    EXPECT_EQ(completed("take 1 gu"), "take 1 gu");
}

TEST_F(Completion, CompletesFilters)
{
    desk::set_label(console.desk, now, console.person, "main", desk::side::sources, 2,
                    {"", "studio"});
    desk::set_label(console.desk, now, console.person, "main", desk::side::destinations, 1,
                    {"Screen", ""});
    EXPECT_THAT(choices("routes "), ElementsAre("problems", "@studio"));
    EXPECT_EQ(completed("routes 1-3 @st"), "routes 1-3 @studio ");
}

TEST_F(Completion, CompletesRoutersAndOptions)
{
    EXPECT_EQ(completed("use ba"), "use back ");
    EXPECT_THAT(choices("use "), ElementsAre("back", "main"));
    EXPECT_EQ(completed("take --"), "take --rest ");
    EXPECT_EQ(completed("use -"), "use -");
}

TEST_F(Completion, CompletesSettings)
{
    EXPECT_THAT(choices("set "),
                ElementsAre("address", "port", "inputs", "outputs", "name", "first-number",
                            "confirmation-limit", "alias", "group"));
    EXPECT_EQ(completed("set co"), "set confirmation-limit ");
}

TEST_F(Completion, QuotesNamesThatLookLikeNumbers)
{
    name_sources({"10", "K\xC3\xB6ln"});
    EXPECT_EQ(completed("take 1 10"), "take 1 \"10\" ");
}

TEST_F(Completion, QuotesNamesThatLookLikeOptions)
{
    name_sources({"--rest", "--red"});
    EXPECT_EQ(completed("stage 1 --res"), "stage 1 \"--rest\" ");
    EXPECT_EQ(completed("stage 1 --"), "stage 1 \"--re");
    EXPECT_EQ(completed("take 1 \"--red"), "take 1 \"--red\" ");
    EXPECT_EQ(completed("take 1 --r"), "take 1 --rest ");
    EXPECT_EQ(says("take 1 \"--red\""), "Taking MON A: --rest -> --red.\n");
}

TEST_F(Completion, NeverCutsACharacterInTwo)
{
    name_sources({"K\xC3\xB6ln", "K\xC3\xA4"});
    EXPECT_EQ(completed("take 1 k"), "take 1 k");
    EXPECT_THAT(choices("take 1 k"), testing::SizeIs(2));
}

TEST_F(Completion, LeavesAloneWhatNothingBeginsWith)
{
    EXPECT_EQ(completed("take zebra"), "take zebra");
    EXPECT_EQ(completed("zebra M"), "zebra M");
    EXPECT_EQ(completed("zebra "), "zebra ");
}
