// A mesh of a million C3D8 made from arrays, against copying the arrays once.
#include "SideBySide.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <numeric>

namespace {
constexpr int kSide = 100, kRow = kSide + 1;
constexpr double kElements = kSide * kSide * kSide;

struct Arrays {
  std::vector<float> xyz;
  std::vector<int> nodeLabels, rows, labels;
};

const Arrays& Given() {
  static const Arrays arrays = [] {
    Arrays made;
    for (int z = 0; z < kRow; ++z)
      for (int y = 0; y < kRow; ++y)
        for (int x = 0; x < kRow; ++x)
          made.xyz.insert(made.xyz.end(),
                          {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
    for (int k = 0; k < kSide * kSide * kSide; ++k) {
      const int a = k % kSide + kRow * (k / kSide % kSide + kRow * (k / kSide / kSide)), up = kRow * kRow;
      made.rows.insert(made.rows.end(), {a, a + 1, a + 1 + kRow, a + kRow, a + up, a + 1 + up,
                                         a + 1 + kRow + up, a + kRow + up});
    }
    made.nodeLabels.resize(made.xyz.size() / 3);
    made.labels.resize(made.rows.size() / 8);
    std::iota(made.nodeLabels.begin(), made.nodeLabels.end(), 1);
    std::iota(made.labels.begin(), made.labels.end(), 1);
    return made;
  }();
  return arrays;
}

/// Each array copied once, to where a mesh would have it.
std::size_t CopyAll(const Arrays& from) {
  const cow_ArrayCOW<float> xyz{std::span(from.xyz)};
  const cow_ArrayCOW<int> nodeLabels{std::span(from.nodeLabels)}, rows{std::span(from.rows)},
      labels{std::span(from.labels)};
  return xyz.Size() + nodeLabels.Size() + rows.Size() + labels.Size();
}

void FromSpans(benchmark::State& state) {
  const DDB_CoreGeometry library;
  const Arrays& given = Given();
  SideBySide(
      state, kElements,
      [&] {
        return bme_MeshBuilder(given.xyz, given.nodeLabels)
            .Add({.type = "C3D8", .connectivity = given.rows, .labels = given.labels})
            .Build()
            .NodeData()
            .NumNodes();
      },
      [&] { return CopyAll(given); });
}

/// The arrays are handed over; they are only read, for the checks.
void Moved(benchmark::State& state) {
  const DDB_CoreGeometry library;
  const Arrays& given = Given();
  const cow_ArrayCOW<float> xyz{std::span(given.xyz)};
  const cow_ArrayCOW<int> nodeLabels{std::span(given.nodeLabels)}, rows{std::span(given.rows)},
      labels{std::span(given.labels)};
  SideBySide(
      state, kElements,
      [&] {
        return bme_MeshBuilder(xyz, nodeLabels)
            .Add({.type = "C3D8", .connectivity = rows, .labels = labels})
            .Build()
            .NodeData()
            .NumNodes();
      },
      [&] { return CopyAll(given); });
}

BENCHMARK(FromSpans)->UseManualTime()->Iterations(20);
BENCHMARK(Moved)->UseManualTime()->Iterations(20);
} // namespace
