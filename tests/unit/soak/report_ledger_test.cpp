#include "soak/report_ledger.h"

#include <gtest/gtest.h>

namespace {
class ReportLedger : public testing::Test {
  protected:
    report_ledger ledger;
    us_time_t later = 1 + LONGEST_LAG_US + 100;

    void accepted(int source)
    {
        take_accepted(ledger, 3, source, 100);
    }
    void reported(int source)
    {
        take_reported(ledger, 3, source, 100);
    }
};
} // namespace

TEST_F(ReportLedger, ReportOfEachChangeIsRight)
{
    accepted(5);
    reported(5);
    accepted(6);
    reported(6);
    EXPECT_EQ(take_report_fault(ledger, later), "");
    EXPECT_EQ(ledger.accepted, 2U);
    EXPECT_EQ(ledger.reported, 2U);
}

TEST_F(ReportLedger, ReportMayBeSeenFirst)
{
    reported(5);
    accepted(5);
    EXPECT_EQ(take_report_fault(ledger, later), "");
}

TEST_F(ReportLedger, LastOfSeveralChangesMayStandForAll)
{
    for (const int source : {5, 3, 5})
        accepted(source);
    reported(5);
    EXPECT_EQ(take_report_fault(ledger, later), "");
}

TEST_F(ReportLedger, ChangeWithoutReportIsAFaultOnce)
{
    accepted(5);
    reported(5);
    accepted(7);
    EXPECT_EQ(take_report_fault(ledger, later - 1), "");
    EXPECT_EQ(take_report_fault(ledger, later), "accepted but never reported: output 3 input 7");
    EXPECT_EQ(take_report_fault(ledger, later), "");
}

TEST_F(ReportLedger, ReportWithoutChangeIsAFaultOnce)
{
    accepted(5);
    reported(6);
    EXPECT_EQ(take_report_fault(ledger, later - 1), "");
    EXPECT_EQ(take_report_fault(ledger, later), "reported but never accepted: output 3 input 6");
}

TEST_F(ReportLedger, RepeatedReportOfOneChangeIsAFault)
{
    accepted(5);
    reported(5);
    reported(5);
    EXPECT_EQ(take_report_fault(ledger, later), "reported but never accepted: output 3 input 5");
}

TEST_F(ReportLedger, OwnPauseDoesNotCount)
{
    accepted(5);
    restart_lags(ledger, later);
    EXPECT_EQ(take_report_fault(ledger, later + LONGEST_LAG_US), "");
    EXPECT_NE(take_report_fault(ledger, later + LONGEST_LAG_US + 1), "");
}
