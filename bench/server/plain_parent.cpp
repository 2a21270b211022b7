// The least parent of a backend, beside which the desk is measured. Its arguments are the backend
// and the configuration file. It says "ready" when the names have come, takes "take DESTINATION
// SOURCE", says "confirmed WISHED ENDED" like bench_server when the report has come, sends an empty
// line for "hurry", and ends with its input. Diagnostics go to the null device.
#include <chrono>
#include <poll.h>
#include <sstream>

#include "tools/common/child_process.h"
#include "tools/common/lines.h"

namespace {
struct plain_parent {
    common::child_pipes pipes;
    long long wished = 0; // in microseconds; 0: no take is under way
    std::string report;   // the line that confirms it
};

long long now_us()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

void do_as_told(plain_parent& parent, const std::string& line)
{
    std::istringstream words(line);
    std::string word;
    std::string to;
    std::string from;
    if (line == "hurry") {
        common::write_all(parent.pipes.input.number, "\n");
    } else if (words >> word >> to >> from) {
        parent.wished = now_us();
        common::write_all(parent.pipes.input.number,
                          "*COMMAND=route output\n*TYPE=command\nfrom input=" + from +
                              "\nqueue=add\nto output=" + to +
                              "\n\n*COMMAND=route output\n*TYPE=command\nqueue=flush\n\n");
        parent.report = "o" + to + ".input.all=" + from;
    }
}

void hear(plain_parent& parent, const std::string& line)
{
    if (line.starts_with("o0.name=")) common::write_all(1, "ready\n");
    if (parent.wished == 0 || line != parent.report) return;
    common::write_all(1, "confirmed " + std::to_string(parent.wished) + " " +
                             std::to_string(now_us()) + "\n");
    parent.wished = 0;
}
} // namespace

int main(int argument_count, char** arguments)
{
    if (argument_count != 3) return 1;
    common::child_process backend;
    plain_parent parent;
    std::string error;
    if (!common::start_on_pipes(backend, parent.pipes, {arguments[1], "--file", arguments[2]},
                                common::error_output::discarded, error))
        return 1;
    std::array<std::string, 2> partial;
    std::array<pollfd, 2> polled = {{{0, POLLIN, 0}, {parent.pipes.output.number, POLLIN, 0}}};
    for (;;) {
        poll(polled.data(), polled.size(), -1);
        for (std::size_t i = 0; i < polled.size(); ++i) {
            if (polled[i].revents == 0) continue;
            std::string bytes;
            if (common::read_some(polled[i].fd, bytes) == common::read_outcome::ended) return 0;
            std::deque<std::string> lines;
            common::cut_lines(bytes, partial[i], lines);
            for (const std::string& line : lines)
                i == 0 ? do_as_told(parent, line) : hear(parent, line);
        }
    }
}
