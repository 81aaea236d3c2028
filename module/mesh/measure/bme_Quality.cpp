#include <CoreGeometry/bme_Quality.h>

#include "bme_Making.h"

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/shp_MeasureRule.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

// lanes are handed to functions that are inlined, so it does not matter how a call would pass them
#pragma GCC diagnostic ignored "-Wpsabi"

namespace {
using Measure = bme_QualityMeasure;

constexpr double kWorst = bme_kWorstRatio;
constexpr bme_QualityFacts kFacts[] = {{"size", true, 0},
                                       {"edge_ratio", false, kWorst},
                                       {"aspect_ratio", false, kWorst},
                                       {"scaled_jacobian", true, 0},
                                       {"minimum_angle", true, 0},
                                       {"maximum_angle", false, 180},
                                       {"warpage", false, kWorst},
                                       {"skew", false, kWorst},
                                       {"taper", false, kWorst},
                                       {"mid_node_offset", false, kWorst},
                                       {"mid_node_height", false, kWorst}};
constexpr std::size_t kNumMeasures = std::size(kFacts);

/// A corner and those that it has edges to, in a right-handed order; -1 without a third.
using Corner = std::array<int, 4>;
using Edge = std::array<int, 2>;
using Face = std::array<int, 4>;

struct Line {
  static constexpr std::array<Corner, 0> corners{};
  static constexpr std::array<Edge, 1> edges{{{0, 1}}};
  static constexpr std::array<Face, 0> faces{};
};
struct Triangle {
  static constexpr std::array<Corner, 3> corners{{{0, 1, 2, -1}, {1, 2, 0, -1}, {2, 0, 1, -1}}};
  static constexpr std::array<Edge, 3> edges{{{0, 1}, {1, 2}, {2, 0}}};
  static constexpr std::array<Face, 0> faces{};
};
struct Quadrilateral {
  static constexpr std::array<Corner, 4> corners{
      {{0, 1, 3, -1}, {1, 2, 0, -1}, {2, 3, 1, -1}, {3, 0, 2, -1}}};
  static constexpr std::array<Edge, 4> edges{{{0, 1}, {1, 2}, {2, 3}, {3, 0}}};
  static constexpr std::array<Face, 1> faces{{{0, 1, 2, 3}}};
};
struct Tetrahedron {
  static constexpr std::array<Corner, 4> corners{{{0, 1, 2, 3}, {1, 2, 0, 3}, {2, 0, 1, 3}, {3, 0, 2, 1}}};
  static constexpr std::array<Edge, 6> edges{{{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}};
  static constexpr std::array<Face, 0> faces{};
};
struct Wedge {
  static constexpr std::array<Corner, 6> corners{
      {{0, 1, 2, 3}, {1, 2, 0, 4}, {2, 0, 1, 5}, {3, 5, 4, 0}, {4, 3, 5, 1}, {5, 4, 3, 2}}};
  static constexpr std::array<Edge, 9> edges{
      {{0, 1}, {1, 2}, {2, 0}, {3, 4}, {4, 5}, {5, 3}, {0, 3}, {1, 4}, {2, 5}}};
  static constexpr std::array<Face, 3> faces{{{0, 1, 4, 3}, {1, 2, 5, 4}, {2, 0, 3, 5}}};
};
struct Hexahedron {
  static constexpr std::array<Corner, 8> corners{{{0, 1, 3, 4},
                                                  {1, 2, 0, 5},
                                                  {2, 3, 1, 6},
                                                  {3, 0, 2, 7},
                                                  {4, 7, 5, 0},
                                                  {5, 4, 6, 1},
                                                  {6, 5, 7, 2},
                                                  {7, 6, 4, 3}}};
  static constexpr std::array<Edge, 12> edges{
      {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}}};
  static constexpr std::array<Face, 6> faces{
      {{0, 1, 2, 3}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}}};
};

