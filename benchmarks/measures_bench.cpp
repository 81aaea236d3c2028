// Volume and connectivity of a million elements, against a plain read of the same bytes.
#include "BlockMesh.h"
#include "SideBySide.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <cstdint>

namespace {
constexpr int kSide = 100; // a million bricks, or five tetrahedra in each of 200,000

bme_Mesh Box(bool tetrahedra) {
  const int layers = tetrahedra ? kSide / 5 : kSide, row = kSide + 1;
  std::vector<float> nodes;
  for (int z = 0; z <= layers; ++z)
    for (int y = 0; y <= kSide; ++y)
      for (int x = 0; x <= kSide; ++x)
        nodes.insert(nodes.end(), {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
  constexpr int kFive[] = {0, 1, 3, 4, 1, 2, 3, 6, 4, 6, 5, 1, 4, 7, 6, 3, 1, 6, 3, 4};
  std::vector<int> elements;
  for (int z = 0; z < layers; ++z)
    for (int y = 0; y < kSide; ++y)
      for (int x = 0; x < kSide; ++x) {
        const int a = x + row * (y + row * z), up = row * row;
        const int brick[] = {a,      a + 1,      a + 1 + row,      a + row,
                             a + up, a + 1 + up, a + 1 + row + up, a + row + up};
        if (tetrahedra)
          for (const int corner : kFive) elements.push_back(brick[corner]);
        else
          elements.insert(elements.end(), std::begin(brick), std::end(brick));
      }
  return bme_MeshBuilder(nodes)
      .Add({.type = tetrahedra ? "C3D4" : "C3D8", .connectivity = elements})
      .Build(1, bme_ORPHAN_MESH);
}

void Volume(benchmark::State& state) {
  const DDB_CoreGeometry library;
  const bme_Mesh mesh = Box(state.range(0) != 0);
  bme_MeasureOptions options;
  options.order = static_cast<shp_MomentOrder>(state.range(1));
  SideBySide(
      state, mesh.ElementData().NumElements(),
      [&] { return bme_CalculateMeasures(mesh, options).volume.Total(); }, [&] { return PlainRead(mesh); });
}

template<class Ask> void Build(benchmark::State& state, Ask ask) {
  const DDB_CoreGeometry library;
  const bme_Mesh mesh = Box(state.range(0) != 0);
  SideBySide(
      state, mesh.ElementData().NumElements(), [&] { return ask(bme_FEMConnect(mesh)); },
      [&] { return PlainRead(mesh); });
}
void BuildElementsOfNodes(benchmark::State& state) {
  Build(state, [](const bme_FEMConnect& connect) { return connect.ElementsOfNodes().items.back(); });
}
void BuildDualGraph(benchmark::State& state) {
  Build(state,
        [](const bme_FEMConnect& connect) { return connect.Neighbours(bme_Across::Face).items.back(); });
}

void QueryDualGraph(benchmark::State& state) {
  const DDB_CoreGeometry library;
  const bme_Mesh mesh = Box(state.range(0) != 0);
  const bme_Adjacency& rows = mesh.Connectivity().Neighbours(bme_Across::Face);
  SideBySide(
      state, static_cast<double>(rows.items.size()),
      [&] {
        std::uint64_t sum = 0;
        for (std::size_t row = 0; row < rows.Count(); ++row)
          for (const unsigned element : rows[row]) sum += element;
        return sum;
      },
      [&] {
        std::uint64_t sum = 0;
        for (const unsigned element : rows.items) sum += element;
        return sum;
      });
}
} // namespace

BENCHMARK(Volume)->ArgsProduct({{0, 1}, {0, 2}})->ArgNames({"tet4", "order"})->UseManualTime()->Iterations(5);
BENCHMARK(BuildElementsOfNodes)->Arg(0)->Arg(1)->ArgName("tet4")->UseManualTime()->Iterations(3);
BENCHMARK(BuildDualGraph)->Arg(0)->Arg(1)->ArgName("tet4")->UseManualTime()->Iterations(3);
BENCHMARK(QueryDualGraph)->Arg(0)->Arg(1)->ArgName("tet4")->UseManualTime()->Iterations(5);
