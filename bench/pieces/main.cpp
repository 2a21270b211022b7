// Measures pieces of the backend one by one: time and allocations. Options and output are Google
// Benchmark's, for example --benchmark_format=json or --benchmark_filter=Parse. Fails when an idle
// pass of the main loop allocates.

#include <cstdio>
#include <string_view>

#include "bench/pieces/pieces.h"

bool bench::idle_pass_allocates = false;

int main(int argument_count, char** arguments)
{
    if (argument_count == 2 && std::string_view(arguments[1]) == "--version") {
        std::puts("bench_pieces " PROJECT_VERSION);
        return 0;
    }
    benchmark::Initialize(&argument_count, arguments);
    if (benchmark::ReportUnrecognizedArguments(argument_count, arguments)) return 1;
    if (benchmark::RunSpecifiedBenchmarks() == 0) return 1;
    benchmark::Shutdown();
    if (bench::idle_pass_allocates)
        std::fputs("An idle pass of the main loop allocates.\n", stderr);
    return bench::idle_pass_allocates ? 1 : 0;
}