/// The edges from a corner to its others, in their order; -1 for an edge that runs to the corner.
struct CornerEdges {
  std::array<std::size_t, 3> edges{};
  std::array<double, 3> signs{};
  std::size_t numEdges = 0;
};
template<class Family> constexpr auto EdgesOfCorners() {
  std::array<CornerEdges, Family::corners.size()> made{};
  for (std::size_t c = 0; c < made.size(); ++c)
    for (std::size_t k = 0; k < 3; ++k)
      for (std::size_t e = 0; e < Family::edges.size(); ++e) {
        const int a = Family::edges[e][0], b = Family::edges[e][1], from = Family::corners[c][0],
                  to = Family::corners[c][k + 1];
        if (!((a == from && b == to) || (b == from && a == to))) continue;
        made[c].edges[k] = e;
        made[c].signs[k] = a == from ? 1 : -1;
        made[c].numEdges = k + 1;
      }
  return made;
}

/// Coefficients of arcsine(x) / x in powers of x squared, up to what a half adds to a double.
constexpr auto kArcSine = [] {
  std::array<double, 26> made{};
  double central = 1; // (2n)! / (4^n n!^2)
  for (std::size_t n = 0; n < made.size(); ++n) {
    const auto twice = 2 * static_cast<double>(n);
    made[n] = central / (twice + 1);
    central *= (twice + 1) / (twice + 2);
  }
  return made;
}();

/// What the loops over the elements of one class need.
struct Work {
  const int* rows;
  const float* xyz;
  std::size_t numNodes, numCorners, numElements;
  bool isPlane;
  std::vector<Measure> measures{};
  std::vector<double*> values{}; ///< a row for each measure
};

#define BME_KERNEL "bme_QualityKernel.inl"
#include "bme_EveryLanes.inl"

template<class Family> bool MeasureEach(const Work& work) {
  static const auto best =
      bme_BestBody(&plain::MeasureEach<Family>, &avx2::MeasureEach<Family>, &avx512::MeasureEach<Family>);
  return best(work);
}
template<class Family> constexpr bool Has(Measure measure) { return plain::Kernel<Family>::Has(measure); }

/// Work on one class.
class ClassQuality {
public:
  ClassQuality(const bme_Mesh& mesh, const bme_ElementClass& type, std::span<const Measure> measures)
      : type_(type), shape_(*type.Shape()), xyz_(mesh.NodeData().Coordinates().Const()), measures_(measures),
        rows_(measures.size()), numNodes_(static_cast<std::size_t>(type.NumNodesPerElem())) {}

  std::vector<std::vector<double>> Run() {
    isQuadratic_ = shape_.InterpOrder() > 1;
    using C = ClassQuality;
    constexpr struct {
      shp_Family family;
      void (C::*measure)(std::size_t numCorners);
      std::size_t numCorners;
    } kFamilies[] = {{shp_Family::Line, &C::All<Line>, 2},
                     {shp_Family::Triangle, &C::All<Triangle>, 3},
                     {shp_Family::Quadrilateral, &C::All<Quadrilateral>, 4},
                     {shp_Family::Tetrahedron, &C::All<Tetrahedron>, 4},
                     {shp_Family::Wedge, &C::All<Wedge>, 6},
                     {shp_Family::Hexahedron, &C::All<Hexahedron>, 8}};
    for (const auto& row : kFamilies)
      if (row.family == shape_.Options().Family()) (this->*row.measure)(row.numCorners);
    return std::move(rows_);
  }

private:
  std::size_t NumElements() const { return static_cast<std::size_t>(type_.NumElements()); }
  std::span<const int> Row(std::size_t element) const {
    return type_.ElementConnectivity().Const().subspan(element * numNodes_, numNodes_);
  }
  std::array<double, 3> At(int node) const {
    const auto first = 3 * static_cast<std::size_t>(node);
    return {xyz_[first], xyz_[first + 1], xyz_[first + 2]};
  }
  bool IsPlane() const { return shape_.NumSpatialDims() == 2; }

