// The control server as a program, with an administrator's token and simulated routers, asked as a
// client of its API would.
#pragma once

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/control_process.h"
#include "tools/common/line_program.h"

// What became of one take that was waited for.
struct told_take {
    std::string operation;
    std::string outcome; // of its row, or the code of the problem
    std::string detail;  // likewise
};

class ControlHouse : public ControlProcess {
  protected:
    std::map<std::string, line_program> simulators; // by router
    std::string token;

    // Starts it on its folder, and makes the first administrator.
    void set_up(const std::vector<std::string>& options = {});

    // A simulated one of 32 sources and destinations. Waits until it is ready.
    void add_router(const std::string& id);

    // The answer; discarded when it is no JSON, or none.
    nlohmann::json asked(const std::string& method, const std::string& path,
                         const nlohmann::json& body = {});
    nlohmann::json get(const std::string& path)
    {
        return asked("GET", path);
    }

    std::string link_of(const std::string& router);
    // Until done() holds; fails the test after a long time.
    void until(const std::string& what, const std::function<bool()>& done);
    void until_ready(const std::string& router);

    // Of the router's backend; throws when there is none: -1 would stand for all processes.
    pid_t backend_of(const std::string& router);

    told_take take(const std::string& router, int destination, int source);
};
