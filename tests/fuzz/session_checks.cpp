#include "fuzz/session_checks.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <vector>

#include "fuzz/played_world.h"
#include "fuzz/property.h"
#include "fuzz/record_model.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"

namespace {
// One read brings 4096 bytes, each of which may be a message, to a queue that is just not full.
constexpr std::size_t LONGEST_QUEUE = 2 * 4096;

void check_link_state()
{
    const std::set<int> expected = router_fd < 0 ? std::set<int>{} : std::set<int>{router_fd};
    require(world.open_sockets == expected, "no socket but the link's is open");
    require(router_tx_offset <= router_tx_buffer.size(), "no more is sent than there is");
    require(router_fd >= 0 || router_tx_buffer.empty(), "nothing is kept for a closed link");
    require(router_fd >= 0 || parse_state == ParseState::Idle, "no frame outlives its link");
    require(parse_state != ParseState::Idle || incoming_message.raw.empty(), "no frame, no bytes");
    require(incoming_message.raw.size() <= 4096, "a frame is bounded");
    require(router_rx_queue.size() < LONGEST_QUEUE, "the queue of messages is bounded");
}

void check_tables()
{
    require(number_of_inputs <= 256 && number_of_outputs <= 256, "effective counts are capped");
    require(discovered_inputs == router_inputs_info.size(), "inputs are counted");
    require(discovered_outputs == router_outputs_info.size(), "outputs are counted");
    require(discovered_inputs <= 1024 && discovered_outputs <= 1024, "tables are bounded");
    require(input_index_base < 1024 && output_index_base < 1024, "bases are indexes");
    require(router_levels.size() <= 32, "levels are bounded");
    for (std::size_t i = 0; i < router_levels.size(); ++i)
        require(router_levels[i].empty() || (level_mask >> i & 1) != 0, "named levels are marked");
    for (const RouteChange& change : accepted_route_changes)
        require(change.output >= 0 && change.output < 256 && change.input >= -1 &&
                    change.input < 1024,
                "accepted routes are within range");
    for (const auto* queue : {&staged_route_changes, &pending_route_changes})
        for (const RouteChange& change : *queue)
            require(change.output >= 0 && change.output < 256 && change.input < 256,
                    "queued routes are within range");
}
} // namespace

void check_state()
{
    require(active_record_handlers == 0, "every handler has returned");
    require(parent_output.empty() ? parent_output_written == 0
                                  : parent_output_written < parent_output.size(),
            "written output is forgotten");
    check_link_state();
    check_tables();
}

namespace {
// The lines of each record that the parent has heard.
std::vector<std::vector<std::string>> heard_records(bool complete)
{
    std::vector<std::string> lines = lines_of(world.parent.output.bytes);
    std::vector<std::vector<std::string>> records(1);
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        if (lines[i].empty()) {
            records.emplace_back();
        } else {
            records.back().push_back(lines[i]);
        }
    }
    require(!complete || (records.back().empty() && lines.back().empty()),
            "the last record is whole");
    records.pop_back();
    return records;
}

// The head's names in their order, then the fields' in byte order.
void check_form(const std::vector<std::string>& lines)
{
    std::string before;
    for (const std::string& line : lines) {
        const std::size_t equals = line.find('=');
        require(equals != std::string::npos, "a line names its value");
        const std::string name = line.substr(0, equals);
        const std::size_t rank = std::min(
            std::string_view("*COMMAND *ERROR *TYPE *ID ").find(name + " "), std::size_t{26});
        const std::string place = static_cast<char>('A' + rank) + name;
        require(before <= place, "names come in their order");
        before = place;
    }
}

ParentRecord reply_to(const ParentRecord& request, const std::string& command,
                      const std::string& error = "")
{
    return {.command = command, .error = error, .type = "reply", .id = request.id, .fields = {}};
}

