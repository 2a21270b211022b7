// The backend whole, its link held by the simulated router: what each makes of the other.

#include <gmock/gmock.h>
#include <unistd.h>

#include "common/loop_flags.h"
#include "router_link/connection.h"
#include "router_link/status_request.h"
#include "router_model/state.h"
#include "router_simulator/program/commands.h"
#include "router_simulator/program/server.h"
#include "support/backend_test.h"

using namespace router_simulator;
using testing::HasSubstr;
using testing::Not;

namespace {
class BackendOnSimulator : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        install_commands();
    }

    void TearDown() override
    {
        on_fake_wait = nullptr;
        stop_server(simulated);
        BackendTest::TearDown();
    }

    // Connects the backend to a router of this kind, and lets it discover.
    void discover(const router_options& options)
    {
        server.router = make_router(options);
        connect_router();
        add_client(simulated, router_end, "backend");
        router_end = -1; // the server's now
        on_fake_wait = [this] {
            serve(simulated, 0);
        };
        discovery_needed = true;
        run_passes(3);
    }

    void pass_us(us_time_t interval)
    {
        run_until(fake_now_us + interval);
    }

    void take(int output, int input)
    {
        parent_says("*COMMAND=route output\n*TYPE=command\nqueue=add\nto output=" +
                    std::to_string(output) + "\nfrom input=" + std::to_string(input));
        parent_says("*COMMAND=route output\n*TYPE=command\nqueue=flush");
    }

    std::string traced() const
    {
        std::string text;
        for (const std::string& line : printed)
            text += line + "\n";
        return text;
    }

    std::vector<std::string> printed;
    simulator simulated{
        .server = {.router = {},
                   .print = [this](const std::string& line) { printed.push_back(line); },
                   .trace = true}};
    simulator_server& server = simulated.server;
};
} // namespace

TEST_F(BackendOnSimulator, DiscoversIdentityNamesAndLevels)
{
    discover({.sources = 40,
              .destinations = 20,
              .levels = 3,
              .source_base = 1,
              .destination_base = 16,
              .model = "Box",
              .title = "Title 1.2",
              .revision = "r5"});
    EXPECT_EQ(device_model, "Box");
    EXPECT_EQ(firmware_version, "Title 1.2 [r5]");
    EXPECT_EQ(number_of_inputs, 40U);
    EXPECT_EQ(number_of_outputs, 20U);
    EXPECT_EQ(input_index_base, 1U);
    EXPECT_EQ(output_index_base, 16U);
    EXPECT_EQ(router_inputs_info.at(39).name, "CAM 16");
    EXPECT_EQ(router_outputs_info.at(8).name, "REC 1");
    EXPECT_EQ(router_levels, (std::vector<std::string>{"VIDEO", "AUDIO 1", "AUDIO 2"}));
    EXPECT_THAT(diagnostics(), Not(HasSubstr("<ERR>")));
}

TEST_F(BackendOnSimulator, DiscoversTheLargestRouterInEitherSequenceStyle)
{
    for (const sequence_style style : {sequence_style::ones, sequence_style::counting}) {
        discover({.sources = 1024,
                  .destinations = 1024,
                  .levels = 32,
                  .source_base = 0,
                  .destination_base = 0,
                  .sequence = style});
        EXPECT_EQ(discovered_inputs, 1024U);
        EXPECT_EQ(discovered_outputs, 1024U);
        EXPECT_EQ(router_levels.size(), 32U);
        EXPECT_EQ(router_inputs_info.back().name, "TEST 64");
        close(router_fd);
        drop_clients(server);
    }
    EXPECT_THAT(diagnostics(), Not(HasSubstr("<ERR>")));
}

TEST_F(BackendOnSimulator, ReportsARouteThatTheRouterConfirms)
{
    discover({.source_base = 1, .destination_base = 1});
    pass_us(1'000'000);
    parent_hears();
    take(2, 5);
    pass_us(1'000'000);
    EXPECT_EQ(server.router.routes.at(2), 5U);
    EXPECT_THAT(parent_hears(), HasSubstr("*COMMAND=outputs\n*TYPE=message\no2.input.all=5\n\n"));
    EXPECT_THAT(traced(), HasSubstr("client 1 > TI \"3\" \"6\"\n"));
}

TEST_F(BackendOnSimulator, ReportsATakeOfAnotherOperatorByPolling)
{
    discover({.source_base = 1, .destination_base = 1});
    pass_us(1'000'000);
    parent_hears();
    run_commands(simulated, "take 7 \"VTR 2\"");
    pass_us(1'000'000);
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\no6.input.all=9\n\n");
}

TEST_F(BackendOnSimulator, ReportsAnAnnouncedTake)
{
    discover({.source_base = 0, .destination_base = 0, .announce = true});
    pass_us(1'000'000);
    // Only behind a status cycle: what waits when the next begins is thrown away.
    for (const us_time_t due = next_status_request; next_status_request == due;)
        run_passes(1);
    parent_hears();
    run_commands(simulated, "take 7 3");
    run_passes(2);
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\no7.input.all=3\n\n");
}

TEST_F(BackendOnSimulator, ReportsNamesThatChange)
{
    discover({.source_base = 0, .destination_base = 0});
    pass_us(1'000'000);
    parent_hears();
    run_commands(simulated, "rename source 3 STUDIO");
    run_commands(simulated, "rename destination 4 WALL");
    pass_us(1'000'000);
    const std::string heard = parent_hears();
    EXPECT_THAT(heard, HasSubstr("\ni3.name=STUDIO\n"));
    EXPECT_THAT(heard, HasSubstr("\no4.name=WALL\n"));
    pass_us(1'000'000);
    EXPECT_EQ(parent_hears(), "");
}

TEST_F(BackendOnSimulator, StaysConnectedThroughTenIdleMinutes)
{
    discover({.source_base = 0, .destination_base = 0});
    diagnostics();
    pass_us(10 * 60 * 1'000'000ULL);
    EXPECT_GE(router_fd, 0);
    EXPECT_THAT(diagnostics(), Not(HasSubstr("<WARN>")));
}

TEST_F(BackendOnSimulator, LosesTheLinkWhenTheRouterDropsIt)
{
    discover({.source_base = 0, .destination_base = 0});
    run_commands(simulated, "drop");
    run_passes(1);
    EXPECT_EQ(router_fd, -1);
    EXPECT_THAT(diagnostics(), HasSubstr("<NOTE>Connection suddenly dropped\n"));
}
