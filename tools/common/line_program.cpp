#include "tools/common/line_program.h"

#include <utility>

#include "tools/common/lines.h"
#include "tools/common/numbers.h"

namespace common {

namespace {
constexpr int LONGEST_START_MS = 300'000; // only a hang lasts that long
} // namespace

bool start_line_program(line_program& program, const std::vector<std::string>& words,
                        std::string& error)
{
    child_pipes pipes;
    if (!start_on_pipes(program.child, pipes, words, error_output::inherited, error)) return false;
    program.input = std::move(pipes.input);
    program.output = std::move(pipes.output);
    return set_nonblocking(program.output.number, error);
}

void add_poll_descriptor(const line_program& program, std::vector<pollfd>& descriptors)
{
    if (program.output.number >= 0) descriptors.push_back({program.output.number, POLLIN, 0});
}

void serve_line_program(line_program& program)
{
    if (program.output.number < 0) return;
    std::string bytes;
    const bool more = read_available(program.output.number, bytes);
    cut_lines(bytes, program.partial, program.lines);
    if (!more) program.output.reset();
}

bool read_announced_port(std::string_view line, std::uint16_t& port)
{
    return line.starts_with("Listening on ") &&
           read_decimal(line.substr(line.rfind(':') + 1), port);
}

bool start_simulated_router(line_program& router, const std::string& program,
                            const std::vector<std::string>& options, std::uint16_t& port,
                            std::string& error)
{
    // It outlives the end of its input, so it is told to end with us.
    std::vector<std::string> words = {"setpriv", "--pdeathsig", "TERM", program, "--port", "0"};
    words.insert(words.end(), options.begin(), options.end());
    if (!start_line_program(router, words, error)) return false;
    while (router.lines.empty() && router.output.number >= 0) {
        pollfd watched = {router.output.number, POLLIN, 0};
        if (poll(&watched, 1, LONGEST_START_MS) == 0) break;
        serve_line_program(router);
    }
    if (!router.lines.empty() && read_announced_port(router.lines.front(), port)) return true;
    error = "The simulated router did not start.";
    return false;
}

} // namespace common
