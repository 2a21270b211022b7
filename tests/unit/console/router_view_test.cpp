#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/router_view.h"
#include "console/view_text.h"
#include "unit/console/console_view.h"

using namespace console;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class RouterView : public testing::Test {
  protected:
    router_view view = known_router();
    us_time_t now = 5'000'000;

    notices route(const std::string& output, const std::string& input)
    {
        return apply_record(view,
                            backend_report("outputs", {{"o" + output + ".input.all", input}}));
    }

    void ask(int output, int input)
    {
        note_staged(view, output, input);
        note_flushed(view, now);
    }
};

TEST_F(RouterView, ShowsIdentityAndLink)
{
    EXPECT_EQ(info_text(view), "Router    ready\n"
                               "Model     Box\n"
                               "Firmware  ?\n"
                               "Product   Switcher\n"
                               "Company   Maker\n"
                               "Inputs    3\n"
                               "Outputs   2\n");
}

TEST_F(RouterView, ShowsNames)
{
    EXPECT_EQ(inputs_text(view), "#  input\n0  CAM 1\n1  CAM 2\n2\n");
    EXPECT_EQ(outputs_text(view), "#  output\n0  MON A\n1  MON B\n");
}

TEST_F(RouterView, ShowsRoutes)
{
    EXPECT_EQ(routes_text(view), "#  output  #  input     state\n"
                                 "0  MON A   1  CAM 2\n"
                                 "1  MON B      no input\n");
}

TEST_F(RouterView, ShowsNothingBeforeItIsKnown)
{
    const router_view unknown;
    EXPECT_EQ(routes_text(unknown), "No outputs are known yet.\n");
    EXPECT_EQ(inputs_text(unknown), "No inputs are known yet.\n");
    EXPECT_EQ(link_text(unknown), "not connected");
    EXPECT_FALSE(fully_reported(unknown));
}

TEST_F(RouterView, IsFullyReportedWithNamesAndRoutes)
{
    EXPECT_TRUE(fully_reported(view));
    view.routes_reported = false;
    EXPECT_FALSE(fully_reported(view));
    view.outputs = 0;
    EXPECT_TRUE(fully_reported(view));
    view.inputs_named = false;
    EXPECT_FALSE(fully_reported(view));
    view.inputs_named = true;
    diagnose(view, "<WARN>Connection timeout");
    EXPECT_FALSE(fully_reported(view));
}

TEST_F(RouterView, OutputsAreNamedByARecordOfNamesOrAnEmptyOne)
{
    view.outputs_named = false;
    route("0", "0");
    EXPECT_FALSE(view.outputs_named);
    apply_record(view, backend_report("outputs", {}));
    EXPECT_TRUE(view.outputs_named);
}

TEST_F(RouterView, PositionsAreAlignedAsNumbers)
{
    view.inputs = 11;
    EXPECT_THAT(inputs_text(view), StartsWith(" #  input\n 0  CAM 1\n"));
    view.outputs = 11;
    view.routes.resize(11);
    route("0", "10");
    route("1", "0");
    EXPECT_THAT(routes_text(view), StartsWith(" #  output   #  input  state\n"
                                              " 0  MON A   10\n"
                                              " 1  MON B    0  CAM 1\n"));
}

TEST_F(RouterView, ShowsRequestAsPendingUntilReported)
{
    ask(0, 0);
    EXPECT_TRUE(any_pending(view));
    EXPECT_EQ(routes_text(view), "#  output  #  input     state\n"
                                 "0  MON A   1  CAM 2     pending: 0 CAM 1\n"
                                 "1  MON B      no input\n");
    EXPECT_THAT(route("0", "0"), ElementsAre("0 MON A now shows 0 CAM 1: confirmed"));
    EXPECT_FALSE(any_pending(view));
    EXPECT_EQ(view.routes[0].request, request_state::none);
}

TEST_F(RouterView, RequestBeforeTheFirstInfoIsPending)
{
    view = {};
    ask(0, 1);
    EXPECT_TRUE(any_pending(view));
    EXPECT_THAT(route("0", "1"), ElementsAre("0 now shows 1: confirmed"));
}

TEST_F(RouterView, RequestForWhatIsShownIsConfirmedByReportAlone)
{
    ask(0, 1);
    EXPECT_TRUE(any_pending(view));
    EXPECT_THAT(route("0", "1"), ElementsAre("0 MON A now shows 1 CAM 2: confirmed"));
}

TEST_F(RouterView, OtherInputLeavesRequestPending)
{
    ask(0, 0);
    EXPECT_THAT(route("0", "2"), ElementsAre("0 MON A now shows 2"));
    EXPECT_EQ(view.routes[0].request, request_state::pending);
}

