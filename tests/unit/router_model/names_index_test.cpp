#include <map>
#include <numeric>
#include <rapidcheck.h>

#include "unit/router_model/name_table.h"

namespace {
class NameIndexes : public NameTable {
  protected:
    static std::string hex(unsigned long value)
    {
        char text[17];
        std::snprintf(text, sizeof text, "%lX", value);
        return text;
    }

    // The rule, told another way: the first index in range is the base, and each later one from it
    // up to 1023 above writes its own position.
    static Names expected_names(const std::vector<unsigned long>& indexes)
    {
        std::map<unsigned long, std::string> named;
        long base = -1;
        for (const unsigned long index : indexes) {
            if (index > 1023) continue;
            if (base < 0) base = static_cast<long>(index);
            if (static_cast<long>(index) < base) continue;
            named[index - static_cast<unsigned long>(base)] = "n" + hex(index);
        }
        Names table;
        if (!named.empty()) table.resize(named.rbegin()->first + 1);
        for (const auto& [position, name] : named)
            table[position] = name;
        return table;
    }

    static unsigned long expected_base(const std::vector<unsigned long>& indexes)
    {
        for (const unsigned long index : indexes)
            if (index <= 1023) return index;
        return 0;
    }

    // The indexes as entries, cut into answers of this many.
    std::vector<router_message> answers_of(const std::vector<unsigned long>& indexes,
                                           std::size_t entries_per_answer) const
    {
        std::vector<router_message> messages;
        for (std::size_t i = 0; i < indexes.size(); i += entries_per_answer) {
            std::vector<std::string> texts;
            for (std::size_t k = i; k < std::min(i + entries_per_answer, indexes.size()); ++k)
                texts.push_back(hex(indexes[k]));
            messages.push_back(answer_with(texts));
        }
        return messages;
    }
};
} // namespace

INSTANTIATE_TEST_SUITE_P(Names, NameIndexes, testing::Values(SOURCES, DESTINATIONS),
                         name_table_title);

TEST_P(NameIndexes, SetTheBaseByTheFirstNotTheSmallest)
{
    update({answer_with({"4", "2", "5"})});
    EXPECT_EQ(names(), (Names{"n4", "n5"}));
    EXPECT_EQ(base(), 4U);
    EXPECT_EQ(diagnostics(), range_line("4", "5"));
}

TEST_P(NameIndexes, LeaveGapsUnnamed)
{
    update({answer_with({"0", "7"})});
    EXPECT_EQ(names(), (Names{"n0", "", "", "", "", "", "", "n7"}));
    EXPECT_EQ(attributes(), std::vector<std::uint32_t>(8));
}

TEST_P(NameIndexes, OverwriteWhatTheSameIndexStoredBefore)
{
    update({answer("3", {"A", "3", "x", "1", "B", "3", "x", "2", "C", "3", "x", "0"})});
    EXPECT_EQ(names(), (Names{"C"}));
    EXPECT_EQ(attributes(), (std::vector<std::uint32_t>{0}));
    EXPECT_EQ(discovered_count(), 1U);
}

TEST_P(NameIndexes, EndAt1023)
{
    update({answer_with({"3FF", "400", "401"})});
    EXPECT_EQ(names(), (Names{"n3FF"}));
    EXPECT_EQ(base(), 1023U);
    EXPECT_EQ(diagnostics(), range_line("1023", "1023"));
}

TEST_P(NameIndexes, FillAWholeTableOf1024)
{
    update({answer_with({"0", "3FF", "400"})});
    EXPECT_EQ(discovered_count(), 1024U);
    EXPECT_EQ(names().back(), "n3FF");
    EXPECT_EQ(diagnostics(), range_line("0", "1023"));
}

TEST_P(NameIndexes, AreReadOnAfterOneOutOfRange)
{
    update({answer_with(
        {"400", "FFFFFFFF", "FFFFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFFFF", "6", "1", "8"})});
    EXPECT_EQ(names(), (Names{"n6", "", "n8"}));
    EXPECT_EQ(base(), 6U);
}

TEST_P(NameIndexes, LeaveTheTableEmptyWhenAllAreOutOfRange)
{
    update({answer_with({"400", "FFFF"})});
    EXPECT_EQ(names(), Names{});
    EXPECT_EQ(base(), 0U);
    EXPECT_EQ(diagnostics(), "");
}

TEST_P(NameIndexes, AcceptWhateverFormOfHexadecimalNumberIsRead)
{
    update(
        {answer("6", {"A", "0", "x",  "0", "B", " 1", "x",  "0", "C", "0x2", "x",
                      "0", "D", "+3", "x", "0", "E",  "4z", "x", "0", "F",   "00000000000000000005",
                      "x", "0"})});
    EXPECT_EQ(names(), (Names{"A", "B", "C", "D", "E", "F"}));
}

TEST_P(NameIndexes, ReadAsZeroWhereThereIsNoNumber)
{
    update({answer("2", {"A", "", "x", "0", "B", "zz", "x", "0"})});
    EXPECT_EQ(names(), (Names{"B"}));
    EXPECT_EQ(base(), 0U);
}

TEST_P(NameIndexes, ReadNegativeNumbersAsOutOfRange)
{
    update({answer_with({"-1", "5", "-5"})});
    EXPECT_EQ(names(), (Names{"n5"}));
}

TEST_P(NameIndexes, FollowTheRuleInEveryOrder)
{
    std::vector<unsigned long> indexes = {0, 1, 2, 5, 1023, 1024};
    do {
        update(answers_of(indexes, 4));
        ASSERT_EQ(names(), expected_names(indexes));
        ASSERT_EQ(base(), expected_base(indexes));
        ASSERT_EQ(discovered_count(), names().size());
    } while (std::next_permutation(indexes.begin(), indexes.end()));
}

TEST_P(NameIndexes, FollowTheRuleWhateverTheRouterLists)
{
    EXPECT_TRUE(rc::check([this] {
        const auto indexes = *rc::gen::container<std::vector<unsigned long>>(
            rc::gen::weightedOneOf<unsigned long>({{8, rc::gen::inRange(0UL, 12UL)},
                                                   {2, rc::gen::inRange(1020UL, 1030UL)},
                                                   {1, rc::gen::arbitrary<unsigned long>()}}));
        const auto entries_per_answer = *rc::gen::inRange<std::size_t>(1, 5);
        update(answers_of(indexes, entries_per_answer));
        RC_ASSERT(names() == expected_names(indexes));
        RC_ASSERT(base() == expected_base(indexes));
        RC_ASSERT(discovered_count() == names().size());
    }));
}
