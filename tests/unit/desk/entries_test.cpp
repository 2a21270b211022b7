#include <gmock/gmock.h>

#include "server/desk/entries.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
constexpr wall NOW{1'000'000'000};

class Entries : public testing::Test {
  protected:
    desk::house house;
    wall now = NOW;

    Entries()
    {
        apply(router_set{named("Main")});
    }

    static router_settings named(const char* name)
    {
        router_settings settings;
        settings.id = "main";
        settings.name = name;
        return settings;
    }

    template <typename Kind>
    void apply(const Kind& what)
    {
        apply_entry(house, {now, "anna", "test", what});
    }

    // Rows on destinations from 0 that show 1 and shall show 2; what ends each at once, or open.
    batch rows(const std::vector<outcome>& ends) const
    {
        batch batch;
        batch.person = "anna";
        batch.made = now;
        for (const outcome end : ends) {
            wish& row = batch.rows.emplace_back();
            row.wished = {"main", static_cast<int>(batch.rows.size()) - 1, 2};
            row.was = 1;
            row.end = end;
        }
        return batch;
    }

    batch going(batch_kind kind = batch_kind::take, ulid of = {}) const
    {
        batch batch = rows({outcome::open});
        batch.kind = kind;
        batch.of = of;
        return batch;
    }

    // The batches whose steps there are.
    static std::vector<std::uint64_t> of(const std::deque<undo_step>& steps)
    {
        std::vector<std::uint64_t> batches;
        for (const undo_step& step : steps)
            batches.push_back(step.batch.low);
        return batches;
    }
};
} // namespace

TEST_F(Entries, SetAndRemoveRouters)
{
    EXPECT_EQ(house.routers.at("main").settings.name, "Main");
    apply(label_set{"main", side::sources, 1, {"CAM", ""}});
    apply(router_set{named("Other")});
    EXPECT_EQ(house.routers.at("main").settings.name, "Other");
    EXPECT_EQ(house.routers.at("main").source_labels.size(), 1);
    apply(router_removed{"main"});
    EXPECT_THAT(house.routers, IsEmpty());
}

TEST_F(Entries, SetAndRemoveLabels)
{
    const house_router& main = house.routers.at("main");
    apply(label_set{"main", side::sources, 1, {"CAM", ""}});
    apply(label_set{"main", side::destinations, 2, {"", "studio"}});
    EXPECT_EQ(main.source_labels, (std::map<int, label>{{1, {"CAM", ""}}}));
    EXPECT_EQ(main.destination_labels, (std::map<int, label>{{2, {"", "studio"}}}));
    apply(label_set{"main", side::sources, 1, {}});
    apply(label_set{"main", side::destinations, 2, {}});
    EXPECT_THAT(main.source_labels, IsEmpty());
    EXPECT_THAT(main.destination_labels, IsEmpty());
}

TEST_F(Entries, SetAndRemoveLocks)
{
    const lock lock{lock_mode::protect, "anna", "on air", NOW, {}};
    apply(lock_set{"main", 3, lock});
    EXPECT_EQ(house.routers.at("main").locks.at(3), lock);
    apply(lock_removed{"main", 3, lock_end::expired, "anna", ""});
    EXPECT_THAT(house.routers.at("main").locks, IsEmpty());
}

TEST_F(Entries, KeepVersionsOfSalvos)
{
    const ulid id{1, 1};
    for (int number = 1; number <= static_cast<int>(VERSIONS_PER_SALVO) + 1; ++number)
        apply(salvo_saved{id, number == 1 ? "news" : "News", {number, "anna", NOW, {}}});
    const salvo& salvo = house.salvos.at(id);
    EXPECT_EQ(salvo.name, "News");
    EXPECT_EQ(salvo.versions.size(), VERSIONS_PER_SALVO);
    EXPECT_EQ(salvo.versions.front().number, 2);
    EXPECT_EQ(salvo.versions.back().number, VERSIONS_PER_SALVO + 1);
    const desk::salvo last = salvo;
    apply(salvo_deleted{id});
    EXPECT_THAT(house.salvos, IsEmpty());
    EXPECT_EQ(house.deleted_salvos.at(id), (deleted_salvo{last, NOW}));
    apply(salvo_restored{id});
    EXPECT_EQ(house.salvos.at(id), last);
    apply(salvo_renamed{id, "Late"});
    EXPECT_EQ(house.salvos.at(id).name, "Late");
    apply(salvo_deleted{id});
    apply(salvo_forgotten{id});
    EXPECT_EQ(house.salvos.size() + house.deleted_salvos.size(), 0U);
}

