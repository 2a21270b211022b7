#include "server/desk/salvos.h"
#include "server/desk/setup.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {
class SalvoRuns : public DeskTest {
  protected:
    const std::vector<route> rows{{"main", 0, 5}, {"back", 1, 6}};

    ulid save(const std::string& name, const std::vector<route>& some)
    {
        return save_salvo(desk, now, anna, name, some).id;
    }

    take_answer run(const ulid& id, int version = 0, batch_rule rule = batch_rule::all,
                    bool dry_run = false)
    {
        return run_salvo(desk, now, anna, id, version, how(rule, dry_run));
    }
};
} // namespace

TEST_F(SalvoRuns, AreOneBatch)
{
    const ulid id = save("News", rows);
    save("News", {{"main", 3, 4}});
    forget_told();
    const take_answer answer = run(id, 1);
    EXPECT_THAT(ordered(), testing::UnorderedElementsAre("main 0<5", "back 1<6"));
    const batch& made = desk.house.batches.at(answer.batch);
    EXPECT_EQ(made.kind, batch_kind::salvo);
    EXPECT_EQ(made.of, id);
    EXPECT_EQ(made.salvo_version, 1);
    EXPECT_EQ(made.rule, batch_rule::all);
    EXPECT_EQ(made.reason_given, "on air");
    EXPECT_EQ(made.rows.size(), 2U);

    forget_told();
    const batch& newest = desk.house.batches.at(run(id).batch);
    EXPECT_EQ(newest.salvo_version, 2);
    EXPECT_THAT(ordered(), ElementsAre("main 3<4"));
}

TEST_F(SalvoRuns, SendNothingThatIsShownAlready)
{
    const ulid id = save("News", {{"main", 0, 0}, {"main", 1, 3}});
    EXPECT_EQ(said(run(id)), "unchanged");
    EXPECT_THAT(ordered(), ElementsAre("main 1<3"));
}

TEST_F(SalvoRuns, CanBeDry)
{
    const ulid id = save("News", rows);
    forget_told();
    EXPECT_EQ(run(id, 0, batch_rule::all, true).rows.size(), 2U);
    EXPECT_THAT(desk.orders, IsEmpty());
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(SalvoRuns, GoByTheirRule)
{
    const ulid id = save("News", rows);
    remove_router(desk, now, eve, "back");
    forget_told();
    EXPECT_EQ(run(id).rows.at(0).why, reason::blocked_by_other_row);
    EXPECT_THAT(ordered(), IsEmpty());
    EXPECT_EQ(run(id, 0, batch_rule::rest).rows.at(1).why, reason::no_such_router);
    EXPECT_THAT(ordered(), ElementsAre("main 0<5"));
}

TEST_F(SalvoRuns, AreMadeOnceUnderAnId)
{
    const ulid id = save("News", rows);
    const batch_command command = how(batch_rule::all, false, {7, 7});
    run_salvo(desk, now, anna, id, 0, command);
    delete_salvo(desk, now, anna, id);
    forget_told();
    EXPECT_TRUE(run_salvo(desk, now, anna, id, 0, command).rows.at(1).goes);
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(SalvoRuns, AreNotMadeTooLate)
{
    const ulid id = save("News", rows);
    batch_command command = how(batch_rule::all);
    command.asked = now.steady - COMMAND_AGE - monotonic(1);
    EXPECT_EQ(run_salvo(desk, now, anna, id, 0, command).why, reason::too_late);
}

TEST_F(SalvoRuns, OfWhatDoesNotExistAreRefused)
{
    const ulid id = save("News", rows);
    EXPECT_EQ(run({1, 1}).why, reason::no_such_salvo);
    const take_answer answer = run(id, 7);
    EXPECT_EQ(answer.why, reason::no_such_version);
    EXPECT_THAT(answer.detail, HasSubstr("News has no version 7"));
    EXPECT_THAT(desk.house.batches, IsEmpty());
}
