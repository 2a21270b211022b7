#include "bench/workloads/measured_program.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/socket.h>

#include "common/numbers.h"
#include "support/frames.h"

namespace bench {

namespace {
constexpr double TIME_LIMIT_US = 60'000'000;
constexpr double TAKES_MISSING_AFTER_US = 1'000'000; // after the reply to their flush
constexpr std::size_t ENTRIES_PER_ANSWER = 16;
constexpr int LONGEST_WAIT_MS = 10;
constexpr int MOST_ATTEMPTS = 20;
constexpr const char* REPLY = "*TYPE=reply\n\n";
constexpr const char* ENDED_BY_ITSELF = "A program under measurement has ended by itself.";
} // namespace

const char* const FLUSH_RECORD = "*COMMAND=route output\n*TYPE=command\nqueue=flush\n\n";

std::string add_record(int output, int input)
{
    return "*COMMAND=route output\n*TYPE=command\nqueue=add\nto output=" + std::to_string(output) +
           "\nfrom input=" + std::to_string(input) + "\n\n";
}

namespace {
std::string name_answers(const std::string& kind, const std::string& name, std::size_t count)
{
    std::string answers;
    for (std::size_t first = 0; first < count; first += ENTRIES_PER_ANSWER) {
        const std::size_t end = std::min(count, first + ENTRIES_PER_ANSWER);
        std::vector<std::string> parameters = {kind,
                                               upper_hex(static_cast<std::uint32_t>(end - first))};
        for (std::size_t i = first; i < end; ++i)
            parameters.insert(parameters.end(),
                              {name + std::to_string(i + 1),
                               upper_hex(static_cast<std::uint32_t>(i + 1)), "0", "1"});
        answers += frame(body("NQ", parameters, end == count ? '0' : '1'));
    }
    return answers;
}
} // namespace

std::map<std::string, std::string> router_answers(std::size_t sources, std::size_t destinations)
{
    std::map<std::string, std::string> answers;
    for (const char* command : {"BK", "BK I 15", "BK D", "BK A", "BK f 0"})
        answers[command] = frame(body("ER", {"00", "BK"}));
    answers["BK E ON"] = answers["BK"];
    answers["BK N"] = frame(body("KB", {"N", "Bench router"}));
    answers["BK R"] = frame(body("KB", {"R", "r1"}));
    answers["BK T"] = frame(body("KB", {"T", "Bench"}));
    answers["BK F"] = frame(body("KB", {"F", "0"}));
    answers["QN L"] = frame(body("NQ", {"L", "1", "VIDEO", "0", "0"}));
    answers["QN IS"] = name_answers("S", "SOURCE ", sources);
    answers["QN ID"] = name_answers("D", "DESTINATION ", destinations);
    answers["QD"] = frame(body("ER", {"00", "QD"}));
    for (std::uint32_t i = 1; i <= destinations; ++i)
        answers["QI " + upper_hex(i) + " 0"] =
            frame(body("IQ", {upper_hex(i), "0", "0", "N", "1"}));
    return answers;
}

void start_program(measured_program& program, const std::vector<std::string>& words)
{
    std::string error;
    if (!common::start_on_pipes(program.child, program.pipes, words,
                                common::error_output::discarded, error) ||
        !common::set_nonblocking(program.pipes.output.number, error))
        throw std::runtime_error(error);
}

running_program start_router(const std::map<std::string, std::string>& answers)
{
    auto made = std::make_unique<measured_program>();
    made->router.answers = answers;
    listen_for_client(made->router);
    return made;
}
namespace {
// Its path.
std::string write_configuration(const measured_program& program)
{
    const std::string port = std::to_string(program.router.port);
    return program.directory.file("router.conf", "ip address=127.0.0.1\nport=" + port + "\n");
}
} // namespace

running_program start_backend_on(const program_paths& programs,
                                 const std::map<std::string, std::string>& answers,
                                 const std::vector<std::string>& launcher)
{
    running_program started = start_router(answers);
    std::vector<std::string> words = launcher;
    words.insert(words.end(), {programs.backend, "--file", write_configuration(*started)});
    start_program(*started, words);
    return started;
}

running_program start_server_on(const program_paths& programs,
                                const std::map<std::string, std::string>& answers,
                                const std::vector<std::string>& ports)
{
    running_program started = start_router(answers);
    std::vector<std::string> words = {programs.server, programs.backend, started->directory.path,
                                      std::to_string(started->router.port)};
    words.insert(words.end(), ports.begin(), ports.end());
    start_program(*started, words);
    return started;
}

running_program start_plain_parent_on(const program_paths& programs,
                                      const std::map<std::string, std::string>& answers)
{
    running_program started = start_router(answers);
    start_program(*started,
                  {programs.plain_parent, programs.backend, write_configuration(*started)});
    return started;
}

running_program start_floor_on(const program_paths& programs, const std::string& name,
                               const std::map<std::string, std::string>& answers,
                               const std::vector<std::string>& arguments,
                               const std::vector<std::string>& launcher)
{
    running_program started = start_router(answers);
    std::vector<std::string> words = launcher;
    words.insert(words.end(),
                 {programs.floor_folder + "/floor_" + name, std::to_string(started->router.port)});
    words.insert(words.end(), arguments.begin(), arguments.end());
    start_program(*started, words);
    return started;
}

void allow_many_descriptors()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

namespace {
// An answer never waits for the acknowledgement of the one before.
void serve_without_delay(tcp_router& router)
{
    const int connections = router.connections;
    serve_router(router);
    if (router.connections == connections || router.client < 0) return;
    const int on = 1;
    setsockopt(router.client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void serve_once(const std::vector<measured_program*>& programs, int longest_wait_ms)
{
    std::vector<pollfd> descriptors;
    std::vector<std::pair<measured_program*, bool>> served; // and whether it is about the router
    for (measured_program* const each : programs) {
        if (each->router.listening) {
            add_poll_descriptors(each->router, descriptors);
            while (served.size() < descriptors.size())
                served.emplace_back(each, true);
        }
        descriptors.push_back({each->pipes.output.number, POLLIN, 0});
        served.emplace_back(each, false);
    }
    if (poll(descriptors.data(), descriptors.size(), longest_wait_ms) <= 0) return;
    for (std::size_t i = 0; i < descriptors.size(); ++i) {
        if (descriptors[i].revents == 0) continue;
        const auto& [each, is_router] = served[i];
        if (is_router)
            serve_without_delay(each->router);
        else if (!common::read_available(descriptors[i].fd, each->heard))
            throw std::runtime_error(ENDED_BY_ITSELF);
    }
}
} // namespace

void serve_until(const std::vector<measured_program*>& programs, const std::function<bool()>& done)
{
    const double start = now_in_us();
    while (!done()) {
        serve_once(programs, LONGEST_WAIT_MS);
        if (now_in_us() - start > TIME_LIMIT_US)
            throw std::runtime_error("A program under measurement does not answer.");
    }
}

void serve_for(const std::vector<measured_program*>& programs, double milliseconds)
{
    const double end = now_in_us() + milliseconds * 1000;
    for (;;) {
        const double left_ms = (end - now_in_us()) / 1000;
        if (left_ms <= 0) return;
        serve_once(programs, std::min(LONGEST_WAIT_MS, static_cast<int>(left_ms) + 1));
    }
}

void say(const measured_program& program, std::string_view records)
{
    common::write_all(program.pipes.input.number, records);
}

bool hears(measured_program& program, std::string_view text)
{
    const std::size_t begin = program.heard.find(text);
    if (begin == std::string::npos) return false;
    program.heard.erase(0, begin + text.size());
    return true;
}

void await_discovery(measured_program& program)
{
    serve_until({&program}, [&] { return hears(program, "\no0.name="); });
}

void await_end_of_cycle(measured_program& program)
{
    program.router.requests.clear();
    serve_until({&program}, [&] { return count_requests(program.router, "QD") > 0; });
    serve_for({&program}, 20);
}

double show_routes(measured_program& program, const std::string& frames,
                   const std::function<bool()>& is_reported)
{
    for (int attempt = 0; attempt < MOST_ATTEMPTS; ++attempt) {
        await_end_of_cycle(program);
        program.heard.clear();
        program.router.requests.clear();
        const double cpu_before = cpu_in_us(program);
        send_bytes(program.router, frames);
        bool reported = false;
        serve_until({&program}, [&] {
            reported = is_reported();
            return reported || count_requests(program.router, "QD") > 0;
        });
        const double cpu = settled_cpu_in_us(program) - cpu_before;
        if (reported && count_requests(program.router, "BK F") == 0) return cpu;
    }
    throw std::runtime_error("The routes are never reported to the parent.");
}

std::size_t count_takes(const measured_program& program)
{
    const auto is_take = [](const std::string& request) {
        return request.starts_with("TI ");
    };
    const auto& requests = program.router.requests;
    return static_cast<std::size_t>(std::count_if(requests.begin(), requests.end(), is_take));
}

salvo_cost send_salvo(measured_program& program, std::size_t takes, int input)
{
    std::string changes;
    for (std::size_t output = 0; output < takes; ++output)
        changes += add_record(static_cast<int>(output), input);
    for (int attempt = 0; attempt < MOST_ATTEMPTS; ++attempt) {
        program.heard.clear();
        say(program, changes);
        std::size_t replies = 0;
        serve_until({&program}, [&] {
            while (hears(program, REPLY))
                ++replies;
            return replies == takes;
        });
        await_end_of_cycle(program);
        program.router.requests.clear();
        const double cpu_before = cpu_in_us(program);
        const double start = now_in_us();
        say(program, FLUSH_RECORD);
        double last_take = 0;
        double reply = 0;
        serve_until({&program}, [&] {
            if (last_take == 0 && count_takes(program) == takes) last_take = now_in_us();
            if (reply == 0 && hears(program, REPLY)) reply = now_in_us();
            return reply > 0 && (last_take > 0 || now_in_us() > reply + TAKES_MISSING_AFTER_US);
        });
        if (last_take > 0) return {last_take - start, settled_cpu_in_us(program) - cpu_before};
    }
    throw std::runtime_error("The changes of a salvo never reach the router together.");
}

void end_program(measured_program& program)
{
    program.pipes.input.reset();
    common::status_at_end(program.child);
}

double now_in_us()
{
    return std::chrono::duration<double, std::micro>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double cpu_in_us(const measured_program& program)
{
    return cpu_in_us(program.child.process);
}

double cpu_in_us(pid_t process)
{
    clockid_t clock = 0;
    timespec used{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &used) != 0)
        throw std::runtime_error(ENDED_BY_ITSELF);
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

double settled_cpu_in_us(measured_program& program)
{
    serve_for({&program}, 2);
    return cpu_in_us(program);
}

double pss_in_kib(const measured_program& program)
{
    return pss_in_kib(program.child.process);
}

double pss_in_kib(pid_t process)
{
    std::ifstream rollup("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string word; rollup >> word;) {
        double kib = 0;
        if (word == "Pss:" && rollup >> kib) return kib;
    }
    throw std::runtime_error("The system does not tell a program's memory.");
}

} // namespace bench
