// Two ways to do a thing, in turn in one run: the ratio of their processor times, each the median
// of its passes, which a disturbance by others moves little.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>
#include <vector>

namespace lx2::bench {

inline double CpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// Counts ours / peer as "ratio" and says whether it is at most the aim.
template <typename Peer, typename Ours>
void Compare(benchmark::State& state, double aim, Peer peer, Ours ours) {
    std::vector<double> peers, own;
    for (auto _ : state) {
        const double start = CpuSeconds();
        peer();
        benchmark::ClobberMemory();
        const double middle = CpuSeconds();
        ours();
        benchmark::ClobberMemory();
        peers.push_back(middle - start);
        own.push_back(CpuSeconds() - middle);
    }
    const double ratio = Median(std::move(own)) / Median(std::move(peers));
    state.counters["ratio"] = ratio;
    char label[32];
    snprintf(label, sizeof(label), "aim %.2f: %s", aim, ratio <= aim ? "met" : "missed");
    state.SetLabel(label);
}

}  // namespace lx2::bench
