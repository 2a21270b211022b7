// The router's address, as the configuration gives it and the parent changes it.
#include <gmock/gmock.h>

#include "support/process_test.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {
class RouterAddress : public ProcessTest {
  protected:
    // The router's identity reaches the parent: it has been discovered.
    void expect_discovery()
    {
        EXPECT_THAT(hear_line("model=TX4"),
                    AllOf(HasSubstr("\nfirmware version=Suite 2 [r7]\n"), HasSubstr("\ninputs=4\n"),
                          HasSubstr("\noutputs=2\n")));
    }
};
} // namespace

TEST_F(RouterAddress, WrongAddressIsRefusedUntilItIsSetRight)
{
    router.answers = healthy_answers();
    listen_for_client(router);
    start("ip address = router.local\nport = " + std::to_string(router.port) + "\n");
    ASSERT_TRUE(logs("<ERR>Cannot connect, cannot parse IP address"));
    say("*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=127.0.0.1");
    expect_discovery();
}

TEST_F(RouterAddress, NoAddressMeansNoAttemptUntilOneIsSet)
{
    router.answers = healthy_answers();
    listen_for_client(router);
    start("port = " + std::to_string(router.port) + "\n");
    ASSERT_NE(hear("info"), "");
    EXPECT_THAT(backend.diagnostics, ElementsAre());
    say("*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=127.0.0.1");
    ASSERT_TRUE(logs("<NOTE>Trying to connect to router..."));
    expect_discovery();
}

TEST_F(RouterAddress, NewAddressLeavesTheOldRouter)
{
    start_connected();
    say("*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=");
    EXPECT_TRUE(logs("<NOTE>Connection to router closed"));
    EXPECT_TRUE(until([this] { return router.endings == 1; }));
}
