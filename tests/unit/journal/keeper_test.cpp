#include <csignal>
#include <poll.h>
#include <sys/resource.h>

#include "server/journal/keeper.h"
#include "server/journal/saved_house.h"
#include "support/patience.h"
#include "unit/journal/failing_disk.h"
#include "unit/journal/journal_test.h"

using namespace journal;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
desk::entry label_of(int position, const std::string& alias)
{
    return by_anna(desk::label_set{"r1", desk::side::sources, position, {alias, ""}});
}

struct KeeperTest : testing::Test {
    failing_disk disk;
    temporary_directory folder;
    std::unique_ptr<journal::keeper> keeper = std::make_unique<journal::keeper>();
    std::vector<answer> answers; // so far
    results last;

    void SetUp() override
    {
        start();
    }

    void TearDown() override
    {
        failing_disk::set(disk_state::works);
        if (keeper) finish();
    }

    void start()
    {
        keeper->retention.age = std::chrono::days(100'000); // what is kept here is of 1970
        std::string error;
        ASSERT_TRUE(open_database(keeper->opened, folder.path, error)) << error;
        keeper->opened.file->exec("PRAGMA synchronous = OFF"); // the machine does not fail here
        ASSERT_TRUE(start_keeper(*keeper, error)) << error;
    }

    bool finish()
    {
        const bool all = finish_keeper(*keeper, std::chrono::minutes(5));
        keeper.reset();
        return all;
    }

    // Waits until the results are so.
    template <class predicate>
    void await(predicate is_so)
    {
        pollfd ready{keeper->ready.number, POLLIN, 0};
        while (true) {
            last = take_results(*keeper);
            std::move(last.answers.begin(), last.answers.end(), std::back_inserter(answers));
            if (is_so()) return;
            ASSERT_EQ(poll(&ready, 1, PATIENCE_MS), 1);
        }
    }

    void await_kept(std::uint64_t number)
    {
        await([&] { return last.kept >= number; });
    }

    desk::house house_on_disk()
    {
        database opened;
        std::string error;
        if (!open_database(opened, folder.path, error)) throw std::runtime_error(error);
        store store{opened, {}, {}};
        return saved_house(store, NOW);
    }
};
} // namespace

TEST_F(KeeperTest, KeepsWhatItIsGivenInOrder)
{
    EXPECT_EQ(keep(*keeper, {by_anna(desk::router_set{{"r1", "One", ""}}), label_of(3, "CAM")}), 2);
    EXPECT_EQ(keep(*keeper, {label_of(3, "VTR")}), 3);
    await_kept(3);
    EXPECT_EQ(last.health.failure, "");
    EXPECT_EQ(last.health.waiting, 0);
    EXPECT_TRUE(finish());
    EXPECT_EQ(house_on_disk().routers.at("r1").source_labels.at(3).alias, "VTR");
}

TEST_F(KeeperTest, KeepsEverythingBeforeItEnds)
{
    keep(*keeper, {by_anna(desk::router_set{{"r1", "One", ""}})});
    for (int i = 0; i < 1000; ++i)
        keep(*keeper, {label_of(i, "CAM")});
    EXPECT_TRUE(finish());
    EXPECT_EQ(house_on_disk().routers.at("r1").source_labels.size(), 1000);
}

TEST_F(KeeperTest, FindsABatchThatIsThereWhole)
{
    const desk::entry taken = take_of(7, "ben", {"r1", 2, 5});
    const auto& made = std::get<desk::batch_made>(taken.what);
    await_kept(keep(*keeper, {taken}));
    ask(*keeper, made.id);
    ask(*keeper, desk::ulid{1, 1});
    await([&] { return answers.size() == 2; });
    EXPECT_EQ(answers[0].batch, made.batch);
    EXPECT_EQ(answers[1].batch, std::nullopt);
    EXPECT_EQ(answers[1].failure, "");
}

TEST_F(KeeperTest, AnswersQuestions)
{
    await_kept(keep(*keeper, {take_of(7, "ben", {"r1", 2, 5})}));
    EXPECT_EQ(ask(*keeper, history_question{{.person = "ben"}}), 1);
    EXPECT_EQ(ask(*keeper, history_question{{.person = "eve"}}), 2);
    await([&] { return answers.size() == 2; });
    EXPECT_EQ(answers[0].number, 1);
    EXPECT_EQ(answers[0].page.rows.size(), 1);
    EXPECT_EQ(answers[1].number, 2);
    EXPECT_THAT(answers[1].page.rows, IsEmpty());
    EXPECT_EQ(answers[1].failure, "");
}

