#include <gtest/gtest.h>

#include "soak/report_ledger.h"

using namespace soak;

namespace {
constexpr us_time_t SECOND = 1'000'000;

class ReportLedger : public testing::Test {
  protected:
    report_ledger ledger;
    us_time_t now = 1000 * SECOND;

    void accepted(int destination, int source)
    {
        enter_accepted(ledger, destination, source, now);
    }
    void reported(const std::map<int, int>& routes)
    {
        enter_report(ledger, routes, now);
    }
    // The first finding found in so many seconds.
    std::string finding_within(int seconds)
    {
        std::string finding;
        for (int i = 0; i < 10 * seconds && finding.empty(); ++i) {
            now += SECOND / 10;
            finding = find_wrong_report(ledger, now);
        }
        return finding;
    }
};
} // namespace

TEST_F(ReportLedger, ReportOfEachChangeIsRight)
{
    accepted(3, 5);
    reported({{3, 5}});
    accepted(3, 6);
    accepted(4, 7);
    reported({{3, 6}, {4, 7}});
    EXPECT_EQ(finding_within(60), "");
    EXPECT_EQ(ledger.accepted, 3U);
    EXPECT_EQ(ledger.reported, 3U);
    EXPECT_EQ(ledger.reports_seen, 2U);
    EXPECT_EQ(ledger.judged, 2U);
    EXPECT_TRUE(ledger.changes.empty());
}

TEST_F(ReportLedger, ReportMayBeSeenFirst)
{
    reported({{3, 5}});
    now += SECOND;
    accepted(3, 5);
    EXPECT_EQ(finding_within(60), "");
}

TEST_F(ReportLedger, LastOfSeveralChangesStandsForAll)
{
    for (const int source : {5, 3, 5})
        accepted(3, source);
    reported({{3, 5}});
    EXPECT_EQ(finding_within(60), "");
}

TEST_F(ReportLedger, LastChangeWithoutReportIsAFindingOnce)
{
    accepted(3, 5);
    reported({{3, 5}});
    accepted(4, 7);
    EXPECT_EQ(finding_within(19), "");
    EXPECT_EQ(finding_within(5), "accepted but never reported: output 4 input 7");
    EXPECT_EQ(finding_within(60), "");
}

TEST_F(ReportLedger, ChangeThatALaterReportPassesOverIsAFinding)
{
    accepted(3, 5);
    accepted(4, 7);
    reported({{3, 5}});
    accepted(6, 1);
    reported({{6, 1}});
    EXPECT_EQ(finding_within(30),
              "a report is not what was accepted: output 6 input 1; accepted next: output 4 input "
              "7");
}

TEST_F(ReportLedger, LossIsFoundAlthoughTheSameChangeComesAgain)
{
    accepted(4, 7);
    accepted(3, 5);
    reported({{3, 5}});
    accepted(4, 7);
    reported({{4, 7}});
    EXPECT_NE(finding_within(30), "");
}

TEST_F(ReportLedger, ReportWithoutChangeIsAFinding)
{
    reported({{3, 6}});
    EXPECT_EQ(finding_within(30), "a report is not what was accepted: output 3 input 6");
}

TEST_F(ReportLedger, RepeatedReportOfOneChangeIsAFinding)
{
    accepted(3, 5);
    reported({{3, 5}});
    reported({{3, 5}});
    EXPECT_EQ(finding_within(30), "a report is not what was accepted: output 3 input 5");
}

TEST_F(ReportLedger, RepeatedChangesMayBeCutAnywhere)
{
    for (int i = 0; i < 4; ++i)
        accepted(3, 5);
    reported({{3, 5}});
    reported({{3, 5}});
    accepted(4, 1);
    reported({{3, 5}, {4, 1}});
    EXPECT_EQ(finding_within(60), "");
    EXPECT_TRUE(ledger.changes.empty());
}

TEST_F(ReportLedger, FindsItsPlaceAgainAfterForgetting)
{
    accepted(9, 9);
    forget_reports(ledger, now);
    accepted(3, 4);
    reported({{9, 9}}); // of what has been forgotten
    reported({{3, 4}});
    finding_within(4);
    reported({{9, 9}});
    accepted(3, 5);
    reported({{3, 5}});
    accepted(4, 6);
    EXPECT_EQ(finding_within(19), "");
    EXPECT_EQ(finding_within(5), "accepted but never reported: output 4 input 6");
    EXPECT_EQ(ledger.reports_seen, 4U);
    EXPECT_EQ(ledger.judged, 1U);
}

TEST_F(ReportLedger, PassesOverReportsUntilWhatWasForgottenIsOver)
{
    for (const us_time_t later : {FORGOTTEN_LASTS_US - 1, FORGOTTEN_LASTS_US}) {
        forget_reports(ledger, now);
        now += later;
        accepted(3, 5);
        reported({{3, 5}});
        EXPECT_EQ(finding_within(5), "");
        EXPECT_EQ(ledger.judged, later == FORGOTTEN_LASTS_US ? 1U : 0U);
    }
}

TEST_F(ReportLedger, FloodIsForgotten)
{
    for (int i = 0; i < 2000; ++i)
        accepted(i % 64, i % 7);
    reported({{1, 1}});
    EXPECT_EQ(finding_within(60), "");
    EXPECT_TRUE(ledger.changes.empty());
}
