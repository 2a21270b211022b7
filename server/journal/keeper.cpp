#include "server/journal/keeper.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <sqlite3.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

#include "server/journal/entry_tables.h"
#include "server/journal/house_tables.h"
#include "server/journal/saved_batch.h"
#include "server/journal/sql.h"
#include "server/journal/store.h"

namespace journal {

namespace {
using clock = std::chrono::steady_clock;

constexpr std::chrono::seconds NEXT_TRY{1};     // after a failure of the disk
constexpr std::chrono::minutes NEXT_REMOVAL{1}; // of what is beyond the retention
constexpr std::size_t RECORDS_AT_ONCE = 4096;   // in one transaction

desk::wall wall_clock()
{
    return std::chrono::duration_cast<desk::wall>(
        std::chrono::system_clock::now().time_since_epoch());
}

void signal(const keeper& keeper)
{
    const std::uint64_t one = 1;
    // It can only fail when it is readable already.
    [[maybe_unused]] const ssize_t written = write(keeper.ready.number, &one, sizeof one);
}

// The oldest beyond the bound, which the caller destroys without the mutex.
std::vector<waiting_record> drop_beyond(keeper& keeper)
{
    std::vector<waiting_record> dropped;
    while (keeper.records.size() > 1 &&
           (keeper.records.size() > keeper.bounds.records || keeper.bytes > keeper.bounds.bytes)) {
        keeper.bytes -= keeper.records.front().bytes;
        dropped.push_back(std::move(keeper.records.front()));
        keeper.records.pop_front();
    }
    keeper.news.health.lost += dropped.size();
    return dropped;
}

// It will come to lose some.
bool is_behind(const keeper& keeper)
{
    return keeper.records.size() > keeper.bounds.records / 2 ||
           keeper.bytes > keeper.bounds.bytes / 2;
}

std::uint64_t give(keeper& keeper, std::vector<waiting_record> records)
{
    for (waiting_record& each : records)
        each.bytes = size_of(each.what);
    std::vector<waiting_record> dropped;
    const std::lock_guard lock(keeper.mutex);
    const bool was_behind = is_behind(keeper);
    for (waiting_record& each : records) {
        each.number = ++keeper.records_given;
        keeper.bytes += each.bytes;
        keeper.records.push_back(std::move(each));
    }
    keeper_health& health = keeper.news.health;
    if (health.failure.empty() && !was_behind && is_behind(keeper)) health.since = wall_clock();
    dropped = drop_beyond(keeper);
    keeper.work.notify_one();
    return keeper.records_given;
}

void keep_record(store& store, const desk::entry& entry)
{
    keep_entry(store, entry);
}

void keep_record(store& store, const note& note)
{
    keep_note(store, note);
}

void keep_record(store& store, const whole_house& whole)
{
    keep_house(store, whole.house);
}

// Rather than what was asked of it.
bool is_disks_fault(const std::exception& thrown)
{
    const auto* const failure = dynamic_cast<const SQLite::Exception*>(&thrown);
    if (failure == nullptr) return false;
    switch (failure->getErrorCode()) {
    case SQLITE_ERROR:
    case SQLITE_TOOBIG:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_RANGE:
        return false;
    default:
        return true;
    }
}

struct refusals {
    std::uint64_t count = 0;
    std::string last;
};

// Throws, and nothing is changed, when the disk fails.
refusals keep_all(store& store, const std::vector<waiting_record>& records)
{
    refusals refused;
    SQLite::Transaction transaction(*store.database.file);
    for (const waiting_record& each : records) {
        const std::size_t untold = store.untold.size();
        run(store.database, "SAVEPOINT record");
        try {
            std::visit([&](const auto& what) { keep_record(store, what); }, each.what);
        } catch (const std::exception& thrown) {
            if (is_disks_fault(thrown)) throw;
            run(store.database, "ROLLBACK TO record");
            store.untold.resize(untold);
            ++refused.count;
            refused.last = thrown.what();
        }
        run(store.database, "RELEASE record");
    }
    transaction.commit();
    return refused;
}

std::vector<waiting_record> take_records(keeper& keeper)
{
    const auto end =
        std::next(keeper.records.begin(),
                  static_cast<std::ptrdiff_t>(std::min(RECORDS_AT_ONCE, keeper.records.size())));
    std::vector<waiting_record> taken(std::make_move_iterator(keeper.records.begin()),
                                      std::make_move_iterator(end));
    keeper.records.erase(keeper.records.begin(), end);
    for (const waiting_record& each : taken)
        keeper.bytes -= each.bytes;
    keeper.at_work = taken.size();
    keeper.at_work_since = clock::now();
    return taken;
}

std::vector<waiting_record> give_back(keeper& keeper, std::vector<waiting_record> records)
{
    for (const waiting_record& each : records)
        keeper.bytes += each.bytes;
    keeper.records.insert(keeper.records.begin(), std::make_move_iterator(records.begin()),
                          std::make_move_iterator(records.end()));
    return drop_beyond(keeper);
}

// Why not; empty when they are on the disk now, but for those that were refused.
std::string try_to_keep(store& store, const std::vector<waiting_record>& records, refusals& refused)
{
    try {
        refused = keep_all(store, records);
        tell_changes(store);
        return "";
    } catch (const std::exception& thrown) {
        forget_changes(store);
        return thrown.what();
    }
}

std::uint64_t bytes_of(database& database)
{
    try {
        return static_cast<std::uint64_t>(
            database.file->execAndGet("PRAGMA page_count").getInt64() *
            database.file->execAndGet("PRAGMA page_size").getInt64());
    } catch (const SQLite::Exception&) { // the next one tells of it
        return 0;
    }
}

// One transaction. The mutex is held before and after, not meanwhile.
void keep_some(keeper& keeper, store& store, std::unique_lock<std::mutex>& lock)
{
    std::vector<waiting_record> taken = take_records(keeper);
    std::vector<waiting_record> dropped;
    lock.unlock();
    refusals refused;
    const std::string failure = try_to_keep(store, taken, refused);
    const std::uint64_t bytes = failure.empty() ? bytes_of(store.database) : 0;
    const desk::wall now = wall_clock();
    const std::uint64_t last = taken.back().number;
    if (failure.empty()) taken.clear();
    lock.lock();
    keeper.at_work = 0;
    keeper_health& health = keeper.news.health;
    if (failure.empty()) {
        keeper.news.kept = last;
        health.bytes = bytes;
    } else {
        ++health.failures;
        dropped = give_back(keeper, std::move(taken));
        if (health.failure.empty()) health.since = now;
    }
    health.failure = failure;
    health.refused += refused.count;
    if (refused.count > 0) health.refusal = refused.last;
    signal(keeper);
    lock.unlock(); // the lost ones may be many to destroy
    dropped.clear();
    lock.lock();
}

void answer_one(keeper& keeper, std::unique_lock<std::mutex>& lock)
{
    const auto [number, asked] = std::move(keeper.questions.front());
    keeper.questions.pop_front();
    lock.unlock();
    answer answer{number, {}, ""};
    try {
        if (const auto* const batch = std::get_if<desk::ulid>(&asked))
            answer.batch = find_batch(keeper.opened, *batch);
        else
            answer.page = ask_history(keeper.opened, std::get<history_question>(asked));
    } catch (const std::exception& thrown) {
        answer.failure = thrown.what();
    }
    lock.lock();
    keeper.news.answers.push_back(std::move(answer));
    signal(keeper);
}

// False when there is no more to remove, or it could not be.
bool remove_some(keeper& keeper, std::unique_lock<std::mutex>& lock)
{
    bool more = false;
    lock.unlock();
    try {
        more = remove_oldest(keeper.opened, keeper.retention, wall_clock());
    } catch (const std::exception&) { // tried again later; what cannot be kept says why
    }
    lock.lock();
    return more;
}

struct schedule {
    clock::time_point next_try{};
    clock::time_point next_removal{};
};

// What is due: questions and records take turns, so that neither waits for all of the other. False
// when there was nothing.
bool work_once(keeper& keeper, store& store, schedule& due, std::unique_lock<std::mutex>& lock)
{
    const clock::time_point now = clock::now();
    bool worked = false;
    if (!keeper.records.empty() && due.next_try <= now) {
        keep_some(keeper, store, lock);
        due.next_try = keeper.news.health.failure.empty() ? now : clock::now() + NEXT_TRY;
        worked = true;
    }
    if (keeper.end_by) return worked;
    if (!keeper.questions.empty()) {
        answer_one(keeper, lock);
        worked = true;
    }
    if (!worked && keeper.records.empty() && due.next_removal <= now) {
        if (!remove_some(keeper, lock)) due.next_removal = clock::now() + NEXT_REMOVAL;
        worked = true; // more may have been given meanwhile, while nobody waited for it
    }
    return worked;
}

// What is as bad as a disk that fails, for as long as it lasts.
void tell_delay(const keeper& keeper, keeper_health& health)
{
    const auto lasts = clock::now() - keeper.at_work_since;
    if (!health.failure.empty()) return;
    if (keeper.at_work > 0 && lasts > LONGEST_AT_WORK) {
        health.failure = "the disk does not answer";
        health.since = wall_clock() - std::chrono::duration_cast<desk::wall>(lasts);
    } else if (is_behind(keeper)) {
        health.failure = "more is to be kept than the disk takes";
    }
}

// What the disk takes is kept, however much it is.
bool is_done(const keeper& keeper)
{
    if (!keeper.end_by) return false;
    const bool fails = !keeper.news.health.failure.empty();
    return keeper.records.empty() || (fails && *keeper.end_by <= clock::now());
}

void work(keeper& keeper)
{
    store store{keeper.opened, {}, {}};
    schedule due;
    std::unique_lock lock(keeper.mutex);
    keeper.news.health.bytes = bytes_of(store.database);
    while (!is_done(keeper)) {
        if (work_once(keeper, store, due, lock)) continue;
        clock::time_point until = keeper.records.empty() ? due.next_removal : due.next_try;
        if (keeper.end_by) until = std::min(until, *keeper.end_by);
        keeper.work.wait_until(lock, until);
    }
}
} // namespace

bool start_keeper(keeper& keeper, std::string& error)
{
    keeper.ready = common::owned_descriptor(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (keeper.ready.number < 0) {
        error = std::strerror(errno);
        return false;
    }
    try {
        keeper.thread = std::thread(work, std::ref(keeper));
    } catch (const std::system_error& thrown) {
        error = thrown.what();
        return false;
    }
    return true;
}

std::uint64_t keep(keeper& keeper, std::vector<desk::entry> entries)
{
    std::vector<waiting_record> records;
    records.reserve(entries.size());
    for (desk::entry& each : entries)
        records.push_back({0, 0, std::move(each)});
    return give(keeper, std::move(records));
}

std::uint64_t keep(keeper& keeper, note note)
{
    std::vector<waiting_record> records;
    records.push_back({0, 0, std::move(note)});
    return give(keeper, std::move(records));
}

std::uint64_t keep(keeper& keeper, whole_house whole)
{
    std::vector<waiting_record> records;
    records.push_back({0, 0, std::move(whole)});
    return give(keeper, std::move(records));
}

std::uint64_t ask(keeper& keeper, question asked)
{
    const std::lock_guard lock(keeper.mutex);
    if (keeper.questions.size() >= keeper.bounds.questions) return 0;
    keeper.questions.emplace_back(++keeper.questions_given, std::move(asked));
    keeper.work.notify_one();
    return keeper.questions_given;
}

results take_results(keeper& keeper)
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(keeper.ready.number, &count, sizeof count);
    const std::lock_guard lock(keeper.mutex);
    results taken{keeper.news.kept, std::exchange(keeper.news.answers, {}), keeper.news.health};
    taken.health.waiting = keeper.records.size() + keeper.at_work;
    tell_delay(keeper, taken.health);
    return taken;
}

bool finish_keeper(keeper& keeper, std::chrono::milliseconds limit)
{
    {
        const std::lock_guard lock(keeper.mutex);
        keeper.end_by = clock::now() + limit;
        keeper.work.notify_one();
    }
    keeper.thread.join();
    close_database(keeper.opened);
    return keeper.records.empty();
}

} // namespace journal
