#include "server/program/demonstration.h"

#include <fstream>

#include "server/desk/setup.h"
#include "server/program/clocks.h"
#include "tools/common/descriptors.h"

namespace program {

namespace {
constexpr const char* DROPPED_LINK = "droppedLink";
constexpr std::chrono::seconds DROPPED_FOR{20};

// A step for each fault, by its word. The link is dropped by `do`, the others are switched on and
// off.
constexpr const char* SCENARIO = R"({
  "steps": [
    {"name": "slowAnswers", "off": true, "request": "", "fault": "delay", "ms": [400, 1500]},
    {"name": "anotherSource", "off": true, "request": "TI", "fault": "contradict"},
    {"name": "lostAnswers", "off": true, "request": "TI", "chance": 0.4, "fault": "lose"},
    {"name": "lostAnswers", "off": true, "request": "QI", "chance": 0.4, "fault": "lose"},
    {"name": "anotherOperator", "off": true, "every": [1, 4], "fault": "take"},
    {"name": "droppedLink", "fault": "refuse", "for": 20}
  ]
}
)";

void tell(simulated_router& router, const std::string& command, const std::string& fault)
{
    common::write_all(router.process.input.number, command + " " + fault + "\n");
}

// Waits until it listens, some milliseconds.
int start_router(simulation& simulation, const std::string& id, int sources, int destinations,
                 std::string& error)
{
    std::uint16_t port = 0;
    const std::vector<std::string> options = {"--sources",      std::to_string(sources),
                                              "--destinations", std::to_string(destinations),
                                              "--scenario",     simulation.scenario};
    if (common::start_simulated_router(simulation.routers[id].process, simulation.program, options,
                                       port, error))
        return port;
    simulation.routers.erase(id);
    return 0;
}

std::set<std::string> faults_of(const simulation& simulation, const std::string& id)
{
    const simulated_router& router = simulation.routers.at(id);
    std::set<std::string> faults = router.faults;
    if (now().steady < router.link_back) faults.insert(DROPPED_LINK);
    return faults;
}

// A link that is dropped comes back by itself, and no earlier.
void set_faults(simulated_router& router, const std::set<std::string>& wanted)
{
    for (const std::string& fault : wanted) {
        if (fault == DROPPED_LINK) {
            if (now().steady < router.link_back) continue;
            router.link_back = now().steady + DROPPED_FOR;
            tell(router, "do", fault);
        } else if (router.faults.insert(fault).second) {
            tell(router, "on", fault);
        }
    }
    std::erase_if(router.faults, [&](const std::string& fault) {
        if (wanted.contains(fault)) return false;
        tell(router, "off", fault);
        return true;
    });
}

bool add_router(simulation& simulation, web::server& server, const char* id, const char* name,
                int positions, std::string& error)
{
    desk::router_settings settings;
    settings.id = id;
    settings.name = name;
    settings.address = "127.0.0.1";
    settings.port = start_router(simulation, id, positions, positions, error);
    if (settings.port == 0) return false;
    const desk::actor owner{"demonstration", "server", {desk::right::administer, {}, {}}};
    desk::set_router(server.desk, now(), owner, settings);
    return true;
}
} // namespace

bool begin_demonstration(simulation& simulation, web::server& server, const std::string& folder,
                         std::string& error)
{
    simulation.scenario = folder + "/scenario.json";
    if (!(std::ofstream(simulation.scenario) << SCENARIO).flush()) {
        error = "Cannot write " + simulation.scenario + ".";
        return false;
    }
    server.simulated.has = [&simulation](const std::string& id) {
        return simulation.routers.contains(id);
    };
    server.simulated.start = [&simulation](const std::string& id, int sources, int destinations,
                                           std::string& why_not) {
        return start_router(simulation, id, sources, destinations, why_not);
    };
    server.simulated.stop = [&simulation](const std::string& id) {
        simulation.routers.erase(id);
    };
    server.simulated.faults = [&simulation](const std::string& id) {
        return faults_of(simulation, id);
    };
    server.simulated.set_faults = [&simulation](const std::string& id,
                                                const std::set<std::string>& wanted) {
        set_faults(simulation.routers.at(id), wanted);
    };
    return add_router(simulation, server, "r1", "STUDIO A", 32, error) &&
           add_router(simulation, server, "r2", "STUDIO B", 12, error);
}

void serve_simulation(simulation& simulation)
{
    for (auto& [id, router] : simulation.routers) {
        common::serve_line_program(router.process);
        router.process.lines.clear();
    }
}

} // namespace program
