#include "soak/run.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "soak/random_parent.h"
#include "soak/summary.h"

namespace soak {

namespace {
constexpr int DESTINATIONS = 64;
constexpr int WAIT_MS = 20;
constexpr us_time_t SECOND = 1'000'000;
constexpr us_time_t LONGEST_SETTLING_US = 180 * SECOND;
constexpr us_time_t LONGEST_END_US = 20 * SECOND; // a status request is finished first
constexpr us_time_t CHECK_US = SECOND / 10;
constexpr us_time_t MOST_SAMPLES = 600; // more than the picture can show
} // namespace

struct soak_run {
    soak_options options;
    random_parent parent;
    ledgers books;
    parent_link::backend_link backend;
    std::string partial_line; // of the router's lines
    bool router_ended = false;
    us_time_t began = now_us();
    us_time_t next_check = 0;
    us_time_t next_sample = 0;
    us_time_t next_line = 0;
    std::size_t findings_printed = 0;
    std::vector<cost_sample> samples;
    std::vector<double> reconnections; // seconds since the start
};

namespace {
volatile std::sig_atomic_t interrupted = 0;

void interrupt(int /*signal*/)
{
    interrupted = 1;
}

double seconds_since_start(const soak_run& run)
{
    return static_cast<double>(now_us() - run.began) / static_cast<double>(SECOND);
}

soak_result result_of(const soak_run& run)
{
    return {.books = run.books,
            .samples = run.samples,
            .reconnections = run.reconnections,
            .seconds = seconds_since_start(run),
            .seed = run.options.seed};
}

// "Listening on 127.0.0.1:4567", the router's first line: the port, "" when it is another line.
std::string read_port()
{
    std::string line;
    for (char byte = 0; read(STDIN_FILENO, &byte, 1) == 1 && byte != '\n';)
        line += byte;
    const std::size_t colon = line.rfind(':');
    return line.starts_with("Listening on ") && colon != std::string::npos ? line.substr(colon + 1)
                                                                           : "";
}

void read_router_lines(soak_run& run)
{
    std::array<char, 65536> bytes{};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count <= 0) {
        run.router_ended = count == 0;
        return;
    }
    run.partial_line.append(bytes.data(), static_cast<std::size_t>(count));
    std::size_t begin = 0;
    for (std::size_t end = run.partial_line.find('\n'); end != std::string::npos;
         end = run.partial_line.find('\n', begin)) {
        const auto event =
            parse_event(std::string_view(run.partial_line).substr(begin, end - begin));
        if (event) enter_event(run.books, *event, now_us());
        begin = end + 1;
    }
    run.partial_line.erase(0, begin);
}

void read_backend(soak_run& run)
{
    serve_backend(run.backend);
    const us_time_t now = now_us();
    const std::uint64_t connections = run.books.link.connections;
    for (; !run.backend.diagnostics.empty(); run.backend.diagnostics.pop_front())
        enter_diagnostics(run.books, run.backend.diagnostics.front(), now);
    for (; !run.backend.records.empty(); run.backend.records.pop_front())
        enter_record(run.books, run.backend.records.front(), now);
    if (run.books.link.connections > connections && connections > 0)
        run.reconnections.push_back(seconds_since_start(run));
}

void measure(soak_run& run)
{
    const auto cost = read_process_cost(run.backend.child.process);
    if (cost) run.samples.push_back({seconds_since_start(run), *cost});
}

void print_findings(soak_run& run)
{
    const std::vector<std::string>& findings = run.books.findings;
    for (; run.findings_printed < findings.size(); ++run.findings_printed)
        std::printf("%6.0f s  FINDING: %s\n", seconds_since_start(run),
                    findings[run.findings_printed].c_str());
}

void check(soak_run& run, us_time_t now)
{
    if (now < run.next_check) return;
    run.next_check = now + CHECK_US;
    judge(run.books, run.backend.reads_output, now);
    print_findings(run);
    if (now >= run.next_sample) {
        measure(run);
        run.next_sample =
            now + std::max<us_time_t>(SECOND, run.options.seconds * SECOND / MOST_SAMPLES);
    }
    if (now >= run.next_line) {
        std::printf("%s\n", progress_line(result_of(run)).c_str());
        std::fflush(stdout);
        run.next_line = now + (run.options.seconds > 120 ? 30 : 5) * SECOND;
    }
}

// Waits a moment, then takes in what everybody has said. The router's lines come first: it writes
// of what it does before it answers.
void step(soak_run& run)
{
    std::vector<pollfd> watched = {{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0}};
    add_poll_descriptors(run.backend, watched);
    poll(watched.data(), watched.size(), WAIT_MS);
    if ((watched[0].revents & (POLLIN | POLLHUP)) != 0) read_router_lines(run);
    read_backend(run);
    check(run, now_us());
}

bool goes_on(const soak_run& run)
{
    return interrupted == 0 && !run.router_ended && !run.backend.ended;
}

void be_busy(soak_run& run)
{
    const us_time_t end = run.began + run.options.seconds * SECOND;
    while (goes_on(run) && now_us() < end) {
        act(run.parent, run.backend, run.books, now_us());
        step(run);
    }
}

// Asks until everything is known, or for too long.
void settle(soak_run& run)
{
    stop_acting(run.parent, run.backend, run.books, now_us());
    const us_time_t end = now_us() + LONGEST_SETTLING_US;
    while (goes_on(run) && !(all_settled(run.books) && run.books.proofs.takes > 0)) {
        if (now_us() > end) {
            note_finding(run.books, "not all was known three minutes after the last command");
            return;
        }
        settle(run.parent, run.backend, run.books, now_us());
        step(run);
    }
}

void end_backend(soak_run& run)
{
    // The keyboard's signal ends the backend as well.
    if (run.backend.ended && interrupted == 0)
        note_finding(run.books, "the backend ended by itself");
    end_input(run.backend);
    const us_time_t end = now_us() + LONGEST_END_US;
    while (!run.backend.ended && now_us() < end)
        step(run);
    if (!run.backend.ended || run.backend.exit_status != 0)
        note_finding(run.books, "the backend " + describe_end(run.backend));
}

// A run in which hardly anything happened proves nothing.
void find_what_is_missing(soak_run& run)
{
    for (const std::string& missing : missing_proofs(run.books.proofs, run.books.link.connections))
        note_finding(run.books, missing);
}

bool write_files(const soak_run& run, const soak_result& result)
{
    const std::filesystem::path folder = run.options.output_folder;
    std::ofstream json(folder / "soak.json");
    json << summary_json(result);
    return static_cast<bool>(json.flush());
}

int finish(soak_run& run)
{
    // The keyboard's signal ends the router as well.
    if (run.router_ended && interrupted == 0) note_finding(run.books, "the simulated router ended");
    find_what_is_missing(run);
    for (const growth_judgement& judgement : judge_growth(run.samples))
        if (judgement.too_much) note_finding(run.books, judgement.text);
    const soak_result result = result_of(run);
    const bool written = write_files(run, result);
    std::printf("\n%ssoak.json %s %s\n", summary_text(result).c_str(),
                written ? "is in" : "cannot be written to", run.options.output_folder.c_str());
    return written && run.books.finding_count == 0 ? 0 : 1;
}

bool start(soak_run& run)
{
    const std::filesystem::path folder = run.options.output_folder;
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const std::filesystem::path configuration = folder / "soak.conf";
    std::ofstream(configuration) << "ip address = 127.0.0.1\nport = " << run.parent.port << "\n";
    std::string failure;
    if (start_backend(run.backend, run.options.backend,
                      {"--file", std::filesystem::absolute(configuration)}, failure))
        return true;
    std::fprintf(stderr, "%s\n", failure.c_str());
    return false;
}
} // namespace

int run_soak(const soak_options& options)
{
    soak_run run;
    run.options = options;
    run.parent.random.seed(options.seed);
    run.parent.port = read_port();
    run.books.routes = make_route_ledger(DESTINATIONS, now_us());
    if (run.parent.port.empty()) {
        std::fputs("The simulated router's lines are expected on standard input.\n", stderr);
        return 2;
    }
    if (!start(run)) return 2;
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    be_busy(run);
    settle(run);
    end_backend(run);
    return finish(run);
}

} // namespace soak
