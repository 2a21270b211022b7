#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "server/desk/ids.h"

using namespace desk;

namespace {
id_maker seeded(std::uint64_t seed)
{
    return {std::mt19937_64(seed), {}};
}

std::uint64_t milliseconds_of(const ulid& id)
{
    return id.high >> 16;
}
} // namespace

TEST(Ids, BeginWithTheTime)
{
    id_maker maker = seeded(1);
    EXPECT_EQ(milliseconds_of(make_id(maker, wall(1'700'000'000'123))), 1'700'000'000'123);
}

TEST(Ids, HaveEightyBitsOfChance)
{
    id_maker maker = seeded(1);
    ulid any, all{UINT64_MAX, UINT64_MAX};
    for (int i = 1; i <= 100; ++i) {
        const ulid id = make_id(maker, wall(i));
        EXPECT_EQ(milliseconds_of(id), i);
        any = {any.high | id.high, any.low | id.low};
        all = {all.high & id.high, all.low & id.low};
    }
    EXPECT_EQ(any, (ulid{127U << 16U | 0xffffU, UINT64_MAX}));
    EXPECT_EQ(all, (ulid{0, 0}));
}

TEST(Ids, OfOneMillisecondFollowEachOther)
{
    id_maker maker = seeded(1);
    const ulid first = make_id(maker, wall(5));
    EXPECT_EQ(make_id(maker, wall(5)), (ulid{first.high, first.low + 1}));
}

TEST(Ids, GrowAcrossTheirLowerHalf)
{
    id_maker maker = seeded(1);
    maker.last = {5 << 16, UINT64_MAX};
    EXPECT_EQ(make_id(maker, wall(5)), (ulid{(5 << 16) + 1, 0}));
}

TEST(Ids, GrowAlthoughTheClockGoesBack)
{
    id_maker maker = seeded(1);
    const ulid first = make_id(maker, wall(5000));
    EXPECT_GT(make_id(maker, wall(4000)), first);
}

TEST(Ids, DifferBySeed)
{
    id_maker one = seeded(1);
    id_maker other = seeded(2);
    const ulid first = make_id(one, wall(5));
    const ulid second = make_id(other, wall(5));
    EXPECT_NE(first.high, second.high);
    EXPECT_NE(first.low, second.low);
}

TEST(Ids, HaveTexts)
{
    EXPECT_EQ(text_of(ulid{}), "00000000000000000000000000");
    EXPECT_EQ(text_of({UINT64_MAX, UINT64_MAX}), "7ZZZZZZZZZZZZZZZZZZZZZZZZZ");
    EXPECT_EQ(text_of({1, 0}), "0000000000000G000000000000");
    EXPECT_EQ(text_of({0, 31}), "0000000000000000000000000Z");
}

RC_GTEST_PROP(Ids, AreReadFromTheirTexts, (std::uint64_t high, std::uint64_t low))
{
    const ulid id{high, low};
    std::string text = text_of(id);
    ulid read;
    RC_ASSERT(read_id(text, read));
    RC_ASSERT(read == id);
    for (char& letter : text)
        letter = static_cast<char>(std::tolower(letter));
    RC_ASSERT(read_id(text, read));
    RC_ASSERT(read == id);
}

TEST(Ids, AreNotReadFromOtherTexts)
{
    const ulid before{3, 4};
    for (const char* text : {"", "0000000000000000000000000", "000000000000000000000000000",
                             "80000000000000000000000000", "0000000000000000000000000U",
                             "0000000000000000000000000-", "0000000000000000000000000l",
                             "00000000000000000000000 00", "0000000000000000000000000{"}) {
        ulid read = before;
        EXPECT_FALSE(read_id(text, read)) << text;
        EXPECT_EQ(read, before);
    }
}

TEST(Ids, OfNothingAreNone)
{
    EXPECT_TRUE(ulid{}.is_none());
    EXPECT_FALSE((ulid{1, 0}.is_none()));
    EXPECT_FALSE((ulid{0, 1}.is_none()));
}
