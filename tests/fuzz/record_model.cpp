#include "fuzz/record_model.h"

#include <optional>
#include <utility>

namespace {
constexpr std::pair<std::string_view, std::string ParentRecord::*> HEAD[] = {
    {"*COMMAND", &ParentRecord::command},
    {"*ERROR", &ParentRecord::error},
    {"*TYPE", &ParentRecord::type},
    {"*ID", &ParentRecord::id},
};
} // namespace

bool same_record(const ParentRecord& one, const ParentRecord& other)
{
    for (const auto& [name, member] : HEAD)
        if (one.*member != other.*member) return false;
    return one.fields == other.fields;
}

std::vector<std::string> lines_of(std::string_view text)
{
    std::vector<std::string> lines;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = text.find('\n', begin);
        lines.emplace_back(text.substr(begin, end - begin));
        if (end == std::string_view::npos) return lines;
        begin = end + 1;
    }
}

namespace {
std::string& member_or_field(ParentRecord& record, const std::string& name)
{
    for (const auto& [head_name, member] : HEAD)
        if (name == head_name) return record.*member;
    return record.fields[name];
}
} // namespace

ParentRecord record_of(const std::vector<std::string>& lines)
{
    ParentRecord record;
    for (const std::string& line : lines) {
        const std::string seen = line.substr(0, line.find('\0'));
        const std::size_t equals = seen.find('=');
        if (equals == std::string::npos) continue;
        std::string& text = member_or_field(record, seen.substr(0, equals));
        text = text.empty() ? seen.substr(equals + 1) : text + "\n" + seen.substr(equals + 1);
    }
    return record;
}

// An empty line ends a record that says more than its type and identifier.
std::vector<ParentRecord> records_in(std::string_view sent)
{
    std::string text(sent);
    std::erase(text, '\r');
    std::vector<ParentRecord> records;
    std::vector<std::string> lines = lines_of(text);
    lines.pop_back(); // it has no end yet
    std::vector<std::string> current;
    for (std::string& line : lines) {
        if (!line.empty()) {
            current.push_back(std::move(line));
            continue;
        }
        const ParentRecord record = record_of(current);
        if (record.command.empty() && record.error.empty() && record.fields.empty()) continue;
        records.push_back(record);
        current.clear();
    }
    return records;
}

namespace {
std::string field_text(const std::string& name, const std::string& value)
{
    std::string text;
    for (const std::string& piece : lines_of(value)) {
        text += name;
        text += '=' + piece + '\n';
    }
    return text;
}
} // namespace

std::string text_of(const ParentRecord& record)
{
    std::string text;
    for (const auto& [name, member] : HEAD)
        if (!(record.*member).empty()) text += field_text(std::string(name), record.*member);
    for (const auto& [name, value] : record.fields)
        text += field_text(name, value);
    return text + "\n";
}
