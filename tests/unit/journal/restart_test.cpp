#include "server/desk/deadlines.h"
#include "server/desk/reports.h"
#include "server/desk/start.h"
#include "server/desk/takes.h"
#include "server/desk/trace.h"
#include "server/journal/house_json.h"
#include "server/journal/saved_house.h"
#include "unit/desk/model_history.h"
#include "unit/journal/journal_test.h"

using namespace journal;

namespace {
// A desk that is killed at any moment: what it has said until then is in the tables.
struct lives {
    tables kept;
    desk::moment now{desk::monotonic(0), NOW};
    desk::desk_state desk = desk::make_desk(1);
    const desk::actor anna{"anna", "panel", {desk::right::operate, {}, {}}};

    lives()
    {
        kept.keep({by_anna(desk::router_set{{"r1", "One", "10.0.0.1"}})});
        start();
    }

    // Returns how many entries the start has made.
    std::size_t start()
    {
        close_database(kept.opened);
        kept.open();
        now.utc += std::chrono::seconds(1);
        desk = desk::make_desk(2, saved_house(kept.store, now.utc), now);
        const std::size_t entries = desk.entries.size();
        keep();
        report_link(desk, now, "r1", desk::link_state::ready, "");
        return entries;
    }

    void keep()
    {
        kept.keep(desk.entries);
        desk.entries.clear();
    }

    void report(int destination, int source)
    {
        const std::pair<int, int> route{destination, source};
        report_routes(desk, now, "r1", {&route, 1});
        keep();
    }

    desk::ulid wish(int destination, int source)
    {
        desk::take_request request;
        request.rows = {{{"r1", destination, source}, {}}};
        const desk::ulid batch = take(desk, now, anna, request).batch;
        keep();
        return batch;
    }

    const desk::wish& row_of(const desk::ulid& batch) const
    {
        return desk.house.batches.at(batch).rows.at(0);
    }

    bool same_in_tables()
    {
        return saved_house(kept.store, now.utc) == desk.house;
    }
};
} // namespace

TEST(Restart, EndsOpenWishesAndSaysWhatTheRouterShows)
{
    lives lives;
    for (int destination = 0; destination < 4; ++destination)
        lives.report(destination, 0);
    const desk::ulid sent = lives.wish(0, 5);
    const desk::ulid queued = lives.wish(1, 5);
    const desk::ulid outside = lives.wish(2, 5);
    const desk::ulid confirmed = lives.wish(3, 5);
    for (const int destination : {0, 3}) {
        trace_take(lives.desk, lives.now, "r1", destination, 5);
        trace_route(lives.desk, lives.now, "r1", destination, 5);
    }
    lives.report(3, 5);

    EXPECT_EQ(lives.start(), 3U);
    for (const desk::ulid& batch : {sent, queued, outside})
        EXPECT_EQ(lives.row_of(batch).end, desk::outcome::unknown);
    EXPECT_EQ(lives.row_of(confirmed).end, desk::outcome::confirmed);

    lives.report(0, 5);
    lives.report(1, 0);
    lives.report(2, 7);
    EXPECT_EQ(lives.row_of(sent).found, 5);
    EXPECT_TRUE(lives.row_of(sent).confirmed_late_after);
    EXPECT_EQ(lives.row_of(queued).found, 0);
    EXPECT_EQ(lives.row_of(queued).detail,
              "the program was restarted; then the router showed source 1");
    EXPECT_EQ(lives.row_of(outside).found, 7);
    EXPECT_FALSE(lives.row_of(outside).confirmed_late_after);
    EXPECT_TRUE(lives.same_in_tables());

    EXPECT_EQ(lives.start(), 0U) << "each ends once";
    EXPECT_EQ(lives.row_of(queued).found, 0);
}

TEST(Restart, SaysWhatTheRouterShowsOfEachWishOfADestination)
{
    lives lives;
    lives.report(0, 0);
    const desk::ulid older = lives.wish(0, 5);
    const desk::ulid newer = lives.wish(0, 6);
    lives.start();
    lives.start(); // before the router said anything
    lives.report(0, 6);
    EXPECT_EQ(lives.row_of(older).found, 6);
    EXPECT_FALSE(lives.row_of(older).confirmed_late_after);
    EXPECT_EQ(lives.row_of(newer).found, 6);
    EXPECT_TRUE(lives.row_of(newer).confirmed_late_after);
    EXPECT_TRUE(lives.same_in_tables());
}

TEST(Restart, ForgetsWhoseDoingItWasBeforeATakeThatNothingConfirmed)
{
    lives lives;
    lives.report(0, 0);
    lives.report(0, 5);
    ASSERT_TRUE(lives.desk.house.routers.at("r1").authors.contains(0));
    lives.wish(0, 6);
    trace_take(lives.desk, lives.now, "r1", 0, 6);
    lives.report(0, 6);
    lives.now.steady += std::chrono::seconds(3);
    advance(lives.desk, lives.now);
    lives.keep();
    EXPECT_FALSE(lives.desk.house.routers.at("r1").authors.contains(0));
    EXPECT_TRUE(lives.same_in_tables());
}

TEST(Restart, LeavesNothingOpenAfterAnyEntry)
{
    const model::outcome lived = model::outcome_of(model::random_steps(7, 300));
    tables tables;
    for (const desk::entry& entry : lived.entries) {
        tables.keep({entry});
        desk::desk_state desk =
            desk::make_desk(1, saved_house(tables.store, entry.at), {desk::monotonic(0), entry.at});
        SQLite::Transaction undone(*tables.opened.file);
        for (const desk::entry& end : desk.entries)
            keep_entry(tables.store, end);
        const desk::house again = saved_house(tables.store, entry.at);
        ASSERT_TRUE(again == desk.house)
            << nlohmann::json::diff(house_json(desk.house), house_json(again)).dump(1);
        for (const auto& [id, batch] : again.batches)
            for (const desk::wish& row : batch.rows)
                ASSERT_NE(row.end, desk::outcome::open);
    }
}
