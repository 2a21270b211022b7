// What hurrying a backend stands on, and docs/records.md tells every parent.
#include "frame/main_loop.h"
#include "router_model/state.h"
#include "support/backend_test.h"

using Hurry = BackendTest;

TEST_F(Hurry, EmptyLinesBetweenRecordsEndTheWaitAndSayNothing)
{
    connect_router();
    install_commands();
    run_passes(2);
    discovered_inputs = discovered_outputs = number_of_outputs = 4;
    router_says("IQ", {"1", "0", "N", "N", "3"});
    parent_hears();
    const us_time_t told = fake_now_us;
    on_fake_wait = [this] {
        parent_says_bytes("\n");
    };
    run_passes(3);
    on_fake_wait = nullptr;
    EXPECT_EQ(fake_now_us, told);
    EXPECT_EQ(parent_hears(), "*COMMAND=outputs\n*TYPE=message\no1.input.all=3\n\n");

    parent_says("*COMMAND=hello\n*TYPE=message");
    handle_parent_input();
    EXPECT_EQ(parent_hears(), "*COMMAND=hello\n*ERROR=Message hello ignored\n*TYPE=reply\n\n");
}
