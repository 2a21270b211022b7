#include "bench/pieces/pieces.h"
#include "router_link/receive_parser.h"
#include "router_link/transaction.h"
#include "router_model/state.h"

namespace bench {

namespace {
constexpr std::size_t READ_SIZE = 4096; // what the connection reads at once

void measure_encoding(benchmark::State& state, const router_message& message)
{
    const silent_peers peers;
    measure(state, [&] {
        std::string frame;
        benchmark::DoNotOptimize(encode_router_message(message, frame));
        benchmark::DoNotOptimize(frame.data());
    });
}

void EncodeTake(benchmark::State& state)
{
    measure_encoding(state, make_request("TI", {"1F", "2A"}));
}
BENCHMARK(EncodeTake);

void EncodeLongMessage(benchmark::State& state)
{
    router_message message = make_request("NQ");
    message.parameters.assign(62, std::string(15, 'x'));
    measure_encoding(state, message);
}
BENCHMARK(EncodeLongMessage);

// Parses the bytes in pieces of the benchmark's argument and removes the messages as the backend
// does.
void measure_parsing(benchmark::State& state, const std::string& bytes)
{
    const auto piece_size = static_cast<std::size_t>(state.range(0));
    measure(state, [&] {
        for (std::size_t begin = 0; begin < bytes.size(); begin += piece_size)
            parse_router_bytes(std::string_view(bytes).substr(begin, piece_size));
        for (; !router_rx_queue.empty(); router_rx_queue.pop_front())
            benchmark::DoNotOptimize(router_rx_queue.front());
    });
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void ParseRouteStatuses(benchmark::State& state)
{
    const silent_peers peers;
    std::string bytes;
    for (unsigned i = 0; bytes.size() + route_status(i, i).size() <= READ_SIZE; ++i)
        bytes += route_status(i, i);
    measure_parsing(state, bytes);
}
BENCHMARK(ParseRouteStatuses)->ArgName("piece")->Arg(READ_SIZE)->Arg(7)->Arg(1);

void ParseNameAnswer(benchmark::State& state)
{
    const silent_peers peers;
    measure_parsing(state, name_answer("S", 0, 32, true));
}
BENCHMARK(ParseNameAnswer)->ArgName("piece")->Arg(READ_SIZE)->Arg(7)->Arg(1);

void measure_handling(benchmark::State& state, const std::string& frame)
{
    const silent_peers peers;
    discovered_inputs = discovered_outputs = number_of_inputs = number_of_outputs = 256;
    const std::vector<router_message> messages = parsed(frame);
    measure(state, [&] {
        handle_router_message(messages.front());
        accepted_route_changes.clear();
    });
}

void HandleRouteStatus(benchmark::State& state)
{
    measure_handling(state, route_status(31, 42));
}
BENCHMARK(HandleRouteStatus);

void HandleOtherMessage(benchmark::State& state)
{
    measure_handling(state, name_answer("S", 0, 32, true));
}
BENCHMARK(HandleOtherMessage);
} // namespace

} // namespace bench