TEST_F(Entries, EndWishesOnce)
{
    apply(batch_made{{1, 1}, going()});
    const wish_id id{{1, 1}, 0};
    apply(wish_ended{id, outcome::not_sent, reason::link_lost, "gone", monotonic(1), monotonic(2)});
    apply(wish_ended{id, outcome::confirmed, reason::none, "", {}, monotonic(3)});
    const wish& row = house.batches.at({1, 1}).rows[0];
    EXPECT_EQ(row.end, outcome::not_sent);
    EXPECT_EQ(row.why, reason::link_lost);
    EXPECT_EQ(row.detail, "gone");
    EXPECT_EQ(row.sent_after, monotonic(1));
    EXPECT_EQ(row.ended_after, monotonic(2));
    EXPECT_THAT(house.routers.at("main").authors, IsEmpty());
}

TEST_F(Entries, KeepWhoPutWhatThere)
{
    apply(batch_made{{1, 1}, rows({outcome::open, outcome::open})});
    const doings ended{wish_id{{1, 0}, 1}, wish_id{{1, 0}, 2}};
    apply(wish_ended{{{1, 1}, 0},
                     outcome::confirmed,
                     reason::none,
                     "",
                     {},
                     monotonic(2),
                     UNKNOWN_SOURCE,
                     ended,
                     wall(7)});
    EXPECT_EQ(house.batches.at({1, 1}).rows[0].doings, ended);
    const doings late{wish_id{{1, 0}, 3}, wish_id{{1, 0}, 4}};
    apply(confirmed_late{{{1, 1}, 1}, monotonic(5), UNKNOWN_SOURCE, late, wall(8)});
    EXPECT_EQ(house.batches.at({1, 1}).rows[1].doings, late);
    const auto& authors = house.routers.at("main").authors;
    EXPECT_EQ(authors.at(0), (authorship{2, wish_id{{1, 1}, 0}, "anna", wall(7)}));
    EXPECT_EQ(authors.at(1), (authorship{2, wish_id{{1, 1}, 1}, "anna", wall(8)}));
    EXPECT_EQ(house.batches.at({1, 1}).rows[1].confirmed_late_after, monotonic(5));
    apply(outside_change{"main", 0, 4, 2, wall(9)});
    EXPECT_EQ(authors.at(0), (authorship{4, std::nullopt, "", wall(9)}));
    apply(author_forgotten{"main", 0});
    EXPECT_FALSE(authors.contains(0));
}

TEST_F(Entries, KeepWhatWasThereForUndo)
{
    apply(batch_made{{1, 1}, rows({outcome::open, outcome::open, outcome::open})});
    apply(batch_made{{1, 2}, going(batch_kind::undo, {9, 9})});
    apply(wish_ended{{{1, 1}, 0}, outcome::confirmed, reason::none, "", {}, {}, 5});
    apply(confirmed_late{{{1, 1}, 1}, {}, 6});
    apply(wish_ended{{{1, 2}, 0}, outcome::confirmed, reason::none, "", {}, {}, 7});
    EXPECT_EQ(house.batches.at({1, 1}).rows[0].was, 5);
    EXPECT_EQ(house.batches.at({1, 1}).rows[1].was, 6);
    EXPECT_EQ(house.batches.at({1, 1}).rows[2].was, 1);
    const undo_record& anna = house.undo.at("anna");
    EXPECT_EQ(anna.undo[0].rows[0].was, 5);
    EXPECT_EQ(anna.undo[0].rows[1].was, 6);
    EXPECT_EQ(anna.undo[0].rows[2].was, 1);
    EXPECT_EQ(anna.redo[0].rows[0].was, 7);
    apply(wish_ended{{{1, 1}, 2}, outcome::confirmed, reason::none, "", {}, {}, UNKNOWN_SOURCE});
    EXPECT_EQ(house.batches.at({1, 1}).rows[2].was, 1);
}

TEST_F(Entries, KeepWhatWasFound)
{
    apply(batch_made{{1, 1}, rows({outcome::unknown})});
    apply(wish_found{{{1, 1}, 0}, 3, "then it showed CAM 4"});
    EXPECT_EQ(house.batches.at({1, 1}).rows[0].found, 3);
    EXPECT_EQ(house.batches.at({1, 1}).rows[0].detail, "then it showed CAM 4");
}

TEST_F(Entries, AcceptWishes)
{
    apply(batch_made{{1, 1}, going()});
    apply(wish_accepted{{{1, 1}, 0}});
    EXPECT_TRUE(house.batches.at({1, 1}).rows[0].accepted);
}

