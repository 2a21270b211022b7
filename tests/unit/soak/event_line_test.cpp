#include <gmock/gmock.h>

#include "soak/event_line.h"

using namespace soak;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

TEST(EventLine, TellsWhatAndItsValues)
{
    const auto event = parse_event("@ 12.345678 take destination=3 source=5 by=client 1");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->what, "take");
    EXPECT_THAT(event->values, UnorderedElementsAre(Pair("destination", "3"), Pair("source", "5"),
                                                    Pair("by", "client 1")));
}

TEST(EventLine, TakesSeveralWordsAndQuotedText)
{
    const auto event = parse_event("@ 1.0 stop reading client=2 request=\"QI 3 0\"");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->what, "stop reading");
    EXPECT_EQ(event->values.at("request"), "\"QI 3 0\"");
}

TEST(EventLine, TakesAnEventWithoutValues)
{
    const auto event = parse_event("@ 2.5 refuse");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->what, "refuse");
    EXPECT_THAT(event->values, IsEmpty());
}

TEST(EventLine, PassesOverOtherLines)
{
    for (const char* line : {"", "@", "client 1 connected from 127.0.0.1:4", "Listening on x:1"})
        EXPECT_FALSE(parse_event(line)) << line;
}

TEST(EventLine, NumbersAreDecimal)
{
    const auto event = parse_event("@ 1 reset client=12 source=x by=99999999999");
    ASSERT_TRUE(event);
    EXPECT_EQ(number_value(*event, "client"), 12);
    for (const char* key : {"source", "by", "destination"})
        EXPECT_EQ(number_value(*event, key), std::nullopt) << key;
}

TEST(EventLine, PositionsCountFromZero)
{
    const auto event = parse_event("@ 1 take destination=1 source=x by=0");
    ASSERT_TRUE(event);
    EXPECT_EQ(position_value(*event, "destination"), 0);
    for (const char* key : {"source", "by", "client"})
        EXPECT_EQ(position_value(*event, key), std::nullopt) << key;
}
