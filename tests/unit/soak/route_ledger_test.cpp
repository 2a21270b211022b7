#include <gtest/gtest.h>

#include "soak/route_ledger.h"

using namespace soak;

namespace {
constexpr us_time_t START = 1'000'000'000;
constexpr us_time_t SECOND = 1'000'000;

class RouteLedger : public testing::Test {
  protected:
    route_ledger ledger = make_route_ledger(4, START);
    us_time_t quiet = START + 100 * SECOND; // long after any disturbance

    void SetUp() override
    {
        for (int i = 0; i < 4; ++i)
            note_reported(ledger, i, i, START + SECOND);
        EXPECT_EQ(find_wrong_route(ledger, quiet), "");
    }
};
} // namespace

TEST_F(RouteLedger, AllIsKnownOnceReported)
{
    EXPECT_TRUE(all_known(ledger));
    router_shows(ledger, 2, 3, quiet);
    EXPECT_FALSE(all_known(ledger));
    note_reported(ledger, 2, 3, quiet + 1);
    EXPECT_TRUE(all_known(ledger));
    EXPECT_EQ(ledger.known_by_polling, 1U);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 100 * SECOND), "");
}

TEST_F(RouteLedger, UndisturbedChangeMustBecomeKnownByPolling)
{
    router_shows(ledger, 2, 3, quiet);
    EXPECT_EQ(find_wrong_route(ledger, quiet + POLLING_MUST_SHOW_US), "");
    EXPECT_EQ(find_wrong_route(ledger, quiet + POLLING_MUST_SHOW_US + 1),
              "changed by the router, unknown to the parent after 5 s of polling: output 2 input "
              "3, last reported input 2");
    EXPECT_EQ(find_wrong_route(ledger, quiet + POLLING_MUST_SHOW_US + 1), "");
}

TEST_F(RouteLedger, DisturbedChangeMustBecomeKnownByThreeQueries)
{
    router_shows(ledger, 2, 3, quiet);
    note_disturbance(ledger, quiet + 1);
    for (int i = 0; i < 2; ++i)
        note_query(ledger, quiet + 1);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 100 * SECOND), "");
    note_query(ledger, quiet + 1);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 100 * SECOND),
              "changed by the router, unknown to the parent after three undisturbed queries: "
              "output 2 input 3, last reported input 2");
}

TEST_F(RouteLedger, DisturbanceShortlyBeforeExcusesToo)
{
    note_disturbance(ledger, quiet - DISTURBANCE_LASTS_US);
    router_shows(ledger, 2, 3, quiet);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 100 * SECOND), "");
    note_reported(ledger, 2, 3, quiet + 100 * SECOND);
    EXPECT_EQ(ledger.known_by_query, 5U); // the four at the start as well
}

TEST_F(RouteLedger, FailedQueriesAreThoseSinceTheLastChange)
{
    router_shows(ledger, 2, 3, quiet);
    note_disturbance(ledger, quiet + 1);
    for (int i = 0; i < 2; ++i)
        note_query(ledger, quiet + 1);
    router_shows(ledger, 2, 0, quiet + 2);
    note_disturbance(ledger, quiet + 3);
    for (int i = 0; i < 2; ++i)
        note_query(ledger, quiet + 3);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 100 * SECOND), "");
    note_query(ledger, quiet + 3);
    EXPECT_NE(find_wrong_route(ledger, quiet + 100 * SECOND), "");
}

TEST_F(RouteLedger, QueryBeforeTheChangeProvesNothing)
{
    router_shows(ledger, 2, 3, quiet);
    note_disturbance(ledger, quiet);
    for (int i = 0; i < 3; ++i)
        note_query(ledger, quiet);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 100 * SECOND), "");
}

TEST_F(RouteLedger, OfADisconnectedDestinationNothingIsToBeKnown)
{
    router_shows(ledger, 2, 3, quiet);
    router_shows(ledger, 2, -1, quiet + 1);
    EXPECT_TRUE(all_known(ledger));
    EXPECT_EQ(ledger.changes, 2U);
    EXPECT_EQ(ledger.known_by_polling, 0U);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 100 * SECOND), "");
}

TEST_F(RouteLedger, SourceOfADisconnectedDestinationMustBecomeKnown)
{
    router_shows(ledger, 2, -1, quiet);
    router_shows(ledger, 2, 3, quiet + SECOND);
    EXPECT_FALSE(all_known(ledger));
    EXPECT_NE(find_wrong_route(ledger, quiet + 100 * SECOND), "");
}

TEST_F(RouteLedger, WhatADisconnectedDestinationShowedMayBeRepeated)
{
    router_shows(ledger, 2, -1, quiet);
    router_shows(ledger, 2, 3, quiet + 200 * SECOND);
    note_reported(ledger, 2, 2, quiet + 200 * SECOND);
    note_reported(ledger, 2, 3, quiet + 201 * SECOND);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 204 * SECOND), "");
}

TEST_F(RouteLedger, ToldAndNeverShownIsAFinding)
{
    note_reported(ledger, 2, 1, quiet);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 3 * SECOND),
              "reported, but never shown by the router: output 2 input 1");
}

TEST_F(RouteLedger, ReportBeforeTheRoutersOwnLineIsRight)
{
    note_reported(ledger, 2, 1, quiet);
    router_shows(ledger, 2, 1, quiet + 1);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 3 * SECOND), "");
    EXPECT_TRUE(all_known(ledger));
}

TEST_F(RouteLedger, RoutersOwnLineMayBeTwoSecondsLate)
{
    note_reported(ledger, 2, 1, quiet);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 2 * SECOND), "");
    EXPECT_NE(find_wrong_route(ledger, quiet + 2 * SECOND + 1), "");
}

TEST_F(RouteLedger, OutputBeyondTheRouterIsNeverShown)
{
    note_reported(ledger, 4, 1, quiet);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 3 * SECOND),
              "reported, but never shown by the router: output 4 input 1");
}

TEST_F(RouteLedger, WhatWasShownUntilJustNowMayBeReported)
{
    router_shows(ledger, 2, 3, quiet);
    router_shows(ledger, 2, 0, quiet + 200 * SECOND);
    router_shows(ledger, 2, 1, quiet + 201 * SECOND);
    note_reported(ledger, 2, 3, quiet + 202 * SECOND);
    note_reported(ledger, 2, 1, quiet + 202 * SECOND);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 206 * SECOND), "");
}

TEST_F(RouteLedger, WhatWasShownLongAgoMayNotBeReported)
{
    router_shows(ledger, 2, 3, quiet);
    for (const us_time_t later : {1U, 122U, 124U})
        router_shows(ledger, 2, 0, quiet + later * SECOND);
    note_reported(ledger, 2, 3, quiet + 124 * SECOND);
    note_reported(ledger, 2, 0, quiet + 124 * SECOND);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 128 * SECOND),
              "reported, but never shown by the router: output 2 input 3");
}

TEST_F(RouteLedger, FalseClaimMayBeReportedButMustBePutRight)
{
    router_claims(ledger, 2, 1, quiet);
    note_reported(ledger, 2, 1, quiet);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 3 * SECOND), "");
    EXPECT_FALSE(all_known(ledger));
    EXPECT_NE(find_wrong_route(ledger, quiet + 6 * SECOND), "");
}

TEST_F(RouteLedger, MisledBackendMayReportWhatNeverWas)
{
    note_doubtful_report(ledger, 2, 1, quiet);
    EXPECT_FALSE(all_known(ledger));
    note_reported(ledger, 2, 2, quiet);
    EXPECT_EQ(find_wrong_route(ledger, quiet + 3 * SECOND), "");
}
