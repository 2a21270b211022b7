#include <random>

#include "server/journal/history.h"
#include "unit/journal/journal_test.h"

using namespace journal;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {
using std::chrono::seconds;

// Some of everything, one after the other, two seconds apart.
struct HistoryTest : testing::Test {
    journal::tables tables;

    void SetUp() override
    {
        std::vector<desk::entry> entries = {
            by_anna(desk::router_set{{"r1", "One", ""}}),
            by_anna(desk::lock_set{"r1", 3, {desk::lock_mode::lock, "anna", "on air", NOW, {}}}),
            take_of(7, "ben", {"r1", 2, 5}),
            by_anna(desk::salvo_saved{{1, 9}, "NEWS", {1, "anna", NOW, {{"r1", 0, 1}}}}),
            take_of(8, "ben", {"r2", 2, 6}),
            {NOW, "", "", desk::outside_change{"r1", 2, 4, 5}},
            by_anna(desk::wish_accepted{{{1, 8}, 0}}),
            by_anna(desk::salvo_deleted{{1, 9}})};
        for (std::size_t i = 0; i < entries.size(); ++i)
            entries[i].at = NOW + seconds(2 * i);
        entries.push_back(end_of(7, desk::outcome::confirmed));
        entries.push_back(end_of(8, desk::outcome::refused));
        tables.keep(entries);
    }

    std::vector<std::string> kinds(const history_filter& filter)
    {
        std::vector<std::string> found;
        for (const history_row& row : ask_history(tables.opened, {filter, {}, 100}).rows)
            found.push_back(row.kind);
        return found;
    }

    // How the database finds the rows.
    std::string plan(const history_filter& filter)
    {
        history_question question{filter, history_place{NOW, 5}, 10};
        SQLite::Statement explained(*tables.opened.file,
                                    "EXPLAIN QUERY PLAN " + finding_sql(question));
        std::string text;
        while (explained.executeStep())
            text += explained.getColumn(3).getString() + "\n";
        return text;
    }
};
} // namespace

TEST_F(HistoryTest, TellsTheWholeLifeOfAWish)
{
    history_filter filter;
    filter.batch = desk::text_of(desk::ulid{1, 8});
    filter.kind = "take";
    const history_page page = ask_history(tables.opened, {filter, {}, 100});
    ASSERT_EQ(page.rows.size(), 1);
    const history_row& row = page.rows[0];
    EXPECT_EQ(row.place.at, NOW + seconds(8));
    EXPECT_EQ(row.person, "ben");
    EXPECT_EQ(row.origin, "panel");
    EXPECT_EQ(row.router, "r2");
    EXPECT_EQ(row.destination, 2);
    EXPECT_EQ(row.source, 6);
    EXPECT_EQ(row.was, desk::UNKNOWN_SOURCE);
    EXPECT_EQ(row.batch, *filter.batch);
    EXPECT_EQ(row.wish, 0);
    EXPECT_EQ(row.outcome, "refused");
    EXPECT_EQ(row.ended_after, std::chrono::milliseconds(12));
    EXPECT_EQ(row.sent_after, std::nullopt);
    EXPECT_TRUE(row.accepted);
}

TEST_F(HistoryTest, TellsEverythingNewestFirst)
{
    EXPECT_THAT(kinds({}), ElementsAre("salvoDeleted", "outcomeAccepted", "outsideChange", "take",
                                       "salvoSaved", "take", "lockSet", "routerSet"));
}

TEST_F(HistoryTest, TellsWhatTheFilterAsksFor)
{
    EXPECT_THAT(kinds({.router = "r1"}),
                ElementsAre("outsideChange", "take", "lockSet", "routerSet"));
    EXPECT_THAT(kinds({.router = "r1", .destination = 2}), ElementsAre("outsideChange", "take"));
    EXPECT_THAT(kinds({.destination = 3}), ElementsAre("lockSet"));
    EXPECT_THAT(kinds({.person = "ben"}), ElementsAre("take", "take"));
    EXPECT_THAT(kinds({.person = "ben", .outcome = "confirmed"}), ElementsAre("take"));
    EXPECT_THAT(kinds({.origin = ""}), ElementsAre("outsideChange"));
    EXPECT_THAT(kinds({.kind = "lockSet"}), ElementsAre("lockSet"));
    EXPECT_THAT(kinds({.outcome = "refused"}), ElementsAre("take"));
    EXPECT_THAT(kinds({.router = "r2", .outcome = "confirmed"}), IsEmpty());
    EXPECT_THAT(kinds({.batch = desk::text_of(desk::ulid{1, 8})}),
                ElementsAre("outcomeAccepted", "take"));
    EXPECT_THAT(kinds({.batch = "none"}), IsEmpty());
    EXPECT_THAT(kinds({.salvo = desk::text_of(desk::ulid{1, 9})}),
                ElementsAre("salvoDeleted", "salvoSaved"));
    EXPECT_THAT(kinds({.from = NOW + seconds(2), .until = NOW + seconds(6)}),
                ElementsAre("take", "lockSet"));
}

