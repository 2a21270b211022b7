#include <gtest/gtest.h>

#include "soak/router_event.h"

using namespace soak;

TEST(SoakRouterEvent, TellsOfATake)
{
    const auto event = parse_event(
        R"({"time":12.3,"event":"take","client":1,"destination":3,"source":5,"by":"client"})");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->kind, "take");
    EXPECT_EQ(event->fault, "");
    EXPECT_EQ(event->destination, 2);
    EXPECT_EQ(event->source, 4);
    EXPECT_EQ(event->by, "client");
    EXPECT_EQ(event->client, 1);
}

TEST(SoakRouterEvent, TellsOfAFault)
{
    const auto event = parse_event(
        R"({"time":1,"event":"fault","fault":"endless","lasting":true,"client":2,"request":"QI 3"})");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->kind, "fault");
    EXPECT_EQ(event->fault, "endless");
    EXPECT_TRUE(event->lasting);
    EXPECT_FALSE(event->only_delays);
    EXPECT_EQ(event->request, "QI 3");
    EXPECT_EQ(event->client, 2);
    EXPECT_EQ(event->destination, -1);
    EXPECT_EQ(event->source, -1);
}

TEST(SoakRouterEvent, TellsWhatOnlyDelays)
{
    const auto event = parse_event(R"({"event":"fault","fault":"cut","only_delays":true})");
    ASSERT_TRUE(event);
    EXPECT_TRUE(event->only_delays);
    EXPECT_FALSE(event->lasting);
}

TEST(SoakRouterEvent, IsNotMisledByAName)
{
    const auto event =
        parse_event(R"({"time":1,"event":"rename","source":4,"name":"A destination=7 B=C"})");
    ASSERT_TRUE(event);
    EXPECT_EQ(event->kind, "rename");
    EXPECT_EQ(event->source, 3);
    EXPECT_EQ(event->destination, -1);
    EXPECT_FALSE(event->lasting);
}

TEST(SoakRouterEvent, PassesOverOtherLines)
{
    for (const char* line : {"", "{", "{}", "[]", "\"event\"", "Listening on x:1",
                             "@ 1.000000 take destination=3", R"({"event":"take")", R"({"time":1})",
                             R"({"event":1})", R"({"event":"take","source":"5"})"})
        EXPECT_FALSE(parse_event(line)) << line;
}
