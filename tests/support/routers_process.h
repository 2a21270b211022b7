// The fixture of the tests that run a desk with real backends on simulated routers. Everything
// waits for events; a wait fails only when five minutes have passed.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "server/desk/start.h"
#include "server/desk/takes.h"
#include "server/routers/routers.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

class RoutersProcess : public testing::Test {
  protected:
    struct simulated {
        line_program simulator;
        std::set<std::string> takes; // that it has seen: "TI 4 5", indexes from 1, hexadecimal
        int caught_up = 0;           // how often it has told that
    };

    desk::desk_state desk = desk::make_desk(1);
    temporary_directory directory;
    routers::running_routers routers;
    std::chrono::milliseconds confirmation_limit = desk::LONGEST_CONFIRMATION_LIMIT; // of routers
    std::map<std::string, simulated> simulators;                                     // by router
    std::map<desk::wish_id, std::vector<desk::wish_ended>> ends;

    RoutersProcess();
    void TearDown() override; // ends the backends; shows what a failed test's routers were

    static desk::moment now();
    desk::router_settings settings_of(const std::string& id, int port) const;

    // A router of 32 sources and destinations, which has a backend from now on.
    void add_router(const std::string& id);
    // One of which nothing is simulated.
    void add_played_router(const std::string& id);

    // Types it at the router's simulator.
    void say(const std::string& router, const std::string& line);

    // Serves everybody until done() holds. False when the time is over first.
    bool until(const std::function<bool()>& done);
    void serve_once(int time_out_ms);
    bool is_ready(const std::string& router) const;
    // Until the simulator has told all that it has seen so far.
    bool catch_up(const std::string& router);

    desk::take_answer take(const std::string& router, int destination, int source);
    const desk::wish& wish_of(const desk::ulid& batch) const;
    bool has_ended(const desk::ulid& batch) const;
    bool was_seen(const desk::route& wished);

    // What has been found false about the end of the wish; empty: nothing. All that the router has
    // seen has been told.
    std::string problem_of(const desk::ulid& batch);
};
