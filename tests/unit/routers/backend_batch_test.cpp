// What becomes of the batches that a backend is sent.
#include <gmock/gmock.h>
#include <unistd.h>

#include "server/desk/deadlines.h"
#include "unit/routers/backend_run.h"

using namespace routers;
using namespace std::chrono_literals;
using desk::link_state;
using testing::EndsWith;

using BackendBatch = BackendRun;

TEST_F(BackendBatch, WritesABatchAsOneRun)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    take({{0, 1}, {1, desk::NO_SOURCE}});
    const std::string head = "*COMMAND=route output\n*TYPE=command\n";
    const std::string batch = head + "from input=1\nqueue=add\nto output=0\n\n" + head +
                              "queue=add\nto output=1\n\n" + head + "queue=flush\n\n";
    EXPECT_TRUE(serve_until([&] { return heard().size() >= batch.size(); }));
    EXPECT_EQ(heard(), batch);
}

TEST_F(BackendBatch, ConfirmsATakeThatWasSentAndShown)
{
    const std::string sent = frame("N0TI\t1\t2");
    const std::string shown = frame("N0IQ\t1\t0\tN\tN\t2");
    run(becomes_ready() + WAITS_FOR_FLUSH + says("<DBG>Send to router: " + sent) +
        says("<DBG>Router: MSG " + shown.substr(1, shown.size() - 2)) +
        says("<DBG>Accepting route change output=0 input=1") +
        reports("*COMMAND=outputs\n*TYPE=message\no0.input.all=1") + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    ASSERT_TRUE(serve_until(has_ended(batch)));
    EXPECT_EQ(row(batch).end, desk::outcome::confirmed);
    EXPECT_EQ(main.trace.frames.size(), 2U);
}

TEST_F(BackendBatch, HoldsABatchWhileTheBackendMayDropWhatItReads)
{
    run(becomes_ready() + says("<DBG>Send to router: " + frame("N0TI\t1\t2")) + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.last_take.has_value(); }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::monotonic end = *main.last_take + QUEUE_LIFE;
    const desk::order order{desk::order::kind::send, "main", {{0, 1}}};

    carry_out(main, desk, {end - 2 * AROUND_QUEUE_END, {}}, order);
    ASSERT_TRUE(serve_until([this] { return !heard().empty(); }));
    const std::string batch = heard();
    EXPECT_THAT(batch, EndsWith("queue=flush\n\n"));

    carry_out(main, desk, {end - AROUND_QUEUE_END, {}}, order);
    carry_out(main, desk, {end - AROUND_QUEUE_END, {}}, order);
    EXPECT_EQ(main.held, batch + batch);
    EXPECT_EQ(next_due(main), end + AROUND_QUEUE_END);
    serve_backend(main, desk, {end + AROUND_QUEUE_END - 1us, {}});
    EXPECT_EQ(main.held, batch + batch);
    serve_backend(main, desk, {end + AROUND_QUEUE_END, {}});
    EXPECT_EQ(main.held, "");
    EXPECT_TRUE(serve_until([&] { return heard() == batch + batch + batch; }));
}

TEST_F(BackendBatch, DropsWhatIsHeldForABackendThatEnds)
{
    run(becomes_ready() + says("<DBG>Send to router: " + frame("N0TI\t1\t2")) + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.last_take.has_value(); }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    carry_out(main, desk, {*main.last_take + QUEUE_LIFE, {}},
              {desk::order::kind::send, "main", {{0, 1}}});
    EXPECT_FALSE(main.held.empty());
    stop_backend(main, now());
    ASSERT_TRUE(serve_until([this] { return !is_running(main); }));
    EXPECT_EQ(main.held, "");
    EXPECT_EQ(heard(), "");
}

TEST_F(BackendBatch, DropsWhatIsHeldForABackendThatDies)
{
    run(becomes_ready() + says("<DBG>Send to router: " + frame("N0TI\t1\t2")) + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.last_take.has_value(); }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::moment while_held{*main.last_take + QUEUE_LIFE, {}};
    carry_out(main, desk, while_held, {desk::order::kind::send, "main", {{0, 1}}});
    EXPECT_FALSE(main.held.empty());
    parent_link::send_signal(main.process, SIGKILL);
    const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
    while (main.starts == 1 && std::chrono::steady_clock::now() < deadline)
        serve_backend(main, desk, while_held);
    EXPECT_EQ(main.starts, 2U);
    EXPECT_EQ(main.held, "");
}

TEST_F(BackendBatch, EndsTheBackendThatHoldsWishesWhenTheLinkGoes)
{
    run("if [ -e \"$2.again\" ]; then exec cat >/dev/null; fi\n>\"$2.again\"\n" + becomes_ready() +
        WAITS_FOR_FLUSH + says("<NOTE>Connection suddenly dropped") +
        says("<NOTE>Connection to router closed") + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    ASSERT_TRUE(serve_until(has_ended(batch)));
    EXPECT_EQ(row(batch).end, desk::outcome::not_sent);
    EXPECT_EQ(row(batch).why, desk::reason::link_lost);
    EXPECT_EQ(main.starts, 2U);
    EXPECT_TRUE(is_running(main));
    EXPECT_TRUE(main.ends.empty());
    EXPECT_FALSE(main.kill_at);
}

// The link is lost, made again and used before anybody looks.
TEST_F(BackendBatch, CallsNothingNotSentThatTheNextLinkHasCarried)
{
    run("if [ -e \"$2.again\" ]; then exec cat >/dev/null; fi\n" + becomes_ready() +
        WAITS_FOR_FLUSH + says("<NOTE>Connection suddenly dropped") +
        says("<NOTE>Connection to router closed") + becomes_ready() +
        says("<DBG>Send to router: " + frame("N0TI\t1\t2")) + ">\"$2.again\"\n" + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
    while (!std::filesystem::exists(main.configuration + ".again") &&
           std::chrono::steady_clock::now() < deadline)
        usleep(1000);
    ASSERT_TRUE(serve_until([this] { return main.starts == 2; }));
    EXPECT_EQ(row(batch).end, desk::outcome::open);
    passed = desk::CONFIRMATION_LIMIT;
    desk::advance(desk, now());
    EXPECT_EQ(row(batch).end, desk::outcome::timed_out);
}

TEST_F(BackendBatch, LeavesOpenWhatABackendKilledOnALinkMayHaveSent)
{
    run("trap '' TERM\n" + becomes_ready() + "while read line; do :; done\n");
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    desk::router_settings other = main.settings;
    other.port = 4711;
    run_backend(main, desk, now(), other);
    ASSERT_TRUE(serve_until(has_ended(batch)));
    EXPECT_EQ(row(batch).end, desk::outcome::timed_out);
    EXPECT_EQ(main.starts, 2U);
    EXPECT_EQ(main.settings.port, 4711);
}

TEST_F(BackendBatch, SendsNothingUnlessTheLinkIsReady)
{
    run(says("<NOTE>Connection sucessful.") + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::reading)));
    carry_out(main, desk, now(), {desk::order::kind::send, "main", {{0, 1}}});
    EXPECT_EQ(main.held, "");
    carry_out(main, desk, now(), {desk::order::kind::end_backend, "main", {}});
    EXPECT_FALSE(main.ending);
    stop_backend(main, now());
    ASSERT_TRUE(serve_until([this] { return !is_running(main); }));
    EXPECT_EQ(heard(), "");
}

TEST_F(BackendBatch, SendsNothingToABackendThatEnds)
{
    run("trap '' TERM\n" + becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    stop_backend(main, now());
    carry_out(main, desk, now(), {desk::order::kind::send, "main", {{0, 1}}});
    EXPECT_EQ(main.held, "");
    EXPECT_EQ(main.process.unsent, "");
    ASSERT_TRUE(serve_until([this] { return !is_running(main); }));
    EXPECT_EQ(heard(), "");
}

TEST_F(BackendBatch, DropsBatchesOfOneThatDoesNotRead)
{
    run(becomes_ready() + IS_DEAF);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    std::vector<std::pair<int, int>> rows;
    for (int i = 0; i < desk::ROUTED_POSITIONS; ++i)
        rows.emplace_back(i, 0);
    for (int i = 0; i < 200 && main.dropped == 0; ++i)
        carry_out(main, desk, now(), {desk::order::kind::send, "main", rows});
    EXPECT_EQ(main.dropped, 1U);
    EXPECT_EQ(main.log.back().text, "The backend does not read; a batch was dropped");
    EXPECT_LE(main.process.unsent.size(), UNSENT_LIMIT);
    EXPECT_THAT(main.process.unsent, EndsWith("queue=flush\n\n"));
}
