// Editing a million elements and the quality of their forms, against a plain read of the same bytes.
#include "BlockMesh.h"
#include "SideBySide.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_CombineMeshes.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_Quality.h>
#include <numeric>

namespace {
bme_Mesh Bricks(int n) { return Block(*shp_ShapeDictionary().GetShape("C3D8"), n); }

/// One measure by its number, or all of them with -1.
void Quality(benchmark::State& state) {
  const DDB_CoreGeometry library;
  const bme_Mesh mesh = Bricks(100);
  std::vector<bme_QualityMeasure> measures;
  for (int m = 0; m < static_cast<int>(bme_QualityMeasures().size()); ++m)
    if (state.range(0) < 0 || state.range(0) == m) measures.push_back(static_cast<bme_QualityMeasure>(m));
  state.SetLabel(state.range(0) < 0 ? "all"
                                    : bme_QualityMeasures()[static_cast<std::size_t>(state.range(0))].name);
  SideBySide(
      state, mesh.ElementData().NumElements(),
      [&] {
        double sum = 0;
        for (const auto& row : bme_Quality(mesh, 0, measures)) sum += row.empty() ? 0 : row[row.size() / 2];
        return sum;
      },
      [&] { return PlainRead(mesh); });
}

/// What is edited is one class of the mesh with its nodes; the yardstick reads it.
template<class Edit> void Work(benchmark::State& state, int side, Edit edit) {
  const DDB_CoreGeometry library;
  const bme_MeshAndSets source{Bricks(side)};
  SideBySide(
      state, source.mesh.ElementData().NumElements(), [&] { return edit(source); },
      [&] { return PlainRead(source.mesh); });
}

void Clean(benchmark::State& state) {
  Work(state, 100,
       [](const bme_MeshAndSets& all) { return bme_CleanMesh(all).result.mesh.NodeData().NumNodes(); });
}
void Merge(benchmark::State& state) {
  Work(state, 100, [](const bme_MeshAndSets& all) {
    return bme_MergeNodes(all, {.tolerance = 1e-3}).result.mesh.NodeData().NumNodes();
  });
}
void Append(benchmark::State& state) {
  Work(state, 80, [](const bme_MeshAndSets& all) {
    const bme_MeshToCombine two[] = {{"a", &all}, {"b", &all}};
    return bme_CombineMeshes(two, bme_Labels::Offset).result.mesh.NodeData().NumNodes();
  });
}
void Order(benchmark::State& state) {
  Work(state, 60, [](const bme_MeshAndSets& all) {
    return bme_ChangeOrder(all, true).result.mesh.NodeData().NumNodes();
  });
}
} // namespace

BENCHMARK(Quality)->DenseRange(-1, 8)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Clean)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Merge)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(Append)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Order)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
