// A served simulator under a scenario and the fake clock, and the requests that its tests make.
#pragma once

#include "router_simulator/program/commands.h"
#include "router_simulator/scenario/file.h"
#include "router_simulator/scenario/player.h"
#include "unit/router_simulator/served_simulator.h"

namespace router_simulator {

class ScenarioSimulator : public ServedSimulator {
  protected:
    void SetUp() override
    {
        reset_fake_clock();
    }

    // Begins a scenario of these steps, as the file has them.
    void begin(const std::string& steps)
    {
        scenario plan;
        std::string error;
        ASSERT_TRUE(read_scenario(plan, R"({"seed": 7, "steps": [)" + steps + "]}", server.router,
                                  "FILE", error))
            << error;
        begin_scenario(simulated, plan);
        printed.clear();
    }

    // A client of a simulator that does this fault on the command "do it".
    int client_of(const std::string& fault)
    {
        begin(R"({"name": "it", )" + fault + "}");
        const int end = connect_client();
        printed.clear();
        return end;
    }

    void do_it()
    {
        EXPECT_EQ(run_commands(simulated, "do it"), "");
        serve(simulated, 0);
    }

    void pass_ms(us_time_t interval)
    {
        advance_us(interval * 1000);
        serve(simulated, 0);
    }

    // The events since the last call, without their times, in one line each.
    std::string events()
    {
        std::string text;
        for (const std::string& line : printed)
            if (line.starts_with("@ ")) text += line.substr(line.find(' ', 2) + 1) + "\n";
        printed.clear();
        return text;
    }

    // Whether the connection has ended, by the end of the stream or by a reset.
    static bool has_ended(int end)
    {
        char byte = 0;
        return recv(end, &byte, 1, MSG_DONTWAIT) == 0 || errno == ECONNRESET;
    }

    const std::string ask_revision = frame("N0BK\tR");
    const std::string revision = frame("N0KB\tR\tr1");
    const std::string ask_route = frame("N0QI\t1\t0");
    const std::string route = frame("N0IQ\t0001\t0\tN\tN\t0001");
};

} // namespace router_simulator