  template<class Family> void All(std::size_t numCorners) {
    Work work{type_.ElementConnectivity().Const().data(),
              xyz_.data(),
              numNodes_,
              numCorners,
              NumElements(),
              IsPlane()};
    for (std::size_t m = 0; m < measures_.size(); ++m) {
      const bool isOfMap = measures_[m] == Measure::ScaledJacobian && isQuadratic_;
      if (measures_[m] == Measure::Size && (isQuadratic_ || !Has<Family>(Measure::Size)))
        Sizes(rows_[m]);
      else if (measures_[m] == Measure::MidNodeOffset || measures_[m] == Measure::MidNodeHeight)
        MidNodes(measures_[m] == Measure::MidNodeHeight, rows_[m]);
      else if (isOfMap && Has<Family>(measures_[m]))
        Determinants(rows_[m]);
      else if (Has<Family>(measures_[m])) {
        rows_[m].resize(NumElements());
        work.measures.push_back(measures_[m]);
        work.values.push_back(rows_[m].data());
      }
    }
    if (work.measures.empty()) return;
    InPieces([&](std::size_t first, std::size_t end) {
      Work piece = work;
      piece.rows += first * numNodes_;
      piece.numElements = end - first;
      for (double*& values : piece.values) values += first;
      if (!MeasureEach<Family>(piece)) MakeFinite(work, first, end);
    });
  }
  /// Calls work(first, end) for pieces of the elements, on the threads that the host lends.
  template<class F> void InPieces(const F& work) const {
    constexpr std::size_t kPiece = std::size_t{1} << 14; // of whole blocks of lanes
    const auto run = [&](std::size_t piece) {
      work(piece * kPiece, std::min(NumElements(), (piece + 1) * kPiece));
    };
    wip_RunPieces((NumElements() + kPiece - 1) / kPiece, std::ref(run));
  }
  void MakeFinite(const Work& work, std::size_t first, std::size_t end) const {
    const auto isFinite = [&](int node) {
      const std::array<double, 3> p = At(node);
      return std::isfinite(p[0] + p[1] + p[2]);
    };
    for (std::size_t element = first; element < end; ++element)
      if (!std::ranges::all_of(Row(element).first(work.numCorners), isFinite))
        for (std::size_t m = 0; m < work.measures.size(); ++m)
          work.values[m][element] = Limit(work.measures[m]);
  }
  static double Limit(Measure measure) { return kFacts[static_cast<std::size_t>(measure)].limit; }

  void Sizes(std::vector<double>& values) const {
    shp_MeasureRule rule(shape_, shp_MomentOrder::Measure);
    if (rule.IsEmpty()) return;
    values.resize(NumElements());
    std::vector<shp_Moments> moments(256);
    wip_InBlocks(NumElements(), moments.size(), [&](std::size_t first, std::size_t end) {
      rule.IntegrateEach(
          type_.ElementConnectivity().Const().subspan(first * numNodes_, (end - first) * numNodes_),
          numNodes_, xyz_, {}, std::span(moments).first(end - first));
      for (std::size_t i = first; i < end; ++i) {
        const double measure = moments[i - first].measure;
        values[i] = std::isfinite(measure) ? measure : 0;
      }
    });
  }

