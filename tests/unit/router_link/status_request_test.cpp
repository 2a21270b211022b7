// When a status cycle runs, and what it makes of the change flags.
#include "router_link/status_request.h"
#include "unit/router_link/status_cycle.h"

namespace {
constexpr us_time_t PAUSE_US = 10'000;

class StatusRequest : public StatusCycle {};

struct flag_text {
    const char* received;
    const char* sent_back;
};

class StatusFlagText : public StatusCycle, public testing::WithParamInterface<flag_text> {};

// Replies to "BK" "F" that are none.
class UnusableFlagReply : public StatusCycle, public testing::WithParamInterface<std::string> {};
} // namespace

TEST_F(StatusRequest, AsksForFlagsAndChangedDestinations)
{
    EXPECT_EQ(cycle_with_flags("0", "0"), WHOLE_CYCLE);
    const std::string text = diagnostics();
    const std::string first_line = "<DBG>Sending periodic status request as TCP keepalive and to "
                                   "keep up with unreported changes if they should occur\n";
    EXPECT_EQ(text.substr(0, first_line.size()), first_line);
    EXPECT_GE(router_fd, 0);
}

TEST_F(StatusRequest, IsMadeWhenItIsDueAndNotBefore)
{
    next_status_request = FAKE_START_US + 1;
    EXPECT_EQ(cycle_with_flags("0", "0"), Requests{});
    EXPECT_EQ(diagnostics(), "");
    ++fake_now_us;
    periodic_status_request();
    EXPECT_EQ(router_hears(), WHOLE_CYCLE);
}

TEST_F(StatusRequest, IsNotMadeUnlessScheduled)
{
    next_status_request = 0;
    EXPECT_EQ(cycle_with_flags("0", "0"), Requests{});
    EXPECT_EQ(next_status_request, 0U);
}

TEST_F(StatusRequest, IsNotMadeWhileDiscoveryIsNeeded)
{
    discovery_needed = true;
    EXPECT_EQ(cycle_with_flags("0", "0"), Requests{});
}

TEST_F(StatusRequest, ReadsBothNameTablesAgain)
{
    EXPECT_EQ(cycle_with_flags("14", "14"), (Requests{"BK F", "QN IS", "QN ID", "BK f 14", "QD"}));
    ASSERT_EQ(router_inputs_info.size(), 1U);
    EXPECT_EQ(router_inputs_info[0].name, "NewIn");
    ASSERT_EQ(router_outputs_info.size(), 1U);
    EXPECT_EQ(router_outputs_info[0].name, "NewOut");
    EXPECT_TRUE(inputs_report_pending);
    EXPECT_TRUE(outputs_report_pending);
}

TEST_F(StatusRequest, ReadsSourceNamesAgain)
{
    EXPECT_EQ(cycle_with_flags("10", "10"), (Requests{"BK F", "QN IS", "BK f 10", "QD"}));
    EXPECT_EQ(router_inputs_info[0].name, "NewIn");
    EXPECT_FALSE(outputs_report_pending);
}

TEST_F(StatusRequest, ReadsDestinationNamesAgain)
{
    EXPECT_EQ(cycle_with_flags("4", "4"), (Requests{"BK F", "QN ID", "BK f 4", "QD"}));
    EXPECT_EQ(router_outputs_info[0].name, "NewOut");
    EXPECT_FALSE(inputs_report_pending);
}

TEST_F(StatusRequest, ClearsOtherFlagsWithoutReadingNames)
{
    EXPECT_EQ(cycle_with_flags("FFFFFFEB", "FFFFFFEB"), (Requests{"BK F", "BK f FFFFFFEB", "QD"}));
}

TEST_P(StatusFlagText, IsReadAsHexadecimalAndSentBackInUpperCase)
{
    EXPECT_EQ(cycle_with_flags(GetParam().received, GetParam().sent_back),
              (Requests{"BK F", std::string("BK f ") + GetParam().sent_back, "QD"}));
}

INSTANTIATE_TEST_SUITE_P(Forms, StatusFlagText,
                         testing::Values(flag_text{"0x2b", "2B"}, flag_text{" 0008", "8"},
                                         flag_text{"1z", "1"}, flag_text{"zz", "0"},
                                         flag_text{"ab", "AB"}, flag_text{"100000002", "2"}));

TEST_F(StatusRequest, SaturatesFlagsOfTooManyDigits)
{
    EXPECT_EQ(cycle_with_flags("FFFFFFFFFFFFFFFFFFFF", "FFFFFFFF"),
              (Requests{"BK F", "QN IS", "QN ID", "BK f FFFFFFFF", "QD"}));
}

TEST_P(UnusableFlagReply, IsIgnored)
{
    EXPECT_EQ(cycle_with_reply(GetParam()), (Requests{"BK F", "QD"}));
    EXPECT_GE(router_fd, 0);
    EXPECT_NE(next_status_request, FAKE_START_US);
}

INSTANTIATE_TEST_SUITE_P(Forms, UnusableFlagReply,
                         testing::Values(framed("KB", {"f", "14"}), framed("KB", {"F"}),
                                         framed("KB", {}), framed("KB", {"FF", "14"}),
                                         framed("KB", {"", "14"}), framed("KC", {"F", "14"}),
                                         framed("ER", {"05", "14"}),
                                         std::string("\x15"
                                                     "0001\x04"),
                                         framed("KB", {"F", "14"}, '1') +
                                             framed("KB", {"F", "14"})));