TEST_F(KeeperTest, KeepsNotesWithTheirKeys)
{
    await_kept(keep(*keeper, note{NOW,
                                  "eve",
                                  "panel",
                                  "personSet",
                                  R"({"id": "ben"})",
                                  {{"people/ben", R"({"name": "Ben"})"}, {"people/kim", "{}"}},
                                  {}}));
    await_kept(
        keep(*keeper, note{NOW, "eve", "panel", "", "", {{"people/kim", std::nullopt}}, {}}));
    ask(*keeper, {});
    await([&] { return answers.size() == 1; });
    ASSERT_EQ(answers[0].page.rows.size(), 1);
    EXPECT_EQ(answers[0].page.rows[0].kind, "personSet");
    EXPECT_EQ(answers[0].page.rows[0].data, R"({"id": "ben"})");
    finish();
    database opened;
    std::string error;
    ASSERT_TRUE(open_database(opened, folder.path, error)) << error;
    store store{opened, {}, {}};
    const std::vector<stored> people = list(store, "people/");
    ASSERT_EQ(people.size(), 1);
    EXPECT_EQ(people[0].value, R"({"name": "Ben"})");
}

struct FailingKeeper : KeeperTest,
                       testing::WithParamInterface<std::pair<disk_state, std::string>> {};
INSTANTIATE_TEST_SUITE_P(Disk, FailingKeeper,
                         testing::Values(std::pair(disk_state::full, "database or disk is full"),
                                         std::pair(disk_state::broken, "disk I/O error")));

TEST_P(FailingKeeper, TriesAgainUntilTheDiskWorks)
{
    await_kept(keep(*keeper, {by_anna(desk::router_set{{"r1", "One", ""}})}));
    failing_disk::set(GetParam().first);
    keep(*keeper, {label_of(3, "CAM")});
    const std::uint64_t number = keep(*keeper, {label_of(4, "VTR")});
    await([&] { return !last.health.failure.empty(); });
    EXPECT_EQ(last.health.failure, GetParam().second);
    EXPECT_GT(last.health.since, desk::wall{});
    EXPECT_EQ(last.health.waiting, 2);
    EXPECT_EQ(last.kept, 1);
    ask(*keeper, history_question{{.kind = "routerSet"}});
    await([&] { return answers.size() == 1; });
    EXPECT_EQ(answers[0].page.rows.size(), 1) << "questions are answered meanwhile";

    failing_disk::set(disk_state::works);
    await_kept(number);
    EXPECT_EQ(last.health.failure, "");
    EXPECT_EQ(last.health.lost, 0);
    finish();
    EXPECT_EQ(house_on_disk().routers.at("r1").source_labels.size(), 2);
}

TEST_F(KeeperTest, LosesTheOldestBeyondItsBoundAndCountsThem)
{
    finish();
    keeper = std::make_unique<journal::keeper>();
    keeper->bounds.records = 3;
    start();
    await_kept(keep(*keeper, {by_anna(desk::router_set{{"r1", "One", ""}})}));
    failing_disk::set(disk_state::full);
    for (int i = 0; i < 5; ++i)
        keep(*keeper, {label_of(i, "CAM")});
    await([&] { return last.health.lost == 2 && !last.health.failure.empty(); });
    EXPECT_EQ(last.health.waiting, 3);
    failing_disk::set(disk_state::works);
    await_kept(6);
    EXPECT_EQ(last.health.lost, 2);
    finish();
    std::vector<int> kept;
    const desk::house house = house_on_disk();
    for (const auto& [position, label] : house.routers.at("r1").source_labels)
        kept.push_back(position);
    EXPECT_THAT(kept, ElementsAre(2, 3, 4));
}

TEST_F(KeeperTest, LosesTheOldestBeyondItsBytes)
{
    finish();
    keeper = std::make_unique<journal::keeper>();
    keeper->bounds.bytes = 100'000;
    start();
    failing_disk::set(disk_state::full);
    desk::batch large;
    large.rows.resize(1000); // more than the bound alone
    for (std::uint64_t id = 1; id <= 3; ++id)
        keep(*keeper, {by_anna(desk::batch_made{{1, id}, large})});
    await([&] { return last.health.lost == 2 && !last.health.failure.empty(); });
    EXPECT_EQ(last.health.waiting, 1);
}