TEST_F(Entries, OfWhatIsNotThereChangeNothing)
{
    apply(batch_made{{1, 1}, rows({outcome::confirmed})});
    const auto before = house;
    apply(router_removed{"none"});
    apply(label_set{"none", side::sources, 1, {"CAM", ""}});
    apply(lock_set{"none", 1, {}});
    apply(lock_removed{"none", 1, lock_end::released, "", ""});
    apply(lock_removed{"main", 1, lock_end::released, "", ""});
    apply(salvo_renamed{{9, 9}, "x"});
    apply(salvo_deleted{{9, 9}});
    apply(salvo_restored{{9, 9}});
    apply(salvo_forgotten{{9, 9}});
    apply(batch_made{{1, 1}, going()}); // once more
    for (const wish_id id : {wish_id{{1, 1}, 1}, wish_id{{9, 9}, 0}}) {
        apply(wish_ended{id, outcome::confirmed, reason::none, "", {}, {}});
        apply(confirmed_late{id, {}});
        apply(wish_found{id, 1, "found"});
        apply(wish_accepted{id});
    }
    apply(outside_change{"none", 1, 2, 3});
    apply(author_forgotten{"none", 1});
    EXPECT_EQ(house, before);
}

TEST_F(Entries, ConfirmWithoutTheRouter)
{
    apply(batch_made{{1, 1}, going()});
    apply(router_removed{"main"});
    apply(wish_ended{{{1, 1}, 0}, outcome::confirmed, reason::none, "", {}, {}});
    EXPECT_EQ(house.batches.at({1, 1}).rows[0].end, outcome::confirmed);
    EXPECT_THAT(house.routers, IsEmpty());
}

TEST_F(Entries, ForgetTheOldestBatchThatHasEnded)
{
    apply(batch_made{{1, 0}, rows({outcome::confirmed, outcome::open})});
    for (std::uint64_t i = 1; i < BATCHES_KEPT; ++i)
        apply(batch_made{{1, i}, rows({outcome::confirmed})});
    EXPECT_EQ(house.batches.size(), BATCHES_KEPT);
    apply(batch_made{{2, 1}, rows({outcome::confirmed})});
    EXPECT_EQ(house.batches.size(), BATCHES_KEPT);
    EXPECT_TRUE(house.batches.contains({1, 0}));
    EXPECT_FALSE(house.batches.contains({1, 1}));
    EXPECT_TRUE(house.batches.contains({1, 2}));
}

TEST_F(Entries, ForgetBatchesBeyondTheBoundAsTheyEnd)
{
    for (std::uint64_t i = 0; i <= BATCHES_KEPT; ++i)
        apply(batch_made{{1, i}, going()});
    EXPECT_EQ(house.batches.size(), BATCHES_KEPT + 1);
    apply(wish_ended{{{1, 7}, 0}, outcome::timed_out, reason::none, "", {}, {}});
    EXPECT_EQ(house.batches.size(), BATCHES_KEPT);
    EXPECT_FALSE(house.batches.contains({1, 7}));
}

TEST_F(Entries, ForgetBatchesWithTooManyRows)
{
    const std::size_t rows_each = 4000;
    for (std::uint64_t i = 0; i < BATCH_ROWS_KEPT / rows_each; ++i)
        apply(batch_made{{1, i}, rows(std::vector<outcome>(rows_each, outcome::confirmed))});
    EXPECT_EQ(house.batches.size(), BATCH_ROWS_KEPT / rows_each);
    apply(batch_made{{2, 1}, rows({outcome::confirmed})});
    EXPECT_FALSE(house.batches.contains({1, 0}));
    EXPECT_EQ(house.batches.size(), BATCH_ROWS_KEPT / rows_each);
    EXPECT_EQ(house.batch_rows, BATCH_ROWS_KEPT - rows_each + 1);
}

TEST_F(Entries, ForgetUndoStepsWithTooManyRows)
{
    const std::size_t rows_each = 4000;
    for (std::uint64_t i = 0; i < UNDO_ROWS / rows_each; ++i)
        apply(batch_made{{1, i}, rows(std::vector<outcome>(rows_each, outcome::open))});
    EXPECT_THAT(of(house.undo.at("anna").undo), ElementsAre(0, 1, 2, 3, 4));
    apply(batch_made{{2, 9}, going()});
    EXPECT_THAT(of(house.undo.at("anna").undo), ElementsAre(1, 2, 3, 4, 9));
}

