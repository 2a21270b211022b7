#include <gtest/gtest.h>

#include "server/desk/start.h"

using namespace desk;

TEST(Desk, FindsRouters)
{
    desk_state desk = make_desk(1);
    desk.house.routers["main"].settings.name = "Main";
    desk.live["main"].inputs = 4;
    const desk_state& same = desk;
    EXPECT_EQ(find_router(same, "main")->settings.name, "Main");
    EXPECT_EQ(find_live(same, "main")->inputs, 4);
    EXPECT_EQ(find_router(same, "none"), nullptr);
    EXPECT_EQ(find_live(same, "none"), nullptr);
}

TEST(Desk, KnowsWhatIsFresh)
{
    live_router router;
    router.link = link_state::ready;
    router.connection = 2;
    router.facts = {{7, {}, 2}, {8, {}, 1}, {}};
    EXPECT_TRUE(is_fresh(router, 0));
    EXPECT_FALSE(is_fresh(router, 1));
    EXPECT_FALSE(is_fresh(router, 2));
    EXPECT_FALSE(is_fresh(router, 3));
    EXPECT_FALSE(is_fresh(router, -1));
    for (const auto link : {link_state::off, link_state::connecting, link_state::reading,
                            link_state::down, link_state::failing}) {
        router.link = link;
        EXPECT_FALSE(is_fresh(router, 0));
    }
}

TEST(Desk, KnowsWhatWasShownLast)
{
    live_router router;
    router.facts = {{7, {}, 1}, {}};
    EXPECT_EQ(source_shown(router, 0), 7);
    EXPECT_EQ(source_shown(router, 1), UNKNOWN_SOURCE);
    EXPECT_EQ(source_shown(router, 2), UNKNOWN_SOURCE);
    EXPECT_EQ(source_shown(router, -1), UNKNOWN_SOURCE);
}
