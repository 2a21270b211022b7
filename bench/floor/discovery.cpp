// A bare client: sends what discovery asks, reads the answers, looks at both sides once for each of
// them, keeps the names in two tables and says what it has learnt. The lines that the backend logs
// are written as well.
#include <charconv>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/select.h>
#include <vector>

#include "calls.h"
#include "support/frames.h"

using namespace bench;

namespace {
struct named_port {
    std::string name;
    unsigned attribute = 0;
};

constexpr unsigned MOST_PORTS = 1024;
std::vector<named_port> sources;
std::vector<named_port> destinations;
std::string partial;     // the beginning of a frame
long unread_answers = 0; // received, not looked at yet

unsigned hexadecimal(std::string_view digits)
{
    unsigned value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return value;
}

std::string_view next_field(std::string_view& rest)
{
    const std::size_t end = std::min(rest.find('\t'), rest.size());
    const std::string_view field = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return field;
}

bool has_right_checksum(std::string_view body, std::string_view checksum)
{
    unsigned sum = hexadecimal(checksum);
    for (const char byte : body)
        sum += static_cast<unsigned char>(byte);
    return (sum & 0xFFU) == 0;
}

// "N0NQ", kind, count, and for each its name, index, level and attribute.
void keep_names(std::string_view body)
{
    if (!next_field(body).ends_with("NQ")) return;
    const std::string_view kind = next_field(body);
    if (kind != "S" && kind != "D") return;
    std::vector<named_port>& ports = kind == "S" ? sources : destinations;
    for (unsigned count = hexadecimal(next_field(body)); count > 0; --count) {
        const std::string_view name = next_field(body);
        const unsigned index = hexadecimal(next_field(body)) - 1; // routers count from 1
        next_field(body);
        const unsigned attribute = hexadecimal(next_field(body));
        if (index >= MOST_PORTS) continue;
        if (ports.size() <= index) ports.resize(index + 1);
        ports[index].name = name;
        ports[index].attribute = attribute;
    }
}

// From SOH to EOT.
void look_at_answer(std::string_view framed)
{
    write_log(framed);
    const std::string_view body = framed.substr(1, framed.size() - 4);
    if (has_right_checksum(body, framed.substr(framed.size() - 3, 2))) keep_names(body);
    ++unread_answers;
}

void serve_both()
{
    partial += read_router();
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = partial.find('\x04', begin)) != std::string::npos;) {
        look_at_answer(std::string_view(partial).substr(begin, end + 1 - begin));
        begin = end + 1;
    }
    partial.erase(0, begin);
    read_parent();
    read_parent();
}

void request(std::string_view framed)
{
    serve_both();
    send_to_router(framed);
    write_log(framed);
}

void wait_for_either_side()
{
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(router_fd, &readable);
    FD_SET(0, &readable);
    timeval timeout = {0, 10'000};
    select(router_fd + 1, &readable, nullptr, nullptr, &timeout);
}

void collect(long answers)
{
    for (long collected = 0; collected < answers;) {
        serve_both();
        if (unread_answers == 0) {
            wait_for_either_side();
            continue;
        }
        --unread_answers;
        ++collected;
    }
}
} // namespace

// PORT and how many answers there are.
int main(int, char** arguments)
{
    const std::vector<std::string> commands = {
        frame(body("BK")),        frame(body("BK", {"N"})),       frame(body("BK", {"R"})),
        frame(body("BK", {"T"})), frame(body("BK", {"I", "15"})), frame(body("BK", {"E", "ON"}))};
    const std::vector<std::string> queries = {frame(body("QN", {"L"})), frame(body("QN", {"IS"})),
                                              frame(body("QN", {"ID"}))};
    const std::vector<std::string> last = {frame(body("BK", {"D"})), frame(body("BK", {"A"}))};
    fcntl(0, F_SETFL, O_NONBLOCK);
    connect_to_router(arguments[1]);
    for (int i = 0; i < 4; ++i)
        read_router();
    for (const std::string& command : commands)
        request(command);
    for (const std::string& query : queries) {
        write_log("<DBG>Asking for destinations...\n");
        request(query);
    }
    collect(std::strtol(arguments[2], nullptr, 10));
    for (const std::string& command : last)
        request(command);
    for (int i = 0; i < 9; ++i) // identity, ranges, counts
        write_log("<DBG>Changing number of outputs to 256\n");
    write_to_parent("*COMMAND=info\n*TYPE=message\ncompany=Grass Valley\ninputs=" +
                    std::to_string(sources.size()) + "\nmodel=Bench router\noutputs=" +
                    std::to_string(destinations.size()) + "\n\n");
    for (;;) {
        wait_for_work(250'000);
        read_router();
        read_parent();
    }
}
