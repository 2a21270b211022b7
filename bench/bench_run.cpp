#include "bench/bench_run.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <sys/utsname.h>
#include <thread>

namespace bench {

namespace {
using json = nlohmann::ordered_json; // as it is read best, and changes least from run to run

std::string processor_name()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("model name", 0) == 0 && line.find(": ") != std::string::npos)
            return line.substr(line.find(": ") + 2);
    return "unknown";
}
} // namespace

machine_facts this_machine()
{
    utsname system = {};
    uname(&system);
    const std::string release = system.release;
    return {std::thread::hardware_concurrency(), processor_name(),
            release.substr(0, release.find('-'))};
}

namespace {
void put(json& object, const char* key, const std::optional<double>& value)
{
    if (value) object[key] = *value;
}

json figure_json(const figure& written)
{
    json object = {{"workload", written.workload},
                   {"measure", written.measure},
                   {"unit", written.unit},
                   {"ours", written.ours},
                   {"better", written.direction == better::less ? "less" : "more"}};
    put(object, "floor", written.floor);
    put(object, "ratio", written.ratio);
    put(object, "ratio_low", written.ratio_low);
    put(object, "ratio_high", written.ratio_high);
    put(object, "aim", written.aim);
    put(object, "limit", written.limit);
    if (written.aim || written.limit) object["met"] = meets_aim(written);
    return object;
}
} // namespace

std::string run_json(const bench_run& run)
{
    json object = {{"commit", run.commit},
                   {"machine",
                    {{"cores", run.machine.cores},
                     {"processor", run.machine.processor},
                     {"kernel", run.machine.kernel}}},
                   {"figures", json::array()}};
    for (const figure& written : run.figures)
        object["figures"].push_back(figure_json(written));
    return object.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

namespace {
std::optional<double> optional_number(const json& object, const char* key)
{
    if (!object.contains(key)) return std::nullopt;
    return object.at(key).get<double>();
}

figure figure_of(const json& object)
{
    figure found;
    object.at("workload").get_to(found.workload);
    object.at("measure").get_to(found.measure);
    object.at("unit").get_to(found.unit);
    object.at("ours").get_to(found.ours);
    found.floor = optional_number(object, "floor");
    found.ratio = optional_number(object, "ratio");
    found.ratio_low = optional_number(object, "ratio_low");
    found.ratio_high = optional_number(object, "ratio_high");
    found.direction = object.at("better") == "more" ? better::more : better::less;
    found.aim = optional_number(object, "aim");
    found.limit = optional_number(object, "limit");
    return found;
}

bench_run run_of(const json& object)
{
    bench_run run;
    object.at("commit").get_to(run.commit);
    const json& machine = object.at("machine");
    machine.at("cores").get_to(run.machine.cores);
    machine.at("processor").get_to(run.machine.processor);
    machine.at("kernel").get_to(run.machine.kernel);
    for (const json& each : object.at("figures"))
        run.figures.push_back(figure_of(each));
    return run;
}
} // namespace

std::optional<bench_run> load_run(const std::string& path, std::ostream& complaints)
{
    std::ifstream file(path);
    if (!file) {
        complaints << "There are no figures of a last run in " << path << ".\n";
        return std::nullopt;
    }
    try {
        return run_of(json::parse(file));
    } catch (const json::exception& error) {
        complaints << "Nothing is compared, for " << path << " is damaged: " << error.what()
                   << "\n";
        return std::nullopt;
    }
}

} // namespace bench
