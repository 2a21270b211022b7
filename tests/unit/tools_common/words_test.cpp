#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "tools/common/words.h"

using namespace common;
using testing::ElementsAre;

namespace {
std::vector<std::vector<std::string>> texts(std::string_view line)
{
    std::vector<std::vector<std::string>> result;
    for (const std::vector<word>& words : split_words(line).commands) {
        result.emplace_back();
        for (const word& each : words)
            result.back().push_back(each.text);
    }
    return result;
}
} // namespace

TEST(CommandWords, SplitsAtBlanks)
{
    EXPECT_THAT(texts("  take\t3   CAM \r"), ElementsAre(ElementsAre("take", "3", "CAM")));
}

TEST(CommandWords, SplitsCommandsAtSemicolons)
{
    EXPECT_THAT(texts(";take 1 2;;wait ; "),
                ElementsAre(ElementsAre("take", "1", "2"), ElementsAre("wait")));
}

TEST(CommandWords, QuotesKeepBlanksSemicolonsAndOtherQuotes)
{
    EXPECT_THAT(texts(R"(take "MON A;B" 'it is "on"')"),
                ElementsAre(ElementsAre("take", "MON A;B", "it is \"on\"")));
}

TEST(CommandWords, QuotesMayEncloseNothingOrPartOfWord)
{
    EXPECT_THAT(texts(R"(set "" CAM" "3)"), ElementsAre(ElementsAre("set", "", "CAM 3")));
}

TEST(CommandWords, KnowsQuotedWordsAndTheirPlaces)
{
    const split_line line = split_words("take \"3\" 4");
    ASSERT_EQ(line.commands.size(), 1U);
    EXPECT_TRUE(line.commands[0][1].quoted);
    EXPECT_EQ(line.commands[0][1].start, 5U);
    EXPECT_FALSE(line.commands[0][2].quoted);
    EXPECT_FALSE(line.open_quote);
}

TEST(CommandWords, KnowsHowLineEnds)
{
    EXPECT_TRUE(split_words("take \"MON").open_quote);
    EXPECT_TRUE(split_words("take MON").open_word);
    EXPECT_FALSE(split_words("take MON ").open_word);
    EXPECT_TRUE(split_words("take MON ").open_command);
    EXPECT_FALSE(split_words("take MON;").open_command);
    EXPECT_FALSE(split_words("").open_command);
}

TEST(CommandWords, QuoteWordQuotesWhereNeeded)
{
    EXPECT_EQ(quote_word("CAM1"), "CAM1");
    EXPECT_EQ(quote_word("CAM 1"), "\"CAM 1\"");
    EXPECT_EQ(quote_word("17"), "\"17\"");
    EXPECT_EQ(quote_word("--rest"), "\"--rest\"");
    EXPECT_EQ(quote_word("-3 dB; cut"), "\"-3 dB; cut\"");
    EXPECT_EQ(quote_word("-3"), "-3");
    EXPECT_EQ(quote_word(""), "\"\"");
    EXPECT_EQ(quote_word("the \"one\""), "'the \"one\"'");
    EXPECT_EQ(quote_word("a;b"), "\"a;b\"");
}

RC_GTEST_PROP(CommandWords, QuotedWordReadsBackAsItself, (const std::string& text))
{
    RC_PRE(text.find('"') == std::string::npos || text.find('\'') == std::string::npos);
    const split_line line = split_words(quote_word(text));
    RC_ASSERT(line.commands.size() == 1U);
    RC_ASSERT(line.commands[0].size() == 1U);
    RC_ASSERT(line.commands[0][0].text == text);
    RC_ASSERT(line.commands[0][0].quoted || !is_number(text));
}

TEST(CommandWords, NamesCompareWithoutCase)
{
    EXPECT_TRUE(same_name("Cam 1", "CAM 1"));
    EXPECT_FALSE(same_name("CAM 1", "CAM 10"));
    EXPECT_TRUE(begins_name("CAM 10", "cam 1"));
    EXPECT_FALSE(begins_name("CAM", "cam 1"));
    EXPECT_TRUE(name_contains("STUDIO CAM 1", "cam"));
    EXPECT_FALSE(name_contains("STUDIO", "cam"));
}
