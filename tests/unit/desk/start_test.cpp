#include <gmock/gmock.h>

#include "server/desk/start.h"

using namespace desk;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {
constexpr moment NOW{monotonic(1'000'000), wall(10'000)};

void add(house& house, const ulid& id, int destination, outcome end, wall made = wall(9000),
         reason why = reason::none)
{
    batch& batch = house.batches[id];
    batch.made = made;
    wish& wish = batch.rows.emplace_back();
    wish.wished = {"main", destination, 1};
    wish.end = end;
    wish.why = why;
}
} // namespace

TEST(Start, BeginsWithNothing)
{
    const desk_state desk = make_desk(7);
    EXPECT_EQ(desk.house, house{});
    EXPECT_THAT(desk.live, IsEmpty());
    EXPECT_EQ(desk.ids.chance, std::mt19937_64(7));
}

TEST(Start, KeepsTheHouseWithItsLocks)
{
    house kept;
    kept.routers["main"].locks[3] = {lock_mode::lock, "anna", "", {}, wall(99)};
    kept.routers["main"].locks[4] = {lock_mode::lock, "anna", "", {}, {}};
    const desk_state desk = make_desk(1, kept, NOW);
    EXPECT_EQ(desk.house, kept);
    EXPECT_THAT(desk.lock_ends, ElementsAre(Pair(wall(99), Pair("main", 3))));
    EXPECT_EQ(desk.live.at("main").link, link_state::off);
    EXPECT_EQ(desk.live.at("main").link_since, NOW.utc);
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST(Start, GoesOnWithGreaterIdentifiers)
{
    house kept;
    const ulid last{std::uint64_t{10'001} << 16U, 5}; // the clock has gone back
    add(kept, {1, 1}, 0, outcome::confirmed);
    add(kept, last, 0, outcome::confirmed);
    desk_state desk = make_desk(1, kept, NOW);
    EXPECT_EQ(make_id(desk.ids, NOW.utc), (ulid{last.high, 6}));
}

TEST(Start, EndsOpenWishesAsUnknown)
{
    house kept;
    kept.routers["main"];
    add(kept, {1, 1}, 0, outcome::confirmed);
    add(kept, {1, 1}, 1, outcome::open);
    add(kept, {1, 2}, 2, outcome::open, wall(10'001)); // the clock has gone back
    const desk_state desk = make_desk(1, kept, NOW);
    const wish& row = desk.house.batches.at({1, 1}).rows[1];
    EXPECT_EQ(desk.house.batches.at({1, 1}).rows[0].end, outcome::confirmed);
    EXPECT_EQ(row.end, outcome::unknown);
    EXPECT_EQ(row.detail, "the program was restarted");
    EXPECT_EQ(row.ended_after, monotonic(1'000'000));
    EXPECT_EQ(desk.house.batches.at({1, 2}).rows[0].ended_after, monotonic(0));
    ASSERT_EQ(desk.entries.size(), 2);
    EXPECT_EQ(desk.entries[0].at, NOW.utc);
    EXPECT_EQ(std::get<wish_ended>(desk.entries[0].what).id, (wish_id{{1, 1}, 1}));
}

TEST(Start, RemembersTheTroubleOfEachDestination)
{
    house kept;
    kept.routers["main"];
    add(kept, {1, 1}, 0, outcome::timed_out);
    add(kept, {1, 1}, 1, outcome::timed_out);
    add(kept, {1, 1}, 2, outcome::open);
    add(kept, {1, 2}, 0, outcome::confirmed);
    add(kept, {1, 3}, 1, outcome::not_sent, wall(1), reason::locked);
    batch& elsewhere = kept.batches[{1, 4}];
    elsewhere.rows.resize(1);
    elsewhere.rows[0].wished.router = "gone";
    const desk_state desk = make_desk(1, kept, NOW);
    EXPECT_THAT(desk.live.at("main").troubled,
                ElementsAre(Pair(1, Field(&trouble::id, wish_id{{1, 1}, 1})),
                            Pair(2, Field(&trouble::id, wish_id{{1, 1}, 2}))));
}

// Another router has the id of the one that they were for.
TEST(Start, LeavesWishesOfARouterThatHasBeenRemoved)
{
    house kept;
    kept.routers["main"].added_after = {1, 2};
    add(kept, {1, 1}, 0, outcome::timed_out);
    add(kept, {1, 2}, 1, outcome::unknown);
    add(kept, {1, 3}, 2, outcome::unknown);
    const desk_state desk = make_desk(1, kept, NOW);
    EXPECT_THAT(desk.live.at("main").troubled,
                ElementsAre(Pair(2, Field(&trouble::id, wish_id{{1, 3}, 0}))));
    EXPECT_THAT(desk.live.at("main").ended_by_restart, ElementsAre(Pair(2, SizeIs(1))));
}

TEST(Start, WillTellWhatIsFoundOfAWishThatWasAccepted)
{
    house kept;
    kept.routers["main"];
    add(kept, {1, 1}, 0, outcome::unknown);
    kept.batches.at({1, 1}).rows[0].accepted = true;
    const desk_state desk = make_desk(1, kept, NOW);
    EXPECT_THAT(desk.live.at("main").troubled, IsEmpty());
    EXPECT_THAT(desk.live.at("main").ended_by_restart, ElementsAre(Pair(0, SizeIs(1))));
}
