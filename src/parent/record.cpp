#include "parent/record.h"

#include <string_view>

void clear(ParentRecord& record)
{
    record.command.clear();
    record.error.clear();
    record.type.clear();
    record.id.clear();
    record.fields.clear();
}

namespace {
std::string& line_target(ParentRecord& record, std::string_view name)
{
    if (name == "*COMMAND") return record.command;
    if (name == "*ERROR") return record.error;
    if (name == "*TYPE") return record.type;
    if (name == "*ID") return record.id;
    return record.fields[std::string(name)];
}
} // namespace

void decode_record_line(ParentRecord& record, const std::string& line)
{
    const std::string_view text = line.c_str();
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos) return;
    std::string& target = line_target(record, text.substr(0, equals));
    if (!target.empty()) target += '\n';
    target += text.substr(equals + 1);
}

void encode_field(std::string& output, const std::string& name, const std::string& value)
{
    std::size_t position = 0;
    for (;;) {
        output += name;
        output += '=';
        const std::size_t newline = value.find('\n', position);
        output.append(value, position, newline - position);
        output += '\n';
        if (newline == std::string::npos) return;
        position = newline + 1;
    }
}

void encode_record(const ParentRecord& record, std::string& output)
{
    if (!record.command.empty()) encode_field(output, "*COMMAND", record.command);
    if (!record.error.empty()) encode_field(output, "*ERROR", record.error);
    if (!record.type.empty()) encode_field(output, "*TYPE", record.type);
    if (!record.id.empty()) encode_field(output, "*ID", record.id);
    for (const auto& [name, value] : record.fields)
        encode_field(output, name, value);
    output += '\n';
}
