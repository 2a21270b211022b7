#include "unit/router_model/discovery_fixture.h"

namespace {
class DiscoveryRequests : public DiscoveryTest {};

class FailedDiscoveryRequest : public DiscoveryTest, public testing::WithParamInterface<int> {};

std::string sent(std::string_view mnemonic, const std::vector<std::string>& parameters = {})
{
    return "<DBG>Send to router: " + frame(body(mnemonic, parameters)) + "\n";
}
} // namespace

TEST_F(DiscoveryRequests, GoOutBackToBackWithTheirAnnouncements)
{
    quit_requested = true;
    run_discovery();
    EXPECT_EQ(diagnostics(), sent("BK") + sent("BK", {"N"}) + sent("BK", {"R"}) +
                                 sent("BK", {"T"}) + sent("BK", {"I", "15"}) +
                                 sent("BK", {"E", "ON"}) + "<DBG>Asking for levels...\n" +
                                 sent("QN", {"L"}) + "<DBG>Asking for sources...\n" +
                                 sent("QN", {"IS"}) + "<DBG>Asking for destinations...\n" +
                                 sent("QN", {"ID"}) + "<NOTE>Connection to router closed\n");
    EXPECT_EQ(router_hears(), all_requests({}));
    EXPECT_TRUE(recorded_waits.empty());
}

TEST_F(DiscoveryRequests, AnnounceAfterServingTheParent)
{
    parent_says_at_dispatch(7, "*TYPE=command\n*COMMAND=jump");
    set_parent_record_handler([](ParentRecord&) { close_router_connection(); });
    run_discovery();
    const std::string text = diagnostics();
    EXPECT_EQ(text.substr(text.find("<NOTE>")), "<NOTE>Connection to router closed\n"
                                                "<DBG>Asking for levels...\n"
                                                "<ERR>Unable to send message\n");
}

TEST_P(FailedDiscoveryRequest, EndsDiscovery)
{
    const int failing = GetParam();
    parent_says_at_dispatch(failing, "*TYPE=command\n*COMMAND=jump");
    set_parent_record_handler([](ParentRecord&) { close_router_connection(); });
    run_discovery();
    Requests expected = all_requests({});
    expected.resize(static_cast<std::size_t>(failing) - 1);
    EXPECT_EQ(router_hears(), expected);
    EXPECT_TRUE(logged("<ERR>Unable to send message"));
    EXPECT_EQ(fake_now_us, FAKE_START_US) << "no collection";
    EXPECT_EQ(next_status_request, 0U);
    EXPECT_EQ(parent_hears(), "");
}

INSTANTIATE_TEST_SUITE_P(EachOfNine, FailedDiscoveryRequest, testing::Range(1, 10));

TEST_F(DiscoveryRequests, ServeTheRouterBeforeTheParent)
{
    static std::optional<SystemCall> before_handling;
    before_handling.reset();
    set_parent_record_handler([](ParentRecord&) { before_handling = last_call(router_fd); });
    parent_says_at_dispatch(2, "*TYPE=command\n*COMMAND=x");
    run_discovery();
    EXPECT_EQ(before_handling, SystemCall::Read) << "not the first request";
}

TEST_F(DiscoveryRequests, FollowTheDiscardOfStaleInput)
{
    router_rx_queue.assign(2, received("NQ", {"L", "1", "Old", "0", "x"}));
    router_says("KB", {"N", "Old"});
    run_discovery();
    ASSERT_GE(recorded_waits.size(), 4U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(recorded_waits[i].is_pause);
        EXPECT_EQ(recorded_waits[i].duration, 10'000U);
        EXPECT_EQ(recorded_waits[i].at, FAKE_START_US + i * 10'000);
    }
    EXPECT_FALSE(recorded_waits[3].is_pause);
    EXPECT_EQ(device_model, "");
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=0 s=0 l=0)"));
    EXPECT_EQ(fake_now_us, DEADLINE + 30'000);
}

TEST_F(DiscoveryRequests, FollowAfterSixSecondsOfStaleInputWithoutTheRest)
{
    router_rx_queue.assign(600, received("NQ", {"L", "1", "Old", "0", "x"}));
    router_rx_queue.push_back(received("KB", {"N", "Old"}));
    run_discovery();
    EXPECT_EQ(device_model, "");
    EXPECT_EQ(fake_now_us, DEADLINE + 6'000'000);
}

TEST_F(DiscoveryRequests, LeaveToTheCollectionWhatComesInTheLastPauseOfTheDiscard)
{
    router_says("KB", {"N", "Old"});
    at_us(FAKE_START_US + 5'000, [this] { router_says("KB", {"N", "New"}); });
    run_discovery();
    EXPECT_EQ(device_model, "New");
}

TEST_F(DiscoveryRequests, DoNotWaitForEverForARouterThatKeepsSending)
{
    on_fake_wait = [this] {
        router_says("IQ");
    };
    router_says("IQ");
    router_says("IQ");
    parent_says_at_dispatch(1, "*TYPE=command\n*COMMAND=jump");
    static us_time_t first_request_at;
    set_parent_record_handler([](ParentRecord&) {
        first_request_at = fake_now_us;
        quit_requested = true;
    });
    run_discovery();
    EXPECT_GE(first_request_at, DEADLINE);
    EXPECT_LE(first_request_at, DEADLINE + 20'000);
}

TEST_F(DiscoveryRequests, StopDiscardingWhenTheProcessIsToQuit)
{
    router_rx_queue.assign(500, received("IQ"));
    at_us(FAKE_START_US + 25'000, [] { quit_requested = true; });
    run_discovery();
    EXPECT_EQ(fake_now_us, FAKE_START_US + 30'000);
    EXPECT_EQ(router_fd, -1);
}

TEST_F(DiscoveryRequests, AreNotSentWithoutAConnection)
{
    close_router_connection();
    diagnostics();
    device_model = "M";
    run_discovery();
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(device_model, "M");
    EXPECT_EQ(fake_now_us, FAKE_START_US);
}

TEST_F(DiscoveryRequests, AreNotSentWhenTheRouterHasGoneAlready)
{
    router_closes();
    firmware_version = "F";
    run_discovery();
    EXPECT_EQ(diagnostics(),
              "<NOTE>Connection suddenly dropped\n<NOTE>Connection to router closed\n");
    EXPECT_EQ(firmware_version, "F");
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(DiscoveryRequests, AreNotSentWhileConnecting)
{
    on_fake_wait = nullptr;
    const std::string filling(1 << 20, '\0'); // a full socket is not writable
    while (write(router_fd, filling.data(), filling.size()) > 0) {
    }
    connect_in_progress = true;
    run_discovery();
    EXPECT_EQ(diagnostics(), "<NOTE>Connection to router closed\n");
    EXPECT_EQ(router_fd, -1);
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(DiscoveryRequests, FollowTheClearingOfTheIdentity)
{
    firmware_version = device_model = software_title = software_revision = "old";
    quit_requested = true;
    run_discovery();
    EXPECT_EQ(firmware_version + device_model + software_title + software_revision, "");
}