  /// Least by greatest determinant of the map. Of surfaces in space the sign is that of the normal in the middle.
  void Determinants(std::vector<double>& values) const {
    std::vector<shp_IsoPoint> places(shape_.NodeCoordinates().begin(), shape_.NodeCoordinates().end());
    places.insert(places.end(), shape_.IntPtCoordinates().begin(), shape_.IntPtCoordinates().end());
    std::array<float, 3> middle{};
    shape_.IsoParCentroidLocation(middle);
    places.push_back({middle[0], middle[1], middle[2]});
    const std::size_t numOwn = shape_.NodeCoordinates().size();
    std::vector<shp_IsoPoint> derivatives(places.size() * numOwn);
    for (std::size_t i = 0; i < places.size(); ++i)
      shape_.ShapeDerivatives(places[i], std::span(derivatives).subspan(i * numOwn, numOwn));
    values.resize(NumElements());
    InPieces([&](std::size_t first, std::size_t end) {
      std::vector<shp_IsoPoint> normals(places.size());
      wip_Poll poll(1024);
      for (std::size_t e = first; e < end; ++e) {
        poll.Advance();
        const std::span<const int> row = Row(e);
        double least = kWorst, greatest = -kWorst;
        for (std::size_t i = places.size(); i-- > 0;) {
          std::array<shp_IsoPoint, 3> columns{};
          for (std::size_t n = 0; n < numOwn; ++n) {
            const std::array<double, 3> p = At(row[n]);
            for (std::size_t iso = 0; iso < 3; ++iso)
              for (std::size_t axis = 0; axis < 3; ++axis)
                columns[iso][axis] += derivatives[i * numOwn + n][iso] * p[axis];
          }
          const auto& [a, b, c] = columns;
          shp_IsoPoint& normal = normals[i];
          normal = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
          const auto dot = [](const shp_IsoPoint& x, const shp_IsoPoint& y) {
            return x[0] * y[0] + x[1] * y[1] + x[2] * y[2];
          };
          double determinant = dot(normal, c);
          if (shape_.NumGeomDims() == 2) {
            const double length = std::sqrt(dot(normal, normal));
            determinant = IsPlane() ? normal[2] : dot(normal, normals.back()) < 0 ? -length : length;
          }
          least = std::min(least, determinant);
          greatest = std::max(greatest, determinant);
        }
        // of one that is inside out everywhere the determinants are negative: -1 at best
        const double most = std::max(std::abs(least), std::abs(greatest));
        values[e] = most > 0 && most < kWorst ? least / most : 0;
      }
    });
  }

  void MidNodes(bool isHeight, std::vector<double>& values) const {
    std::vector<std::array<int, 3>> edges;
    for (int face = 0; face < shape_.NumFaces(); ++face)
      for (int edge = 0; edge < shape_.MaxEdgesPerFace(); ++edge)
        if (const auto nodes = shape_.EdgeNodes(face, edge); nodes.size() == 3)
          edges.push_back({nodes[0], nodes[1], nodes[2]});
    if (edges.empty()) return;
    values.assign(NumElements(), 0);
    InPieces([&](std::size_t first, std::size_t end) {
      wip_Poll poll(4096);
      for (std::size_t e = first; e < end; ++e) {
        poll.Advance();
        for (const auto& [from, mid, to] : edges) {
          const auto a = At(Row(e)[static_cast<std::size_t>(from)]),
                     m = At(Row(e)[static_cast<std::size_t>(mid)]),
                     b = At(Row(e)[static_cast<std::size_t>(to)]);
          double squared = 0, along = 0, whole = 0;
          for (std::size_t axis = 0; axis < 3; ++axis) {
            const double chord = b[axis] - a[axis], off = m[axis] - (a[axis] + b[axis]) / 2;
            squared += chord * chord;
            along += chord * off;
            whole += off * off;
          }
          double own = kWorst;
          if (squared > 0)
            own = isHeight ? std::sqrt(std::max(0.0, whole / squared - along / squared * (along / squared)))
                           : std::abs(along) / squared;
          values[e] = std::max(values[e], std::isfinite(own) ? own : kWorst);
        }
      }
    });
  }

  const bme_ElementClass& type_;
  const shp_Shape& shape_;
  std::span<const float> xyz_;
  std::span<const Measure> measures_;
  std::vector<std::vector<double>> rows_;
  std::size_t numNodes_;
  bool isQuadratic_ = false;
};
} // namespace

std::span<const bme_QualityFacts> bme_QualityMeasures() noexcept { return kFacts; }

std::optional<bme_QualityMeasure> bme_FindQualityMeasure(const cow_String& name) noexcept {
  for (std::size_t i = 0; i < kNumMeasures; ++i)
    if (name == kFacts[i].name) return static_cast<Measure>(i);
  return std::nullopt;
}

std::vector<std::vector<double>> bme_Quality(const bme_Mesh& mesh, unsigned classIndex,
                                             std::span<const bme_QualityMeasure> measures) {
  const bme_ElementClass& type = mesh.ElementData().GetClass(classIndex);
  bme_CheckNodes(mesh, type);
  const shp_Shape* shape = type.Shape();
  if (!shape || shape->NodeCoordinates().empty() || shape->NumRings() > 1)
    return std::vector<std::vector<double>>(measures.size());
  return ClassQuality(mesh, type, measures).Run();
}
