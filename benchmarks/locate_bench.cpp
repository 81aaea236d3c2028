// From points to elements and iso coordinates. Counter "speed": time of the yardstick over time of the work.
// The yardstick of one point is VTK's cell, in C++, where VTK is installed, else one pass over the coordinates;
// peers/vtk_filters.py measures VTK's locator. "worst" is the largest error of an iso coordinate.
#include "BlockMesh.h"
#include "SideBySide.h"

#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_ElementSearch.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <cmath>
#include <malloc.h>
#include <map>
#include <numeric>
#include <optional>
#include <random>
#ifdef BENCH_HAS_VTK
#include <vtkGenericCell.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkVersionMacros.h>
#endif

namespace {
using Point = std::array<double, 3>;

struct Type {
  const char* label;
  int vtkType;
  /// Position in VTK's cell of each node, where it is not the same.
  std::vector<int> vtkOrder = {};
};
const Type kTypes[] = {{"C3D8", 12},
                       {"C3D20", 25},
                       {"C3D27", 29, {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13,
                                      14, 15, 16, 17, 18, 19, 24, 25, 22, 21, 23, 20, 26}},
                       {"C3D4", 10},
                       {"C3D10", 24},
                       {"C3D6", 13},
                       {"C3D15", 26},
                       {"S4", 9},
                       {"S8R", 23},
                       {"STRI65", 22}};

shp_IsoPoint InsideOf(const shp_Shape& shape, std::mt19937& random) {
  shp_IsoPoint iso{};
  double sum = 0;
  std::vector<double> weights(static_cast<std::size_t>(shape.NumCorners()));
  for (double& weight : weights) sum += weight = Between(random, 0.02, 1);
  for (std::size_t k = 0; k < weights.size(); ++k)
    for (std::size_t axis = 0; axis < 3; ++axis)
      iso[axis] += weights[k] / sum * shape.NodeCoordinates()[k][axis];
  return iso;
}

/// One distorted element after the other: Locate, or LocateEach of all, against EvaluatePosition of a cell
/// that has the points.
void InverseMapping(benchmark::State& state) {
  const Type& type = kTypes[state.range(0)];
  const bool isBatch = state.range(1) == 1;
  state.SetLabel(std::string(type.label) + (isBatch ? " batch" : ""));
  const shp_ShapeDictionary dictionary;
  const shp_Shape& shape = *dictionary.GetShape(type.label);
  const std::size_t numNodes = shape.NodeCoordinates().size(), size = 3 * numNodes;
  constexpr std::size_t kElements = 200, kPoints = 20;
  const double edge = shape.NodeCoordinates()[1][0] - shape.NodeCoordinates()[0][0];
  std::mt19937 random(1);
  std::vector<double> xyz, targets;
  std::vector<shp_IsoPoint> isos;
  std::vector<double> weights(numNodes);
  for (std::size_t element = 0; element < kElements; ++element) {
    for (const shp_IsoPoint& node : shape.NodeCoordinates())
      for (std::size_t axis = 0; axis < 3; ++axis)
        xyz.push_back(
            3 + node[axis]
            + (static_cast<int>(axis) < shape.NumGeomDims() ? edge * Between(random, -0.06, 0.06) : 0));
    for (std::size_t k = 0; k < kPoints; ++k) {
      isos.push_back(InsideOf(shape, random));
      shape.ShapeFunctions(isos.back(), weights);
      Point p{};
      for (std::size_t i = 0; i < size; ++i) p[i % 3] += weights[i / 3] * xyz[element * size + i];
      targets.insert(targets.end(), p.begin(), p.end());
    }
  }
  double worst = 0;
  std::vector<float> narrow(xyz.begin(), xyz.end());
  std::vector<int> rows;
  for (std::size_t k = 0; k < isos.size(); ++k)
    for (std::size_t node = 0; node < numNodes; ++node)
      rows.push_back(static_cast<int>(k / kPoints * numNodes + node));
  std::vector<shp_IsoPoint> found(isos.size());
  std::vector<shp_Location> locations(isos.size());
  const auto locateAll = [&] {
    double sum = 0;
    if (isBatch) {
      shp_ElementSearch(shape).LocateEach(targets, rows, narrow, found, locations);
      return found.back()[0];
    }
    for (std::size_t k = 0; k < isos.size(); ++k) {
      shp_IsoPoint iso{9, 9, 9};
      const auto location =
          shp_ElementSearch(shape).Locate({targets[3 * k], targets[3 * k + 1], targets[3 * k + 2]},
                                          std::span(xyz).subspan(k / kPoints * size, size), iso);
      sum += iso[0] + static_cast<double>(static_cast<int>(location));
    }
    return sum;
  };
  for (std::size_t k = 0; k < isos.size(); ++k) {
    shp_IsoPoint iso{9, 9, 9};
    shp_ElementSearch(shape).Locate({targets[3 * k], targets[3 * k + 1], targets[3 * k + 2]},
                                    std::span(xyz).subspan(k / kPoints * size, size), iso);
    for (std::size_t axis = 0; axis < 3; ++axis) worst = std::max(worst, std::abs(iso[axis] - isos[k][axis]));
  }
#ifdef BENCH_HAS_VTK
  std::vector<vtkNew<vtkGenericCell>> cells(kElements);
  for (std::size_t element = 0; element < kElements; ++element) {
    cells[element]->SetCellType(type.vtkType);
    for (std::size_t node = 0; node < numNodes; ++node) {
      const int at = type.vtkOrder.empty() ? static_cast<int>(node) : type.vtkOrder[node];
      cells[element]->GetPoints()->SetPoint(at, &xyz[element * size + 3 * node]);
    }
  }
  std::vector<double> functions(numNodes);
  const auto yardstick = [&] {
    double sum = 0, distance = 0, iso[3] = {};
    int part = 0;
    for (std::size_t k = 0; k < isos.size(); ++k) {
      sum += cells[k / kPoints]->EvaluatePosition(&targets[3 * k], nullptr, part, iso, distance,
                                                  functions.data());
      sum += iso[0];
    }
    return sum;
  };
  state.SetLabel(std::string(type.label) + (isBatch ? " batch" : "") + " VTK " + VTK_VERSION);
#else
  const auto yardstick = [&] { return std::accumulate(xyz.begin(), xyz.end(), 0.0); };
#endif
  SideBySide(state, static_cast<double>(isos.size()), locateAll, yardstick);
  state.counters["speed"] = 1 / state.counters["ratio"];
  state.counters["worst"] = worst;
}

/// Random points in a block of elements: build, one by one, and a batch.
void LocatePoints(benchmark::State& state) {
  const Type& type = kTypes[state.range(0)];
  enum { Build, OneByOne, Batch };
  const auto what = state.range(1);
  const shp_ShapeDictionary dictionary;
  const shp_Shape& shape = *dictionary.GetShape(type.label);
  const bool isTetrahedron = shape.Options().Family() == shp_Family::Tetrahedron;
  const int n = isTetrahedron ? 55 : shape.NumBaseNodes() > 8 ? 60 : 100;
  const bme_Mesh mesh = Block(shape, n);
  state.SetLabel(std::string(type.label)
                 + (what == Build   ? " build"
                    : what == Batch ? " batch"
                                    : " one by one"));
  constexpr std::size_t kPoints = 200'000;
  std::mt19937 random(3);
  std::vector<double> points(3 * kPoints);
  for (double& x : points) x = Between(random, 0.2, n - 0.2);
  const bme_ElementLocator locator(mesh);
  std::vector<bme_ElementHit> hits(kPoints);
  const auto work = [&]() -> double {
    if (what == Build) return bme_ElementLocator(mesh).NumElements();
    if (what == Batch) {
      locator.FindEach(points, hits);
    } else {
      for (std::size_t k = 0; k < kPoints; ++k)
        hits[k] = locator.Find({points[3 * k], points[3 * k + 1], points[3 * k + 2]});
    }
    double found = 0;
    for (const bme_ElementHit& hit : hits) found += hit.location != shp_Location::Outside;
    return found;
  };
  const auto yardstick = [&] { return std::accumulate(points.begin(), points.end(), 0.0); };
  if (what != Build) state.counters["found"] = work() / kPoints;
  SideBySide(state, what == Build ? mesh.ElementData().NumElements() : static_cast<double>(kPoints), work,
             yardstick);
  state.counters["speed"] = 1 / state.counters["ratio"];
}
/// A block whose edges grow from 1 to 1000, against one of equal edges: build, and a batch of points that are as
/// many in small elements as in large ones. "memory" is the ratio of what the locators hold.
void GradedBlock(benchmark::State& state) {
  const bool isBatch = state.range(0) == 1;
  state.SetLabel(isBatch ? "C3D8 batch" : "C3D8 build");
  constexpr int kCubes = 100;
  constexpr std::size_t kPoints = 200'000;
  const shp_ShapeDictionary dictionary;
  const shp_Shape& shape = *dictionary.GetShape("C3D8");
  struct Side {
    Side(const shp_Shape& shape, double graded) : mesh(Block(shape, kCubes, graded)) {
      const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
      locator.emplace(mesh);
      bytes = static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd - before);
      std::mt19937 random(3);
      for (double& x : points) x = GradedPlace(Between(random, 0.2, kCubes - 0.2), kCubes, graded);
    }
    double Build() const { return bme_ElementLocator(mesh).NumElements(); }
    double Find() {
      locator->FindEach(points, hits);
      return static_cast<double>(std::ranges::count(hits, bme_kNotFound, &bme_ElementHit::element));
    }
    bme_Mesh mesh;
    std::optional<bme_ElementLocator> locator{};
    double bytes = 0;
    std::vector<double> points = std::vector<double>(3 * kPoints);
    std::vector<bme_ElementHit> hits = std::vector<bme_ElementHit>(kPoints);
  };
  Side graded(shape, 1000), even(shape, 1);
  SideBySide(
      state, isBatch ? static_cast<double>(kPoints) : graded.locator->NumElements(),
      [&] { return isBatch ? graded.Find() : graded.Build(); },
      [&] { return isBatch ? even.Find() : even.Build(); });
  state.counters["missed"] = graded.Find();
  state.counters["memory"] = graded.bytes / even.bytes;
}
} // namespace

BENCHMARK(GradedBlock)->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(InverseMapping)
    ->ArgsProduct({benchmark::CreateDenseRange(0, std::size(kTypes) - 1, 1), {0, 1}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(50);
BENCHMARK(LocatePoints)
    ->ArgsProduct({{0, 1, 3, 4}, {0, 1, 2}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
