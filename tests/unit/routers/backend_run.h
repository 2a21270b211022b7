// The fixture of the tests of one backend, whose place a shell script takes that says what a
// backend would.
#pragma once

#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "server/desk/start.h"
#include "server/desk/steps.h"
#include "server/desk/takes.h"
#include "server/desk/words.h"
#include "server/routers/backend.h"
#include "support/backend_script.h"
#include "support/frames.h"
#include "support/patience.h"
#include "support/temporary_directory.h"

class BackendRun : public testing::Test {
  protected:
    desk::desk_state desk = desk::make_desk(1);
    temporary_directory folder;
    routers::backend main;
    desk::monotonic passed{}; // beyond the clock's time
    desk::actor anna{"anna", "test", {desk::right::operate, {}, {}}};

    BackendRun()
    {
        desk::router_settings settings;
        settings.id = "main";
        settings.name = "Main";
        settings.address = "10.0.0.5";
        desk::record_entry(desk, {{}, "", "", desk::router_set{settings}});
        desk.live["main"];
        main.router = "main";
        main.configuration = folder.path / "main.conf";
    }

    desk::moment now() const
    {
        const auto steady = std::chrono::steady_clock::now().time_since_epoch();
        return {std::chrono::duration_cast<desk::monotonic>(steady) + passed,
                desk::wall(1'000'000'000)};
    }

    void run(const std::string& script)
    {
        main.program = folder.file("backend", "#!/bin/sh\n" + script);
        std::filesystem::permissions(main.program, std::filesystem::perms::owner_all);
        run_backend(main, desk, now(), desk.house.routers.at("main").settings);
    }

    // What a backend says of a message that it has received.
    static std::string receives(const std::string& message)
    {
        const std::string whole = frame(message);
        return says("<DBG>Router: MSG " + whole.substr(1, whole.size() - 2));
    }

    void carry_out_orders()
    {
        for (const desk::order& order : std::exchange(desk.orders, {}))
            carry_out(main, desk, now(), order);
    }

    template <typename condition>
    testing::AssertionResult serve_until(condition done)
    {
        const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline)
                return testing::AssertionFailure() << "link: " << live().link_reason;
            std::vector<pollfd> descriptors;
            parent_link::add_poll_descriptors(main.process, descriptors);
            poll(descriptors.data(), descriptors.size(), next_due(main) ? 5 : 50);
            serve_backend(main, desk, now());
            carry_out_orders();
        }
        return testing::AssertionSuccess();
    }

    auto link_is(desk::link_state state)
    {
        return [this, state] {
            return live().link == state;
        };
    }

    const desk::live_router& live() const
    {
        return desk.live.at("main");
    }

    std::string heard() const
    {
        std::ostringstream text;
        text << std::ifstream(main.configuration + ".heard").rdbuf();
        return text.str();
    }

    desk::ulid take(const std::vector<std::pair<int, int>>& rows)
    {
        desk::take_request request;
        for (const auto& [destination, source] : rows)
            request.rows.push_back({{"main", destination, source}, {}});
        const desk::take_answer answer = desk::take(desk, now(), anna, request);
        EXPECT_EQ(answer.why, desk::reason::none) << answer.detail;
        carry_out_orders();
        return answer.batch;
    }

    const desk::wish& row(const desk::ulid& batch) const
    {
        return desk.house.batches.at(batch).rows.at(0);
    }

    auto has_ended(const desk::ulid& batch)
    {
        return [this, batch] {
            return row(batch).end != desk::outcome::open;
        };
    }
};
