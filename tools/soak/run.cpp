#include "soak/run.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <fstream>
#include <iomanip>

#include "soak/random_parent.h"
#include "soak/summary.h"
#include "tools/common/descriptors.h"
#include "tools/common/lines.h"

namespace soak {

namespace {
constexpr int DESTINATIONS = 64;
constexpr us_time_t SECOND = 1'000'000;
constexpr us_time_t LONGEST_SETTLING_US = 180 * SECOND;
constexpr us_time_t LONGEST_END_US = 20 * SECOND; // a status request is finished first
constexpr us_time_t CHECK_US = SECOND / 10;
constexpr us_time_t MOST_SAMPLES = 600; // more than the picture can show

struct soak_run {
    const run_options& options;
    const run_surroundings& around;
    us_time_t began = now_us();
    random_parent parent{};
    ledgers books{};
    std::string partial_line{}; // of the router's lines
    bool router_ended = false;
    us_time_t next_check = 0;
    us_time_t next_sample = 0;
    us_time_t next_line = 0;
    std::size_t findings_printed = 0;
    std::vector<cost_sample> samples{};
    std::vector<double> reconnections{}; // seconds since the start
};

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

// Judges, and says how things stand.
void check(soak_run& run, us_time_t now)
{
    run.next_check = now + CHECK_US;
    judge(run.books, run.around.backend.reads_output, now);
    for (; run.findings_printed < run.books.findings.size(); ++run.findings_printed)
        run.around.output << std::setw(6) << std::lround(seconds_since_start(run))
                          << " s  FINDING: " << run.books.findings[run.findings_printed]
                          << std::endl;
    if (now >= run.next_sample) {
        const auto cost = run.around.measure(run.around.backend.child.process);
        if (cost) run.samples.push_back({seconds_since_start(run), *cost});
        run.next_sample =
            now + std::max<us_time_t>(SECOND, run.options.seconds * SECOND / MOST_SAMPLES);
    }
    if (now >= run.next_line) {
        run.around.output << progress_line(result_of(run)) << std::endl;
        run.next_line = now + (run.options.seconds > 120 ? 30 : 5) * SECOND;
    }
}

// Waits a moment, then enters what everybody has said. The router's lines come first: it writes of
// what it does before it answers.
void step(soak_run& run)
{
    parent_link::backend_link& backend = run.around.backend;
    const int router_lines = run.router_ended ? -1 : run.around.router_lines;
    const std::uint64_t connections = run.books.link.connections;
    std::vector<pollfd> descriptors = {{.fd = router_lines, .events = POLLIN, .revents = 0}};
    add_poll_descriptors(backend, descriptors);
    run.around.wait(descriptors);
    if (descriptors[0].revents != 0) {
        std::string bytes;
        run.router_ended = common::read_some(router_lines, bytes) == common::read_outcome::ended;
        std::deque<std::string> lines;
        common::cut_lines(bytes, run.partial_line, lines);
        for (const std::string& line : lines)
            if (const auto event = parse_event(line)) enter_event(run.books, *event, now_us());
    }
    serve_backend(backend);
    const us_time_t now = now_us();
    if (run.around.visited()) note_visit(run.parent, run.books, now);
    for (; !backend.diagnostics.empty(); backend.diagnostics.pop_front())
        enter_diagnostics(run.books, backend.diagnostics.front(), now);
    for (; !backend.records.empty(); backend.records.pop_front())
        enter_record(run.books, backend.records.front(), now);
    if (run.books.link.connections > connections && connections > 0)
        run.reconnections.push_back(seconds_since_start(run));
    if (now >= run.next_check) check(run, now);
}

bool goes_on(const soak_run& run)
{
    return run.around.interrupted == 0 && !run.router_ended && !run.around.backend.ended;
}
} // namespace

int run_soak(const run_options& options, const run_surroundings& around)
{
    soak_run run{.options = options, .around = around};
    run.parent.random.seed(options.seed);
    run.parent.port = options.port;
    run.parent.other_port = options.other_port;
    run.books.routes = make_route_ledger(DESTINATIONS, now_us());
    parent_link::backend_link& backend = around.backend;
    ledgers& books = run.books;

    const us_time_t end = run.began + options.seconds * SECOND;
    while (goes_on(run) && now_us() < end) {
        act(run.parent, backend, books, now_us());
        step(run);
    }
    stop_acting(run.parent, backend, books, now_us());
    const us_time_t settled_by = now_us() + LONGEST_SETTLING_US;
    while (goes_on(run) && now_us() < settled_by && !settle(run.parent, backend, books, now_us()))
        step(run);
    if (goes_on(run) && !all_settled(books))
        note_finding(books, "not all was known three minutes after the last command");
    if (around.interrupted == 0 && run.router_ended)
        note_finding(books, "the simulated router ended");
    if (around.interrupted == 0 && backend.ended)
        note_finding(books, "the backend ended by itself");

    end_input(backend);
    const us_time_t ended_by = now_us() + LONGEST_END_US;
    while (!backend.ended && now_us() < ended_by)
        step(run);
    if (!backend.ended)
        note_finding(books, "the backend had not ended 20 s after its input");
    else if (backend.exit_status != 0)
        note_finding(books, "the backend " + describe_end(backend));
    for (const std::string& missing : missing_proofs(books.proofs, books.link.connections))
        note_finding(books, missing);
    for (const growth_judgement& judgement : judge_growth(run.samples))
        if (judgement.too_much) note_finding(books, judgement.text);

    const std::filesystem::path path = options.output_folder / "soak.json";
    std::ofstream file(path);
    file << summary_json(result_of(run));
    const bool written = static_cast<bool>(file.flush());
    around.output << "\n"
                  << summary_text(result_of(run))
                  << (written ? "The figures are in " : "Cannot write ") << path.string()
                  << std::endl;
    return written && books.finding_count == 0 ? 0 : 1;
}

} // namespace soak
