// Carrying 6 components from integration points to nodes in a million elements. Counters: "of_traffic", time
// of reading the values and writing as many as come out over the time of the work; "of_eigen", the same with
// products of Eigen's fixed-size matrices where it is installed.
#include "SideBySide.h"

#include <CoreGeometry/shp_ShapeDictionary.h>
#include <bit>
#include <numeric>
#include <vector>
#ifdef BENCH_HAS_EIGEN
#include <Eigen/Dense>
#endif

namespace {
constexpr int kElements = 1'000'000, kComponents = 6;

template<int numPoints, int numNodes> void Extrapolate(benchmark::State& state, const char* label) {
  const bool againstEigen = state.range(0) == 1;
  const shp_ShapeDictionary dictionary;
  const shp_Shape& shape = *dictionary.GetShape(label);
  std::vector<float> values(std::size_t{kElements} * numPoints * kComponents);
  for (std::size_t k = 0; k < values.size(); ++k) values[k] = static_cast<float>(k % 1009);
  std::vector<float> out(std::size_t{kElements} * numNodes * kComponents);
  const auto work = [&] {
    shape.ExtrapolateEachToNodes(kElements, values, res_INTEGRATION_POINT, out, kComponents);
    return out[12345];
  };
  const auto traffic = [&] {
    const float sum = std::reduce(values.begin(), values.end(), 0.0F, [](float a, float b) {
      return std::bit_cast<float>(std::bit_cast<unsigned>(a) ^ std::bit_cast<unsigned>(b));
    });
    std::fill(out.begin(), out.end(), sum);
    return out[12345];
  };
  if (!againstEigen) {
    SideBySide(state, kElements, work, traffic);
    state.counters["of_traffic"] = 1 / state.counters["ratio"];
    return;
  }
#ifdef BENCH_HAS_EIGEN
  using Eigen::RowMajor;
  using In = Eigen::Matrix<float, numPoints, kComponents, RowMajor>;
  using Out = Eigen::Matrix<float, numNodes, kComponents, RowMajor>;
  Eigen::Matrix<double, numNodes, numPoints, RowMajor> weights;
  for (int i = 0; i < numNodes; ++i)
    for (int j = 0; j < numPoints; ++j)
      weights(i, j) =
          static_cast<double>(shape.IntPtToNodeWeights()[static_cast<std::size_t>(i * numPoints + j)]);
  const auto eigen = [&] {
    for (std::size_t element = 0; element < kElements; ++element) {
      const Eigen::Map<const In> in(values.data() + element * numPoints * kComponents);
      Eigen::Map<Out> nodes(out.data() + element * numNodes * kComponents);
      nodes = weights.lazyProduct(in.template cast<double>()).template cast<float>();
    }
    return out[12345];
  };
  SideBySide(state, kElements, work, eigen);
  state.counters["of_eigen"] = 1 / state.counters["ratio"];
#else
  state.SkipWithError("Eigen is not installed");
#endif
}

void HexahedronToCorners(benchmark::State& state) { Extrapolate<8, 8>(state, "C3D8"); }
void HexahedronToAllNodes(benchmark::State& state) { Extrapolate<8, 20>(state, "C3D20R"); }
void Tetrahedron(benchmark::State& state) { Extrapolate<4, 10>(state, "C3D10"); }
} // namespace

BENCHMARK(HexahedronToCorners)
    ->DenseRange(0, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK(HexahedronToAllNodes)
    ->DenseRange(0, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK(Tetrahedron)->DenseRange(0, 1)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
