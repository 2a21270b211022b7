#include <random>

#include "server/desk/limits.h"
#include "server/journal/saved_house.h"
#include "unit/desk/model_history.h"
#include "unit/journal/house_difference.h"
#include "unit/journal/journal_test.h"

using namespace journal;

TEST(SavedHouse, IsEmptyAtFirst)
{
    tables tables;
    EXPECT_TRUE(saved_house(tables.store, NOW) == desk::house{});
}

TEST(SavedHouse, IsTheDesksAfterAnyHistory)
{
    constexpr std::size_t STEPS = 1000;
    std::random_device device;
    for (int i = 0; i < 10; ++i) {
        const std::uint64_t seed = device();
        const model::outcome lived = model::outcome_of(model::random_steps(seed, STEPS));
        tables tables;
        tables.keep(lived.entries);
        close_database(tables.opened);
        tables.open();
        ASSERT_EQ(difference(lived.house, saved_house(tables.store, lived.now), lived.now), "")
            << "of the history of " << seed;
    }
}

TEST(SavedHouse, HasWhatWasKeptUpToAnyEntry)
{
    const model::outcome lived = model::outcome_of(model::random_steps(5, 400));
    tables tables;
    desk::house house;
    for (const desk::entry& entry : lived.entries) {
        tables.keep({entry});
        apply_entry(house, entry);
        ASSERT_EQ(difference(house, saved_house(tables.store, entry.at), entry.at), "");
    }
}

TEST(SavedHouse, ForgetsWhoseDoingItWas)
{
    desk::router_settings router;
    router.id = router.name = "r1";
    router.address = "10.0.0.1";
    tables tables;
    desk::house house;
    const auto keep = [&](const std::vector<desk::entry>& entries) {
        tables.keep(entries);
        for (const desk::entry& entry : entries)
            apply_entry(house, entry);
        EXPECT_TRUE(saved_house(tables.store, NOW) == house);
        return house.routers.at("r1").authors.contains(0);
    };
    EXPECT_TRUE(keep({by_anna(desk::router_set{router}), take_of(1, "anna", {"r1", 0, 1}),
                      end_of(1, desk::outcome::confirmed)}));
    EXPECT_TRUE(keep({{NOW, "", "", desk::author_forgotten{"r1", 1}}}));
    EXPECT_FALSE(keep({{NOW, "", "", desk::author_forgotten{"r1", 0}}}));
}

TEST(SavedHouse, KeepsTheLastVersionsOfASalvo)
{
    tables tables;
    desk::house house;
    const desk::ulid id{1, 2};
    for (int number = 1; number <= 53; ++number) {
        const desk::entry saved =
            by_anna(desk::salvo_saved{id, "NEWS", {number, "anna", NOW, {{"r1", 0, number}}}});
        tables.keep({saved});
        apply_entry(house, saved);
    }
    EXPECT_EQ(house.salvos.at(id).versions.size(), desk::VERSIONS_PER_SALVO);
    EXPECT_TRUE(saved_house(tables.store, NOW) == house);
    EXPECT_EQ(list(tables.store, "salvos/").size(), 1 + desk::VERSIONS_PER_SALVO);
}

TEST(SavedHouse, KeepsTheLastBatchesAndThoseWithAnOpenRow)
{
    tables tables;
    std::vector<desk::entry> entries;
    const std::size_t count = desk::BATCHES_KEPT + 3;
    for (std::size_t i = 1; i <= count; ++i) {
        entries.push_back(take_of(i, "anna", {"r1", 0, 1}));
        if (i > 1) entries.push_back(end_of(i, desk::outcome::confirmed));
    }
    tables.keep(entries);
    const desk::house house = saved_house(tables.store, NOW);
    EXPECT_EQ(house.batches.size(), desk::BATCHES_KEPT + 1);
    EXPECT_EQ(house.batch_rows, desk::BATCHES_KEPT + 1);
    EXPECT_TRUE(house.batches.contains({1, 1}));
    EXPECT_FALSE(house.batches.contains({1, 3}));
    EXPECT_TRUE(house.batches.contains({1, 4}));
}

