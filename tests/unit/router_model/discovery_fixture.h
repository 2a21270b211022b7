// A backend that is about to run discovery on a router played by the test.
#pragma once

#include "common/loop_flags.h"
#include "control/commands.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_model/discovery.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"
#include "support/backend_test.h"

using Requests = std::vector<std::string>;

class DiscoveryTest : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        install_commands();
        connect_router();
        discovery_needed = true;
    }

    // Answers to the three name queries: one level, two sources, this many destinations.
    void router_knows_names(int destinations = 1)
    {
        router_answers("QN L", frame(body("NQ", {"L", "1", "Video", "0", "x"})));
        router_answers("QN IS",
                       frame(body("NQ", {"S", "2", "In1", "0", "x", "0", "In2", "1", "x", "0"})));
        std::vector<std::string> parameters = {"D", std::to_string(destinations)};
        for (int i = 0; i < destinations; ++i)
            parameters.insert(parameters.end(), {"Out", std::to_string(i), "x", "0"});
        router_answers("QN ID", frame(body("NQ", parameters)));
    }

    // The nine requests, the end of collection, then what follows.
    static Requests all_requests(const Requests& following = {"BK D", "BK A"})
    {
        Requests requests = {"BK",      "BK N", "BK R",  "BK T", "BK I 15",
                             "BK E ON", "QN L", "QN IS", "QN ID"};
        requests.insert(requests.end(), following.begin(), following.end());
        return requests;
    }

    bool logged(const std::string& line)
    {
        log += diagnostics();
        return ("\n" + log).find("\n" + line + "\n") != std::string::npos;
    }

    static constexpr us_time_t DEADLINE = FAKE_START_US + 6'000'000;

    // Dispatches before that of the first output query, when router_knows_names answers: one for
    // each of nine requests, five in the collection, two more requests.
    static constexpr int DISPATCHES_BEFORE_QUERIES = 16;

  private:
    std::string log;
};
