#include <gtest/gtest.h>

#include "server/desk/actor.h"

using namespace desk;

TEST(Actor, HasARightOnEachRouter)
{
    const rights may{right::view, {{"main", right::engineer}, {"back", right::none}}, {}};
    EXPECT_EQ(right_on(may, "main"), right::engineer);
    EXPECT_EQ(right_on(may, "back"), right::none);
    EXPECT_EQ(right_on(may, "other"), right::view);
}

TEST(Actor, OperatesWithTheRightAndInTheGroups)
{
    struct {
        right usual;
        bool limited; // to the group "studio"
        const char* group;
        bool may;
    } const cases[] = {
        {right::none, false, "", false},           {right::view, false, "studio", false},
        {right::operate, false, "", true},         {right::operate, true, "studio", true},
        {right::operate, true, "on air", false},   {right::operate, true, "", false},
        {right::view, true, "studio", false},      {right::engineer, true, "on air", true},
        {right::administer, true, "on air", true},
    };
    for (const auto& c : cases) {
        rights may{c.usual, {}, {}};
        if (c.limited) may.groups = {{"studio"}};
        EXPECT_EQ(may_operate(may, "main", c.group), c.may)
            << text_of(c.usual) << c.limited << c.group;
    }
}

TEST(Actor, OperatesByTheRouterException)
{
    const rights may{right::operate, {{"back", right::view}}, {}};
    EXPECT_TRUE(may_operate(may, "main", ""));
    EXPECT_FALSE(may_operate(may, "back", ""));
}

TEST(Actor, HasWordsForRights)
{
    EXPECT_STREQ(text_of(right::none), "none");
    EXPECT_STREQ(text_of(right::view), "view");
    EXPECT_STREQ(text_of(right::operate), "operate");
    EXPECT_STREQ(text_of(right::engineer), "engineer");
    EXPECT_STREQ(text_of(right::administer), "administer");
}