TEST(SavedHouse, HasUndoFromBeforeTheClockWasSetBack)
{
    tables tables;
    const desk::wall later = NOW + 2 * desk::UNDO_AGE;
    tables.keep({take_of(1, "ben", {"r1", 0, 1}, later), take_of(2, "ben", {"r1", 1, 1}, NOW)});
    const desk::house house = saved_house(tables.store, later);
    ASSERT_TRUE(house.undo.contains("ben"));
    EXPECT_EQ(house.undo.at("ben").undo.back().batch, (desk::ulid{1, 1}));
}

// The take was made by a clock that went ahead of it.
TEST(SavedHouse, UndoesNoStepAgainThatWasUndoneWhileTheClockWasSetBack)
{
    tables tables;
    const desk::wall later = NOW + 2 * desk::UNDO_AGE;
    const auto made = [](std::uint64_t number, desk::batch_kind kind, desk::wall at) {
        desk::batch batch;
        batch.kind = kind;
        batch.person = "ben";
        batch.made = at;
        if (kind == desk::batch_kind::undo) batch.of = {1, 1};
        batch.rows.emplace_back().wished = {"r1", 0, 1};
        return desk::entry{at, "ben", "", desk::batch_made{{1, number}, batch}};
    };
    tables.keep({made(1, desk::batch_kind::take, later), made(2, desk::batch_kind::undo, NOW)});
    const desk::house house = saved_house(tables.store, later);
    EXPECT_FALSE(house.undo.contains("ben")) << "its undoing is too old to be undone";
}

TEST(SavedHouse, TakesTextThatIsNoUtf8)
{
    tables tables;
    const std::string odd(desk::TEXT_LENGTH, '\xff');
    tables.keep({by_anna(desk::router_set{{"r1", odd, "10.0.0.1"}}),
                 by_anna(desk::label_set{"r1", desk::side::sources, 3, {odd, ""}}),
                 by_anna(desk::lock_set{"r1", 3, {desk::lock_mode::lock, odd, odd, NOW, {}}}),
                 by_anna(desk::salvo_saved{{1, 2}, odd, {1, odd, NOW, {{"r1", 0, 1}}}}),
                 by_anna(desk::salvo_saved{{1, 3}, odd, {1, odd, NOW, {{"r1", 0, 1}}}})});
    const desk::house house = saved_house(tables.store, NOW);
    EXPECT_EQ(house.routers.at("r1").settings.name, std::string(desk::TEXT_LENGTH, '?'));
    EXPECT_EQ(house.salvos.size(), 2);
}

TEST(SavedHouse, PassesOverMembersThatItDoesNotKnow)
{
    tables tables;
    tables.keep({by_anna(desk::router_set{{"r1", "One", "10.0.0.1"}})});
    set(tables.store, "labels/r1/sources/3", R"({"alias": "CAM", "group": "", "colour": 7})");
    const desk::house house = saved_house(tables.store, NOW);
    EXPECT_EQ(house.routers.at("r1").source_labels.at(3).alias, "CAM");
}

TEST(SavedHouse, SaysWhichKeyIsWrong)
{
    const auto complaint = [](const std::string& key, const std::string& value) {
        tables tables;
        tables.keep({by_anna(desk::router_set{{"r1", "One", "10.0.0.1"}})});
        set(tables.store, key, value);
        try {
            saved_house(tables.store, NOW);
        } catch (const misfit& thrown) {
            return std::string(thrown.what());
        }
        return std::string();
    };
    EXPECT_EQ(complaint("labels/r1/sources/3", "{}"), "labels/r1/sources/3 has no \"alias\"");
    EXPECT_EQ(complaint("labels/r1/sources/x", "{}"), "labels/r1/sources/x is no position");
    EXPECT_EQ(complaint("locks/r1/256", "{}"), "locks/r1/256 is no position");
    EXPECT_EQ(complaint("locks/r1", "{}"), "locks/r1 is no lock's key");
    EXPECT_EQ(complaint("salvos/x", "{}"), "salvos/x is no salvo's key");
    EXPECT_EQ(complaint("routers/r2", "["), "routers/r2 is no JSON");
}