TEST_F(HistoryTest, TellsOneRowOnOnePageOnly)
{
    std::vector<std::string> found;
    history_question question{{}, {}, 3};
    std::size_t pages = 0;
    do {
        const history_page page = ask_history(tables.opened, question);
        for (const history_row& row : page.rows)
            found.push_back(row.kind);
        question.after = page.next;
        ++pages;
    } while (question.after);
    EXPECT_EQ(found, kinds({}));
    EXPECT_EQ(pages, 3);
}

TEST_F(HistoryTest, TellsRowsOfOneTimeOnOnePageOnly)
{
    std::vector<desk::entry> entries;
    for (std::uint64_t id = 100; id < 105; ++id)
        entries.push_back(take_of(id, "kim", {"r3", 0, static_cast<int>(id)}, NOW));
    tables.keep(entries);
    std::vector<int> sources;
    history_question question{{.person = "kim"}, {}, 2};
    do {
        const history_page page = ask_history(tables.opened, question);
        for (const history_row& row : page.rows)
            sources.push_back(*row.source);
        question.after = page.next;
    } while (question.after);
    EXPECT_THAT(sources, ElementsAre(104, 103, 102, 101, 100));
}

TEST_F(HistoryTest, ExaminesNoMoreThanItsBound)
{
    std::vector<desk::entry> entries;
    for (std::uint64_t id = 100; id <= 100 + ROWS_EXAMINED; ++id)
        entries.push_back(take_of(id, "kim", {"r3", 0, 1}, NOW + seconds(100)));
    tables.keep(entries);
    const history_filter filter{.person = "kim", .origin = "none"};
    const history_page first = ask_history(tables.opened, {filter, {}, 10});
    EXPECT_THAT(first.rows, IsEmpty());
    ASSERT_TRUE(first.next);
    const history_page second = ask_history(tables.opened, {filter, first.next, 10});
    EXPECT_THAT(second.rows, IsEmpty());
    EXPECT_FALSE(second.next);
}

// Rows come in order from the index, from the place where the last page ended; the table is never
// searched, nor sorted but for the rows of one batch.
TEST_F(HistoryTest, FindsRowsByAnIndex)
{
    const auto expect = [&](const history_filter& filter, const std::string& index,
                            const std::string& key) {
        EXPECT_EQ(plan(filter), "SEARCH history USING " + index + " (" + key + ")\n");
    };
    expect({}, "COVERING INDEX history_by_time", "at>? AND at<?");
    expect({.from = NOW, .until = NOW}, "COVERING INDEX history_by_time", "at>? AND at<?");
    expect({.router = "r1"}, "COVERING INDEX history_by_router", "router=? AND at>? AND at<?");
    expect({.router = "r1", .destination = 1}, "COVERING INDEX history_by_destination",
           "router=? AND destination=? AND at>? AND at<?");
    expect({.person = "ben"}, "COVERING INDEX history_by_person", "person=? AND at>? AND at<?");
    expect({.origin = "api"}, "COVERING INDEX history_by_origin", "origin=? AND at>? AND at<?");
    expect({.kind = "take"}, "COVERING INDEX history_by_kind", "kind=? AND at>? AND at<?");
    expect({.outcome = "refused"}, "COVERING INDEX history_by_outcome",
           "outcome=? AND at>? AND at<?");
    expect({.router = "r1", .outcome = "refused"}, "INDEX history_by_outcome",
           "outcome=? AND at>? AND at<?");
    expect({.salvo = "x"}, "COVERING INDEX history_by_salvo", "salvo=? AND at>? AND at<?");
    EXPECT_THAT(plan({.batch = "x"}), HasSubstr("SEARCH history USING INDEX history_by_batch"));
}
