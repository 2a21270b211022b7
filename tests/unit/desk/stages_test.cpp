#include "server/desk/locks.h"
#include "server/desk/stages.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class Stages : public DeskTest {
  protected:
    reason stage(const actor& actor, int destination, int source,
                 const std::string& router = "main")
    {
        const row_answer answer = stage_row(desk, now, actor, {router, destination, source});
        EXPECT_EQ(answer.wished, (route{router, destination, source}));
        EXPECT_EQ(answer.goes, answer.why == reason::none);
        EXPECT_FALSE(answer.unchanged);
        EXPECT_EQ(answer.detail.empty(), answer.goes);
        return answer.why;
    }

    take_answer take_staged(batch_rule rule = batch_rule::rest, bool dry_run = false)
    {
        return take_stage(desk, now, anna, "main", how(rule, dry_run));
    }

    // Destinations that anna has staged on main.
    std::vector<int> staged()
    {
        std::vector<int> destinations;
        for (const auto& [destination, row] : desk.stages["anna"]["main"])
            destinations.push_back(destination);
        return destinations;
    }

    void expect_stage_change(const std::string& person)
    {
        ASSERT_EQ(desk.changes.size(), 1U);
        EXPECT_EQ(desk.changes.front().what, change::kind::stage);
        EXPECT_EQ(desk.changes.front().router, "main");
        EXPECT_EQ(desk.changes.front().person, person);
        EXPECT_EQ(desk.changes.front().revision, find_live(desk, "main")->revision);
        desk.changes.clear();
    }
};
} // namespace

TEST_F(Stages, RememberWhatTheDestinationsShowed)
{
    report(2, 2);
    forget_told();
    EXPECT_EQ(stage(anna, 2, 5), reason::none);
    expect_stage_change("anna");
    const staged_row row = desk.stages.at("anna").at("main").at(2);
    EXPECT_EQ(row.source, 5);
    EXPECT_EQ(row.seen, 2);
    EXPECT_EQ(row.staged, now.utc);
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Stages, HaveOneRowForADestination)
{
    stage(anna, 2, 5);
    report(2, 4);
    stage(anna, 2, NO_SOURCE);
    EXPECT_EQ(desk.stages.at("anna").at("main").size(), 1U);
    EXPECT_EQ(desk.stages.at("anna").at("main").at(2).source, NO_SOURCE);
    EXPECT_EQ(desk.stages.at("anna").at("main").at(2).seen, 4);
}

TEST_F(Stages, AreChangedAsAWhole)
{
    stage(anna, 0, 1);
    stage(anna, 1, 1);
    stage(anna, 2, 1);
    stage(ben, 1, 1);
    report(1, 4);
    report(2, 4);
    forget_told();
    const stage_change change{false, {0, 7}, {1, 6}, {{2, 3}, {3, NO_SOURCE}}};
    EXPECT_EQ(said(change_stage(desk, now, anna, "main", change)), "");
    EXPECT_THAT(staged(), ElementsAre(1, 2, 3));
    const stage_rows& rows = desk.stages.at("anna").at("main");
    EXPECT_EQ(rows.at(1).seen, 4) << "it was kept";
    EXPECT_EQ(rows.at(2).source, 3);
    EXPECT_EQ(rows.at(2).seen, 4);
    expect_stage_change("anna");
    EXPECT_EQ(desk.stages.at("ben").at("main").at(1).seen, 0);
}

TEST_F(Stages, AreReplacedAsAWhole)
{
    stage(anna, 0, 1);
    stage(anna, 0, 1, "back");
    forget_told();
    EXPECT_EQ(said(change_stage(desk, now, anna, "main", {true, {}, {}, {{5, 2}, {4, 2}}})), "");
    EXPECT_THAT(staged(), ElementsAre(4, 5));
    expect_stage_change("anna");
    EXPECT_EQ(said(change_stage(desk, now, anna, "main", {true, {}, {}, {}})), "");
    EXPECT_FALSE(desk.stages.at("anna").contains("main"));
    EXPECT_TRUE(desk.stages.at("anna").contains("back"));
    expect_stage_change("anna");
    EXPECT_EQ(said(change_stage(desk, now, anna, "main", {true, {1}, {2}, {}})), "");
    EXPECT_THAT(desk.changes, IsEmpty()) << "nothing was there";
}

