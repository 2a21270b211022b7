#include "frame/settings.h"

#include "common/loop_flags.h"
#include "common/numbers.h"

std::int64_t configured_inputs = 0;
std::int64_t configured_outputs = 0;
std::string router_ip_address;
std::int32_t router_port = -1;

namespace {
void apply_count(std::int64_t& count, const std::string& value)
{
    const std::int64_t new_count = value.empty() ? 0 : decimal_number(value);
    if (new_count == count) return;
    count = new_count;
    io_counts_changed = true;
}

template <typename Value>
void apply_router_setting(Value& setting, const Value& new_value)
{
    if (new_value == setting) return;
    setting = new_value;
    disconnect_requested = true;
    io_counts_changed = true;
}
} // namespace

void apply_setting(const std::string& name, const std::string& value)
{
    if (name == "inputs") {
        apply_count(configured_inputs, value);
    } else if (name == "outputs") {
        apply_count(configured_outputs, value);
    } else if (name == "ip address") {
        apply_router_setting(router_ip_address, value);
    } else if (name == "port") {
        apply_router_setting(router_port, value.empty() ? -1 : decimal_number(value));
    }
}
