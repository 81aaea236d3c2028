// What lent threads gain: each call on two threads against itself on one, a million C3D8 and C3D4 and 216,000 C3D20.
// "serial" is the part of the time of one thread that lies outside all pieces of work, in percent: with it the gain of
// more threads can be judged.
#include "BlockMesh.h"
#include "SideBySide.h"

#include <BasicUtils/wip_Executor.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_Quality.h>
#include <atomic>
#include <numeric>
#include <thread>

namespace {
const DDB_CoreGeometry theLibrary;
using Clock = std::chrono::steady_clock;

class Threads : public wip_Executor {
public:
  unsigned NumThreads() const override { return 2; }
  void Run(std::size_t count, const std::function<void(std::size_t)>& work) override {
    std::atomic<std::size_t> next = 0;
    const auto takeTurns = [&] {
      for (std::size_t k = next++; k < count; k = next++) work(k);
    };
    const std::jthread other(takeTurns);
    takeTurns();
  }
};

/// One thread that works as two would, and counts the time of all pieces.
class Counting : public wip_Executor {
public:
  unsigned NumThreads() const override { return 2; }
  void Run(std::size_t count, const std::function<void(std::size_t)>& work) override {
    const Clock::time_point start = Clock::now();
    for (std::size_t k = 0; k < count; ++k) work(k);
    inPieces += Clock::now() - start;
  }
  Clock::duration inPieces{};
};

template<class Work> void Run(benchmark::State& state, std::size_t count, const Work& work) {
  SideBySide(
      state, static_cast<double>(count),
      [&] {
        Threads threads;
        const wip_ExecutorScope lent(&threads);
        return work();
      },
      work);
  state.counters["speed"] = 1 / state.counters["ratio"];
  double least = 100;
  for (int turn = 0; turn < 3; ++turn) {
    Counting counting;
    const wip_ExecutorScope lent(&counting);
    const Clock::time_point start = Clock::now();
    benchmark::DoNotOptimize(work());
    least = std::min(least, 100 - 100.0 * counting.inPieces / (Clock::now() - start));
  }
  state.counters["serial"] = least;
}

const char* const kTypes[] = {"C3D8", "C3D4", "C3D20"};
const bme_Mesh& MeshOf(int64_t type) {
  static std::map<int64_t, bme_Mesh> meshes;
  const auto found = meshes.find(type);
  if (found != meshes.end()) return found->second;
  const shp_ShapeDictionary dictionary;
  constexpr int kSides[] = {100, 55, 60};
  return meshes.emplace(type, Block(*dictionary.GetShape(kTypes[type]), kSides[type])).first->second;
}

void Measures(benchmark::State& state) {
  const bme_Mesh& mesh = MeshOf(state.range(0));
  Run(state, mesh.ElementData().NumElements(), [&] { return bme_CalculateMeasures(mesh).volume.Total(); });
}
void ExternalFaces(benchmark::State& state) {
  const bme_Mesh& mesh = MeshOf(state.range(0));
  Run(state, mesh.ElementData().NumElements(),
      [&] { return bme_ComputeFaces(bme_FEMElemList::All(mesh))->external.Count(); });
}
/// Between the lower half of the elements and the upper one.
void Interface(benchmark::State& state) {
  const bme_Mesh& mesh = MeshOf(state.range(0));
  const bme_FEMElemList all = bme_FEMElemList::All(mesh);
  const auto words = all.Words();
  const std::vector<unsigned> half(words.begin(),
                                   words.begin() + static_cast<std::ptrdiff_t>(words.size() / 2));
  const bme_FEMElemList lower(mesh, half);
  Run(state, words.size(), [&] { return bme_ComputeInterface(lower, all)->Count(); });
}
void Duplicates(benchmark::State& state) {
  const bme_Mesh& mesh = MeshOf(state.range(0));
  Run(state, mesh.ElementData().NumElements(),
      [&] { return bme_FindDuplicates(bme_FEMElemList::All(mesh)).size(); });
}
void DualGraph(benchmark::State& state) {
  const bme_Mesh& mesh = MeshOf(state.range(0));
  Run(state, mesh.ElementData().NumElements(),
      [&] { return bme_FEMConnect(mesh).Neighbours(bme_Across::Face).items.size(); });
}
/// Of all nodes in any order.
void Labels(benchmark::State& state) {
  bme_Mesh mesh = MeshOf(0);
  std::vector<int> labels(mesh.NodeData().NumNodes());
  std::iota(labels.begin(), labels.end(), 1);
  if (state.range(0) == 1) // sparse
    for (int& label : labels)
      label = static_cast<int>(static_cast<unsigned>(label) * 2654435761U & 0x7FFFFFFFU);
  mesh.NodeDataToModify().SetUserNodeLabels(labels.data());
  std::ranges::shuffle(labels, std::mt19937(1));
  std::vector<unsigned> indices(labels.size());
  mesh.NodeData().GetMeshNodeIndices(labels, indices);
  state.SetLabel(state.range(0) == 1 ? "sparse" : "dense");
  Run(state, labels.size(), [&] {
    mesh.NodeData().GetMeshNodeIndices(labels, indices);
    return indices[9];
  });
}
void MakingALocator(benchmark::State& state) {
  const bme_Mesh& mesh = MeshOf(state.range(0));
  Run(state, mesh.ElementData().NumElements(), [&] { return bme_ElementLocator(mesh).NumElements(); });
}
void Locating(benchmark::State& state) {
  const bme_ElementLocator locator(MeshOf(state.range(0)));
  std::mt19937 random(3);
  std::vector<bme_ElementHit> hits(400'000);
  std::vector<double> points(3 * hits.size());
  for (double& x : points) x = Between(random, 0, 55);
  Run(state, hits.size(), [&] {
    locator.FindEach(points, hits);
    return hits[7].element;
  });
}
void Quality(benchmark::State& state) {
  const bme_Mesh& mesh = MeshOf(state.range(0));
  std::vector<bme_QualityMeasure> all;
  for (std::size_t k = 0; k < bme_QualityMeasures().size(); ++k)
    all.push_back(static_cast<bme_QualityMeasure>(k));
  Run(state, mesh.ElementData().NumElements(), [&] { return bme_Quality(mesh, 0, all)[1][5]; });
}
void Extrapolation(benchmark::State& state) {
  const bme_ElementClass& type = MeshOf(state.range(0)).ElementData().GetClass(0);
  const shp_Shape& shape = *type.Shape();
  const auto count = static_cast<std::size_t>(type.NumElements());
  std::vector<float> values(count * static_cast<std::size_t>(shape.NumIntPts()) * 6, 1.5F),
      nodes(count * static_cast<std::size_t>(shape.NumNodes()) * 6);
  Run(state, count, [&] {
    shape.ExtrapolateEachToNodes(type.NumElements(), values, res_INTEGRATION_POINT, nodes, 6);
    return nodes[5];
  });
}

void EachType(benchmark::internal::Benchmark* bench) {
  bench->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond)->DenseRange(0, 2);
}
BENCHMARK(Measures)->Apply(EachType);
BENCHMARK(ExternalFaces)->Apply(EachType);
BENCHMARK(Interface)->Apply(EachType);
BENCHMARK(Duplicates)->Apply(EachType);
BENCHMARK(DualGraph)->Apply(EachType);
BENCHMARK(Labels)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond)->DenseRange(0, 1);
BENCHMARK(MakingALocator)->Apply(EachType);
BENCHMARK(Locating)->Apply(EachType);
BENCHMARK(Quality)->Apply(EachType);
BENCHMARK(Extrapolation)->Apply(EachType);
} // namespace
