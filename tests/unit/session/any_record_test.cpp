#include <rapidcheck.h>

#include "control/commands.h"
#include "unit/session/played_session.h"

namespace {
class SessionAnyRecord : public PlayedSession {};

rc::Gen<std::string> some_text(std::vector<std::string> usual)
{
    return rc::gen::oneOf(rc::gen::elementOf(usual), rc::gen::element<std::string>("", "0", "x"),
                          rc::gen::map(rc::gen::inRange<std::int64_t>(-3, 5'000'000'000),
                                       [](std::int64_t number) { return std::to_string(number); }));
}

ParentRecord some_record()
{
    ParentRecord record;
    record.type = *rc::gen::element<std::string>("command", "command", "command", "message",
                                                 "reply", "", "Command");
    record.command = *rc::gen::element<std::string>("route output", "route output", "report", "set",
                                                    "hello", "x");
    record.id = *rc::gen::element<std::string>("", "7", "a=b");
    record.fields["queue"] = *some_text({"add", "add", "flush", "discard", "Add"});
    record.fields["control"] = *rc::gen::element<std::string>("", "all", "video");
    record.fields["from input"] = *some_text({"1", "2", "02", "-1", "99"});
    record.fields["to output"] = *some_text({"0", "1", "01x", " 1", "2"});
    record.fields["what"] = *rc::gen::element<std::string>("inputs", "outputs", "", "Inputs");
    record.fields["name"] = *rc::gen::element<std::string>("inputs", "outputs", "x");
    record.fields["value"] = *some_text({"2", "300", "-1"});
    return record;
}

// What the record is answered, told from the protocol's point of view.
std::string expected_reply(const ParentRecord& record)
{
    std::string command;
    std::string error;
    if (record.type == "message") {
        if (record.command == "set") return "";
        command = record.command;
        error = "Message " + record.command + " ignored";
    } else if (record.type != "command") {
        return "";
    } else if (record.command == "route output") {
        command = record.command;
    } else if (record.command != "report") {
        command = record.command;
        error = "Unknown command " + record.command;
    } else if (record.fields.at("what") != "inputs" && record.fields.at("what") != "outputs") {
        command = "report";
        error = "I do not recognize what you are asking for";
    }
    return (command.empty() ? "" : "*COMMAND=" + command + "\n") +
           (error.empty() ? "" : "*ERROR=" + error + "\n") + "*TYPE=reply\n" +
           (record.id.empty() ? "" : "*ID=" + record.id + "\n") + "\n";
}

std::string lines_of(const ParentRecord& record)
{
    std::string lines =
        "*TYPE=" + record.type + "\n*COMMAND=" + record.command + "\n*ID=" + record.id;
    for (const auto& [name, value] : record.fields)
        lines.append("\n").append(name).append("=").append(value);
    return lines;
}

void check_queues()
{
    RC_ASSERT(number_of_inputs <= 256U);
    RC_ASSERT(number_of_outputs <= 256U);
    for (const RouteChange& change : staged_route_changes)
        RC_ASSERT(change.output >= 0 && change.output < 256 && change.input < 256);
    RC_ASSERT(flush_allow_time <= fake_now_us + 750'000);
    RC_ASSERT(queue_timeout_time <= fake_now_us + 5'000'000);
    RC_ASSERT(active_record_handlers == 0);
}
} // namespace

TEST_F(SessionAnyRecord, GetsTheRepliesThatItIsDue)
{
    EXPECT_TRUE(rc::check([this] {
        const ParentRecord record = some_record();
        const auto staged_before = staged_route_changes.size();
        parent_says(lines_of(record));
        handle_parent_input();
        RC_ASSERT(parent_hears() == expected_reply(record));
        check_queues();
        const bool adds = record.type == "command" && record.command == "route output" &&
                          record.fields.at("queue") == "add";
        RC_ASSERT(adds || staged_route_changes.size() <= staged_before);
        if (io_counts_changed) recompute_io_counts();
    }));
}

TEST_F(SessionAnyRecord, GetsItsRepliesWhateverTheMainLoopDoes)
{
    router_reports_no_change();
    start_session();
    EXPECT_TRUE(rc::check([this] {
        const auto count = *rc::gen::inRange(1, 6);
        std::size_t expected = 0;
        for (int i = 0; i < count; ++i) {
            const ParentRecord record = some_record();
            parent_says(lines_of(record));
            if (!expected_reply(record).empty()) ++expected;
        }
        std::string heard;
        run_until_parent_is_served();
        heard += parent_hears();
        std::size_t replies = 0;
        for (std::size_t at = heard.find("*TYPE=reply\n"); at != std::string::npos;
             at = heard.find("*TYPE=reply\n", at + 1))
            ++replies;
        RC_ASSERT(replies == expected);
        RC_ASSERT(router_fd >= 0);
        check_queues();
    }));
}
