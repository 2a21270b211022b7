#include "unit/router_model/discovery_fixture.h"

namespace {
class DiscoveryCollection : public DiscoveryTest {
  protected:
    void router_says_at(us_time_t time, const std::string& mnemonic,
                        const std::vector<std::string>& parameters, char seq = '0')
    {
        at_us(time, [=, this] { router_says(mnemonic, parameters, seq); });
    }

    // What cannot come over the wire as it is.
    static void queue_at(us_time_t time, const router_message& message)
    {
        at_us(time, [message] { router_rx_queue.push_back(message); });
    }
};

constexpr us_time_t SOON = FAKE_START_US + 5'000;
} // namespace

TEST_F(DiscoveryCollection, EndsWhenAllSetsAreComplete)
{
    router_knows_names();
    run_discovery();
    EXPECT_TRUE(logged("<DBG>Router finished returning levels, sources, destinations"));
    EXPECT_FALSE(logged("<ERR>Timeout during query (d=1 s=1 l=1)"));
    EXPECT_EQ(fake_now_us, FAKE_START_US);
    EXPECT_EQ(router_levels, (Requests{"Video"}));
    EXPECT_EQ(discovered_inputs, 2U);
    EXPECT_EQ(discovered_outputs, 1U);
    EXPECT_EQ(router_hears(), all_requests({"BK D", "BK A", "QI 1 0"}));
}

TEST_F(DiscoveryCollection, EndsAfterSixSecondsWithoutAnswer)
{
    number_of_outputs = 2;
    io_counts_changed = false;
    run_discovery();
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=0 s=0 l=0)"));
    EXPECT_EQ(fake_now_us, DEADLINE);
    EXPECT_EQ(router_hears(), all_requests({"BK D", "BK A", "QI 1 0", "QI 2 0"}));
    EXPECT_EQ(parent_hears().substr(0, 28), "*COMMAND=info\n*TYPE=message\n");
}

TEST_F(DiscoveryCollection, NamesTheSetsThatDidNotComplete)
{
    for (int mask = 0; mask < 7; ++mask) {
        if (mask > 0) {
            close_router_connection();
            router_closes();
            connect_router();
        }
        const us_time_t start = fake_now_us;
        if ((mask & 1) != 0) router_says_at(start + 1, "NQ", {"D", "0"});
        if ((mask & 2) != 0) router_says_at(start + 1, "NQ", {"S", "0"});
        if ((mask & 4) != 0) router_says_at(start + 1, "NQ", {"L", "0"});
        run_discovery();
        const std::string d = std::to_string(mask & 1);
        const std::string s = std::to_string(mask >> 1 & 1);
        const std::string l = std::to_string(mask >> 2 & 1);
        EXPECT_NE(
            diagnostics().find("<ERR>Timeout during query (d=" + d + " s=" + s + " l=" + l + ")\n"),
            std::string::npos)
            << mask;
    }
}

TEST_F(DiscoveryCollection, HoldsAnswersUntilTheLastOfTheirSet)
{
    router_says_at(SOON, "NQ", {"D", "1", "A", "0", "x", "0"}, '1');
    router_says_at(SOON, "NQ", {"S", "1", "In", "0", "x", "0"}, '2');
    router_says_at(SOON, "NQ", {"D", "1", "B", "1", "x", "0"}, 'x');
    router_says_at(SOON, "NQ", {"D", "1", "C", "2", "x", "0"}, '0');
    run_discovery();
    ASSERT_EQ(router_outputs_info.size(), 3U);
    EXPECT_EQ(router_outputs_info[0].name, "A");
    EXPECT_EQ(router_outputs_info[2].name, "C");
    EXPECT_TRUE(router_inputs_info.empty());
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=1 s=0 l=0)"));
}

TEST_F(DiscoveryCollection, LeavesTheTablesOfIncompleteSetsAlone)
{
    router_levels = {"Old"};
    level_mask = 1;
    router_inputs_info.resize(3);
    discovered_inputs = 3;
    router_says_at(SOON, "NQ", {"L", "1", "New", "0", "x"}, '1');
    router_says_at(SOON, "NQ", {"S", "1", "New", "0", "x", "0"}, '1');
    run_discovery();
    EXPECT_EQ(router_levels, (Requests{"Old"}));
    EXPECT_EQ(discovered_inputs, 3U);
}