std::vector<ParentRecord> expected_reply(const ParentRecord& request)
{
    const std::string& command = request.command;
    if (request.type == "message" && command != "set")
        return {reply_to(request, command, "Message " + command + " ignored")};
    if (request.type != "command") return {};
    if (command == "route output") return {reply_to(request, command)};
    if (command != "report") return {reply_to(request, command, "Unknown command " + command)};
    const auto what = request.fields.find("what");
    if (what != request.fields.end() && (what->second == "outputs" || what->second == "inputs"))
        return {reply_to(request, "")};
    return {reply_to(request, "report", "I do not recognize what you are asking for")};
}

// Every reply is one that was due, and none is sent twice; nested commands are answered out of
// their order.
void check_replies(std::vector<std::string> replies, bool complete)
{
    std::vector<std::string> due;
    for (const ParentRecord& request : records_in(world.read_from_parent))
        for (const ParentRecord& reply : expected_reply(request))
            due.push_back(text_of(reply));
    std::sort(due.begin(), due.end());
    std::sort(replies.begin(), replies.end());
    require(std::includes(due.begin(), due.end(), replies.begin(), replies.end()),
            "only commands are answered, and none twice");
    require(!complete || due.size() == replies.size(), "every command is answered");
}

// What the log says was accepted for an output, and what of it is certain to be reported: changes
// of the effective count make room for both.
struct accepted_routes {
    std::map<int, std::set<std::string>> ever;
    std::map<int, std::string> last;
};

accepted_routes logged_routes()
{
    accepted_routes routes;
    for (const std::string& line : logged_lines) {
        int output = 0;
        int input = 0;
        if (std::sscanf(line.c_str(), "<DBG>Accepting route change output=%d input=%d", &output,
                        &input) == 2) {
            const std::string shown = input < 0 ? "none" : std::to_string(input);
            routes.ever[output].insert(shown);
            routes.last[output] = shown;
        }
        if (line.starts_with("<DBG>Changing number of outputs")) routes.last.clear();
    }
    return routes;
}

// The routes shown last, by output.
std::map<int, std::string> reported_routes(const std::vector<ParentRecord>& reports,
                                           const accepted_routes& accepted)
{
    std::map<int, std::string> shown;
    for (const ParentRecord& report : reports) {
        for (const auto& [name, value] : report.fields) {
            int output = 0;
            int end = 0;
            if (report.command != "outputs") continue;
            if (std::sscanf(name.c_str(), "o%d.input.all%n", &output, &end) != 1 || end == 0)
                continue;
            const auto ever = accepted.ever.find(output);
            require(ever != accepted.ever.end() && ever->second.contains(value),
                    "no route is reported that was not accepted");
            shown[output] = value;
        }
    }
    return shown;
}

void check_routes(const std::vector<ParentRecord>& reports, bool complete)
{
    const accepted_routes accepted = logged_routes();
    const std::map<int, std::string> shown = reported_routes(reports, accepted);
    for (const auto& [output, input] : accepted.last) {
        if (!complete || output >= static_cast<int>(number_of_outputs)) continue;
        const auto found = shown.find(output);
        require(found != shown.end() && found->second == input,
                "the last accepted route of an output is the last reported");
    }
}

void check_log()
{
    for (const std::string& line : logged_lines)
        require(line.ends_with("\n") && (line.starts_with("<DBG>") || line.starts_with("<NOTE>") ||
                                         line.starts_with("<WARN>") || line.starts_with("<ERR>") ||
                                         line.starts_with("Discarding unexpected byte ")),
                "diagnostics have their tag and their end");
}
} // namespace

void check_conversation(bool complete)
{
    check_log();
    std::vector<std::string> replies;
    std::vector<ParentRecord> reports;
    for (const std::vector<std::string>& lines : heard_records(complete)) {
        check_form(lines);
        const ParentRecord record = record_of(lines);
        require(record.type == "reply" || record.type == "message", "a record has its type");
        if (record.type == "reply") {
            replies.push_back(text_of(record));
        } else {
            require(record.command == "info" || record.command == "inputs" ||
                        record.command == "outputs",
                    "reports are known by their names");
            reports.push_back(record);
        }
    }
    check_replies(replies, complete);
    check_routes(reports, complete);
}
