// Backends that end, do not listen or never stop talking, beside one that is well.
#include <csignal>
#include <gmock/gmock.h>

#include "support/backend_script.h"
#include "support/routers_process.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {
class RoutersNeighbours : public RoutersProcess {
  protected:
    // The backend of this router is a shell script.
    void play(const std::string& id, const std::string& script)
    {
        played += "if [ \"${2##*/}\" = " + id + ".conf ]; then\n" + script + "fi\n";
        routers.program = directory.file("backend", "#!/bin/sh\n" + played + "exec '" +
                                                        backend_program() + "' \"$@\"\n");
        std::filesystem::permissions(routers.program, std::filesystem::perms::owner_all);
        add_played_router(id);
    }

    const routers::backend& backend_of(const std::string& id) const
    {
        return routers.backends.at(id);
    }

    auto ready(const std::string& id)
    {
        return [this, id] {
            return is_ready(id);
        };
    }

    void kill_backend(const std::string& id)
    {
        ASSERT_EQ(kill(backend_of(id).process.child.process, SIGKILL), 0);
        const std::uint64_t starts = backend_of(id).starts;
        ASSERT_TRUE(until([&] { return backend_of(id).starts > starts; }));
    }

    void expect_confirmed(const std::string& id, int destination, int source)
    {
        const desk::ulid batch = take(id, destination, source).batch;
        ASSERT_TRUE(until([&] { return has_ended(batch); }));
        EXPECT_EQ(wish_of(batch).end, desk::outcome::confirmed) << wish_of(batch).detail;
        EXPECT_TRUE(was_seen({id, destination, source}));
    }

  private:
    std::string played;
};
} // namespace

TEST_F(RoutersNeighbours, GoOnWhenABackendIsKilledDuringATake)
{
    ASSERT_NO_FATAL_FAILURE(add_router("main"));
    ASSERT_TRUE(until(ready("main")));
    expect_confirmed("main", 9, 8);
    for (int i = 0; i < 3; ++i) {
        const desk::ulid batch = take("main", i, 20 + i).batch;
        ASSERT_NO_FATAL_FAILURE(kill_backend("main"));
        ASSERT_TRUE(until([&] { return has_ended(batch) && is_ready("main"); }));
        ASSERT_TRUE(catch_up("main"));
        EXPECT_EQ(problem_of(batch), "");
        expect_confirmed("main", i, 10 + i);
    }
}

TEST_F(RoutersNeighbours, SayWhenABackendDoesNotStayUp)
{
    ASSERT_NO_FATAL_FAILURE(add_router("main"));
    for (std::size_t i = 1; i < routers::ENDS_FOR_FAILING; ++i) {
        ASSERT_TRUE(until(ready("main")));
        ASSERT_NO_FATAL_FAILURE(kill_backend("main"));
    }
    ASSERT_TRUE(until(ready("main")));
    ASSERT_EQ(kill(backend_of("main").process.child.process, SIGKILL), 0);
    ASSERT_TRUE(until([this] { return desk.live.at("main").link == desk::link_state::failing; }));
    EXPECT_THAT(desk.live.at("main").link_reason,
                StartsWith("its backend was ended by signal 9 (Killed), the end number 5 within a "
                           "minute: "));
    EXPECT_THAT(desk.live.at("main").link_reason, HasSubstr(backend_of("main").log.back().text));
    EXPECT_TRUE(until(ready("main")));
}

TEST_F(RoutersNeighbours, AreNotHeldUpByABackendThatDoesNotListen)
{
    play("deaf", becomes_ready() + IS_DEAF);
    ASSERT_NO_FATAL_FAILURE(add_router("main"));
    ASSERT_TRUE(until([this] { return is_ready("main") && is_ready("deaf"); }));
    // More than a pipe holds.
    parent_link::send_bytes(routers.backends.at("deaf").process, std::string(100'000, '\n'));
    ASSERT_FALSE(backend_of("deaf").process.unsent.empty());
    std::vector<desk::ulid> unheard;
    for (int i = 0; i < 8; ++i) {
        if (i < 2) unheard.push_back(take("deaf", i, 1).batch);
        expect_confirmed("main", i, 20);
    }
    for (const desk::ulid& batch : unheard) {
        ASSERT_TRUE(until([&] { return has_ended(batch); }));
        EXPECT_EQ(wish_of(batch).end, desk::outcome::timed_out);
        EXPECT_THAT(wish_of(batch).detail, StartsWith("it may have been sent"));
    }
    EXPECT_TRUE(until([this] { return backend_of("deaf").starts == 2; }));
    EXPECT_EQ(backend_of("main").starts, 1U);
}

TEST_F(RoutersNeighbours, AreNotHeldUpByABackendThatNeverStopsTalking)
{
    play("loud", becomes_ready() + "exec yes '<NOTE>flood' >&2\n");
    ASSERT_NO_FATAL_FAILURE(add_router("main"));
    ASSERT_TRUE(until([this] { return is_ready("main") && backend_of("loud").forgotten > 0; }));
    for (int i = 0; i < 8; ++i)
        expect_confirmed("main", i, 20);
    EXPECT_EQ(backend_of("loud").log.size(), routers::LOG_LINES);
    EXPECT_EQ(backend_of("loud").starts, 1U);
}
