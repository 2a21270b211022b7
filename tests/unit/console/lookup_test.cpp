#include <gtest/gtest.h>

#include "console/lookup.h"

using namespace console;

class ConsoleLookup : public testing::Test {
  protected:
    std::vector<std::string> names = {"CAM 1", "CAM 10", "cam 2", "VTR 1", "Cam 2", "7", "Black"};
    std::string complaint;

    int find(const std::string& text, bool quoted = false)
    {
        complaint.clear();
        return find_position(names, static_cast<int>(names.size()), "input", {text, quoted, 0},
                             complaint);
    }
};

TEST_F(ConsoleLookup, NumberIsPosition)
{
    EXPECT_EQ(find("0"), 0);
    EXPECT_EQ(find("06"), 6);
}

TEST_F(ConsoleLookup, QuotedNumberIsName)
{
    EXPECT_EQ(find("7", true), 5);
}

TEST_F(ConsoleLookup, NumberBeyondEndIsRefused)
{
    EXPECT_EQ(find("7"), -1);
    EXPECT_EQ(complaint, "There is no input 7: they are numbered 0 to 6.");
    EXPECT_EQ(find("99999999999999999999"), -1);
}

TEST_F(ConsoleLookup, SameNameGoesBeforeLongerOnes)
{
    EXPECT_EQ(find("CAM 1"), 0);
    EXPECT_EQ(find("cam 1"), 0);
}

TEST_F(ConsoleLookup, SameCaseGoesBeforeOtherCase)
{
    EXPECT_EQ(find("cam 2"), 2);
    EXPECT_EQ(find("Cam 2"), 4);
}

TEST_F(ConsoleLookup, UniqueBeginningIsEnough)
{
    EXPECT_EQ(find("v"), 3);
    EXPECT_EQ(find("bla"), 6);
    EXPECT_EQ(find("CAM 10"), 1);
}

TEST_F(ConsoleLookup, AmbiguousBeginningNamesCandidates)
{
    EXPECT_EQ(find("cam"), -1);
    EXPECT_EQ(complaint, "\"cam\" may be 0 CAM 1, 1 CAM 10, 2 cam 2, 4 Cam 2.");
}

TEST_F(ConsoleLookup, LongListOfCandidatesIsCutShort)
{
    names = {"A1", "A2", "A3", "A4", "A5", "A6"};
    EXPECT_EQ(find("a"), -1);
    EXPECT_EQ(complaint, "\"a\" may be 0 A1, 1 A2, 2 A3, 3 A4, 4 A5, 5 A6.");
    names.insert(names.end(), {"A7", "A8"});
    EXPECT_EQ(find("a"), -1);
    EXPECT_EQ(complaint, "\"a\" may be 0 A1, 1 A2, 2 A3, 3 A4, 4 A5, 5 A6 and 2 more.");
}

TEST_F(ConsoleLookup, AmbiguousNameEqualButForCaseIsRefused)
{
    EXPECT_EQ(find("CAM 2"), -1);
    EXPECT_EQ(complaint, "\"CAM 2\" may be 2 cam 2, 4 Cam 2.");
}

TEST_F(ConsoleLookup, UnknownNameTellsSimilarOnes)
{
    EXPECT_EQ(find("tr 1"), -1);
    EXPECT_EQ(complaint, "There is no input \"tr 1\"; there is 3 VTR 1.");
    EXPECT_EQ(find("zebra"), -1);
    EXPECT_EQ(complaint, "There is no input \"zebra\"; \"inputs\" lists them.");
    EXPECT_EQ(find("", true), -1);
    EXPECT_EQ(complaint, "There is no input \"\"; \"inputs\" lists them.");
}

TEST_F(ConsoleLookup, NamesBeyondCountAreNotFound)
{
    EXPECT_EQ(find_position(names, 3, "input", {"VTR 1", true, 0}, complaint), -1);
    EXPECT_EQ(find_position(names, 2, "input", {"cam 2", true, 0}, complaint), -1);
}

TEST_F(ConsoleLookup, OneMayBeAllThereIs)
{
    EXPECT_EQ(find_position(names, 1, "input", {"1", false, 0}, complaint), -1);
    EXPECT_EQ(complaint, "There is no input 1: they are numbered 0 to 0.");
    EXPECT_EQ(find_position(names, 1, "input", {"zebra", false, 0}, complaint), -1);
    EXPECT_EQ(complaint, "There is no input \"zebra\"; \"inputs\" lists them.");
}

TEST_F(ConsoleLookup, NothingIsFoundBeforeAnythingIsKnown)
{
    EXPECT_EQ(find_position({}, 0, "output", {"3", false, 0}, complaint), -1);
    EXPECT_EQ(complaint, "There is no output 3: no outputs are known yet.");
    EXPECT_EQ(find_position({}, 0, "output", {"MON", false, 0}, complaint), -1);
    EXPECT_EQ(complaint, "There is no output \"MON\": no outputs are known yet.");
}
