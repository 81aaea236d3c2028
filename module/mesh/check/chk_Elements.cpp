// Elements whose map is no good: inside out, without size, or folded somewhere.
#include <CoreGeometry/bme_Quality.h>
#include <CoreGeometry/chk_Findings.h>

#include <BasicUtils/wip_Executor.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

// lanes are handed to functions that are inlined, so it does not matter how a call would pass them
#pragma GCC diagnostic ignored "-Wpsabi"

namespace {
using Point = shp_IsoPoint;

Point Cross(const Point& a, const Point& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Dot(const Point& a, const Point& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Point Plus(const Point& a, const Point& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
/// The most that the components of a cross product can be, whatever the signs.
Point Most(const Point& a, const Point& b) {
  Point most;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
    most[i] = std::abs(a[j] * b[k]) + std::abs(a[k] * b[j]);
  }
  return most;
}

/// The places at which the map is looked at, with the derivatives of the shape functions there.
struct Places {
  std::size_t numNodes;
  std::vector<Point> derivatives; ///< a row of numNodes a place
  std::vector<Point> sums;        ///< of their absolute values, a place
  double largest = 0;             ///< of the sums

  Places(const shp_Shape& shape, std::span<const Point> places) : numNodes(shape.NodeCoordinates().size()) {
    derivatives.resize(places.size() * numNodes);
    for (std::size_t i = 0; i < places.size(); ++i) {
      const std::span<Point> own = std::span(derivatives).subspan(i * numNodes, numNodes);
      shape.ShapeDerivatives(places[i], own);
      Point sum{};
      for (const Point& derivative : own)
        for (std::size_t iso = 0; iso < 3; ++iso) sum[iso] += std::abs(derivative[iso]);
      sums.push_back(sum);
      largest = std::max({largest, sum[0], sum[1], sum[2]});
    }
  }
  std::array<Point, 3> Columns(std::size_t place, std::span<const Point> corners) const {
    std::array<Point, 3> columns{};
    for (std::size_t n = 0; n < numNodes; ++n)
      for (std::size_t iso = 0; iso < 3; ++iso)
        for (std::size_t axis = 0; axis < 3; ++axis)
          columns[iso][axis] += derivatives[place * numNodes + n][iso] * corners[n][axis];
    return columns;
  }
  /// True when coordinates that are wrong by `rounding`, one number an axis, can make every stretch of an
  /// element that is flat.
  bool AreFlat(const shp_Shape& shape, std::span<const Point> corners, const Point& rounding) const {
    if (shape.NumGeomDims() < 2) return false;
    for (std::size_t place = 0; place < sums.size(); ++place) {
      const auto columns = Columns(place, corners);
      std::array<Point, 3> wrong{};
      for (std::size_t iso = 0; iso < 3; ++iso)
        for (std::size_t axis = 0; axis < 3; ++axis) wrong[iso][axis] = sums[place][iso] * rounding[axis];
      const Point normal = Cross(columns[0], columns[1]),
                  wrongNormal = Plus(Most(wrong[0], columns[1]), Most(columns[0], wrong[1]));
      if (shape.NumGeomDims() == 3) {
        double limit = 0;
        for (std::size_t axis = 0; axis < 3; ++axis)
          limit += wrongNormal[axis] * std::abs(columns[2][axis])
                   + Most(columns[0], columns[1])[axis] * wrong[2][axis];
        if (std::abs(Dot(normal, columns[2])) > limit) return false;
      } else {
        for (std::size_t axis = shape.NumSpatialDims() == 2 ? 2 : 0; axis < 3; ++axis)
          if (std::abs(normal[axis]) > wrongNormal[axis]) return false;
      }
    }
    return true;
  }
};

/// The stretch of a map is the length, area or volume of the image of a unit step in each iso direction; with a sign
/// where the element has as many dimensions as its space.
struct StretchJob {
  const int* rows;
  const float* xyz;
  std::size_t rowLength, numNodes;
  int numGeomDims, numSpatialDims;
  std::array<const Places*, 2> places; ///< nodes and integration points
};
/// Of one element: bounds of its nodes, and stretches as parts of its size to the power of its dimensions.
struct StretchRange {
  Point low, high;
  double length;
  std::array<double, 2> least, most;
};

#define BME_KERNEL "chk_StretchKernel.inl"
#include "bme_EveryLanes.inl"

/// Elements with one fault, and the worst of them.
struct Bad {
  const char *field, *what;
  cow_String advice;
  cls_Finding::Weight weight;
  std::vector<long long> labels{};
  double worst = std::numeric_limits<double>::infinity();
  long long worstLabel = 0;
  std::size_t worstElement = 0; ///< in its class

  void Add(long long label, std::size_t element, double value) {
    labels.push_back(label);
    if (value < worst) {
      worst = value;
      worstLabel = label;
      worstElement = element;
    }
  }
};

/// An element whose map is no good.
struct Fault {
  enum Kind { Flat, Inverted, Folded, AtNode } kind;
  int element; ///< of its class
  double value;
};

/// Looks at elements of one class, independently of each other.
struct ElementCheck {
  const bme_Mesh& mesh;
  const bme_ElementClass& type;
  const shp_Shape& shape;
  const Places &nodes, &points;

  long long Label(int element) const {
    return mesh.ElementData().HasUserElementLabels()
               ? type.UserElementLabels()[static_cast<std::size_t>(element)]
               : static_cast<long long>(type.FirstElementIndex()) + element + 1;
  }

  std::vector<Fault> Run(int first, int end) const {
    constexpr double kNothing = 1e-10;  // of the size
    constexpr double kSpacing = 1.2e-7; // of numbers in single precision
    static const auto measure =
        bme_BestBody(&plain::MeasureStretches, &avx2::MeasureStretches, &avx512::MeasureStretches);
    const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
    std::vector<StretchRange> ranges(static_cast<std::size_t>(end - first));
    measure({type.Connectivity(first).data(),
             xyz.data(),
             static_cast<std::size_t>(type.NumNodesPerElem()),
             nodes.numNodes,
             shape.NumGeomDims(),
             shape.NumSpatialDims(),
             {&nodes, &points}},
            ranges);
    std::vector<Fault> faults;
    for (int e = first; e < end; ++e) {
      const StretchRange& one = ranges[static_cast<std::size_t>(e - first)];
      const double least = std::min(one.least[0], one.least[1]), most = std::max(one.most[0], one.most[1]),
                   largest = std::max(-least, most);
      Point rounding;
      for (std::size_t axis = 0; axis < 3; ++axis)
        rounding[axis] = kSpacing * std::max(std::abs(one.low[axis]), std::abs(one.high[axis]));
      if (largest <= kNothing || IsFlat(e, largest, one.length, rounding))
        faults.push_back({Fault::Flat, e, largest});
      else if (most < -kNothing)
        faults.push_back({Fault::Inverted, e, least});
      else if (one.least[1] <= kNothing)
        faults.push_back({Fault::Folded, e, one.least[1]});
      else if (one.least[0] <= kNothing)
        faults.push_back({Fault::AtNode, e, one.least[0]});
    }
    return faults;
  }

private:
  bool IsFlat(int element, double largest, double length, const Point& rounding) const {
    // no rounding reaches the largest stretch when it is above every sum that AreFlat forms: with derivatives up to s,
    // sides up to l and roundings up to r 18 s^3 r l^2 for solids and sqrt(3) 4 s^2 r l for surfaces
    const double s = std::max(nodes.largest, points.largest),
                 r = std::max({rounding[0], rounding[1], rounding[2]});
    if (largest * length > 18 * s * s * std::max(s, 1.0) * r) return false;
    const std::span<const int> row = type.Connectivity(element);
    const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
    std::vector<Point> places(nodes.numNodes);
    for (std::size_t n = 0; n < places.size(); ++n)
      for (std::size_t axis = 0; axis < 3; ++axis)
        places[n][axis] = static_cast<double>(xyz[3 * static_cast<std::size_t>(row[n]) + axis]);
    return nodes.AreFlat(shape, places, rounding) && points.AreFlat(shape, places, rounding);
  }
};

/// What the form of the worst element says beside the advice.
void Advise(const bme_Mesh& mesh, const bme_ElementClass& type, Bad& bad) {
  if (bad.labels.empty()) return;
  struct Cause {
    bme_QualityMeasure measure;
    double limit;
    const char* advice;
  };
  // a mid node a quarter of the edge away from its middle makes the Jacobian 0 at the end of the edge
  constexpr Cause kCauses[] = {
      {bme_QualityMeasure::MidNodeOffset, 0.25, "move its mid node back to the middle of the edge"},
      {bme_QualityMeasure::MidNodeHeight, 0.5, "move its mid node nearer to the edge"},
      {bme_QualityMeasure::EdgeRatio, 1000, "merge the nodes of its shortest edge"}};
  std::vector<bme_QualityMeasure> measures;
  for (const Cause& cause : kCauses) measures.push_back(cause.measure);
  const auto values = bme_Quality(mesh, static_cast<unsigned>(type.ClassIndex()), measures);
  for (std::size_t k = 0; k < values.size(); ++k)
    if (!values[k].empty() && values[k][bad.worstElement] >= kCauses[k].limit)
      bad.advice += cow_String("; of the worst: ") + kCauses[k].advice;
}

void CheckClass(const bme_Mesh& mesh, const bme_ElementClass& type, std::vector<unsigned>& withoutSize,
                chk_Findings& findings) {
  const shp_Shape* shape = type.Shape();
  if (!shape || shape->NumGeomDims() < 1 || shape->NodeCoordinates().empty()) return;
  std::vector<Point> atNodes(shape->NodeCoordinates().begin(), shape->NodeCoordinates().end());
  if (bme_PyramidNodes(type) > 0)
    std::erase_if(atNodes, [](const Point& at) { return at[2] == 1; }); // the apex
  const Places nodes(*shape, atNodes), points(*shape, shape->IntPtCoordinates());
  Bad flat{"coordinates", "without length, area or volume", "merge their nodes or remove them",
           cls_Finding::Weight::Fault};
  Bad inverted{"DDBconnectivity", "inside out", "reverse the order of their nodes",
               cls_Finding::Weight::Fault};
  Bad folded{"coordinates", "folded: the Jacobian is not positive at an integration point",
             "move their nodes or mesh that place anew", cls_Finding::Weight::Fault};
  Bad atNode{"coordinates", "with a Jacobian that is not positive at a node",
             "move that node, unless the element is meant to be collapsed there", cls_Finding::Weight::Note};
  const ElementCheck check{mesh, type, *shape, nodes, points};
  constexpr int kPiece = 2048;
  wip_MergePieces(
      static_cast<std::size_t>((type.NumElements() + kPiece - 1) / kPiece),
      [&](std::size_t piece) {
        const int first = static_cast<int>(piece) * kPiece;
        return check.Run(first, std::min(first + kPiece, type.NumElements()));
      },
      [&](const std::vector<Fault>& faults) {
        for (const Fault& fault : faults) {
          Bad& bad = *std::array{&flat, &inverted, &folded, &atNode}[static_cast<std::size_t>(fault.kind)];
          bad.Add(check.Label(fault.element), static_cast<std::size_t>(fault.element), fault.value);
          if (fault.kind == Fault::Flat)
            withoutSize.push_back(static_cast<unsigned>(type.FirstElementIndex() + fault.element));
        }
      });
  Advise(mesh, type, folded);
  Advise(mesh, type, atNode);
  for (const Bad* bad : {&flat, &inverted, &folded, &atNode}) {
    if (bad->labels.empty()) continue;
    char worst[96];
    std::snprintf(worst, sizeof worst, "; the worst is %lld, with %.3g of its size", bad->worstLabel,
                  bad->worst);
    findings.Add("bme_ElementClass", bad->field,
                 "element class " + std::to_string(type.ClassIndex()) + " (" + type.ElemTypeLabel()
                     + "): " + std::to_string(bad->labels.size()) + " elements " + bad->what + worst,
                 bad->advice, bad->labels, bad->weight);
  }
}
} // namespace

std::vector<unsigned> chk_Elements(const bme_Mesh& mesh, chk_Findings& findings) {
  std::vector<unsigned> withoutSize;
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i)
    CheckClass(mesh, mesh.ElementData().GetClass(i), withoutSize, findings);
  std::ranges::sort(withoutSize);
  return withoutSize;
}