TEST_F(Entries, KeepUndoStepsOfWhatWasSent)
{
    apply(batch_made{{1, 1}, rows({outcome::confirmed, outcome::open, outcome::not_sent})});
    apply(batch_made{{1, 2}, rows({outcome::confirmed, outcome::not_sent})});
    const auto& undo = house.undo.at("anna").undo;
    ASSERT_EQ(undo.size(), 1);
    EXPECT_EQ(undo[0], (undo_step{{1, 1}, NOW, {{{{1, 1}, 1}, {"main", 1, 2}, 1}}}));
}

TEST_F(Entries, ClearRedoWithWhateverIsNew)
{
    for (const auto kind :
         {batch_kind::take, batch_kind::stage, batch_kind::salvo, batch_kind::rollback}) {
        house.undo["anna"].redo.push_back({{8, 8}, now, {}});
        const ulid blocked{1, static_cast<std::uint64_t>(kind) + 1};
        batch batch = rows({outcome::not_sent});
        batch.kind = kind;
        apply(batch_made{blocked, batch});
        EXPECT_THAT(of(house.undo.at("anna").redo), ElementsAre(8)); // nothing was done
        apply(batch_made{{2, blocked.low}, going(kind)});
        EXPECT_THAT(house.undo.at("anna").redo, IsEmpty());
    }
    EXPECT_THAT(of(house.undo.at("anna").undo), ElementsAre(1, 2, 3, 6));
}

TEST_F(Entries, MoveStepsBetweenUndoAndRedo)
{
    apply(batch_made{{1, 1}, going()});
    apply(batch_made{{1, 2}, going()});
    const undo_record& anna = house.undo.at("anna");
    apply(batch_made{{1, 3}, going(batch_kind::undo, {1, 2})});
    EXPECT_THAT(of(anna.undo), ElementsAre(1));
    EXPECT_THAT(of(anna.redo), ElementsAre(3));
    apply(batch_made{{1, 4}, going(batch_kind::undo, {1, 1})});
    EXPECT_THAT(of(anna.undo), IsEmpty());
    EXPECT_THAT(of(anna.redo), ElementsAre(3, 4));
    apply(batch_made{{1, 5}, going(batch_kind::redo, {1, 4})});
    EXPECT_THAT(of(anna.undo), ElementsAre(5));
    EXPECT_THAT(of(anna.redo), ElementsAre(3));
}

TEST_F(Entries, UseUpAStepOfWhichNothingGoesByTheRule)
{
    for (const auto kind : {batch_kind::undo, batch_kind::redo}) {
        house.undo["anna"] = {};
        auto& record = house.undo["anna"];
        (kind == batch_kind::undo ? record.undo : record.redo).push_back({{1, 1}, now, {}});
        batch batch = rows({outcome::not_sent});
        batch.kind = kind;
        batch.of = {1, 1};
        const auto low = static_cast<std::uint64_t>(kind);
        apply(batch_made{{2, low}, batch});
        ASSERT_TRUE(house.undo.contains("anna"));
        batch.rule = batch_rule::rest;
        apply(batch_made{{3, low}, batch});
        EXPECT_FALSE(house.undo.contains("anna"));
    }
}

TEST_F(Entries, KeepFiftyStepsOfADay)
{
    for (std::uint64_t i = 1; i <= UNDO_STEPS; ++i)
        apply(batch_made{{1, i}, going()});
    const auto& undo = house.undo.at("anna").undo;
    EXPECT_EQ(undo.size(), UNDO_STEPS);
    now += UNDO_AGE;
    apply(batch_made{{2, 1}, going()});
    EXPECT_EQ(undo.size(), UNDO_STEPS);
    EXPECT_EQ(undo.front().batch, (ulid{1, 2}));
    now += wall(1);
    apply(batch_made{{2, 2}, going()});
    EXPECT_THAT(of(undo), ElementsAre(1, 2));
}

TEST_F(Entries, ForgetWhoHasBeenIdleLongest)
{
    for (std::size_t i = 0; i < PEOPLE; ++i) {
        batch batch = going();
        batch.person = std::to_string(i);
        apply(batch_made{{1, i}, batch});
        now += wall(1);
    }
    batch again = going(batch_kind::undo, {1, 0});
    again.person = "0";
    apply(batch_made{{2, 0}, again});
    EXPECT_EQ(house.undo.size(), PEOPLE);
    apply(batch_made{{3, 0}, going()});
    EXPECT_EQ(house.undo.size(), PEOPLE);
    EXPECT_TRUE(house.undo.contains("0"));
    EXPECT_FALSE(house.undo.contains("1"));
}
