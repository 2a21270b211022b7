// The record decoder and encoder: both do what the model does, and what one has written the other
// reads back. A value that begins with newlines loses them on the way: an empty first line cannot
// be told from none.
//
// An input whose first byte is even is a record's lines; any other is the texts of a record that is
// put together from them.

#include "fuzz/fuzz_input.h"
#include "fuzz/property.h"
#include "fuzz/record_model.h"

namespace {
ParentRecord decoded(const std::vector<std::string>& lines)
{
    ParentRecord record;
    for (const std::string& line : lines)
        if (!line.empty()) decode_record_line(record, line);
    return record;
}

std::string encoded(const ParentRecord& record)
{
    std::string text = "written before";
    encode_record(record, text);
    require(text.starts_with("written before"), "a record is appended to what is there");
    require(text.ends_with("\n"), "a record ends with an empty line");
    return text.substr(14);
}

void check_decoder(std::string_view text)
{
    const std::vector<std::string> lines = lines_of(text);
    const ParentRecord record = decoded(lines);
    require(same_record(record, record_of(lines)), "lines are decoded as the model does");
    const std::string written = encoded(record);
    require(written == text_of(record), "a record is encoded as the model does");
    require(same_record(decoded(lines_of(written)), record), "what was decoded survives encoding");
}

// Names without what ends them, and values without what ends a line's text.
std::string read_name(fuzz_input& input)
{
    std::string name = "n" + read_text(input);
    std::erase_if(name, [](char byte) { return byte == '=' || byte == '\n' || byte == '\0'; });
    return name;
}

std::string read_value(fuzz_input& input)
{
    std::string value = read_text(input);
    std::erase(value, '\0');
    return value;
}

void drop_leading_newlines(std::string& value)
{
    value.erase(0, std::min(value.find_first_not_of('\n'), value.size()));
}

void check_encoder(fuzz_input& input)
{
    ParentRecord record;
    record.command = read_value(input);
    record.error = read_value(input);
    record.type = read_value(input);
    record.id = read_value(input);
    while (!input.rest.empty()) {
        const std::string name = read_name(input);
        record.fields[name] = read_value(input);
    }
    const std::string written = encoded(record);
    require(written == text_of(record), "a record is encoded as the model does");
    drop_leading_newlines(record.command);
    drop_leading_newlines(record.error);
    drop_leading_newlines(record.type);
    drop_leading_newlines(record.id);
    for (auto& [name, value] : record.fields)
        drop_leading_newlines(value);
    require(same_record(decoded(lines_of(written)), record), "what was built survives encoding");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz_input input = input_of(data, size);
    if (read_number(input) % 2 == 0) {
        check_decoder(input.rest);
    } else {
        check_encoder(input);
    }
    return 0;
}