TEST_F(DiscoveryCollection, EmptiesASetOnceItIsApplied)
{
    router_says_at(SOON, "NQ", {"S", "1", "A", "0", "x", "0"});
    router_says_at(SOON, "NQ", {"S", "1", "B", "1", "x", "0"});
    run_discovery();
    ASSERT_EQ(router_inputs_info.size(), 1U);
    EXPECT_EQ(router_inputs_info[0].name, "B");
    EXPECT_EQ(input_index_base, 1U);
}

TEST_F(DiscoveryCollection, CountsASetOfUnusableAnswersAsComplete)
{
    router_message failed = received("NQ", {"L", "1", "A", "0", "x"});
    failed.ok = false;
    router_levels = {"Old"};
    queue_at(SOON, failed);
    run_discovery();
    EXPECT_EQ(router_levels, Requests{});
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=0 s=0 l=1)"));
}

TEST_F(DiscoveryCollection, ReadsTheIdentity)
{
    router_says_at(SOON, "KB", {"N", "Model 3"});
    router_says_at(SOON, "KB", {"R", "r5", "more"});
    router_says_at(SOON, "KB", {"T", "Title 1.2"});
    router_says_at(SOON, "KB", {"X", "other"});
    router_says_at(SOON, "KB", {"n", "other"});
    run_discovery();
    EXPECT_EQ(device_model, "Model 3");
    EXPECT_EQ(software_revision, "r5");
    EXPECT_EQ(software_title, "Title 1.2");
    EXPECT_TRUE(logged("<NOTE>Device is a \"Model 3\"\n<NOTE>S/W revision \"r5\"\n"
                       "<NOTE>S/W title with version \"Title 1.2\""));
}

// An empty text before the checksum needs a further parameter.
TEST_F(DiscoveryCollection, EmptiesAnIdentityTextQuietly)
{
    for (const char* kind : {"N", "R", "T"}) {
        router_says_at(SOON, "KB", {kind, "text"});
        router_says_at(SOON, "KB", {kind, "", "x"});
    }
    run_discovery();
    EXPECT_EQ(device_model + software_revision + software_title, "");
    EXPECT_TRUE(logged("<NOTE>Device is a \"text\""));
    EXPECT_FALSE(logged("<NOTE>Device is a \"\""));
    EXPECT_FALSE(logged("<NOTE>S/W revision \"\""));
    EXPECT_FALSE(logged("<NOTE>S/W title with version \"\""));
    EXPECT_FALSE(logged("<NOTE>Firmware: "));
}

TEST_F(DiscoveryCollection, AcceptsIdentityAnswersThatAreNotOk)
{
    router_message failed = received("KB", {"N", "M"});
    failed.ok = false;
    queue_at(SOON, failed);
    run_discovery();
    EXPECT_EQ(device_model, "M");
}

TEST_F(DiscoveryCollection, PassesOverEverythingElse)
{
    discovered_inputs = discovered_outputs = 4;
    number_of_outputs = 4;
    io_counts_changed = false;
    router_says_at(SOON, "IQ", {"1", "0", "0", "0", "1"});
    router_says_at(SOON, "KB", {"N"});
    router_says_at(SOON, "KB", {});
    router_says_at(SOON, "NQ", {});
    router_says_at(SOON, "NQ", {"IS", "1", "A", "0", "x", "0"});
    router_says_at(SOON, "NQ", {"ID", "1", "A", "0", "x", "0"});
    router_says_at(SOON, "NQ", {"l", "0"});
    router_says_at(SOON, "DQ", {"L", "0"});
    at_us(SOON, [this] {
        router_says_bytes("\x06\x15"
                          "0012\x04");
    });
    run_discovery();
    EXPECT_TRUE(accepted_route_changes.empty());
    EXPECT_TRUE(router_rx_queue.empty());
    EXPECT_EQ(discovered_outputs, 4U);
    EXPECT_FALSE(logged("<DBG>Router message(raw): ''"));
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=0 s=0 l=0)"));
}

TEST_F(DiscoveryCollection, AcceptsAMessageThatComesAtTheDeadline)
{
    router_says_at(DEADLINE, "KB", {"N", "M"});
    run_discovery();
    EXPECT_EQ(device_model, "M");
    EXPECT_EQ(fake_now_us, DEADLINE);
}

TEST_F(DiscoveryCollection, TimesOutAlsoWhenTheLastAnswerComesAtTheDeadline)
{
    router_says_at(SOON, "NQ", {"L", "0"});
    router_says_at(SOON, "NQ", {"S", "0"});
    router_says_at(DEADLINE, "NQ", {"D", "0"});
    run_discovery();
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=1 s=1 l=1)"));
    EXPECT_FALSE(logged("<DBG>Router finished returning levels, sources, destinations"));
}