// As the system has it when a file may not grow.
TEST_F(KeeperTest, WaitsWhileItsFilesMayNotGrow)
{
    await_kept(keep(*keeper, {by_anna(desk::router_set{{"r1", "One", ""}})}));
    const auto usual = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit tight{4096, limit.rlim_max}; // less than the database has by now
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    const std::uint64_t number = keep(*keeper, {label_of(3, "CAM")});
    await([&] { return !last.health.failure.empty(); });
    EXPECT_EQ(last.health.waiting, 1);
    EXPECT_GT(last.health.since, desk::wall{});
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    await_kept(number);
    EXPECT_EQ(last.health.failure, "");
    EXPECT_EQ(last.health.lost + last.health.refused, 0);
    std::signal(SIGXFSZ, usual);
}

TEST_F(KeeperTest, CountsAsFailingWhileHalfOfItsBoundWaits)
{
    journal::keeper idle; // its thread has not begun
    idle.bounds.records = 4;
    keep(idle, {label_of(1, "CAM"), label_of(2, "CAM")});
    EXPECT_EQ(take_results(idle).health.failure, "");
    keep(idle, {label_of(3, "CAM")});
    const keeper_health behind = take_results(idle).health;
    EXPECT_EQ(behind.failure, "more is to be kept than the disk takes");
    EXPECT_GT(behind.since, NOW);
    EXPECT_EQ(behind.waiting, 3);
    idle.records.pop_front();
    EXPECT_EQ(take_results(idle).health.failure, "");
}

TEST_F(KeeperTest, CountsAsFailingWhileTheDiskDoesNotAnswer)
{
    journal::keeper idle;
    idle.at_work = 1;
    idle.at_work_since = std::chrono::steady_clock::now();
    EXPECT_EQ(take_results(idle).health.failure, "");
    idle.at_work_since -= LONGEST_AT_WORK;
    EXPECT_EQ(take_results(idle).health.failure, "the disk does not answer");
    idle.at_work = 0;
    EXPECT_EQ(take_results(idle).health.failure, "");
}

TEST_F(KeeperTest, PassesOverWhatTheDatabaseRefuses)
{
    finish();
    {
        std::string error;
        database opened;
        ASSERT_TRUE(open_database(opened, folder.path, error)) << error;
        opened.file->exec("CREATE TRIGGER refuse BEFORE INSERT ON history WHEN NEW.kind = 'bad'"
                          " BEGIN SELECT RAISE(ABORT, 'not this one'); END");
    }
    keeper = std::make_unique<journal::keeper>();
    start();
    keep(*keeper, {by_anna(desk::router_set{{"r1", "One", ""}})});
    keep(*keeper, note{NOW, "eve", "panel", "bad", "", {{"people/ben", "{}"}}, {}});
    await_kept(keep(*keeper, {label_of(3, "CAM")}));
    EXPECT_EQ(last.health.failure, "") << "the disk is well";
    EXPECT_EQ(last.health.refused, 1);
    EXPECT_EQ(last.health.refusal, "not this one");
    EXPECT_EQ(last.health.lost, 0);
    finish();
    EXPECT_EQ(house_on_disk().routers.at("r1").source_labels.size(), 1);
    database opened;
    std::string error;
    ASSERT_TRUE(open_database(opened, folder.path, error)) << error;
    store store{opened, {}, {}};
    EXPECT_THAT(list(store, "people/"), IsEmpty()) << "nothing of it is kept";
}

TEST_F(KeeperTest, KeepsTheHouseWholeAfterALoss)
{
    desk::house house;
    house.routers["r1"].settings = {"r1", "One", ""};
    house.routers["r1"].source_labels[3] = {"CAM", ""};
    await_kept(keep(*keeper, {by_anna(desk::router_set{{"r2", "gone by now", ""}})}));
    await_kept(keep(*keeper, whole_house{house}));
    finish();
    EXPECT_TRUE(house_on_disk() == house);
}

TEST_F(KeeperTest, EndsInTimeWhenTheDiskFails)
{
    failing_disk::set(disk_state::full);
    keep(*keeper, {label_of(3, "CAM")});
    EXPECT_FALSE(finish_keeper(*keeper, std::chrono::milliseconds(10)));
    keeper.reset();
}

TEST_F(KeeperTest, EndsWhenAllIsKeptHoweverLongThatTakes)
{
    for (int i = 0; i < 5000; ++i)
        keep(*keeper, {label_of(i % 100, "CAM")});
    EXPECT_TRUE(finish_keeper(*keeper, std::chrono::milliseconds(0)));
    keeper.reset();
}

TEST_F(KeeperTest, TakesNoMoreQuestionsThanItsBound)
{
    finish();
    keeper = std::make_unique<journal::keeper>();
    keeper->bounds.questions = 0;
    start();
    EXPECT_EQ(ask(*keeper, {}), 0);
}
