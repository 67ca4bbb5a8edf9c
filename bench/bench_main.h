// main() of a Google Benchmark program that first says, on one line, what it measures:
// `make bench` shows that line above each program's table.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>

#define INVITRO_BENCH_MAIN(covers)                                        \
    int main(int argc, char** argv) {                                     \
        std::printf("%s\n", covers);                                      \
        std::fflush(stdout);                                              \
        benchmark::Initialize(&argc, argv);                               \
        if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1; \
        benchmark::RunSpecifiedBenchmarks();                              \
        benchmark::Shutdown();                                            \
        return 0;                                                         \
    }
