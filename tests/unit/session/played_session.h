// The whole backend in its main loop, between a parent and a router that the test plays: the router
// accepts connections and answers discovery with three sources and two destinations, base 1.
#pragma once

#include "common/loop_flags.h"
#include "frame/main_loop.h"
#include "frame/settings.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"
#include "support/backend_test.h"
#include "support/info_record.h"

using Requests = std::vector<std::string>;

class PlayedSession : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        install_commands();
        router_ip_address = "127.0.0.1";
        router_accepts_connections();
        router_answers("BK N", frame(body("KB", {"N", "Model 3"})));
        router_answers("BK R", frame(body("KB", {"R", "r5"})));
        router_answers("BK T", frame(body("KB", {"T", "Title 1.2"})));
        router_answers("QN L", frame(body("NQ", {"L", "1", "Video", "0", "x"})));
        router_answers("QN IS", SOURCE_ANSWER);
        router_answers("QN ID",
                       frame(body("NQ", {"D", "2", "Out1", "1", "x", "0", "Out2", "2", "x", "0"})));
    }

    // From now on the status requests are answered: nothing has changed.
    void router_reports_no_change()
    {
        router_answers("BK F", frame(body("KB", {"F", "0"})));
        router_answers("BK f 0", frame(body("KB", {"f", "0"})));
        router_answers("QD", frame(body("DQ", {})));
    }

    // Connects, discovers and forgets what was said on either side.
    void start_session()
    {
        run_passes(1);
        router_hears();
        parent_hears();
        diagnostics();
    }

    // Passes until the parent has said it all and nothing waits for it any more.
    void run_until_parent_is_served()
    {
        bool idle = false;
        while (!idle) {
            const us_time_t before = fake_now_us;
            run_passes(1);
            idle = parent_line.empty() && !record_complete && fake_now_us > before;
        }
    }

    static std::string info_of(int inputs, int outputs)
    {
        return info_record(inputs, outputs, "Model 3", "Title 1.2 [r5]");
    }

    static inline const std::string SOURCE_ANSWER = frame(
        body("NQ", {"S", "3", "In1", "1", "x", "0", "In2", "2", "x", "0", "In3", "3", "x", "0"}));
    static inline const Requests DISCOVERY_REQUESTS = {
        "BK",    "BK N",  "BK R", "BK T", "BK I 15", "BK E ON", "QN L",
        "QN IS", "QN ID", "BK D", "BK A", "QI 1 0",  "QI 2 0"};
    static inline const std::string INPUT_NAMES = "*COMMAND=inputs\n*TYPE=message\ni0.name=In1\n"
                                                  "i1.name=In2\ni2.name=In3\n\n";
    static inline const std::string OUTPUT_NAMES =
        "*COMMAND=outputs\n*TYPE=message\no0.name=Out1\no1.name=Out2\n\n";
};