TEST_F(StatusRequest, AcceptsFlagsWithFurtherParameters)
{
    EXPECT_EQ(cycle_with_reply(framed("KB", {"F", "0", "x"})), WHOLE_CYCLE);
}

TEST_F(StatusRequest, AcceptsFlagsThatAreNotMarkedGood)
{
    at_us(FAKE_START_US + 1, [] {
        router_message reply = received("KB", {"F", "0"});
        reply.ok = false;
        router_rx_queue.push_back(reply);
    });
    periodic_status_request();
    EXPECT_EQ(router_hears(), (Requests{"BK F", "BK f 0"}));
}

TEST_F(StatusRequest, GivesUpTwoSecondsAfterAskingForFlags)
{
    at_us(FAKE_START_US + 2'000'000, [] { router_rx_queue.push_back(received("XX")); });
    periodic_status_request();
    EXPECT_EQ(router_hears(), Requests{"BK F"});
    EXPECT_EQ(fake_now_us, FAKE_START_US + 2'000'000);
    EXPECT_EQ(router_fd, -1);
    EXPECT_EQ(next_status_request, FAKE_START_US);
    EXPECT_EQ(router_rx_queue.size(), 1U); // not drained
}

TEST_F(StatusRequest, EmptiesSourcesThatTheRouterDoesNotName)
{
    router_answers("BK F", framed("KB", {"F", "10"}));
    periodic_status_request();
    EXPECT_EQ(router_hears(), (Requests{"BK F", "QN IS"}));
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US + 3'000'000);
    EXPECT_TRUE(router_inputs_info.empty());
    EXPECT_TRUE(inputs_report_pending);
    EXPECT_EQ(router_outputs_info.size(), 6U);
    EXPECT_EQ(next_status_request, FAKE_START_US);
}

TEST_F(StatusRequest, EmptiesDestinationsThatTheRouterDoesNotName)
{
    router_answers("BK F", framed("KB", {"F", "4"}));
    periodic_status_request();
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US + 3'000'000);
    EXPECT_TRUE(router_outputs_info.empty());
    EXPECT_TRUE(outputs_report_pending);
    EXPECT_EQ(router_inputs_info.size(), 1U);
}

TEST_F(StatusRequest, GoesThroughTheRestOfTheFlagsWithoutAConnection)
{
    router_answers("BK F", framed("KB", {"F", "14"}));
    periodic_status_request();
    EXPECT_TRUE(router_inputs_info.empty());
    EXPECT_TRUE(router_outputs_info.empty());
    std::size_t unable = 0;
    const std::string text = diagnostics();
    for (std::size_t at = 0; (at = text.find("<ERR>Unable to send message", at)) < text.size();
         ++at)
        ++unable;
    EXPECT_EQ(unable, 3U); // destination names, flags to clear, changed destinations
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US + 3'000'000);
}

TEST_F(StatusRequest, UsesTheNamesThatCameBeforeAFailure)
{
    router_answers("BK F", framed("KB", {"F", "10"}));
    router_answers("QN IS", framed("NQ", {"S", "1", "Half", "1", "", "0"}, '1'));
    periodic_status_request();
    ASSERT_EQ(router_inputs_info.size(), 1U);
    EXPECT_EQ(router_inputs_info[0].name, "Half");
}

TEST_F(StatusRequest, WaitsThreeSecondsForClearedFlags)
{
    router_answers("BK F", framed("KB", {"F", "0"}));
    periodic_status_request();
    EXPECT_EQ(router_hears(), (Requests{"BK F", "BK f 0"}));
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US + 3'000'000);
    EXPECT_EQ(next_status_request, FAKE_START_US);
}

TEST_F(StatusRequest, DoesNotMindHowTheClearedFlagsAreAnswered)
{
    router_answers("BK F", framed("KB", {"F", "0"}));
    router_answers("BK f 0", "\x15"
                             "0001\x04");
    router_answers("QD", framed("ER", {"00", "QD"}));
    periodic_status_request();
    EXPECT_EQ(router_hears(), WHOLE_CYCLE);
}

// Two dispatches belong to the turns of the first request; the third comes before the names.
TEST_F(StatusRequest, CountsTheParentsTimeAgainstTheNameDeadline)
{
    router_answers("BK F", framed("KB", {"F", "10"}));
    when_dispatched(3, [] { fake_now_us += 1'000'000; });
    periodic_status_request();
    EXPECT_EQ(fake_now_us, FAKE_START_US + PAUSE_US + 3'000'000);
}

TEST_F(StatusRequest, ServesTheParentBeforeTheRouterWhenNamesAreDue)
{
    router_answers("BK F", framed("KB", {"F", "10"}));
    std::size_t reads = 0;
    when_dispatched(3, [&] { reads = call_count(SystemCall::Read, router_fd); });
    const std::size_t before = call_count(SystemCall::Read, router_fd);
    periodic_status_request();
    EXPECT_EQ(reads - before, 6U); // the first service, the request's, two turns of two
}

TEST_F(StatusRequest, AnswersACommandOfTheParentMeanwhile)
{
    install_commands();
    parent_says("*COMMAND=report\n*TYPE=command\n*ID=7\nwhat=inputs");
    std::string heard;
    at_us(FAKE_START_US + 1'900'000, [&] { heard = parent_hears(); });
    periodic_status_request();
    EXPECT_EQ(heard, "*TYPE=reply\n*ID=7\n\n");
}