TEST_F(RouterView, RequestIsUnconfirmedAfterThreeSeconds)
{
    ask(1, 2);
    EXPECT_EQ(time_to_expiry(view, now), 3'000'000U);
    EXPECT_THAT(expire_requests(view, now + 2'999'999), IsEmpty());
    EXPECT_EQ(time_to_expiry(view, now + 2'999'999), 1U);
    EXPECT_EQ(time_to_expiry(view, now + 3'000'001), 0U);
    EXPECT_THAT(expire_requests(view, now + 3'000'000),
                ElementsAre("1 MON B: 2 was not confirmed within 3 s"));
    EXPECT_FALSE(any_pending(view));
    EXPECT_EQ(time_to_expiry(view, now), NO_EXPIRY);
    EXPECT_EQ(routes_text(view), "#  output  #  input     state\n"
                                 "0  MON A   1  CAM 2\n"
                                 "1  MON B      no input  unconfirmed: 2\n");
}

TEST_F(RouterView, LateReportConfirms)
{
    ask(1, 2);
    expire_requests(view, now + 3'000'000);
    EXPECT_THAT(route("1", "2"), ElementsAre("1 MON B now shows 2: confirmed"));
    EXPECT_EQ(view.routes[1].request, request_state::none);
}

TEST_F(RouterView, UnconfirmedGoesWithNextChangeButNotWithSameReport)
{
    ask(1, 2);
    expire_requests(view, now + 3'000'000);
    EXPECT_THAT(route("1", "none"), IsEmpty());
    EXPECT_EQ(view.routes[1].request, request_state::unconfirmed);
    EXPECT_THAT(route("1", "0"), ElementsAre("1 MON B now shows 0 CAM 1"));
    EXPECT_EQ(view.routes[1].request, request_state::none);
}

TEST_F(RouterView, NewRequestStartsItsTimeAnew)
{
    ask(0, 0);
    now += 2'000'000;
    ask(0, 2);
    EXPECT_THAT(expire_requests(view, now + 2'999'999), IsEmpty());
    EXPECT_THAT(expire_requests(view, now + 3'000'000),
                ElementsAre("0 MON A: 2 was not confirmed within 3 s"));
}

TEST_F(RouterView, FirstKnownRouteIsNoNews)
{
    view.routes[0].shown = INPUT_UNKNOWN;
    EXPECT_THAT(route("0", "0"), IsEmpty());
    EXPECT_EQ(view.routes[0].shown, 0);
}

TEST_F(RouterView, StagedRouteIsShownUntilDiscarded)
{
    note_staged(view, 1, 0);
    note_staged(view, 1, 2);
    EXPECT_EQ(routes_text(view), "#  output  #  input     state\n"
                                 "0  MON A   1  CAM 2\n"
                                 "1  MON B      no input  staged: 2\n");
    note_discarded(view);
    EXPECT_EQ(view.routes[1].request, request_state::none);
    EXPECT_THAT(view.staged, IsEmpty());
}

TEST_F(RouterView, StagedRouteStandsBehindThePendingOne)
{
    ask(0, 0);
    note_staged(view, 0, 2);
    EXPECT_EQ(routes_text(view), "#  output  #  input     state\n"
                                 "0  MON A   1  CAM 2     pending: 0 CAM 1, staged: 2\n"
                                 "1  MON B      no input\n");
}

TEST_F(RouterView, TellsErrorOfReply)
{
    ParentRecord reply;
    reply.type = "reply";
    reply.command = "outputs";
    reply.error = "Unknown command outputs";
    EXPECT_THAT(apply_record(view, reply),
                ElementsAre("The backend replies: Unknown command outputs"));
}

TEST_F(RouterView, ControlCharactersOfNamesNeverReachTheScreen)
{
    apply_record(view, backend_report("inputs", {{"i0.name", "\x1b[2JCAM\n1"}}));
    EXPECT_EQ(view.input_names, std::vector<std::string>{"?[2JCAM?1"});
}

TEST_F(RouterView, NonsensicalPositionsAreIgnored)
{
    EXPECT_THAT(apply_record(view, backend_report("outputs", {{"o-1.input.all", "0"},
                                                              {"o65536.input.all", "0"},
                                                              {"o.input.all", "0"},
                                                              {"ox.name", "x"},
                                                              {"x", "y"}})),
                IsEmpty());
    EXPECT_EQ(view.routes.size(), 2U);
}

