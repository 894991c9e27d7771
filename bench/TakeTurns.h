// Two ways of doing one work take turns, and only one is measured: where the scheduler puts client and server
// makes more of a difference than anything else here, and this way both find the same. Each says whether it
// has done the work.
#ifndef BENCH_TAKETURNS_H
#define BENCH_TAKETURNS_H

#include <benchmark/benchmark.h>

#include <chrono>
#include <ctime>

inline void measureTurns(benchmark::State& state, double (*seconds)(), bool (*measured)(), bool (*other)()) {
    for (auto _ : state) {
        bool good = other();
        const double start = seconds();
        good = measured() && good;
        state.SetIterationTime(seconds() - start);
        if (!good) {
            state.SkipWithError("the work failed");
        }
    }
}

/// By the time that passes.
inline void takeTurns(benchmark::State& state, bool (*measured)(), bool (*other)()) {
    const auto now = [] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    };
    measureTurns(state, now, measured, other);
}

/// By the CPU time that this process takes.
inline void takeTurnsByCpu(benchmark::State& state, bool (*measured)(), bool (*other)()) {
    measureTurns(
        state, [] { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }, measured, other);
}

#endif
