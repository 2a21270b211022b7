// The fixture of the status request's tests: a connected router with six named outputs, and a cycle
// that is due now.
#pragma once

#include "common/loop_flags.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_model/state.h"
#include "support/backend_test.h"

using Requests = std::vector<std::string>;

inline const Requests WHOLE_CYCLE = {"BK F", "BK f 0", "QD"};

// A frame from its pieces.
inline std::string framed(std::string_view mnemonic, const std::vector<std::string>& parameters,
                          char seq = '0')
{
    return frame(body(mnemonic, parameters, seq));
}

inline std::function<void()> on_record; // what the parent's next record does

class StatusCycle : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        connect_router();
        next_status_request = FAKE_START_US;
        for (const char* const name : {"A", "B", "A", "", "E", "F"})
            router_outputs_info.emplace_back().name = name;
        router_inputs_info.emplace_back().name = "In";
        discovered_inputs = 1;
        discovered_outputs = number_of_outputs = 6;
    }

    void TearDown() override
    {
        on_record = nullptr;
        BackendTest::TearDown();
    }

    // The event happens in the handler of a record that is handed out at the n-th dispatch.
    void when_dispatched(int n, std::function<void()> event)
    {
        on_record = std::move(event);
        set_parent_record_handler([](ParentRecord&) { on_record(); });
        parent_says_at_dispatch(n, "a=b");
    }

    // Every request of a cycle is answered; the change flags are these.
    void answer_flags(const std::string& flags, const std::string& shown)
    {
        router_answers("BK F", framed("KB", {"F", flags}));
        router_answers("QN IS", framed("NQ", {"S", "1", "NewIn", "1", "", "0"}));
        router_answers("QN ID", framed("NQ", {"D", "1", "NewOut", "1", "", "0"}));
        router_answers("BK f " + shown, framed("KB", {"f"}));
    }

    // The requests of one cycle in which the router answers these flags, "QD" with nothing new.
    Requests cycle_with_flags(const std::string& flags, const std::string& shown)
    {
        answer_flags(flags, shown);
        router_answers("QD", framed("ER", {"00", "QD"}));
        periodic_status_request();
        return router_hears();
    }

    // The requests when "BK" "F" is answered by these bytes.
    Requests cycle_with_reply(const std::string& bytes)
    {
        router_answers("BK F", bytes);
        router_answers("BK f 0", framed("KB", {"f"}));
        router_answers("QD", framed("ER", {"00", "QD"}));
        periodic_status_request();
        return router_hears();
    }

    // What is sent after "QD" when it is answered by these bytes.
    Requests queries_after(const std::string& bytes)
    {
        answer_flags("0", "0");
        router_answers("QD", bytes);
        periodic_status_request();
        Requests requests = router_hears();
        if (requests.size() < 3) return {"no whole cycle"};
        requests.erase(requests.begin(), requests.begin() + 3);
        return requests;
    }
};
