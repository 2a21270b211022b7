#include <gtest/gtest.h>

#include "server/web/json.h"

using namespace web;

TEST(Json, WritesAndReadsTimes)
{
    const struct {
        const char* text;
        const char* time;
    } cases[] = {{"2026-11-22T14:02:11.080Z", "2026-11-22T14:02:11.080Z"},
                 {"2026-11-22t14:02:11z", "2026-11-22T14:02:11.000Z"},
                 {"2026-11-22T14:02:11.9999Z", "2026-11-22T14:02:11.999Z"},
                 {"2026-11-22T14:02:11.5+01:30", "2026-11-22T12:32:11.500Z"},
                 {"2026-12-31T23:30:00-01:00", "2027-01-01T00:30:00.000Z"},
                 {"2024-02-29T00:00:00Z", "2024-02-29T00:00:00.000Z"}};
    for (const auto& each : cases) {
        const auto time = read_time(each.text);
        ASSERT_TRUE(time) << each.text;
        EXPECT_EQ(time_text(*time), each.time);
    }
}

TEST(Json, ReadsNothingElseAsATime)
{
    for (const char* const text :
         {"", "2026-11-22", "2026-11-22T14:02:11", "2026-11-22 14:02:11Z", "2026-13-22T14:02:11Z",
          "2026-02-29T00:00:00Z", "2026-11-22T24:00:00Z", "2026-11-22T14:60:11Z",
          "2026-11-22T14:02:60Z", "2026-11-22T14:02:11.Z", "2026-11-22T14:02:11Z ",
          "2026-11-22T14:02:11+24:00", "2026-11-22T14:02:11+0100", "26-11-22T14:02:11Z",
          "+026-11-22T14:02:11Z"})
        EXPECT_FALSE(read_time(text)) << text;
}
