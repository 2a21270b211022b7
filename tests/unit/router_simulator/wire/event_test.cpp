#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "router_simulator/wire/event.h"

using namespace router_simulator;

TEST(RouterEvent, IsALineForPeople)
{
    EXPECT_EQ(
        readable_event({.kind = "take", .client = 1, .destination = 3, .by = "client"}, 12'345'678),
        "@ 12.345678 take client=1 destination=3 by=client");
    EXPECT_EQ(readable_event({.kind = "fault", .fault = "lose", .request = "QI 3 0"}, 1),
              "@ 0.000001 lose request=\"QI 3 0\"");
    EXPECT_EQ(readable_event({.kind = "end of fault", .fault = "stop reading"}, 0),
              "@ 0.000000 end of stop reading");
    EXPECT_EQ(
        readable_event({.kind = "fault", .fault = "silence", .lasting = true, .client = 1}, 0),
        "@ 0.000000 silence client=1");
}

TEST(RouterEvent, IsALineForPrograms)
{
    EXPECT_EQ(
        json_event({.kind = "take", .client = 1, .destination = 3, .by = "client"}, 12'345'678),
        R"({"time":12.345678,"event":"take","client":1,"destination":3,"by":"client"})");
    EXPECT_EQ(
        json_event({.kind = "fault", .fault = "silence", .lasting = true, .client = 1}, 1'000'000),
        R"({"time":1.0,"event":"fault","fault":"silence","lasting":true,"client":1})");
    EXPECT_EQ(json_event({.kind = "start", .seed = UINT64_MAX}, 0),
              R"({"time":0.0,"event":"start","seed":18446744073709551615})");
}

TEST(RouterEvent, HoldsAnyText)
{
    for (const char* name :
         {"A B=C", "", "\"quoted\" \\", "{\"event\":\"take\"}", "Kamera Größe"}) {
        const std::string line = json_event({.kind = "rename", .name = name}, 0);
        EXPECT_EQ(line.find('\n'), std::string::npos);
        EXPECT_EQ(nlohmann::json::parse(line)["name"], name);
    }
}

TEST(RouterEvent, ReplacesWhatIsNoUtf8)
{
    EXPECT_EQ(json_event({.kind = "rename", .name = "A\xFF\x80 B\xC3"}, 0),
              "{\"time\":0.0,\"event\":\"rename\",\"name\":\"A\uFFFD\uFFFD B\uFFFD\"}");
    EXPECT_EQ(readable_event({.kind = "rename", .name = "A\xFF"}, 0),
              "@ 0.000000 rename name=\"A\\xFF\"");
}
