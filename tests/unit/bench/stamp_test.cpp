#include <cstdio>
#include <gtest/gtest.h>
#include <sstream>

#include "bench/server/stamp.h"

using namespace bench;

class ReportTally : public testing::Test {
  protected:
    // As the desk is told of it.
    void tell(const stamp& written)
    {
        std::istringstream record(stamped_report(written));
        for (std::string line; std::getline(record, line);) {
            std::size_t destination = 0;
            int source = 0;
            if (std::sscanf(line.c_str(), "o%zu.input.all=%d", &destination, &source) == 2)
                facts.at(destination).source = source;
        }
    }

    std::vector<desk::fact> facts{desk::ROUTED_POSITIONS};
    report_tally tally;
};

TEST_F(ReportTally, KnowsTheNewestReportWhole)
{
    const stamp written = {
        .written_us = 0x0123456789abcdef, .number = 70'000, .frames = 0xfedcba98};
    tell(written);
    note_reports(tally, facts, written.written_us);
    EXPECT_EQ(tally.newest.written_us, written.written_us);
    EXPECT_EQ(tally.newest.number, written.number);
    EXPECT_EQ(tally.newest.frames, written.frames);
}

TEST_F(ReportTally, CountsEachReportOnce)
{
    note_reports(tally, {}, 0);
    note_reports(tally, facts, 0);
    EXPECT_EQ(tally.told, 0U);
    tell({.written_us = 10, .number = 1, .frames = 5});
    tell({.written_us = 20, .number = 2, .frames = 9});
    note_reports(tally, facts, 30);
    note_reports(tally, facts, 40);
    EXPECT_EQ(tally.told, 2U);
    tell({.written_us = 50, .number = 3, .frames = 9});
    note_reports(tally, facts, 50);
    EXPECT_EQ(tally.told, 3U);
}

TEST_F(ReportTally, KeepsHowLateTheLatestWas)
{
    tell({.written_us = 1000, .number = 1, .frames = 0});
    tell({.written_us = 60'000, .number = 2, .frames = 0});
    note_reports(tally, facts, 61'000);
    tell({.written_us = 70'000, .number = 3, .frames = 0});
    note_reports(tally, facts, 70'001);
    EXPECT_EQ(tally.latest_us, 60'000);
}

TEST_F(ReportTally, MissesAReportThatIsNeverTold)
{
    tell({.written_us = 1, .number = 1, .frames = 0});
    note_reports(tally, facts, 1);
    tell({.written_us = 3, .number = 3, .frames = 0});
    note_reports(tally, facts, 3);
    EXPECT_EQ(tally.newest.number - tally.told, 1U);
}

TEST_F(ReportTally, FindsAsManyAtOnceAsThereArePlaces)
{
    for (std::uint32_t number = 1; number <= STAMPS + 2; ++number)
        tell({.written_us = number, .number = number, .frames = 0});
    note_reports(tally, facts, 100);
    EXPECT_EQ(tally.told, STAMPS);
    EXPECT_EQ(tally.latest_us, 97);
}
