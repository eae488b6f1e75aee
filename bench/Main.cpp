// Runs the benchmarks of a program. Nothing but their figures is printed: log lines are dropped.
#include <benchmark/benchmark.h>
#include <lx2host/LogSink.h>

int main(int argc, char** argv) {
    lx2::host::SetLogSink([](int, const char*, const char*) {});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