TEST_F(Stages, AreChangedNotAtAllWhenARowCannotBe)
{
    stage(anna, 0, 1);
    forget_told();
    struct {
        std::pair<int, int> second;
        const char* router;
        reason why;
        std::optional<std::size_t> row;
    } const cases[] = {
        {{200, 1}, "main", reason::no_such_destination, 1},
        {{1, 99}, "main", reason::no_such_source, 1},
        {{3, 2}, "main", reason::duplicate_destination, 1},
        {{1, 1}, "none", reason::no_such_router, std::nullopt},
    };
    for (const auto& c : cases) {
        const stage_change change{true, {0}, {}, {{3, 1}, c.second}};
        const row_objection found = change_stage(desk, now, anna, c.router, change);
        EXPECT_EQ(found.why, c.why);
        EXPECT_EQ(found.row, c.row);
        EXPECT_NE(found.detail, "");
        EXPECT_THAT(staged(), ElementsAre(0));
        EXPECT_THAT(desk.changes, IsEmpty());
    }
    EXPECT_EQ(change_stage(desk, now, guest, "main", {true, {}, {}, {{1, 1}}}).why,
              reason::no_right);
}

TEST_F(Stages, BelongToOnePersonAndOneRouter)
{
    stage(anna, 0, 1);
    stage(ben, 0, 2);
    stage(anna, 0, 3, "back");
    EXPECT_EQ(desk.stages.at("anna").at("main").at(0).source, 1);
    EXPECT_EQ(desk.stages.at("ben").at("main").at(0).source, 2);
    EXPECT_EQ(desk.stages.at("anna").at("back").at(0).source, 3);
}

TEST_F(Stages, TakeNoRowsThatCanNeverGo)
{
    const actor vera{"vera", "panel", {right::view, {}, {}}};
    EXPECT_EQ(stage(vera, 0, 1), reason::no_right);
    EXPECT_EQ(stage(anna, 0, 1, "gone"), reason::no_such_router);
    EXPECT_EQ(stage(anna, POSITIONS_HERE, 1), reason::no_such_destination);
    EXPECT_EQ(stage(anna, 0, POSITIONS_HERE), reason::no_such_source);
    EXPECT_THAT(desk.stages, IsEmpty());
    EXPECT_THAT(desk.changes, IsEmpty());
}

TEST_F(Stages, TakeRowsThatCannotGoNow)
{
    set_lock(desk, now, ben, "main", 0, lock_mode::lock, "", {});
    report_link(desk, now, "main", link_state::down, "no answer");
    EXPECT_EQ(stage(anna, 0, 1), reason::none);
}

TEST_F(Stages, LoseRows)
{
    stage(anna, 0, 1);
    stage(anna, 1, 1);
    desk.changes.clear();
    EXPECT_FALSE(unstage_row(desk, anna, "main", 2));
    EXPECT_FALSE(unstage_row(desk, anna, "back", 0));
    EXPECT_FALSE(unstage_row(desk, ben, "main", 0));
    EXPECT_THAT(desk.changes, IsEmpty());
    EXPECT_TRUE(unstage_row(desk, anna, "main", 0));
    expect_stage_change("anna");
    EXPECT_THAT(staged(), ElementsAre(1));
    EXPECT_TRUE(unstage_row(desk, anna, "main", 1));
    EXPECT_THAT(desk.stages, IsEmpty());
}

TEST_F(Stages, AreCleared)
{
    stage(anna, 0, 1);
    stage(anna, 1, 1);
    stage(anna, 1, 1, "back");
    desk.changes.clear();
    clear_stage(desk, anna, "main");
    expect_stage_change("anna");
    EXPECT_EQ(desk.stages.at("anna").size(), 1U);
    clear_stage(desk, anna, "main");
    clear_stage(desk, ben, "main");
    EXPECT_THAT(desk.changes, IsEmpty());
    clear_stage(desk, anna, "back");
    EXPECT_THAT(desk.stages, IsEmpty());
}

TEST_F(Stages, KnowWhatHasChanged)
{
    stage(anna, 0, 1);
    const staged_row row = desk.stages.at("anna").at("main").at(0);
    const live_router& main = *find_live(desk, "main");
    EXPECT_FALSE(has_changed(main, 0, row));
    report(0, 7);
    EXPECT_TRUE(has_changed(main, 0, row));
    report(0, 0);
    EXPECT_FALSE(has_changed(main, 0, row));
    EXPECT_TRUE(has_changed(main, 0, {1, UNKNOWN_SOURCE, {}}));
    EXPECT_FALSE(has_changed(main, POSITIONS_HERE, {1, UNKNOWN_SOURCE, {}}));
}

TEST_F(Stages, KeepAChangedRowByDecision)
{
    stage(anna, 0, 1);
    report(0, 7);
    desk.changes.clear();
    EXPECT_FALSE(keep_row(desk, anna, "main", 1));
    EXPECT_FALSE(keep_row(desk, ben, "main", 0));
    EXPECT_THAT(desk.changes, IsEmpty());
    EXPECT_TRUE(keep_row(desk, anna, "main", 0));
    expect_stage_change("anna");
    EXPECT_FALSE(has_changed(*find_live(desk, "main"), 0, desk.stages["anna"]["main"][0]));
    EXPECT_TRUE(take_staged().rows.at(0).goes);
}

