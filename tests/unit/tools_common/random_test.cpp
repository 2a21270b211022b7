#include <cstdint>
#include <gmock/gmock.h>
#include <set>

#include "tools/common/random.h"

using common::draw;
using common::draw_chance;
using common::draw_fraction;
using testing::ElementsAre;

TEST(Draw, MakesEveryNumberOfTheRangeAndNoOther)
{
    std::mt19937_64 random(1);
    std::set<int> drawn;
    for (int i = 0; i < 1000; ++i)
        drawn.insert(draw(random, -2, 2));
    EXPECT_THAT(drawn, ElementsAre(-2, -1, 0, 1, 2));
    EXPECT_EQ(draw(random, 5, 5), 5);
}

TEST(Draw, CoversTheWholeOfItsType)
{
    std::mt19937_64 random(1);
    std::mt19937_64 same(1);
    EXPECT_EQ(draw<std::uint64_t>(random, 0, UINT64_MAX), same());
    EXPECT_EQ(draw(random, INT64_MIN, INT64_MAX),
              static_cast<std::int64_t>(same() + 0x8000'0000'0000'0000));
}

TEST(Draw, DependsOnTheSeedAlone)
{
    std::mt19937_64 random(5489);
    EXPECT_EQ(draw(random, 1, 1000), 14514284786278117030ULL % 1000 + 1);
}

TEST(DrawFraction, LiesBelowOne)
{
    std::mt19937_64 random(1);
    double least = 1;
    double most = 0;
    for (int i = 0; i < 1000; ++i) {
        const double fraction = draw_fraction(random);
        least = std::min(least, fraction);
        most = std::max(most, fraction);
    }
    EXPECT_TRUE(least >= 0 && least < 0.01) << least;
    EXPECT_TRUE(most < 1 && most > 0.99) << most;
}

TEST(DrawChance, IsNeverAtZeroAndAlwaysAtOne)
{
    std::mt19937_64 random(1);
    int hits = 0;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_FALSE(draw_chance(random, 0));
        EXPECT_TRUE(draw_chance(random, 1));
        hits += draw_chance(random, 0.25) ? 1 : 0;
    }
    EXPECT_NEAR(hits, 250, 60);
}
