#include <gtest/gtest.h>

#include "server/desk/house.h"

using namespace desk;

TEST(House, FindsWishes)
{
    house house;
    house.batches[{1, 2}].rows.resize(2);
    house.batches[{1, 2}].rows[1].was = 7;
    ASSERT_NE(find_wish(house, {{1, 2}, 1}), nullptr);
    EXPECT_EQ(find_wish(house, {{1, 2}, 1})->was, 7);
    EXPECT_EQ(find_wish(house, {{1, 2}, 2}), nullptr);
    EXPECT_EQ(find_wish(house, {{1, 3}, 0}), nullptr);
}

TEST(House, TellsTroubleAndWhatWasAccepted)
{
    struct {
        outcome end;
        reason why;
        bool accepted;
        bool trouble;
        monotonic ended_after{};
    } const cases[] = {
        {outcome::open, reason::none, true, false},
        {outcome::confirmed, reason::none, true, false},
        {outcome::contradicted, reason::none, true, true},
        {outcome::refused, reason::none, true, true},
        {outcome::timed_out, reason::none, true, true},
        {outcome::superseded, reason::none, true, false},
        {outcome::unknown, reason::none, true, true},
        {outcome::not_sent, reason::link_lost, true, true, monotonic(1)},
        {outcome::not_sent, reason::not_sent_in_time, true, true, monotonic(1)},
        {outcome::not_sent, reason::backend_ended, true, true, monotonic(1)},
        {outcome::not_sent, reason::locked, true, true, monotonic(1)}, // while it was held
        {outcome::not_sent, reason::locked, false, false},
        {outcome::not_sent, reason::blocked_by_other_row, false, false},
        {outcome::not_sent, reason::link_not_ready, false, false},
    };
    for (const auto& c : cases) {
        wish wish;
        wish.end = c.end;
        wish.why = c.why;
        wish.ended_after = c.ended_after;
        EXPECT_EQ(was_accepted(wish), c.accepted) << static_cast<int>(c.end);
        EXPECT_EQ(is_trouble(wish), c.trouble) << static_cast<int>(c.end);
        wish.accepted = true;
        EXPECT_FALSE(is_trouble(wish));
        wish.accepted = false;
        wish.confirmed_late_after = monotonic(1);
        EXPECT_FALSE(is_trouble(wish));
    }
}

TEST(House, HasLabels)
{
    house_router router;
    router.source_labels[1] = {"CAM", "cameras"};
    router.destination_labels[1] = {"MON", ""};
    EXPECT_EQ(label_of(router, side::sources, 1), (label{"CAM", "cameras"}));
    EXPECT_EQ(label_of(router, side::destinations, 1), (label{"MON", ""}));
    EXPECT_EQ(label_of(router, side::sources, 2), label{});
}
