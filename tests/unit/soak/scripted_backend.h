// What a run of the soak stands in, played by a test under the fake clock: a backend that does all
// it should on the other ends of the pipes, and a router that tells of each change. Tests have them
// say or leave out something more.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "common/clock.h"
#include "parent_link/parent_link.h"
#include "soak/process_cost.h"
#include "tools/common/descriptors.h"

namespace soak {

struct scripted_backend {
    parent_link::backend_link link; // the soak's side
    common::owned_descriptor router_lines;
    bool visits = false; // has come to the other port; the soak clears it

    // What the backend or the router leaves out, or does wrong.
    bool skips_reply = false;   // the next one
    std::string wrong_error;    // of the next reply, "": as it should be
    bool answers_floods = true; // clear: answers nothing any more once many commands come at once
    bool loses_answers = false; // of the router to each query of all outputs
    bool operators_take = true; // changes of others, all the time
    bool carries_out = true;    // flushed takes
    bool reports = true;        // changes, to the parent
    bool accepts = true;        // says so before it reports
    bool follows_port = true;   // connects to another port; leaves the router anyway
    bool reconnects = true;
    bool reaches_router = true; // from the start
    bool ends_with_input = true;
    int exit_status = 0;

    scripted_backend();
    ~scripted_backend();

    // What the soak calls to wait: a moment passes, and both do what they have to.
    void pass(std::vector<pollfd>& descriptors);

    void router_tells(const std::string& members); // of a JSON object
    void changes(int output, int input, const std::string& by);
    void says(const std::string& diagnostics);
    void sends(const ParentRecord& record);
    void connect();
    void disconnect();
    void ends(); // with its exit status
    void is_killed();
    void router_ends();

  private:
    common::owned_descriptor commands;    // reads what the soak sends
    common::owned_descriptor records;     // writes
    common::owned_descriptor diagnostics; // writes
    common::owned_descriptor events;      // writes
    common::owned_descriptor ender;       // writes the status that the process is to end with
    std::string unsent_events;
    std::string unsent_records;
    std::string unsent_diagnostics;
    std::string partial_command;
    std::deque<std::string> command_lines;
    ParentRecord command; // whose empty line has not come yet
    std::map<int, int> staged;
    std::vector<int> routes;
    bool up = false;
    bool answers = true;
    int client = 0;
    us_time_t next_change = 0;

    void handle(const ParentRecord& record);
    void visit();
    void report(const std::map<int, int>& changed);
};

} // namespace soak