TEST_F(RouterView, PositionsMayGoBeyondTheCount)
{
    EXPECT_THAT(route("2", "1"), IsEmpty());
    ASSERT_EQ(view.routes.size(), 3U);
    EXPECT_EQ(view.routes[2].shown, 1);
    EXPECT_THAT(route("65535", "1"), IsEmpty()); // the highest
    ASSERT_EQ(view.routes.size(), 65536U);
    EXPECT_EQ(view.routes[65535].shown, 1);
}

TEST_F(RouterView, InfoWithoutCountsLeavesNone)
{
    apply_record(view, backend_report("info", {{"model", "Box"}}));
    EXPECT_EQ(view.inputs, 0);
    EXPECT_EQ(view.outputs, 0);
    EXPECT_THAT(view.routes, IsEmpty());
}

TEST_F(RouterView, FewerOutputsForgetRoutes)
{
    apply_record(view, backend_report("info", {{"inputs", "3"}, {"outputs", "1"}}));
    EXPECT_EQ(routes_text(view), "#  output  #  input  state\n0  MON A   1  CAM 2\n");
}

TEST(RouterViewLink, FollowsConnection)
{
    router_view view;
    EXPECT_THAT(diagnose(view, "<NOTE>Trying to connect to router..."), IsEmpty());
    EXPECT_EQ(link_text(view), "being connected");
    EXPECT_THAT(diagnose(view, "<NOTE>Connection sucessful."), IsEmpty());
    EXPECT_EQ(link_text(view), "connected and asked for its names");
    EXPECT_THAT(diagnose(view, "<DBG>Router finished returning levels, sources, destinations"),
                ElementsAre("The router is ready"));
    EXPECT_THAT(diagnose(view, "<NOTE>Connection suddenly dropped"),
                ElementsAre("The router is not connected (the router dropped the connection)"));
    EXPECT_THAT(diagnose(view, "<NOTE>Connection to router closed"), IsEmpty());
    EXPECT_THAT(diagnose(view, "<NOTE>Connected to router, right away"), IsEmpty());
    EXPECT_EQ(link_text(view), "connected and asked for its names");
}

TEST(RouterViewLink, TellsWhyThereIsNone)
{
    const auto link_after = [](const std::string& text) {
        router_view view;
        diagnose(view, "<NOTE>Connection sucessful.");
        diagnose(view, text);
        diagnose(view, "<NOTE>Connection to router closed");
        return link_text(view);
    };
    EXPECT_EQ(link_after("<ERR>Connection failed, Refused"), "not connected (Refused)");
    EXPECT_EQ(link_after("<ERR>Failed to connect to router, Away"), "not connected (Away)");
    EXPECT_EQ(link_after("<ERR>Cannot connect, cannot parse IP address"),
              "not connected (cannot parse IP address)");
    EXPECT_EQ(link_after("<NOTE>Connection problem, Reset"), "not connected (Reset)");
    EXPECT_EQ(link_after("<WARN>Connection timeout"),
              "not connected (the router has fallen silent)");
    EXPECT_EQ(link_after("<ERR>Timeout receiving message"),
              "not connected (the router does not answer)");
}

TEST(RouterViewLink, RouterThatStaysAwayIsNewsOnce)
{
    router_view view;
    EXPECT_THAT(diagnose(view, "<ERR>Connection failed, Refused"),
                ElementsAre("The router is not connected (Refused)"));
    diagnose(view, "<NOTE>Connection to router closed");
    diagnose(view, "<NOTE>Trying to connect to router...");
    EXPECT_THAT(diagnose(view, "<ERR>Connection failed, Refused"), IsEmpty());
}

TEST(RouterViewLink, IncompleteDiscoveryIsReadyWithProblem)
{
    router_view view;
    EXPECT_THAT(diagnose(view, "<ERR>Timeout during query (d=1 s=0 l=1)"),
                ElementsAre("The router is ready (it did not answer all that was asked)"));
}

TEST(RouterViewLink, OtherLinesAreNotAboutIt)
{
    router_view view;
    notices to_show;
    EXPECT_FALSE(apply_diagnostics(view, "<DBG>Router: ACK", to_show));
    EXPECT_TRUE(apply_diagnostics(view, "<WARN>Connection timeout", to_show));
}

TEST_F(RouterView, RoutesAreUnknownBeforeTheirFirstReport)
{
    view = {};
    apply_record(view, backend_report("info", {{"inputs", "3"}, {"outputs", "2"}}));
    EXPECT_EQ(routes_text(view), "#  output  #  input  state\n"
                                 "0             ?\n"
                                 "1             ?\n");
}
