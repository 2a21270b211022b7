#include "router_model/route_queue.h"

#include "support/backend_test.h"

namespace {
class RouteQueue : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        number_of_inputs = 32;
        number_of_outputs = 32;
    }
};

using Requests = std::vector<std::string>;
} // namespace

TEST_F(RouteQueue, SendsTheLastChangePerOutputInOutputOrder)
{
    connect_router();
    pending_route_changes = {
        {.input = 2, .output = 1}, {.input = 3, .output = 0}, {.input = 5, .output = 0}};
    send_route_changes();
    EXPECT_EQ(router_hears(), (Requests{"TI 0 5", "QI 0 0", "TI 1 2", "QI 1 0"}));
    EXPECT_EQ(flush_allow_time, FAKE_START_US + 132'000);
    EXPECT_TRUE(pending_route_changes.empty());
}
