#include "control/commands.h"

#include "common/loop_flags.h"
#include "common/numbers.h"
#include "frame/settings.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"

namespace {
const std::string ABSENT_FIELD;

const std::string& field(const ParentRecord& record, const char* name)
{
    const auto found = record.fields.find(name);
    return found == record.fields.end() ? ABSENT_FIELD : found->second;
}

ParentRecord make_reply(const ParentRecord& request, const std::string& command,
                        const std::string& error = {})
{
    ParentRecord reply;
    reply.command = command;
    reply.error = error;
    reply.type = "reply";
    reply.id = request.id;
    return reply;
}

// -1 when the text does not begin with a digit. A number too large may wrap to a negative one.
std::int32_t parse_position(const std::string& text)
{
    if (text.empty() || text[0] < '0' || text[0] > '9') return -1;
    return decimal_number(text);
}

void stage_route_change(const ParentRecord& record)
{
    std::int32_t input = parse_position(field(record, "from input"));
    if (static_cast<std::int32_t>(number_of_inputs) <= input) input = -1;
    const std::int32_t output = parse_position(field(record, "to output"));
    if (output < 0 || output >= static_cast<std::int32_t>(number_of_outputs)) return;
    // "all" is the only output routing control there is; any other disconnects.
    const std::string& control = field(record, "control");
    if (!control.empty() && control != "all") input = -1;
    staged_route_changes.push_back({.input = input, .output = output});
}

void flush_route_changes()
{
    pending_route_changes.insert(pending_route_changes.end(), staged_route_changes.begin(),
                                 staged_route_changes.end());
    staged_route_changes.clear();
    send_route_changes();
}

void handle_route_output(const ParentRecord& record)
{
    // The record may be gone after a flush: everything is read from it before.
    const ParentRecord reply = make_reply(record, "route output");
    const std::string& queue = field(record, "queue"); // not looked at again after a flush
    if (queue == "add") {
        stage_route_change(record);
    } else if (queue == "flush") {
        flush_route_changes();
    } else if (queue == "discard") {
        staged_route_changes.clear();
    }
    send_parent_record(reply);
}

// The answers come as ordinary messages.
void query_output_status()
{
    for (std::uint64_t i = 0; i < number_of_outputs; ++i) {
        const router_message query = make_status_query(static_cast<std::uint32_t>(i + 1));
        service_router_connection();
        service_parent_and_dispatch();
        connection_sendmsg(query);
    }
}

void handle_report(const ParentRecord& record)
{
    const std::string& what = field(record, "what");
    if (what == "outputs") {
        const ParentRecord reply = make_reply(record, "");
        if (router_link_is_up() && !discovery_needed) query_output_status();
        send_parent_record(reply);
    } else if (what == "inputs") {
        send_parent_record(make_reply(record, ""));
    } else {
        send_parent_record(
            make_reply(record, "report", "I do not recognize what you are asking for"));
    }
}

void handle_message(const ParentRecord& record)
{
    if (record.command == "set") {
        apply_setting(field(record, "name"), field(record, "value"));
    } else {
        send_parent_record(
            make_reply(record, record.command, "Message " + record.command + " ignored"));
    }
}

void handle_command(const ParentRecord& record)
{
    if (record.command == "route output") {
        handle_route_output(record);
    } else if (record.command == "report") {
        handle_report(record);
    } else {
        send_parent_record(make_reply(record, record.command, "Unknown command " + record.command));
    }
}
} // namespace

void handle_parent_record(ParentRecord& record)
{
    if (record.type == "message") {
        handle_message(record);
    } else if (record.type == "command") {
        handle_command(record);
    }
}
