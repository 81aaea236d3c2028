// External faces of a block of elements, numbered row by row and at random. Argument: type; 1 for random.
//
// The yardstick is a hash map of sorted corners, written plainly here; peers/vtk_filters.py measures VTK's filters.
// "speed" = yardstick / work; "peak_MB" is what the process grew by while it worked, without the mesh.
#include "BlockMesh.h"
#include "SideBySide.h"

#include <CoreGeometry/bme_ExternalEdges.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <algorithm>
#include <array>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <numeric>
#include <unordered_map>

namespace {
struct Type {
  const char* label;
  int size; ///< cubes along each axis
};
const Type kTypes[] = {{"C3D8", 100}, {"C3D4", 55}, {"C3D20", 50}, {"C3D10", 35}};

/// Elements and nodes in random order.
void Shuffle(bme_Mesh& mesh) {
  std::mt19937 random(9);
  const unsigned numNodes = mesh.NodeData().NumNodes();
  std::vector<int> newIndex(numNodes);
  std::iota(newIndex.begin(), newIndex.end(), 0);
  std::ranges::shuffle(newIndex, random);
  const std::vector<float> old(mesh.NodeData().Coordinates().Const().begin(),
                               mesh.NodeData().Coordinates().Const().end());
  const std::span<float> xyz = mesh.NodeDataToModify().CoordinatesToModify();
  for (std::size_t node = 0; node < numNodes; ++node)
    std::copy_n(&old[3 * node], 3, &xyz[3 * static_cast<std::size_t>(newIndex[node])]);
  mesh.ElementDataToModify().UpdateConnectivity(newIndex.data());
  bme_ElementClass& type = mesh.ElementDataToModify().GetClassToModify(0);
  const std::span<int> rows = type.ConnectivityToModify();
  const auto columns = static_cast<std::size_t>(type.NumNodesPerElem());
  for (std::size_t i = static_cast<std::size_t>(type.NumElements()); i-- > 1;) {
    const std::size_t k = random() % (i + 1);
    std::swap_ranges(&rows[i * columns], &rows[i * columns] + columns, &rows[k * columns]);
  }
}

struct CornerHash {
  std::size_t operator()(const std::array<int, 4>& corners) const noexcept {
    std::size_t hash = 0;
    for (const int corner : corners) hash = (hash ^ static_cast<unsigned>(corner)) * 0x9E3779B97F4A7C15U;
    return hash ^ hash >> 32;
  }
};
std::size_t CountByHash(const bme_Mesh& mesh) {
  const bme_ElementClass& type = mesh.ElementData().GetClass(0);
  const shp_Shape& shape = *type.Shape();
  std::unordered_map<std::array<int, 4>, int, CornerHash> faces;
  for (int e = 0; e < type.NumElements(); ++e) {
    const std::span<const int> row = type.Connectivity(e);
    for (int face = 0; face < shape.NumFaces(); ++face) {
      std::array<int, 4> corners{-1, -1, -1, -1};
      const std::span<const int> local = shape.FaceNodes(face);
      for (std::size_t i = 0; i < static_cast<std::size_t>(shape.CornersPerFace()[face]); ++i)
        corners[i] = row[local[i]];
      std::ranges::sort(corners);
      if (const auto [at, isNew] = faces.try_emplace(corners, face); !isNew) faces.erase(at);
    }
  }
  return faces.size();
}

double ReadStatus(const char* name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(name)) return std::stod(line.substr(line.find(':') + 1)) / 1024;
  return 0;
}
/// MB that the process grows by at most.
template<class Work> double PeakOf(Work work) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << 5;
  const double before = ReadStatus("VmRSS");
  benchmark::DoNotOptimize(work());
  return ReadStatus("VmHWM") - before;
}

void ExternalFaces(benchmark::State& state) {
  const Type& type = kTypes[state.range(0)];
  state.SetLabel(type.label);
  bme_Mesh mesh = Block(*shp_ShapeDictionary().GetShape(type.label), type.size);
  if (state.range(1) != 0) Shuffle(mesh);
  const bme_FEMElemList all = bme_FEMElemList::All(mesh);
  // of quadratic elements the surface with its mid nodes is wanted, as VTK gives it
  const bool isQuadratic = mesh.ElementData().GetClass(0).Shape()->InterpOrder() > 1;
  const auto work = [&] {
    const bme_FEMFaceList faces = bme_ComputeFaces(all)->external;
    return isQuadratic ? bme_Triangulate(faces, bme_NodesOf::All).words.size() : faces.Count();
  };
  const auto byHash = [&] { return CountByHash(mesh); };
  state.counters["faces"] = static_cast<double>(work());
  state.counters["peak_MB"] = PeakOf(work);
  state.counters["yardstick_peak_MB"] = PeakOf(byHash);
  state.counters["yardstick_faces"] = static_cast<double>(byHash());
  SideBySide(state, static_cast<double>(all.Count()), work, byHash);
  state.counters["speed"] = 1 / state.counters["ratio"];
}

BENCHMARK(ExternalFaces)
    ->ArgNames({"type", "random"})
    ->ArgsProduct({benchmark::CreateDenseRange(0, std::size(kTypes) - 1, 1), {0, 1}})
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

/// Edges and triangles of the outside of a million hexahedra; the yardstick reads the faces' nodes.
void EdgesAndTriangles(benchmark::State& state) {
  const bme_Mesh mesh = Block(*shp_ShapeDictionary().GetShape("C3D8"), 100);
  const bme_FEMFaceList faces = bme_ComputeFaces(bme_FEMElemList::All(mesh))->external;
  const auto edges = [&] { return bme_ComputeEdges(faces)->unique.Count(); };
  const auto triangles = [&] { return bme_Triangulate(faces).words.size(); };
  SideBySide(state, static_cast<double>(faces.Count()), edges, triangles);
}
BENCHMARK(EdgesAndTriangles)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
} // namespace