TEST_F(Stages, AreTakenAsOneBatchInTheOrderOfStaging)
{
    stage(anna, 5, 1);
    wait_ms(1);
    stage(anna, 3, 1);
    stage(anna, 2, 1);
    forget_told();
    const take_answer answer = take_staged();
    EXPECT_THAT(ordered(), ElementsAre("main 5<1 2<1 3<1"));
    const batch& made = desk.house.batches.at(answer.batch);
    EXPECT_EQ(made.kind, batch_kind::stage);
    EXPECT_EQ(made.reason_given, "on air");
    EXPECT_THAT(desk.stages, IsEmpty());
}

TEST_F(Stages, KeepWhatIsBlocked)
{
    set_lock(desk, now, ben, "main", 0, lock_mode::lock, "", {});
    report(3, 3);
    for (int destination = 0; destination < 4; ++destination)
        stage(anna, destination, 3);
    report(1, 6);
    forget_told();
    const std::vector<row_answer> rows = take_staged().rows;
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[0].why, reason::locked);
    EXPECT_EQ(rows[1].why, reason::changed_since);
    EXPECT_TRUE(rows[2].goes);
    EXPECT_TRUE(rows[3].unchanged);
    EXPECT_THAT(ordered(), ElementsAre("main 2<3"));
    EXPECT_THAT(staged(), ElementsAre(0, 1));
    EXPECT_EQ(desk.changes.back().what, change::kind::stage);
}

TEST_F(Stages, StayWholeWhenOneRowBlocksAll)
{
    set_lock(desk, now, ben, "main", 0, lock_mode::lock, "", {});
    stage(anna, 0, 3);
    stage(anna, 1, 3);
    forget_told();
    EXPECT_EQ(take_staged(batch_rule::all).rows.at(1).why, reason::blocked_by_other_row);
    EXPECT_THAT(ordered(), IsEmpty());
    EXPECT_THAT(staged(), ElementsAre(0, 1));
    ASSERT_EQ(desk.changes.size(), 1U);
    EXPECT_EQ(desk.changes.front().what, change::kind::batch);
}

TEST_F(Stages, StayAfterADryRun)
{
    stage(anna, 0, 3);
    forget_told();
    EXPECT_TRUE(take_staged(batch_rule::all, true).rows.at(0).goes);
    EXPECT_THAT(staged(), ElementsAre(0));
    EXPECT_THAT(desk.changes, IsEmpty());
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Stages, OfDestinationsUnknownGoWhileTheyAre)
{
    report_counts(desk, "main", POSITIONS_HERE, POSITIONS_HERE + 2);
    stage(anna, POSITIONS_HERE, 3);
    stage(anna, POSITIONS_HERE + 1, 3);
    report(POSITIONS_HERE + 1, 1);
    const std::vector<row_answer> rows = take_staged().rows;
    EXPECT_TRUE(rows.at(0).goes);
    EXPECT_EQ(rows.at(1).why, reason::changed_since);
}

TEST_F(Stages, OfDestinationsNoLongerKnownStay)
{
    stage(anna, 0, 3);
    link(link_state::down);
    link(link_state::ready);
    EXPECT_EQ(take_staged().rows.at(0).why, reason::fact_unknown);
    EXPECT_THAT(staged(), ElementsAre(0));
}

TEST_F(Stages, AreTakenOnceUnderAnId)
{
    stage(anna, 0, 3);
    const batch_command command = how(batch_rule::all, false, {7, 7});
    EXPECT_EQ(take_stage(desk, now, anna, "main", command).batch, command.id);
    EXPECT_TRUE(take_stage(desk, now, anna, "main", command).rows.at(0).goes);
    stage(anna, 0, 3); // which the answer of before does not concern
    forget_told();
    EXPECT_EQ(take_stage(desk, now, anna, "main", command).batch, command.id);
    EXPECT_THAT(staged(), ElementsAre(0));
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Stages, WithoutRowsAreNotTaken)
{
    EXPECT_EQ(take_staged().why, reason::nothing_to_do);
    EXPECT_EQ(take_stage(desk, now, anna, "gone", how(batch_rule::rest)).why,
              reason::no_such_router);
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Stages, OfThePersonLongestIdleAreForgotten)
{
    actor person = anna;
    for (std::size_t i = 0; i < PEOPLE; ++i) {
        person.person = "p" + std::to_string(i);
        stage(person, 0, 1);
        wait_ms(1);
    }
    person.person = "p0";
    stage(person, 1, 1);
    EXPECT_EQ(desk.stages.at("p0").at("main").size(), 2U);
    desk.changes.clear();
    wait_ms(1);
    stage(ben, 0, 1);
    EXPECT_EQ(desk.stages.size(), PEOPLE);
    EXPECT_TRUE(desk.stages.contains("p0"));
    EXPECT_FALSE(desk.stages.contains("p1"));
    ASSERT_EQ(desk.changes.size(), 2U);
    EXPECT_EQ(desk.changes.front().person, "p1");
}
