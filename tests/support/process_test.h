// The fixture of the tests that run the real backend: between a parent (parent_link) and a router
// that the test plays, or the simulator as a program. Everything waits for events; a wait fails
// only when five minutes have passed.
#pragma once

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "parent_link/parent_link.h"
#include "support/child_process.h"
#include "support/tcp_router.h"
#include "support/temporary_directory.h"

class ProcessTest : public testing::Test {
  protected:
    temporary_directory directory;
    tcp_router router;
    line_program simulator;
    std::string simulator_port;
    parent_link::backend_link backend;
    parent_link::backend_link second_backend; // of another operator

    std::string error; // of what could not be started

    void TearDown() override; // shows the diagnostics of a test that has failed

    // Starts the backend with these lines as its configuration file.
    void start(const std::string& settings);
    // The address of the test's own router, as lines of a configuration file.
    std::string router_settings() const;
    // Starts it on this router, which listens.
    void start_on_router(const std::string& settings = "");
    // Starts it on a healthy router and waits until the status request goes round.
    void start_connected();
    void start_simulator(const std::vector<std::string>& options = {});
    void start_on_simulator(parent_link::backend_link& link, const std::string& settings = "");

    // Serves everybody until done() holds. False when the time is over first.
    bool until(const std::function<bool()>& done);

    // By how much the turns of the waits came late, and how long the backend and the simulator were
    // ready to run and did not; and their sum.
    std::chrono::nanoseconds late{};
    std::chrono::nanoseconds backend_unserved{};
    std::chrono::nanoseconds simulator_unserved{};
    std::chrono::milliseconds starved_for() const;

    // The next record with this command, as text; those before it are dropped. "" when none comes.
    std::string hear(parent_link::backend_link& link, const std::string& command);
    std::string hear(const std::string& command)
    {
        return hear(backend, command);
    }
    // The same for a record that holds this line.
    std::string hear_line(parent_link::backend_link& link, const std::string& line);
    std::string hear_line(const std::string& line)
    {
        return hear_line(backend, line);
    }

    // The same for a record with this route. Each time that the backend has thrown routing statuses
    // away, again is done, or all routes are asked for.
    std::string hear_route(parent_link::backend_link& link, const std::string& line,
                           const std::function<void()>& again = {});
    std::string hear_route(const std::string& line, const std::function<void()>& again = {})
    {
        return hear_route(backend, line, again);
    }

    // Lines joined by newlines; the empty line that ends the record is added.
    void say(const std::string& lines);
    // Stages and flushes one route change.
    void take(parent_link::backend_link& link, int output, int input);

    // Whether the line comes among the diagnostics, after the one that was found last.
    bool logs(const std::string& line);
    // The same for what the simulator prints.
    bool simulator_prints(const std::string& line);

    // Waits for the backend's end: "exited with status 0".
    std::string end();
    // The last of the diagnostics.
    std::string last_line() const;

  private:
    std::size_t diagnostics_seen = 0;
    std::size_t simulator_lines_seen = 0;
};

// How many routing statuses the backend has read and thrown away. It does so with all that it has
// not handled when a status cycle begins: on a starved machine perhaps with whatever it has asked
// for, which it never says then unless it is asked again.
long statuses_thrown_away(const parent_link::backend_link& link);

// How often the process has slept, and what it holds of the machine's memory. -1 when there is no
// such process.
long voluntary_switches(pid_t process);
long resident_kb(pid_t process);

// How many bytes wait in a pipe, seen from either end, or for the reader of a socket.
int bytes_unread(int descriptor);
