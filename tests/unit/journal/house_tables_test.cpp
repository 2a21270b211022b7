#include <random>

#include "server/journal/house_tables.h"
#include "server/journal/saved_house.h"
#include "server/journal/sql.h"
#include "unit/desk/model_history.h"
#include "unit/journal/house_difference.h"
#include "unit/journal/journal_test.h"

using namespace journal;

namespace {
std::string everything(tables& tables)
{
    std::string text;
    for (const char* const asked :
         {"SELECT key, value FROM kv ORDER BY key", "SELECT * FROM batches ORDER BY number",
          "SELECT * FROM history ORDER BY id",
          "SELECT * FROM authors ORDER BY router, destination"})
        each_row(tables.opened, asked, [&](SQLite::Statement& row) {
            for (int column = 0; column < row.getColumnCount(); ++column)
                text += row.getColumn(column).getString() + "|";
            text += "\n";
            return true;
        });
    return text;
}
} // namespace

TEST(HouseTables, AreTheDesksWhateverWasLost)
{
    std::random_device device;
    for (int i = 0; i < 10; ++i) {
        const std::uint64_t seed = device();
        std::mt19937_64 chance(seed);
        const model::outcome lived = model::outcome_of(model::random_steps(seed, 1000));
        tables tables;
        for (const desk::entry& each : lived.entries)
            if (chance() % 2 == 0) tables.keep({each});
        keep_house(tables.store, lived.house);
        ASSERT_EQ(difference(lived.house, saved_house(tables.store, lived.now), lived.now), "")
            << "of the history of " << seed;
    }
}

TEST(HouseTables, StayAsTheyAreWhenNothingWasLost)
{
    const model::outcome lived = model::outcome_of(model::random_steps(7, 1000));
    tables tables;
    tables.keep(lived.entries);
    const std::string before = everything(tables);
    keep_house(tables.store, lived.house);
    EXPECT_EQ(everything(tables), before);
}

TEST(HouseTables, EndWhatTheHouseHasForgotten)
{
    tables tables;
    tables.keep({take_of(1, "ben", {"r1", 0, 1}), take_of(2, "ben", {"r1", 1, 1})});
    desk::house house = saved_house(tables.store, NOW);
    house.batches.erase({1, 1});
    keep_house(tables.store, house);
    const desk::house found = saved_house(tables.store, NOW);
    EXPECT_EQ(found.batches.at({1, 1}).rows[0].end, desk::outcome::unknown);
    EXPECT_EQ(found.batches.at({1, 1}).rows[0].detail, "the record of its end was lost");
    EXPECT_EQ(found.batches.at({1, 2}).rows[0].end, desk::outcome::open);
}

TEST(HouseTables, LackWhatTheHouseHasNoMore)
{
    desk::house house;
    house.routers["r1"].settings = {"r1", "One", ""};
    house.routers["r1"].source_labels[3] = {"CAM", ""};
    house.routers["r1"].locks[3] = {desk::lock_mode::lock, "anna", "", NOW, {}};
    house.routers["r1"].authors[3].source = 1;
    house.salvos[{1, 2}] = {"NEWS", {{1, "anna", NOW, {{"r1", 0, 1}}}}};
    house.notices[{1, 3}] = {"anna", NOW, "ben", "r1", 3, "on air"};
    tables tables;
    keep_house(tables.store, house);
    EXPECT_TRUE(saved_house(tables.store, NOW) == house);
    keep_house(tables.store, {});
    EXPECT_TRUE(saved_house(tables.store, NOW) == desk::house{});
    EXPECT_EQ(tables.opened.file->execAndGet("SELECT count(*) FROM kv").getInt(), 0);
}
