// A console of anna's with two routers, "main", which is in use, and "back": sources CAM 1 to CAM
// 8, destinations MON A to MON H, of which each shows CAM 1; links ready. What backends do is told
// to the desk.
#pragma once

#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>

#include "console/commands.h"
#include "console/console_state.h"
#include "console/events.h"
#include "server/desk/deadlines.h"
#include "server/desk/reports.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "server/desk/trace.h"
#include "server/desk/words.h"
#include "tools/common/words.h"

namespace console {

class ConsoleTest : public testing::Test {
  protected:
    static constexpr int POSITIONS_HERE = 8;

    console_state console{.desk = desk::make_desk(1),
                          .running = {},
                          .person = {"anna", "console", {desk::right::administer, {}, {}}},
                          .router = "main",
                          .before = {},
                          .shown = {},
                          .history = {}};
    // 2026-11-21 14:02:11 UTC
    desk::moment now{desk::monotonic(5'000'000), desk::wall(1'795'269'731'000)};

    ConsoleTest()
    {
        setenv("TZ", "UTC0", 1);
        tzset();
        add_router("main");
        add_router("back");
        happened();
    }

    void add_router(const std::string& id)
    {
        desk::router_settings settings;
        settings.id = settings.name = id;
        desk::set_router(console.desk, now, console.person, settings);
        std::vector<std::string> sources, destinations;
        for (int i = 0; i < POSITIONS_HERE; ++i) {
            sources.push_back("CAM " + std::to_string(i + 1));
            destinations.push_back(std::string("MON ") + static_cast<char>('A' + i));
        }
        desk::report_counts(console.desk, id, POSITIONS_HERE, POSITIONS_HERE);
        desk::report_names(console.desk, id, desk::side::sources, sources);
        desk::report_names(console.desk, id, desk::side::destinations, destinations);
        link(desk::link_state::ready, "", id);
        for (int i = 0; i < POSITIONS_HERE; ++i)
            report(i, 0, id);
    }

    void link(desk::link_state state, const std::string& reason = "",
              const std::string& router = "main")
    {
        desk::report_link(console.desk, now, router, state, reason);
    }

    void report(int destination, int source, const std::string& router = "main")
    {
        const std::pair<int, int> route{destination, source};
        desk::report_routes(console.desk, now, router, {&route, 1});
    }

    // The whole way of one take.
    void carry_out(int destination, int source, const std::string& router = "main")
    {
        desk::trace_take(console.desk, now, router, destination, source);
        desk::trace_query(console.desk, router, destination);
        desk::trace_route(console.desk, now, router, destination, source);
        report(destination, source, router);
    }

    void wait_ms(int milliseconds)
    {
        now.steady += std::chrono::milliseconds(milliseconds);
        now.utc += std::chrono::milliseconds(milliseconds);
        desk::advance(console.desk, now);
    }

    answer ask(const std::string& line)
    {
        return run_command(console, now, common::split_words(line).commands.at(0));
    }

    std::string says(const std::string& line)
    {
        return ask(line).text;
    }

    // What has happened since the last call, as it is shown without being followed.
    std::string happened(bool follow = false)
    {
        std::vector<notice> notices;
        take_events(console, now, notices);
        std::string text;
        for (const notice& each : notices)
            if (each.always || follow) text += each.text;
        return text;
    }
};

} // namespace console
