#include "router_model/discovery.h"
#include "router_model/state.h"
#include "support/backend_test.h"

namespace {
class Levels : public BackendTest {};

using Texts = std::vector<std::string>;
} // namespace

TEST_F(Levels, AreStoredByTheirNumber)
{
    update_levels_info({received("NQ", {"L", "2", "Video", "0", "x", "Audio", "3", "x"})});
    EXPECT_EQ(router_levels, (Texts{"Video", "", "", "Audio"}));
    EXPECT_EQ(level_mask, 0x9U);
}

TEST_F(Levels, EndAt31)
{
    update_levels_info({received("NQ", {"L", "3", "A", "0", "x", "B", "1", "x", "C", "28", "x"})});
    EXPECT_EQ(router_levels, (Texts{"A", "B"}));
    EXPECT_EQ(level_mask, 3U);

    update_levels_info({received(
        "NQ", {"L", "3", "A", "1F", "x", "B", "20", "x", "C", "FFFFFFFFFFFFFFFFFFFF", "x"})});
    EXPECT_EQ(router_levels.size(), 32U);
    EXPECT_EQ(router_levels[31], "A");
    EXPECT_EQ(level_mask, 0x80000000U);
}

TEST_F(Levels, ReplaceThoseBefore)
{
    update_levels_info({received("NQ", {"L", "1", "Old", "4", "x"})});
    update_levels_info({});
    EXPECT_EQ(router_levels, Texts{});
    EXPECT_EQ(level_mask, 0U);
}

TEST_F(Levels, OfAllAnswersAreApplied)
{
    update_levels_info({received("NQ", {"L", "1", "A", "0", "x"}, '1'),
                        received("NQ", {"L", "1", "B", "1", "x"}),
                        received("NQ", {"L", "1", "C", "0", "x"})});
    EXPECT_EQ(router_levels, (Texts{"C", "B"}));
    EXPECT_EQ(level_mask, 3U);
}

TEST_F(Levels, StopAtAnAnswerOfAnotherKind)
{
    update_levels_info({received("NQ", {"L", "1", "A", "0", "x"}),
                        received("NQ", {"S", "1", "B", "1", "x"}),
                        received("NQ", {"L", "1", "C", "2", "x"})});
    EXPECT_EQ(router_levels, (Texts{"A"}));
    EXPECT_EQ(level_mask, 1U);
}

TEST_F(Levels, StopAtAnotherKindWithoutEntries)
{
    update_levels_info({received("NQ", {"L", "1", "A", "0", "x"}), received("NQ", {"S", "0"}),
                        received("NQ", {"L", "1", "C", "2", "x"})});
    EXPECT_EQ(router_levels, (Texts{"A"}));
}

TEST_F(Levels, SkipMessagesThatDoNotCount)
{
    router_message failed = received("NQ", {"L", "1", "A", "0", "x"});
    failed.ok = false;
    router_message foreign_failed = received("NQ", {"S", "1"});
    foreign_failed.ok = false;
    update_levels_info({failed, foreign_failed, received("KB", {"L", "1", "B", "1", "x"}),
                        received("NQ", {"S"}), received("NQ"),
                        received("NQ", {"L", "1", "C", "2", "x"})});
    EXPECT_EQ(router_levels, (Texts{"", "", "C"}));
    EXPECT_EQ(level_mask, 4U);
}

TEST_F(Levels, UseTheCountAsAnUpperBoundOnly)
{
    update_levels_info({received("NQ", {"L", "5", "A", "0", "x", "B", "1"}),
                        received("NQ", {"L", "1", "C", "2", "x", "D", "3", "x"})});
    EXPECT_EQ(router_levels, (Texts{"A", "", "C"}));
    EXPECT_EQ(level_mask, 5U);
}

TEST_F(Levels, ReadCountAndNumberAsHexadecimal)
{
    Texts parameters = {"L", "B"};
    for (int i = 0; i < 12; ++i)
        parameters.insert(parameters.end(),
                          {"n", i == 0 ? "1e" : "0x0" + std::to_string(i % 10), "x"});
    update_levels_info({received("NQ", parameters)});
    EXPECT_EQ(router_levels.size(), 31U);
    EXPECT_EQ(level_mask, 0x400003FFU);
    update_levels_info({received("NQ", {"L", "0", "A", "1", "x"})});
    EXPECT_EQ(level_mask, 0U);
}

TEST_F(Levels, AcceptAnyCountHoweverLarge)
{
    update_levels_info({received("NQ", {"L", "FFFFFFFFFFFFFFFFFF", "A", "0", "x"})});
    EXPECT_EQ(level_mask, 1U);
}
