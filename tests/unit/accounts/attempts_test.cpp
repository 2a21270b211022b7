#include <gmock/gmock.h>

#include "server/accounts/attempts.h"

using namespace accounts;
using std::chrono::milliseconds;
using testing::ElementsAre;

namespace {
class Attempts : public testing::Test {
  protected:
    attempts tried;
    desk::monotonic now{1'000'000};

    // The wait of an attempt that then fails; -1: refused.
    int fail(const std::string& account, const std::string& address)
    {
        return attempt(account, address, false);
    }

    int attempt(const std::string& account, const std::string& address, bool succeeds)
    {
        const auto wait = begin_attempt(tried, now, account, address);
        if (!wait) return -1;
        end_attempt(tried, now, account, address, succeeds);
        return static_cast<int>(std::chrono::duration_cast<milliseconds>(*wait).count());
    }

    std::vector<int> fail_often(std::size_t times, const std::string& account,
                                const std::string& address)
    {
        std::vector<int> waits;
        while (waits.size() < times)
            waits.push_back(fail(account, address));
        return waits;
    }
};
} // namespace

TEST_F(Attempts, WaitTheLongerTheMoreHaveFailed)
{
    EXPECT_THAT(fail_often(9, "anna", "10.0.0.5"),
                ElementsAre(0, 0, 0, 500, 1000, 2000, 4000, 5000, 5000));
}

// One address may be that of everybody: of a proxy, of the machine itself.
TEST_F(Attempts, OfAnAccountDoNotHoldUpOthersFromTheirAddress)
{
    fail_often(9, "anna", "10.0.0.5");
    EXPECT_EQ(fail("ben", "10.0.0.5"), 0);
    EXPECT_EQ(fail("anna", "10.0.0.6"), 5000);
}

TEST_F(Attempts, OfAnybodyFromAnAddressWaitWhenVeryManyHaveFailed)
{
    for (std::size_t i = 0; i < FAILURES_OF_ADDRESS; ++i)
        EXPECT_EQ(fail(std::to_string(i), "10.0.0.5"), 0);
    EXPECT_EQ(fail("ben", "10.0.0.5"), 500);
    EXPECT_EQ(fail("anna", "10.0.0.5"), 1000);
    EXPECT_EQ(fail("anna", "10.0.0.6"), 0);
}

TEST_F(Attempts, OfAnIpv6NetworkCountTogether)
{
    for (std::size_t i = 0; i < FAILURES_OF_ADDRESS; ++i)
        fail(std::to_string(i), "2001:db8:0:7::" + std::to_string(i + 1));
    EXPECT_EQ(fail("anna", "2001:db8:0:7:ffff::9"), 500);
    EXPECT_EQ(fail("anna", "2001:db8:0:8::1"), 0);
    EXPECT_TRUE(begin_attempt(tried, now, "ben", "2001:db8:0:9::1"));
    EXPECT_FALSE(begin_attempt(tried, now, "ben", "2001:db8:0:9::2"));
    end_attempt(tried, now, "ben", "2001:db8:0:9::1", true);
    EXPECT_TRUE(begin_attempt(tried, now, "ben", "2001:db8:0:9::2"));
}

TEST_F(Attempts, SucceedingClearsTheAccountAlone)
{
    for (std::size_t i = 1; i < FAILURES_OF_ADDRESS; ++i)
        fail(std::to_string(i % 50), "10.0.0.5");
    fail_often(4, "anna", "10.0.0.6");
    EXPECT_EQ(attempt("anna", "10.0.0.7", true), 1000);
    EXPECT_EQ(fail("anna", "10.0.0.6"), 0);
    EXPECT_EQ(attempt("anna", "10.0.0.5", true), 0);
    EXPECT_EQ(fail("anna", "10.0.0.5"), 0);
    EXPECT_EQ(fail("anna", "10.0.0.5"), 500);
}

TEST_F(Attempts, AreForgottenInTime)
{
    fail_often(4, "anna", "10.0.0.5");
    now += FAILURES_COUNT;
    EXPECT_EQ(fail("anna", "10.0.0.5"), 1000);
    now += FAILURES_COUNT + desk::monotonic(1);
    EXPECT_EQ(fail("anna", "10.0.0.5"), 0);
    EXPECT_EQ(tried.on_account.at("anna").count, 1U);
}

TEST_F(Attempts, OneAtATimeOfAnAccountFromAnAddress)
{
    EXPECT_TRUE(begin_attempt(tried, now, "anna", "10.0.0.5"));
    EXPECT_FALSE(begin_attempt(tried, now, "anna", "10.0.0.5"));
    EXPECT_TRUE(begin_attempt(tried, now, "anna", "10.0.0.6")); // maybe the owner
    end_attempt(tried, now, "anna", "10.0.0.5", false);
    EXPECT_TRUE(begin_attempt(tried, now, "anna", "10.0.0.5"));
}

TEST_F(Attempts, FromAnAddressAreBounded)
{
    for (std::size_t i = 0; i < ATTEMPTS_AT_ONCE_BY_ADDRESS; ++i)
        EXPECT_TRUE(begin_attempt(tried, now, std::to_string(i), "10.0.0.5"));
    EXPECT_FALSE(begin_attempt(tried, now, "anna", "10.0.0.5"));
    EXPECT_TRUE(begin_attempt(tried, now, "anna", "10.0.0.4"));
    EXPECT_TRUE(begin_attempt(tried, now, "anna", "10.0.0.6"));
}

TEST_F(Attempts, OldestFailureIsForgottenBeyondTheBound)
{
    fail_often(4, "anna", "10.0.0.5");
    for (std::size_t i = 0; i < FAILURES_KEPT; ++i) {
        now += desk::monotonic(1);
        fail(std::to_string(i), std::to_string(i));
    }
    EXPECT_EQ(tried.on_account.size(), FAILURES_KEPT);
    EXPECT_EQ(tried.from_address.size(), FAILURES_KEPT);
    EXPECT_EQ(fail("anna", "10.0.0.5"), 0);
}
