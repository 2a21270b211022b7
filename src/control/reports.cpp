#include "control/reports.h"

#include "parent/channel.h"
#include "router_model/state.h"

namespace {
ParentRecord make_report(const char* command)
{
    ParentRecord report;
    report.command = command;
    report.type = "message";
    return report;
}
} // namespace

void send_routing_report()
{
    if (accepted_route_changes.empty()) return;
    ParentRecord report = make_report("outputs");
    for (; !accepted_route_changes.empty(); accepted_route_changes.pop_front()) {
        const auto [input, output] = accepted_route_changes.front();
        if (output < 0 || output >= static_cast<std::int32_t>(number_of_outputs)) continue;
        report.fields["o" + std::to_string(output) + ".input.all"] =
            input < 0 ? "none" : std::to_string(input);
    }
    send_parent_record(report);
}

namespace {
template <typename Info>
void send_names_report(const char* command, const char* key, const std::vector<Info>& table)
{
    ParentRecord report = make_report(command);
    for (std::size_t i = 0; i < table.size(); ++i)
        report.fields[key + std::to_string(i) + ".name"] = table[i].name;
    send_parent_record(report);
}
} // namespace

void send_outputs_report()
{
    send_names_report("outputs", "o", router_outputs_info);
}

void send_inputs_report()
{
    send_names_report("inputs", "i", router_inputs_info);
}

void send_info_report()
{
    ParentRecord report = make_report("info");
    report.fields = {
        {"inputs", std::to_string(number_of_inputs)},
        {"outputs", std::to_string(number_of_outputs)},
        {"output routing controls", "all"},
        {"product", "Grass Valley Native Protocol switcher or compatible"},
        {"company", "Grass Valley"},
        {"copyright", "Copyright (C) 2026 the routing switcher backend's authors"},
        {"firmware version", firmware_version},
        {"model", device_model},
    };
    send_parent_record(report);
}
