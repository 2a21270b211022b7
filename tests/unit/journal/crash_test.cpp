#include <csignal>
#include <optional>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

#include "server/journal/keeper.h"
#include "server/journal/saved_house.h"
#include "unit/desk/model_history.h"
#include "unit/journal/journal_test.h"

using namespace journal;

namespace {
constexpr int KILLS = 100;
constexpr std::uint32_t ROWS = 5; // of each batch

// As a copy of the disk at this moment has it.
desk::house house_in(const std::filesystem::path& folder)
{
    database opened;
    std::string error;
    if (!open_database(opened, folder, error)) throw std::runtime_error(error);
    store store{opened, {}, {}};
    desk::house house = saved_house(store, NOW);
    close_database(opened);
    const std::string wrong = check(folder);
    if (!wrong.empty()) throw std::runtime_error(wrong);
    return house;
}

desk::entry batch_of_rows(std::uint64_t id)
{
    desk::entry made = take_of(id, "ben", {"r1", 0, 1});
    auto& rows = std::get<desk::batch_made>(made.what).batch.rows;
    rows.resize(ROWS, rows[0]);
    return made;
}

// Keeps batches from this number on and writes the number of each that is kept, until it is killed.
[[noreturn]] void keep_batches(const std::filesystem::path& folder, std::uint64_t first, int told)
{
    keeper keeper;
    keeper.retention.age = std::chrono::days(100'000);
    std::string error;
    if (!open_database(keeper.opened, folder, error)) _exit(1);
    keeper.opened.file->exec("PRAGMA synchronous = OFF"); // only the process is killed
    if (!start_keeper(keeper, error)) _exit(1);
    std::uint64_t known = 0;
    for (std::uint64_t given = 1;; ++given) {
        keep(keeper, {batch_of_rows(first + given - 1)});
        const std::uint64_t kept = take_results(keeper).kept;
        const std::uint64_t newest = first + kept - 1;
        if (kept > known && write(told, &newest, sizeof newest) != sizeof newest) _exit(1);
        known = kept;
        if (given > kept + 50) usleep(100); // what waits is not the point
    }
}

// The last number that the child wrote before it was killed, after this many microseconds of work.
std::uint64_t kept_until_killed(const std::filesystem::path& folder, std::uint64_t first,
                                unsigned pause)
{
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) keep_batches(folder, first, ends[1]);
    close(ends[1]);
    std::uint64_t kept = first - 1;
    // From its first answer on, so that every kill meets it at work.
    if (read(ends[0], &kept, sizeof kept) != sizeof kept) throw std::runtime_error("it has ended");
    usleep(pause);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    while (read(ends[0], &kept, sizeof kept) == sizeof kept) {
    }
    close(ends[0]);
    return kept;
}
} // namespace

TEST(Crash, LosesNothingThatWasKeptAndLeavesNothingHalf)
{
    std::mt19937 random{std::random_device{}()};
    std::optional<temporary_directory> folder;
    std::uint64_t next = 1;
    for (int i = 0; i < KILLS; ++i) {
        if (i % 10 == 0) { // what is read again and again stays small
            folder.emplace();
            next = 1;
        }
        const auto pause = static_cast<unsigned>(random() % 10'000);
        const std::uint64_t kept = kept_until_killed(folder->path, next, pause);
        const desk::house house = house_in(folder->path);
        ASSERT_FALSE(house.batches.empty());
        const std::uint64_t newest = house.batches.rbegin()->first.low;
        ASSERT_GE(newest, kept) << "which it had been told was kept";
        ASSERT_EQ(house.batches.size(), newest) << "all are open, so that none is forgotten";
        for (const auto& [id, batch] : house.batches)
            ASSERT_EQ(batch.rows.size(), ROWS);
        next = newest + 1;
    }
}

TEST(Crash, LeavesTheHouseOfTheLastTransaction)
{
    const model::outcome lived = model::outcome_of(model::random_steps(11, 300));
    tables tables;
    temporary_directory copies;
    desk::house house;
    for (std::size_t i = 0; i < lived.entries.size(); ++i) {
        SQLite::Transaction transaction(*tables.opened.file);
        tables.opened.file->exec("PRAGMA cache_spill = 1; PRAGMA cache_size = 1");
        keep_entry(tables.store, lived.entries[i]);
        if (i % 10 == 0) {
            const std::filesystem::path copy = copies.path / std::to_string(i);
            std::filesystem::copy(tables.folder.path, copy);
            ASSERT_TRUE(house_in(copy).batches == house.batches) << i;
        }
        transaction.commit();
        apply_entry(house, lived.entries[i]);
    }
}

TEST(Crash, LeavesAHouseWhereverTheLogIsCut)
{
    tables tables;
    for (std::uint64_t id = 1; id <= 10; ++id)
        tables.keep({batch_of_rows(id)});
    const std::filesystem::path log = tables.folder.path / "journal.db-wal";
    const auto size = std::filesystem::file_size(log);
    temporary_directory copies;
    std::size_t before = 0;
    for (std::uintmax_t end = 0; end <= size; end += size / 50) {
        const std::filesystem::path copy = copies.path / std::to_string(end);
        std::filesystem::copy(tables.folder.path, copy);
        std::filesystem::remove(copy / "journal.db-shm");
        std::filesystem::resize_file(copy / "journal.db-wal", end);
        const desk::house house = house_in(copy);
        for (const auto& [id, batch] : house.batches)
            ASSERT_EQ(batch.rows.size(), ROWS);
        ASSERT_GE(house.batches.size(), before) << end;
        before = house.batches.size();
    }
    EXPECT_GE(before, 9);
}
