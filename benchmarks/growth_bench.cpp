// Whole-mesh work on 10 million C3D8 against the same on a million: "growth" is the time of an element there over its
// time here. Both meshes are beyond all caches, so that it shows what does not scale.
#include "BlockMesh.h"
#include "SideBySide.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_Quality.h>
#include <CoreGeometry/chk_Findings.h>
#include <CoreGeometry/gsl_BBox.h>
#include <functional>
#include <numeric>

namespace {
const DDB_CoreGeometry theLibrary;

struct Call {
  const char* name;
  std::function<double(const bme_Mesh&)> run;
};

const std::vector<Call>& Calls() {
  static const std::vector<Call> calls = {
      {"box", [](const bme_Mesh& mesh) { return bme_Mesh(mesh).GetBBox().Max()[0]; }},
      {"external faces",
       [](const bme_Mesh& mesh) {
         return static_cast<double>(bme_ComputeFaces(bme_FEMElemList::All(mesh))->external.Count());
       }},
      {"measures", [](const bme_Mesh& mesh) { return bme_CalculateMeasures(mesh).volume.Total(); }},
      {"quality", [](const bme_Mesh& mesh) { return bme_Quality(mesh, 0, {{bme_QualityMeasure{}}})[0][5]; }},
      {"check of elements",
       [](const bme_Mesh& mesh) {
         std::vector<chk_Finding> findings;
         chk_Findings collected("mesh", findings);
         return static_cast<double>(chk_Elements(mesh, collected).size());
       }},
      {"making a locator",
       [](const bme_Mesh& mesh) { return static_cast<double>(bme_ElementLocator(mesh).NumElements()); }},
      {"elements of nodes",
       [](const bme_Mesh& mesh) {
         return static_cast<double>(bme_FEMConnect(mesh).ElementsOfNodes().items.size());
       }},
      {"neighbours across faces",
       [](const bme_Mesh& mesh) {
         return static_cast<double>(bme_FEMConnect(mesh).Neighbours(bme_Across::Face).items.size());
       }},
      {"duplicates",
       [](const bme_Mesh& mesh) {
         return static_cast<double>(bme_FindDuplicates(bme_FEMElemList::All(mesh)).size());
       }},
  };
  return calls;
}

void Growth(benchmark::State& state) {
  const Call& call = Calls()[static_cast<std::size_t>(state.range(0))];
  state.SetLabel(call.name);
  static const auto meshes = [] {
    const shp_ShapeDictionary dictionary;
    const shp_Shape& shape = *dictionary.GetShape("C3D8");
    return std::array{Block(shape, 100), Block(shape, 215)};
  }();
  const double few = meshes[0].ElementData().NumElements(), many = meshes[1].ElementData().NumElements();
  SideBySide(
      state, many, [&] { return call.run(meshes[1]); }, [&] { return call.run(meshes[0]); });
  state.counters["growth"] = state.counters["ratio"] * few / many;
}
BENCHMARK(Growth)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond)
    ->DenseRange(0, static_cast<int64_t>(Calls().size()) - 1);
} // namespace
