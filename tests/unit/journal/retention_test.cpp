#include "server/journal/history.h"
#include "server/journal/retention.h"
#include "server/journal/saved_house.h"
#include "unit/journal/journal_test.h"

using namespace journal;

namespace {
using std::chrono::days;

struct RetentionTest : testing::Test {
    journal::tables tables;

    int count(const std::string& of)
    {
        return tables.opened.file->execAndGet("SELECT count(*) FROM " + of).getInt();
    }

    // Takes 1 to count, a day apart.
    void keep_takes(std::uint64_t count)
    {
        std::vector<desk::entry> entries;
        for (std::uint64_t id = 1; id <= count; ++id) {
            const desk::wall at = NOW + days(id);
            entries.push_back(take_of(id, "ben", {"r1", 0, 1}, at));
            entries.push_back(end_of(id, desk::outcome::confirmed, at));
        }
        tables.keep(entries);
    }

    // How many pieces it took.
    int remove_all(const retention& kept, desk::wall now)
    {
        int pieces = 0;
        while (remove_oldest(tables.opened, kept, now))
            ++pieces;
        return pieces;
    }
};
} // namespace

TEST_F(RetentionTest, KeepsTheNewestRows)
{
    keep_takes(10);
    remove_all({days(1000), 4}, NOW + days(10));
    EXPECT_EQ(count("history"), 4);
    EXPECT_EQ(count("batches"), 4);
    const history_page left = ask_history(tables.opened, {});
    ASSERT_EQ(left.rows.size(), 4);
    EXPECT_EQ(left.rows.back().batch, desk::text_of(desk::ulid{1, 7}));
    EXPECT_EQ(check(tables.folder.path), "");
}

TEST_F(RetentionTest, KeepsTheLastDays)
{
    keep_takes(10);
    remove_all({days(3), 1000}, NOW + days(10));
    EXPECT_EQ(count("history"), 4);
    EXPECT_EQ(count("batches"), 4);
    EXPECT_EQ(saved_house(tables.store, NOW + days(10)).batches.size(), 4);
}

TEST_F(RetentionTest, KeepsWhatIsWithinBoth)
{
    keep_takes(10);
    EXPECT_EQ(remove_all({days(9), 10}, NOW + days(10)), 0);
    EXPECT_EQ(count("history"), 10);
}

TEST_F(RetentionTest, RemovesInSmallPieces)
{
    keep_takes(2 * ROWS_REMOVED_AT_ONCE + 1);
    ASSERT_TRUE(remove_oldest(tables.opened, {days(100'000), 1}, NOW));
    EXPECT_EQ(count("history"), ROWS_REMOVED_AT_ONCE + 1);
    EXPECT_EQ(remove_all({days(100'000), 1}, NOW), 3) << "one of rows, two of batches";
    EXPECT_EQ(count("history"), 1);
    EXPECT_EQ(count("batches"), 1);
}

TEST_F(RetentionTest, LeavesNoHalfBatchInTheHouse)
{
    desk::entry made = take_of(1, "ben", {"r1", 0, 1});
    auto& rows = std::get<desk::batch_made>(made.what).batch.rows;
    rows.push_back(rows[0]);
    tables.keep({made, take_of(2, "ben", {"r1", 0, 2})});
    EXPECT_EQ(saved_house(tables.store, NOW).batches.size(), 2);
    remove_all({days(1), 2}, NOW);
    EXPECT_EQ(count("history"), 2);
    const desk::house house = saved_house(tables.store, NOW);
    EXPECT_EQ(house.batches.size(), 1);
    EXPECT_TRUE(house.batches.contains({1, 2}));
    EXPECT_EQ(house.undo.at("ben").undo.size(), 1);
}
