#include "bench/workloads/measured_program.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

#include "common/numbers.h"
#include "support/frames.h"

namespace {
constexpr double TIME_LIMIT_US = 60'000'000;
constexpr double TAKES_MISSING_AFTER_US = 1'000'000; // after the reply to their flush
constexpr std::size_t ENTRIES_PER_ANSWER = 16;
constexpr int LONGEST_WAIT_MS = 10;
constexpr int MOST_ATTEMPTS = 20;
constexpr const char* REPLY = "*TYPE=reply\n\n";
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

void start_program(rig& rig, const std::vector<std::string>& words)
{
    descriptor_pair input = pipe_to_child();
    descriptor_pair output = pipe_from_child();
    const owned_descriptor errors(open("/dev/null", O_WRONLY | O_CLOEXEC));
    start_child(rig.program, words, {input.childs.number, output.childs.number, errors.number});
    rig.input = std::move(input.ours);
    rig.output = std::move(output.ours);
    fcntl(rig.output.number, F_SETFL, O_NONBLOCK);
}

namespace {
running_rig listening_rig(const std::map<std::string, std::string>& answers)
{
    auto made = std::make_unique<rig>();
    made->router.answers = answers;
    listen_for_client(made->router);
    return made;
}
} // namespace

running_rig start_backend_on(const program_paths& programs,
                             const std::map<std::string, std::string>& answers,
                             const std::vector<std::string>& launcher)
{
    running_rig started = listening_rig(answers);
    const std::string port = std::to_string(started->router.port);
    std::vector<std::string> words = launcher;
    words.insert(words.end(), {programs.backend, "--file",
                               started->directory.file(
                                   "router.conf", "ip address=127.0.0.1\nport=" + port + "\n")});
    start_program(*started, words);
    return started;
}

running_rig start_floor_on(const program_paths& programs, const std::string& name,
                           const std::map<std::string, std::string>& answers,
                           const std::vector<std::string>& arguments,
                           const std::vector<std::string>& launcher)
{
    running_rig started = listening_rig(answers);
    std::vector<std::string> words = launcher;
    words.insert(words.end(),
                 {programs.floor_folder + "/floor_" + name, std::to_string(started->router.port)});
    words.insert(words.end(), arguments.begin(), arguments.end());
    start_program(*started, words);
    return started;
}

namespace {
// An answer never waits for the acknowledgement of the one before.
void answer_at_once(const tcp_router& router)
{
    const int on = 1;
    setsockopt(router.client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void serve_rig_router(tcp_router& router)
{
    const int connections = router.connections;
    serve_router(router);
    if (router.connections != connections && router.client >= 0) answer_at_once(router);
}

void serve_output(rig& rig)
{
    char bytes[65536];
    ssize_t count = 0;
    while ((count = read(rig.output.number, bytes, sizeof bytes)) > 0)
        rig.heard.append(bytes, static_cast<std::size_t>(count));
    if (count == 0) throw std::runtime_error("A program under measurement has ended by itself.");
}

void serve_once(const std::vector<rig*>& rigs, int longest_wait_ms)
{
    std::vector<pollfd> descriptors;
    std::vector<std::pair<rig*, bool>> served; // and whether it is about the router
    for (rig* const each : rigs) {
        if (each->router.listening) {
            add_poll_descriptors(each->router, descriptors);
            while (served.size() < descriptors.size())
                served.emplace_back(each, true);
        }
        descriptors.push_back({each->output.number, POLLIN, 0});
        served.emplace_back(each, false);
    }
    if (poll(descriptors.data(), descriptors.size(), longest_wait_ms) <= 0) return;
    for (std::size_t i = 0; i < descriptors.size(); ++i) {
        if (descriptors[i].revents == 0) continue;
        const auto& [each, is_router] = served[i];
        if (is_router)
            serve_rig_router(each->router);
        else
            serve_output(*each);
    }
}
} // namespace

void serve_until(const std::vector<rig*>& rigs, const std::function<bool()>& done)
{
    const double start = now_in_us();
    while (!done()) {
        serve_once(rigs, LONGEST_WAIT_MS);
        if (now_in_us() - start > TIME_LIMIT_US)
            throw std::runtime_error("A program under measurement does not answer.");
    }
}

void serve_for(const std::vector<rig*>& rigs, double milliseconds)
{
    const double end = now_in_us() + milliseconds * 1000;
    for (double left = milliseconds; left > 0; left = (end - now_in_us()) / 1000)
        serve_once(rigs, std::min(LONGEST_WAIT_MS, static_cast<int>(left) + 1));
}

void say(const rig& rig, std::string_view records)
{
    write_all(rig.input.number, records);
}

bool hears(rig& rig, std::string_view text)
{
    const std::size_t begin = rig.heard.find(text);
    if (begin == std::string::npos) return false;
    rig.heard.erase(0, begin + text.size());
    return true;
}

void await_discovery(rig& rig)
{
    serve_until({&rig}, [&] { return hears(rig, "\no0.name="); });
}

void await_end_of_cycle(rig& rig)
{
    rig.router.requests.clear();
    serve_until({&rig}, [&] { return count_requests(rig.router, "QD") > 0; });
    serve_for({&rig}, 20);
}

double show_routes(rig& rig, const std::string& frames, const std::function<bool()>& told)
{
    for (int attempt = 0; attempt < MOST_ATTEMPTS; ++attempt) {
        await_end_of_cycle(rig);
        rig.heard.clear();
        rig.router.requests.clear();
        const double cpu_before = cpu_in_us(rig);
        send_bytes(rig.router, frames);
        bool is_told = false;
        serve_until({&rig}, [&] {
            is_told = told();
            return is_told || count_requests(rig.router, "QD") > 0;
        });
        const double cpu = settled_cpu_in_us(rig) - cpu_before;
        if (is_told && count_requests(rig.router, "BK F") == 0) return cpu;
    }
    throw std::runtime_error("The parent is never told of the routes.");
}

namespace {
void stage_changes(rig& rig, std::size_t takes, int input)
{
    std::string records;
    for (std::size_t output = 0; output < takes; ++output)
        records += add_record(static_cast<int>(output), input);
    rig.heard.clear();
    say(rig, records);
    std::size_t replies = 0;
    serve_until({&rig}, [&] {
        while (hears(rig, REPLY))
            ++replies;
        return replies == takes;
    });
}

std::size_t count_takes(const rig& rig)
{
    const auto is_take = [](const std::string& request) {
        return request.starts_with("TI ");
    };
    const auto& requests = rig.router.requests;
    return static_cast<std::size_t>(std::count_if(requests.begin(), requests.end(), is_take));
}
} // namespace

salvo_cost take_salvo(rig& rig, std::size_t takes, int input)
{
    for (int attempt = 0; attempt < MOST_ATTEMPTS; ++attempt) {
        stage_changes(rig, takes, input);
        await_end_of_cycle(rig);
        rig.router.requests.clear();
        const double cpu_before = cpu_in_us(rig);
        const double start = now_in_us();
        say(rig, FLUSH_RECORD);
        double last_take = 0;
        double reply = 0;
        serve_until({&rig}, [&] {
            if (last_take == 0 && count_takes(rig) == takes) last_take = now_in_us();
            if (reply == 0 && hears(rig, REPLY)) reply = now_in_us();
            return reply > 0 && (last_take > 0 || now_in_us() > reply + TAKES_MISSING_AFTER_US);
        });
        if (last_take > 0) return {last_take - start, settled_cpu_in_us(rig) - cpu_before};
    }
    throw std::runtime_error("The changes of a salvo never reach the router together.");
}

void end_program(rig& rig)
{
    rig.input.reset();
    status_at_end(rig.program);
}

double now_in_us()
{
    return std::chrono::duration<double, std::micro>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double cpu_in_us(const rig& rig)
{
    clockid_t clock = 0;
    timespec used{};
    if (clock_getcpuclockid(rig.program.process, &clock) != 0 || clock_gettime(clock, &used) != 0)
        throw std::runtime_error("A program under measurement has ended by itself.");
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

double settled_cpu_in_us(rig& rig)
{
    serve_for({&rig}, 2);
    return cpu_in_us(rig);
}

double pss_in_kib(const rig& rig)
{
    std::ifstream rollup("/proc/" + std::to_string(rig.program.process) + "/smaps_rollup");
    for (std::string word; rollup >> word;) {
        double kib = 0;
        if (word == "Pss:" && rollup >> kib) return kib;
    }
    throw std::runtime_error("The system does not tell a program's memory.");
}
