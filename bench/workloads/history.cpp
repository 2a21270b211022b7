#include "server/journal/history.h"

#include <chrono>
#include <random>

#include "bench/workloads/workload.h"
#include "server/journal/sql.h"
#include "tools/common/random.h"

namespace bench {

namespace {
constexpr std::int64_t ROWS = 10'000'000;
constexpr std::int64_t QUICK_ROWS = 20'000;
constexpr std::int64_t ROWS_AT_ONCE = 10'000; // in one transaction
constexpr std::int64_t ROWS_PER_BATCH = 10;
constexpr std::chrono::minutes LONGEST_BUILDING{10}; // then the history stays shorter
constexpr std::size_t QUESTIONS = 1000;
constexpr std::size_t QUICK_QUESTIONS = 50;
constexpr double LIMIT_MS = 50;
constexpr std::int64_t SECOND_MS = 1000; // from row to row

constexpr int ROUTERS = 50;
constexpr int DESTINATIONS = 256;
constexpr int PEOPLE = 40;
constexpr double FAILING = 0.02; // of all

std::string router(std::mt19937_64& random)
{
    return "r" + std::to_string(common::draw(random, 1, ROUTERS));
}

std::string person(std::mt19937_64& random)
{
    return "person" + std::to_string(common::draw(random, 1, PEOPLE));
}

void add_rows(journal::database& database, std::int64_t first, std::mt19937_64& random)
{
    SQLite::Transaction transaction(*database.file);
    for (std::int64_t id = first; id < first + ROWS_AT_ONCE; ++id) {
        const std::int64_t batch = id / ROWS_PER_BATCH + 1;
        if (id % ROWS_PER_BATCH == 0)
            journal::run(database,
                         "INSERT INTO batches VALUES(?, ?, 'take', 'all', ?, 'panel', '', ?, NULL,"
                         " 0, ?)",
                         batch, "batch " + std::to_string(batch), person(random), id * SECOND_MS,
                         ROWS_PER_BATCH);
        const bool fails = common::draw_chance(random, FAILING);
        journal::run(database,
                     "INSERT INTO history(at, kind, person, origin, router, destination, source,"
                     " was, batch, wish, outcome, detail, unchanged, sent_after, ended_after,"
                     " accepted) VALUES(?, 'take', ?, ?, ?, ?, 1, 2, ?, ?, ?, '', 0, 300, 600, 0)",
                     id * SECOND_MS, person(random),
                     std::string(common::draw_chance(random, 0.5) ? "panel" : "api"),
                     router(random), common::draw(random, 0, DESTINATIONS - 1), batch,
                     id % ROWS_PER_BATCH, std::string(fails ? "timedOut" : "confirmed"));
    }
    transaction.commit();
}

// Returns how many there are in the end. The indexes are those of the journal; it takes far less
// time to make them once all is there.
std::int64_t build(journal::database& database, const bench_plan& plan)
{
    std::vector<std::string> made;
    journal::each_row(database,
                      "SELECT name, sql FROM sqlite_master WHERE type = 'index' AND"
                      " tbl_name = 'history' AND sql IS NOT NULL",
                      [&](SQLite::Statement& row) {
                          made.push_back(row.getColumn(0).getString());
                          made.push_back(row.getColumn(1).getString());
                          return true;
                      });
    for (std::size_t i = 0; i < made.size(); i += 2)
        database.file->exec("DROP INDEX " + made[i]);
    std::mt19937_64 random(1);
    const auto wanted = static_cast<std::size_t>(plan.quick ? QUICK_ROWS : ROWS);
    std::int64_t rows = 0;
    const auto end = std::chrono::steady_clock::now() + LONGEST_BUILDING;
    plan.progress("rows", 0, wanted);
    while (static_cast<std::size_t>(rows) < wanted && std::chrono::steady_clock::now() < end) {
        add_rows(database, rows, random);
        rows += ROWS_AT_ONCE;
        plan.progress("rows", static_cast<std::size_t>(rows), wanted);
    }
    plan.progress("indexes", 0, made.size() / 2);
    for (std::size_t i = 0; i < made.size(); i += 2) {
        database.file->exec(made[i + 1]);
        plan.progress("indexes", i / 2 + 1, made.size() / 2);
    }
    return rows;
}

// Any of what people ask, from anywhere in the history on.
journal::history_question any_question(std::mt19937_64& random, std::int64_t rows)
{
    journal::history_question question;
    journal::history_filter& filter = question.filter;
    if (common::draw_chance(random, 0.5)) filter.router = router(random);
    if (filter.router && common::draw_chance(random, 0.5))
        filter.destination = common::draw(random, 0, DESTINATIONS - 1);
    if (common::draw_chance(random, 0.3)) filter.person = person(random);
    if (common::draw_chance(random, 0.3)) filter.origin = "api";
    if (common::draw_chance(random, 0.3)) filter.kind = "take";
    if (common::draw_chance(random, 0.3))
        filter.outcome = common::draw_chance(random, 0.5) ? "timedOut" : "confirmed";
    if (common::draw_chance(random, 0.7))
        filter.until = desk::wall(common::draw<std::int64_t>(random, 0, rows) * SECOND_MS);
    return question;
}
} // namespace

measurements measure_history(const bench_plan& plan)
{
    const temporary_directory folder;
    journal::database database;
    std::string error;
    if (!journal::open_database(database, folder.path, error)) throw std::runtime_error(error);
    database.file->exec("PRAGMA synchronous = OFF"); // only building is faster
    const std::int64_t rows = build(database, plan);
    std::mt19937_64 random(2);
    std::vector<double> ms;
    const std::size_t questions = plan.quick ? QUICK_QUESTIONS : QUESTIONS;
    plan.progress("questions", 0, questions);
    for (std::size_t i = 0; i < questions; ++i) {
        const journal::history_question question = any_question(random, rows);
        const double start = now_in_us();
        journal::ask_history(database, question);
        ms.push_back((now_in_us() - start) / 1000);
        plan.progress("questions", i + 1, questions);
    }
    const paired_samples samples{.ours = ms, .floor = {}};
    figure middle = make_figure("history", "a filtered page, p50", "ms", samples);
    figure late = make_figure("history", "a filtered page, p99", "ms", samples, 0.99);
    middle.limit = LIMIT_MS;
    late.limit = LIMIT_MS;
    const paired_samples counted{.ours = {static_cast<double>(rows)}, .floor = {}};
    return {.figures = {make_figure("history", "rows", "rows", counted), middle, late},
            .tables = {}};
}

} // namespace bench
