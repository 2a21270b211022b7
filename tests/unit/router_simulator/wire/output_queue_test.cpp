#include <gtest/gtest.h>

#include "router_simulator/wire/output_queue.h"

using namespace router_simulator;

TEST(OutputQueue, BytesWaitForTheirTime)
{
    output_queue queue;
    EXPECT_EQ(next_due(queue), NEVER);
    queue_in_order(queue, 100, "a");
    EXPECT_EQ(next_due(queue), 100U);
    make_ready(queue, 99);
    EXPECT_EQ(queue.ready, "");
    make_ready(queue, 100);
    EXPECT_EQ(queue.ready, "a");
    EXPECT_EQ(next_due(queue), NEVER);
}

TEST(OutputQueue, WhatFollowsGoesNoEarlier)
{
    output_queue queue;
    EXPECT_EQ(queue_in_order(queue, 100, "a"), 100U);
    EXPECT_EQ(queue_in_order(queue, 50, "b"), 100U);
    make_ready(queue, 60);
    EXPECT_EQ(queue.ready, "");
    make_ready(queue, 100);
    EXPECT_EQ(queue.ready, "ab");
}

TEST(OutputQueue, LateBytesLetOthersPass)
{
    output_queue queue;
    queue_late(queue, 100, "late");
    queue_in_order(queue, 50, "a");
    make_ready(queue, 50);
    EXPECT_EQ(queue.ready, "a");
    EXPECT_EQ(next_due(queue), 100U);
    make_ready(queue, 100);
    EXPECT_EQ(queue.ready, "alate");
}

TEST(OutputQueue, LateBytesDoNotCutAReplyInPieces)
{
    output_queue queue;
    queue_in_order(queue, 50, "first half, ");
    queue_late(queue, 60, "late");
    queue_in_order(queue, 90, "second half, ");
    make_ready(queue, 60);
    make_ready(queue, 90);
    EXPECT_EQ(queue.ready, "first half, second half, late");
}

TEST(OutputQueue, SizeCountsWhatWaitsAnywhere)
{
    output_queue queue{.ready = "1", .in_order = {}, .late = {}};
    queue_in_order(queue, 5, "22");
    queue_late(queue, 5, "333");
    EXPECT_EQ(queued_size(queue), 6U);
}
