#include "bench/pieces/pieces.h"
#include "parent/record.h"

namespace bench {

namespace {
ParentRecord report(const char* command, const std::string& key, unsigned count,
                    const std::string& suffix, const std::string& value)
{
    ParentRecord record;
    record.command = command;
    record.type = "message";
    for (unsigned i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        record.fields[std::string(key).append(number).append(suffix)] = value + number;
    }
    return record;
}

ParentRecord routing_report()
{
    return report("outputs", "o", 256, ".input.all", "");
}

ParentRecord names_report()
{
    return report("inputs", "i", 1024, ".name", "CAM ");
}

void measure_encoding(benchmark::State& state, const ParentRecord& record)
{
    std::string text;
    measure(state, [&] {
        text.clear(); // its capacity stays, like that of the channel's output
        encode_record(record, text);
        benchmark::DoNotOptimize(text.data());
    });
}

std::vector<std::string> lines_of(const ParentRecord& record)
{
    std::string text;
    encode_record(record, text);
    std::vector<std::string> lines;
    for (std::size_t begin = 0; text[begin] != '\n';) {
        const std::size_t end = text.find('\n', begin);
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

void measure_decoding(benchmark::State& state, const ParentRecord& record)
{
    const std::vector<std::string> lines = lines_of(record);
    ParentRecord decoded;
    measure(state, [&] {
        clear(decoded);
        for (const std::string& line : lines)
            decode_record_line(decoded, line);
    });
}

void EncodeRoutingReport(benchmark::State& state)
{
    measure_encoding(state, routing_report());
}
BENCHMARK(EncodeRoutingReport);

void EncodeNamesReport(benchmark::State& state)
{
    measure_encoding(state, names_report());
}
BENCHMARK(EncodeNamesReport);

void DecodeRoutingReport(benchmark::State& state)
{
    measure_decoding(state, routing_report());
}
BENCHMARK(DecodeRoutingReport);

void DecodeNamesReport(benchmark::State& state)
{
    measure_decoding(state, names_report());
}
BENCHMARK(DecodeNamesReport);
} // namespace

} // namespace bench
