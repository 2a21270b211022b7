#include "unit/session/played_session.h"

namespace {
class Session : public PlayedSession {};
} // namespace

TEST_F(Session, StartsWithDiscoveryAndTellsTheParent)
{
    router_answers("QI 1 0", frame(body("IQ", {"1", "x", "x", "x", "3"})));
    router_answers("QI 2 0", frame(body("IQ", {"2", "x", "x", "x", "1"})));
    run_passes(3);
    EXPECT_EQ(router_hears(), DISCOVERY_REQUESTS);
    EXPECT_EQ(parent_hears(), info_of(3, 2) + INPUT_NAMES + OUTPUT_NAMES +
                                  "*COMMAND=outputs\n*TYPE=message\n"
                                  "o0.input.all=2\no1.input.all=0\n\n");
}

TEST_F(Session, PollsTheRouterAndLearnsWhatChanged)
{
    start_session();
    router_answers("BK F", frame(body("KB", {"F", "0"})));
    router_answers("BK f 0", frame(body("KB", {"f", "0"})));
    router_answers("QD", frame(body("DQ", {"Out2", "x"})));
    router_answers("QI 2 0", frame(body("IQ", {"2", "x", "x", "x", "2"})));
    run_until(next_status_request + 200'000);
    EXPECT_EQ(router_hears(), (Requests{"BK F", "BK f 0", "QD", "QI 2 0"}));
    run_passes(2);
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\no1.input.all=1\n\n");
}

TEST_F(Session, ReadsChangedNamesAgain)
{
    start_session();
    router_answers("BK F", frame(body("KB", {"F", "14"})));
    router_answers("BK f 14", frame(body("KB", {"f", "0"})));
    router_answers("QD", frame(body("DQ", {})));
    run_until(next_status_request + 200'000);
    EXPECT_EQ(router_hears(), (Requests{"BK F", "QN IS", "QN ID", "BK f 14", "QD"}));
    EXPECT_EQ(parent_hears(), info_of(3, 2) + INPUT_NAMES + OUTPUT_NAMES);
}

TEST_F(Session, CarriesARouteChangeFromTheParentToTheReport)
{
    start_session();
    router_answers("TI 2 3", "\x06");
    router_answers("QI 2 0", frame(body("IQ", {"2", "x", "x", "x", "3"})));
    parent_says(
        "*TYPE=command\n*COMMAND=route output\n*ID=1\nqueue=add\nto output=1\nfrom input=2");
    parent_says("*TYPE=command\n*COMMAND=route output\n*ID=2\nqueue=flush");
    next_status_request = 0; // no polling
    run_until_parent_is_served();
    run_passes(2);
    EXPECT_EQ(router_hears(), (Requests{"TI 2 3", "QI 2 0"}));
    EXPECT_EQ(parent_hears(), "*COMMAND=route output\n*TYPE=reply\n*ID=1\n\n"
                              "*COMMAND=route output\n*TYPE=reply\n*ID=2\n\n"
                              "*COMMAND=outputs\n*TYPE=message\no1.input.all=2\n\n");
}

TEST_F(Session, HoldsASecondFlushBackAndSendsItInTime)
{
    start_session();
    next_status_request = 0; // no polling
    const std::string add = "*TYPE=command\n*COMMAND=route output\nqueue=add\nfrom input=0\n";
    const std::string flush = "*TYPE=command\n*COMMAND=route output\nqueue=flush";
    parent_says(add + "to output=0");
    parent_says(flush);
    parent_says(add + "to output=1");
    parent_says(flush);
    const us_time_t flushed_at = fake_now_us;
    run_until(flushed_at + 65'999);
    const Requests first = router_hears();
    EXPECT_EQ(first, (Requests{"TI 1 1", "QI 1 0"}));
    run_until(flushed_at + 150'000);
    EXPECT_EQ(router_hears(), (Requests{"TI 2 1", "QI 2 0"}));
}

TEST_F(Session, FollowsTheCountsThatTheParentSets)
{
    start_session();
    parent_says("*TYPE=message\n*COMMAND=set\nname=outputs\nvalue=1");
    parent_says("*TYPE=command\n*COMMAND=report\nwhat=outputs");
    parent_says("*TYPE=command\n*COMMAND=route output\nqueue=add\nto output=1\nfrom input=0");
    parent_says("*TYPE=message\n*COMMAND=set\nname=outputs\nvalue=");
    run_until_parent_is_served();
    EXPECT_EQ(router_hears(), (Requests{"QI 1 0"}));
    EXPECT_TRUE(staged_route_changes.empty());
    EXPECT_EQ(parent_hears(), info_of(3, 1) + "*TYPE=reply\n\n" +
                                  "*COMMAND=route output\n*TYPE=reply\n\n" + info_of(3, 2));
}

TEST_F(Session, DropsARouteReportBeyondALoweredCount)
{
    start_session();
    next_status_request = 0; // no polling
    parent_says("*TYPE=message\n*COMMAND=set\nname=outputs\nvalue=1");
    run_until_parent_is_served();
    parent_hears();
    router_says("IQ", {"2", "x", "x", "x", "3"});
    router_says("IQ", {"1", "x", "x", "x", "2"});
    run_passes(3);
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\no0.input.all=1\n\n");
}

TEST_F(Session, MovesToTheAddressThatTheParentSets)
{
    start_session();
    std::string connected_to;
    const auto accept = on_connect;
    on_connect = [&](int descriptor, const sockaddr_in& address) {
        connected_to = std::to_string(ntohl(address.sin_addr.s_addr) & 0xFF) + ":" +
                       std::to_string(ntohs(address.sin_port));
        return accept(descriptor, address);
    };
    parent_says("*TYPE=message\n*COMMAND=set\nname=ip address\nvalue=127.0.0.7");
    parent_says("*TYPE=message\n*COMMAND=set\nname=port\nvalue=4000");
    run_until(FAKE_START_US + 4'999'999);
    EXPECT_EQ(diagnostics().find("<NOTE>Connection to router closed\n"), 0U);
    EXPECT_EQ(connected_to, "");
    run_passes(2);
    EXPECT_EQ(connected_to, "7:4000");
    EXPECT_EQ(router_hears(), DISCOVERY_REQUESTS);
}
