#include <gmock/gmock.h>

#include "soak/proof_ledger.h"

using namespace soak;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
constexpr us_time_t SECOND = 1'000'000;
constexpr us_time_t START = 1'000 * SECOND;

class ProofLedger : public testing::Test {
  protected:
    proof_ledger proofs;
    route_ledger routes = make_route_ledger(4, START);
    us_time_t now = START + 100 * SECOND;

    std::string judged_after(us_time_t time)
    {
        return judge_proofs(proofs, routes, now + time);
    }
};
} // namespace

TEST_F(ProofLedger, UndisturbedQueryCountsOnceItHasSettled)
{
    proofs.query = {.id = "7", .sent = now, .answered = 0};
    note_disturbance(routes, now); // by the query itself
    EXPECT_EQ(judged_after(60 * SECOND), "");
    EXPECT_EQ(proofs.query.id, "7");
    EXPECT_FALSE(note_proof_reply(proofs, "6", now));
    EXPECT_TRUE(note_proof_reply(proofs, "7", now));
    judged_after(SECOND - 1);
    EXPECT_EQ(proofs.queries, 0U);
    judged_after(SECOND);
    EXPECT_EQ(proofs.queries, 1U);
    EXPECT_EQ(proofs.query.id, "");
    EXPECT_EQ(routes.destinations[0].failed_queries, 1);
}

TEST_F(ProofLedger, DisturbedQueryDoesNotCount)
{
    proofs.query = {.id = "7", .sent = now, .answered = now};
    note_disturbance(routes, now + 1);
    judged_after(SECOND);
    EXPECT_EQ(proofs.queries, 0U);
    EXPECT_EQ(proofs.query.id, "");
    EXPECT_EQ(routes.destinations[0].failed_queries, 0);
}

TEST_F(ProofLedger, TakeThatIsMadeAndReportedIsProved)
{
    proofs.take = {
        .id = "7", .output = 2, .input = 3, .sent = now, .made = false, .reported = false};
    EXPECT_TRUE(note_proof_reply(proofs, "7", now));
    note_take_made(proofs, 2, 3);
    router_shows(routes, 2, 3, now);
    note_take_reported(proofs, 2, 3);
    judged_after(4 * SECOND - 1);
    EXPECT_EQ(proofs.takes, 0U);
    EXPECT_EQ(judged_after(4 * SECOND), "");
    EXPECT_EQ(proofs.takes, 1U);
    EXPECT_EQ(proofs.take.output, -1);
}

TEST_F(ProofLedger, TakeThatStaysAwayIsAFindingOnce)
{
    proofs.take = {
        .id = "7", .output = 2, .input = 3, .sent = now, .made = false, .reported = false};
    note_take_made(proofs, 2, 1);
    note_take_made(proofs, 1, 3);
    EXPECT_EQ(judged_after(4 * SECOND), "a take did not reach the router: output 2 input 3");
    EXPECT_EQ(judged_after(4 * SECOND), "");
    EXPECT_EQ(proofs.takes, 0U);
}

TEST_F(ProofLedger, TakeThatIsNotReportedIsAFinding)
{
    proofs.take = {
        .id = "7", .output = 2, .input = 3, .sent = now, .made = false, .reported = false};
    note_take_made(proofs, 2, 3);
    router_shows(routes, 2, 3, now);
    note_take_reported(proofs, 2, 1);
    note_take_reported(proofs, 1, 3);
    EXPECT_EQ(judged_after(4 * SECOND), "a take was not reported: output 2 input 3");
    EXPECT_EQ(proofs.takes, 0U);
}

TEST_F(ProofLedger, TakeThatAnotherHasReplacedNeedsNoReport)
{
    proofs.take = {
        .id = "7", .output = 2, .input = 3, .sent = now, .made = false, .reported = false};
    note_take_made(proofs, 2, 3);
    router_shows(routes, 2, 3, now);
    router_shows(routes, 2, 1, now + SECOND);
    EXPECT_EQ(judged_after(4 * SECOND), "");
    EXPECT_EQ(proofs.takes, 1U);
}

TEST_F(ProofLedger, TakeOfWhatTheParentKnowsNeedsNoReport)
{
    note_reported(routes, 2, 3, now);
    proofs.take = {
        .id = "7", .output = 2, .input = 3, .sent = now, .made = false, .reported = false};
    note_take_made(proofs, 2, 3);
    router_shows(routes, 2, 3, now);
    EXPECT_EQ(judged_after(4 * SECOND), "");
    EXPECT_EQ(proofs.takes, 1U);
}

TEST_F(ProofLedger, DisturbedTakeProvesNothing)
{
    proofs.take = {
        .id = "7", .output = 2, .input = 3, .sent = now, .made = false, .reported = false};
    note_disturbance(routes, now + 1);
    EXPECT_EQ(judged_after(4 * SECOND), "");
    EXPECT_EQ(proofs.takes, 0U);
}

TEST_F(ProofLedger, FloodCountsOnceItsLastCommandIsAnswered)
{
    proofs.flood_id = "7";
    EXPECT_FALSE(note_proof_reply(proofs, "6", now));
    EXPECT_EQ(proofs.floods, 0U);
    EXPECT_FALSE(note_proof_reply(proofs, "7", now));
    EXPECT_EQ(proofs.floods, 1U);
    note_proof_reply(proofs, "7", now);
    EXPECT_EQ(proofs.floods, 1U);
}

TEST_F(ProofLedger, NamesWhatIsMissing)
{
    EXPECT_THAT(missing_proofs(proofs, 0),
                ElementsAre("the backend never reached the router",
                            "no query of all outputs was left undisturbed", "no take was proved",
                            "no flood was answered", "no change of the router's port was proved",
                            "no reconnection was seen"));
    proofs.queries = proofs.takes = proofs.floods = proofs.port_changes = 1;
    EXPECT_THAT(missing_proofs(proofs, 1), ElementsAre("no reconnection was seen"));
    EXPECT_THAT(missing_proofs(proofs, 2), IsEmpty());
}

TEST_F(ProofLedger, NamesNothingElse)
{
    const auto missing_without = [](std::uint64_t proof_ledger::*count) {
        proof_ledger others;
        others.queries = others.takes = others.floods = others.port_changes = 1;
        others.*count = 0;
        return missing_proofs(others, 2);
    };
    EXPECT_THAT(missing_without(&proof_ledger::queries),
                ElementsAre("no query of all outputs was left undisturbed"));
    EXPECT_THAT(missing_without(&proof_ledger::takes), ElementsAre("no take was proved"));
    EXPECT_THAT(missing_without(&proof_ledger::floods), ElementsAre("no flood was answered"));
    EXPECT_THAT(missing_without(&proof_ledger::port_changes),
                ElementsAre("no change of the router's port was proved"));
}