TEST_F(DiscoveryCollection, EndsAfter65536MessagesPastTheDeadline)
{
    at_us(DEADLINE - 1, [] { router_rx_queue.assign(1, received("IQ")); });
    at_us(DEADLINE, [] { router_rx_queue.assign(65'536 + 3, received("IQ")); });
    run_discovery();
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=0 s=0 l=0)"));
    EXPECT_EQ(fake_now_us, DEADLINE);
    EXPECT_EQ(router_rx_queue.size(), 3U);
}

TEST_F(DiscoveryCollection, KnowsAllAnswersThatWaitedWhileTheProcessWasHeldUp)
{
    at_us(SOON, [this] {
        fake_now_us += 60'000'000;
        router_says("NQ", {"L", "0"});
        router_says("NQ", {"S", "1", "CAM", "0", "x", "0"});
        router_says("KB", {"N", std::string(4090, 'M')}); // for a second read
        router_says("NQ", {"D", "1", "MON", "0", "x", "0"});
    });
    run_discovery();
    EXPECT_EQ(router_inputs_info.size(), 1U);
    EXPECT_EQ(router_outputs_info.size(), 1U);
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=1 s=1 l=1)"));
    EXPECT_GE(router_fd, 0);
}

TEST_F(DiscoveryCollection, IsAbandonedWhenTheProcessIsToQuit)
{
    at_us(FAKE_START_US + 1'000'000, [] {
        quit_requested = true;
        router_rx_queue.push_back(received("KB", {"N", "M"}));
    });
    run_discovery();
    EXPECT_EQ(fake_now_us, FAKE_START_US + 1'000'000);
    EXPECT_EQ(router_fd, -1);
    EXPECT_EQ(device_model, "");
    EXPECT_EQ(router_hears(), all_requests({}));
    EXPECT_EQ(parent_hears(), "");
    EXPECT_EQ(next_status_request, 0U);
}

TEST_F(DiscoveryCollection, WaitsForEitherSideWhenIdle)
{
    const int link = router_fd;
    run_discovery();
    EXPECT_EQ(recorded_waits.size(), 600U);
    for (const recorded_wait& wait : recorded_waits) {
        EXPECT_FALSE(wait.is_pause);
        EXPECT_EQ(wait.duration, 10'000U);
        EXPECT_EQ(wait.readable, (std::set<int>{0, link}));
        EXPECT_TRUE(wait.writable.empty());
    }
}

TEST_F(DiscoveryCollection, DoesNotWaitWhileMessagesAreQueued)
{
    router_knows_names();
    run_discovery();
    EXPECT_EQ(recorded_waits.size(), 1U);
}

TEST_F(DiscoveryCollection, DoesNotSpinWhenTheParentHasGone)
{
    const int link = router_fd;
    parent_closes();
    run_discovery();
    EXPECT_EQ(recorded_waits.size(), 600U);
    EXPECT_EQ(recorded_waits.back().readable, (std::set<int>{link}));
    EXPECT_EQ(fake_now_us, DEADLINE);
}

TEST_F(DiscoveryCollection, GoesOnToTheDeadlineWhenTheConnectionIsLost)
{
    at_us(FAKE_START_US + 1'000'000, [this] { router_closes(); });
    run_discovery();
    EXPECT_EQ(recorded_waits.back().readable, (std::set<int>{0}));
    EXPECT_EQ(fake_now_us, DEADLINE);
    EXPECT_TRUE(logged("<ERR>Timeout during query (d=0 s=0 l=0)\n<ERR>Unable to send message"));
    EXPECT_EQ(next_status_request, 0U);
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(DiscoveryCollection, ServesTheParentWithoutDelay)
{
    static us_time_t handled_at;
    handled_at = 0;
    set_parent_record_handler([](ParentRecord&) { handled_at = fake_now_us; });
    at_us(FAKE_START_US + 1'000'003,
          [this] { parent_says("*TYPE=command\n*COMMAND=report\nwhat=inputs"); });
    run_discovery();
    EXPECT_EQ(handled_at, FAKE_START_US + 1'000'003);
}

TEST_F(DiscoveryCollection, ServesTheRouterBeforeTheParent)
{
    static std::size_t queued;
    queued = 0;
    set_parent_record_handler([](ParentRecord&) { queued = router_rx_queue.size(); });
    at_us(SOON, [this] {
        parent_says_at_dispatch(1, "*TYPE=command\n*COMMAND=jump");
        router_says("KB", {"N", "M"});
    });
    run_discovery();
    EXPECT_EQ(queued, 1U);
}
