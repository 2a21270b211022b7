#include <gtest/gtest.h>

#include "server/desk/locks.h"

using namespace desk;

TEST(LockAgainst, KeepsOthersOrEverybodyFromRouting)
{
    house_router router;
    router.locks[0] = {lock_mode::lock, "anna", "", {}, {}};
    router.locks[1] = {lock_mode::protect, "anna", "", {}, {}};
    EXPECT_EQ(lock_against(router, 0, "anna"), reason::locked);
    EXPECT_EQ(lock_against(router, 0, "ben"), reason::locked);
    EXPECT_EQ(lock_against(router, 1, "anna"), reason::none);
    EXPECT_EQ(lock_against(router, 1, "ben"), reason::protected_by_other);
    EXPECT_EQ(lock_against(router, 2, "ben"), reason::none);
}
