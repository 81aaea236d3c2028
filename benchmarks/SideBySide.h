// SideBySide.h: times two pieces of work in turn and reports their ratio
#pragma once

#include <CoreUtils/omi_timers.h>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <limits>

/// Runs the yardstick and the work in turn. Counters: "ns" and "yardstick_ns" for one item, best of all
/// turns; "ratio" = work / yardstick (below 1: the work is faster). Each piece returns a value that depends
/// on all it did.
template<class Work, class Yardstick>
void SideBySide(benchmark::State& state, double items, Work work, Yardstick yardstick) {
  double best = std::numeric_limits<double>::max(), bestYardstick = best;
  for (auto _ : state) {
    const omi_Stopwatch yardstickTime;
    benchmark::DoNotOptimize(yardstick());
    bestYardstick = std::min(bestYardstick, yardstickTime.Seconds());
    const omi_Stopwatch time;
    benchmark::DoNotOptimize(work());
    const double seconds = time.Seconds();
    best = std::min(best, seconds);
    state.SetIterationTime(seconds);
  }
  state.counters["ns"] = 1e9 * best / items;
  state.counters["yardstick_ns"] = 1e9 * bestYardstick / items;
  state.counters["ratio"] = best / bestYardstick;
}
