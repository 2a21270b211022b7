// The fixture of the in-process tests: the whole backend between a parent and a router that the
// test plays, under the fake clock. Descriptors 0 to 2 are pipes to the parent, the router link is
// one end of a socket pair.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "router_link/message.h"
#include "support/fake_clock.h"
#include "support/forced_results.h"
#include "support/frames.h"

// The pieces of a frame as a received, good message, raw included.
router_message received(std::string_view mnemonic, const std::vector<std::string>& parameters = {},
                        char seq = '0');

class BackendTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // --- the parent's side ---
    // Lines joined by newlines; the empty line that ends the record is added.
    void parent_says(const std::string& lines);
    void parent_says_bytes(std::string_view bytes);
    static int parent_bytes_unread(); // how many bytes said the backend has left in the pipe
    // The record is handed out at the n-th dispatch from now; 1: at the next. Everything said
    // before must have been read.
    void parent_says_at_dispatch(int n, const std::string& lines);
    void parent_closes();        // end of file on descriptor 0
    void parent_closes_output(); // nobody reads descriptor 1 any more
    std::string parent_hears();  // everything written to descriptor 1 since the last call
    std::string diagnostics();   // everything written to descriptor 2 since the last call

    // --- the router's side ---
    // Gives the backend an established connection; discovery is not requested.
    void connect_router();
    // From now on every connection attempt finds the router, with a link of its own.
    void router_accepts_connections();
    void router_says(std::string_view mnemonic, const std::vector<std::string>& parameters = {},
                     char seq = '0');
    void router_says_bytes(std::string_view bytes);
    void router_closes();
    // Every request received since the last call, one line each: mnemonic and parameters, a blank
    // between two ("TI 0 5"). An ill-formed frame shows as "bad frame".
    std::vector<std::string> router_hears();
    std::string router_hears_bytes();

    // From now on a request that reads like this (as router_hears shows it) is answered, as soon as
    // the backend pauses or waits, by these bytes. Requests without an answer stay unanswered; all
    // show in router_hears.
    void router_answers(const std::string& request, const std::string& bytes);
    // Reads what the backend has sent and answers it. Called at each pause and wait by itself.
    void serve_router();

    // --- driving ---
    // Handles one complete record as the main loop does, reading it to its end.
    void handle_parent_input();
    // Lets the handler of the backend's commands have parent records, as start-up does.
    void install_commands();
    void run_passes(int count);
    // Passes until the fake clock has reached the time.
    void run_until(us_time_t time);

    int router_end = -1; // the router's end of the link

  private:
    int parent_input_end = -1;
    int parent_output_end = -1;
    int saved_descriptors[3] = {-1, -1, -1};
    int diagnostics_end = -1;
    std::string router_pending_bytes; // received by the router, not yet cut into frames
    std::string router_heard_bytes;
    std::vector<std::string> router_heard;
    std::vector<std::pair<std::string, std::string>> answers;
};
