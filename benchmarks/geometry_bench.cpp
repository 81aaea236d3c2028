// Geometry over whole arrays against the memory traffic alone: the box of 10 million points against a plain
// read of the same bytes, the transform against reading and writing them in place, plane distances against
// reading the points and writing the results. Read the counter "ratio": time of the traffic over time of the
// work, each the best of the run, taken in turns; 1 is memory speed. The transform appears once for each body
// that this processor can run.
//
// The float transform is bound by arithmetic where memory is fast: widening, 18 operations and narrowing of
// four points are some 44 vector operations at best, and about three of them end in a cycle.
#include "gsl_FlatArrays.h"

#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Plane.h>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace {
constexpr std::size_t kPoints = 10'000'000;

template<class T> std::vector<T> Coordinates() {
  std::vector<T> xyz(3 * kPoints);
  for (std::size_t i = 0; i < xyz.size(); ++i) xyz[i] = static_cast<T>(1 + i % 1000 * 0.25);
  return xyz;
}

gsl_Matrix Turn() {
  gsl_Matrix m;
  m.AxisRotation(gsl_Point(1, 2, 3), gsl_Vector(1, 1, 0.5), 1e-3);
  return m;
}

template<class T> [[gnu::noinline]] void Read(const std::vector<T>& values) {
  std::uint64_t sum = 0, word;
  const auto* bytes = reinterpret_cast<const char*>(values.data());
  for (std::size_t i = 0; i + sizeof word <= values.size() * sizeof(T); i += sizeof word) {
    std::memcpy(&word, bytes + i, sizeof word);
    sum ^= word;
  }
  benchmark::DoNotOptimize(sum);
}

template<class T> [[gnu::noinline]] void ReadAndWrite(std::vector<T>& values) {
  for (T& value : values) value = -value;
  benchmark::ClobberMemory();
}

template<class F> double Seconds(F&& f) {
  const auto start = std::chrono::steady_clock::now();
  f();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

template<class Traffic, class Work> void Compare(benchmark::State& state, Traffic&& traffic, Work&& work) {
  double bestTraffic = std::numeric_limits<double>::infinity(), bestWork = bestTraffic;
  for (auto _ : state) {
    bestTraffic = std::min(bestTraffic, Seconds(traffic));
    const double seconds = Seconds(work);
    bestWork = std::min(bestWork, seconds);
    state.SetIterationTime(seconds);
  }
  state.counters["ratio"] = bestTraffic / bestWork;
}

template<class T> void Box(benchmark::State& state) {
  const std::vector<T> xyz = Coordinates<T>();
  Compare(
      state, [&] { Read(xyz); },
      [&] {
        gsl_BBox box;
        box.Add(std::span<const T>(xyz));
        benchmark::DoNotOptimize(box);
      });
}

/// "cached": as many points, but always the same few in the second-level cache. What it takes longer than the yardstick is
/// arithmetic, whatever the memory does.
template<class T> void Transform(benchmark::State& state) {
  std::vector<T> xyz = Coordinates<T>();
  const gsl_Matrix m = Turn();
  double elements[4][4];
  m.AsArray(elements);
  const auto body = static_cast<gsl_Body>(state.range(0));
  if (body > gsl_BestBody()) return state.SkipWithError("not on this processor");
  Compare(
      state, [&] { ReadAndWrite(xyz); },
      [&] {
        const std::size_t atOnce = state.range(1) != 0 ? kPoints / 1000 : kPoints;
        for (std::size_t done = 0; done < kPoints; done += atOnce)
          gsl_MoveTriples(body, elements, xyz.data(), atOnce);
      });
}

template<class T> void PlaneDistances(benchmark::State& state) {
  const std::vector<T> xyz = Coordinates<T>();
  std::vector<double> distances(kPoints);
  const gsl_Plane plane(gsl_Point(1, 2, 3), gsl_Vector(1, 1, 0.5));
  Compare(
      state,
      [&] {
        Read(xyz);
        std::fill(distances.begin(), distances.end(), 1.0);
        benchmark::ClobberMemory();
      },
      [&] {
        plane.GetSignedDistances(std::span<const T>(xyz), distances);
        benchmark::ClobberMemory();
      });
}

void MakePoint(benchmark::State& state) {
  for (auto _ : state) {
    gsl_Point p(1, 2, 3);
    benchmark::DoNotOptimize(p);
  }
}
} // namespace

BENCHMARK(Box<float>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Box<double>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Transform<float>)
    ->ArgNames({"body", "cached"})
    ->ArgsProduct({{0, 1, 2}, {0, 1}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Transform<double>)
    ->ArgNames({"body", "cached"})
    ->ArgsProduct({{0, 1}, {0}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(PlaneDistances<float>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PlaneDistances<double>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(MakePoint);
