#include <CoreGeometry/bme_Quality.h>

#include "bme_Lanes.h"
#include "bme_Making.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/shp_MeasureRule.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <array>
#include <limits>
#include <numbers>

namespace {
using Real = bme_Lanes;
using Vector = bme_LaneVector;
using Points = std::array<Vector, 8>;
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

template<class Family> constexpr std::size_t EdgeOf(int a, int b) {
  std::size_t k = 0;
  while (!((Family::edges[k][0] == a && Family::edges[k][1] == b)
           || (Family::edges[k][0] == b && Family::edges[k][1] == a)))
    ++k;
  return k;
}

double Degrees(double cosine) { return std::acos(std::clamp(cosine, -1.0, 1.0)) * 180 / std::numbers::pi; }
Real Degrees(const Real& cosines) {
  return bme_Each([&](std::size_t i) { return Degrees(cosines.v[i]); });
}

/// The greatest cross derivative by the shorter axis, for a pair of axes.
Real Taper(const Vector& cross, const Real& a, const Real& b) {
  return Ratio(Length(cross), Min(a, b), kWorst);
}

template<class Family> class Kernel {
public:
  Kernel(const Points& points, bool isPlane) : p_(points), isPlane_(isPlane) {
    for (std::size_t k = 0; k < kNumEdges; ++k)
      lengths_[k] = Length(At(Family::edges[k][1]) - At(Family::edges[k][0]));
    longest_ = shortest_ = lengths_[0];
    for (const Real& length : lengths_) {
      longest_ = Max(longest_, length);
      shortest_ = Min(shortest_, length);
    }
  }

  static constexpr bool Has(Measure measure) {
    switch (measure) {
    case Measure::Size: return kIsQuadrilateral;
    case Measure::EdgeRatio: return kNumEdges > 1;
    case Measure::AspectRatio:
    case Measure::ScaledJacobian:
    case Measure::MinimumAngle:
    case Measure::MaximumAngle: return !Family::corners.empty();
    case Measure::Warpage: return !Family::faces.empty();
    case Measure::Skew:
    case Measure::Taper: return kIsQuadrilateral || kIsHexahedron;
    default: return false;
    }
  }

  Real Of(Measure measure) const {
    if constexpr (!Family::corners.empty()) {
      switch (measure) {
      case Measure::Size: return kIsQuadrilateral ? Areas() * 0.25 : Real(0);
      case Measure::AspectRatio: return AspectRatio();
      case Measure::ScaledJacobian: return ScaledJacobian();
      case Measure::MinimumAngle: return Angle(false);
      case Measure::MaximumAngle: return Angle(true);
      case Measure::Warpage: return Warpage();
      case Measure::Skew: return Skew();
      case Measure::Taper: return TaperOfAll();
      default: break;
      }
    }
    return Ratio(longest_, shortest_, kWorst);
  }

private:
  static constexpr std::size_t kNumEdges = Family::edges.size();
  static constexpr bool kIsTriangle = std::is_same_v<Family, Triangle>,
                        kIsQuadrilateral = std::is_same_v<Family, Quadrilateral>,
                        kIsTetrahedron = std::is_same_v<Family, Tetrahedron>,
                        kIsHexahedron = std::is_same_v<Family, Hexahedron>;

  const Vector& At(int corner) const { return p_[static_cast<std::size_t>(corner)]; }
  Vector To(const Corner& corner, std::size_t k) const { return At(corner[k]) - At(corner[0]); }
  const Real& LengthTo(const Corner& corner, std::size_t k) const {
    return lengths_[EdgeOf<Family>(corner[0], corner[k])];
  }
  /// Principal axes: sums of the opposite edges.
  std::array<Vector, 3> Axes() const {
    if constexpr (kIsHexahedron)
      return {Sum({1, 2, 5, 6}) - Sum({0, 3, 4, 7}), Sum({2, 3, 6, 7}) - Sum({0, 1, 4, 5}),
              Sum({4, 5, 6, 7}) - Sum({0, 1, 2, 3})};
    return {Sum({1, 2}) - Sum({0, 3}), Sum({2, 3}) - Sum({0, 1}), {0, 0, 0}};
  }
  Vector Sum(std::initializer_list<int> corners) const {
    Vector sum{0, 0, 0};
    for (const int corner : corners) sum = sum + At(corner);
    return sum;
  }
  /// Of a quadrilateral or triangle: the unit normal that says what is inside out.
  Vector UnitNormal() const {
    if (isPlane_) return {0, 0, 1};
    Vector normal = Cross(At(1) - At(0), At(2) - At(0));
    if constexpr (kIsQuadrilateral) {
      const auto axes = Axes();
      normal = Cross(axes[0], axes[1]);
    }
    const Real factor = Ratio(1, Length(normal), 0);
    return {normal.x * factor, normal.y * factor, normal.z * factor};
  }

  /// Twice the area of a triangle; four times that of a quadrilateral, seen along the normal in its middle.
  Real Areas() const {
    if constexpr (kIsTriangle) return Length(Cross(To(Family::corners[0], 1), To(Family::corners[0], 2)));
    const Vector normal = UnitNormal();
    Real sum = 0;
    for (const Corner& corner : Family::corners) sum = sum + Dot(normal, Cross(To(corner, 1), To(corner, 2)));
    return sum;
  }

  Real AspectRatio() const {
    Real sum = 0, area = 0;
    if constexpr (kIsTriangle || kIsQuadrilateral) {
      for (const Real& length : lengths_) sum = sum + length;
      return Ratio(longest_ * sum, Abs(Areas()) * (kIsTriangle ? 2 * std::numbers::sqrt3 : 1), kWorst);
    } else if constexpr (kIsTetrahedron) {
      for (const Face& face : {Face{0, 1, 2}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}})
        area = area + Length(Cross(At(face[1]) - At(face[0]), At(face[2]) - At(face[0])));
      const Corner& corner = Family::corners[0];
      const Real sixVolumes = Abs(Dot(Cross(To(corner, 1), To(corner, 2)), To(corner, 3)));
      return Ratio(longest_ * area, sixVolumes * (2 * std::sqrt(6.0)), kWorst);
    } else if constexpr (kIsHexahedron) {
      const auto axes = Axes();
      const Real a = Length(axes[0]), b = Length(axes[1]), c = Length(axes[2]);
      return Ratio(Max(a, Max(b, c)), Min(a, Min(b, c)), kWorst);
    }
    return Ratio(longest_, shortest_, kWorst);
  }

  Real ScaledJacobian() const {
    Real least = kWorst;
    if constexpr (kIsTriangle || kIsQuadrilateral) {
      const Vector normal = UnitNormal();
      for (const Corner& corner : Family::corners)
        least = Min(least, Ratio(Dot(normal, Cross(To(corner, 1), To(corner, 2))),
                                 LengthTo(corner, 1) * LengthTo(corner, 2), 0));
      return least * (kIsTriangle ? 2 / std::numbers::sqrt3 : 1);
    } else {
      for (const Corner& corner : Family::corners)
        least = Min(least, Ratio(Dot(Cross(To(corner, 1), To(corner, 2)), To(corner, 3)),
                                 LengthTo(corner, 1) * LengthTo(corner, 2) * LengthTo(corner, 3), 0));
      if constexpr (kIsHexahedron) {
        const auto axes = Axes();
        least = Min(least, Ratio(Dot(Cross(axes[0], axes[1]), axes[2]),
                                 Length(axes[0]) * Length(axes[1]) * Length(axes[2]), 0));
        return least;
      }
      return least * (kIsTetrahedron ? std::numbers::sqrt2 : 2 / std::numbers::sqrt3);
    }
  }

  Real Angle(bool isMaximum) const {
    Real cosine = isMaximum ? 1 : -1; // of the angle so far
    const auto take = [&](const Real& own) { cosine = isMaximum ? Min(cosine, own) : Max(cosine, own); };
    if constexpr (kIsTetrahedron) {
      // angles between faces: of the planes across each edge
      for (const auto& [a, b, c, d] :
           {std::array{0, 1, 2, 3}, {1, 2, 0, 3}, {2, 0, 1, 3}, {0, 3, 1, 2}, {1, 3, 0, 2}, {2, 3, 0, 1}}) {
        const Vector edge = At(b) - At(a), one = Cross(edge, At(c) - At(a)),
                     other = Cross(edge, At(d) - At(a));
        take(Ratio(Dot(one, other), Length(one) * Length(other), isMaximum ? -1 : 1));
      }
      return Degrees(cosine);
    } else {
      Real concave = 0; // the greatest angle where the corner is concave
      Vector normal{0, 0, 0};
      if constexpr (kIsQuadrilateral) normal = UnitNormal();
      for (const Corner& corner : Family::corners)
        for (std::size_t k = 1; k < 4; ++k) {
          const std::size_t next = corner[3] < 0 ? 2 : k % 3 + 1;
          if (corner[3] < 0 && k > 1) break;
          const Vector a = To(corner, k), b = To(corner, next);
          const Real own = Ratio(Dot(a, b), LengthTo(corner, k) * LengthTo(corner, next), isMaximum ? -1 : 1);
          take(own);
          if constexpr (kIsQuadrilateral)
            if (isMaximum) {
              const Real sign = Dot(normal, Cross(a, b));
              for (std::size_t i = 0; i < bme_kLanes; ++i)
                if (sign.v[i] < 0) concave.v[i] = std::max(concave.v[i], 360 - Degrees(own.v[i]));
            }
        }
      return Max(Degrees(cosine), concave);
    }
  }

  Real Warpage() const {
    Real worst = 0;
    for (const Face& face : Family::faces) {
      std::array<Vector, 4> normals;
      for (std::size_t k = 0; k < 4; ++k)
        normals[k] = Cross(At(face[(k + 1) % 4]) - At(face[k]), At(face[(k + 3) % 4]) - At(face[k]));
      for (std::size_t k = 0; k < 2; ++k) {
        const Real both = Length(normals[k]) * Length(normals[k + 2]),
                   cosine = Ratio(Dot(normals[k], normals[k + 2]), both, 2);
        const Real own = Real(1) - cosine * cosine * cosine;
        worst = bme_Each(
            [&](std::size_t i) { return cosine.v[i] > 1.5 ? kWorst : std::max(worst.v[i], own.v[i]); });
      }
    }
    return worst;
  }

  Real Skew() const {
    const auto axes = Axes();
    Real worst = 0;
    for (std::size_t k = 0; k < (kIsHexahedron ? 3 : 1); ++k) {
      const Vector &a = axes[k], &b = axes[(k + 1) % 3];
      worst = Max(worst, Ratio(Abs(Dot(a, b)), Length(a) * Length(b), kWorst));
    }
    return worst;
  }

  Real TaperOfAll() const {
    const auto axes = Axes();
    const Real a = Length(axes[0]), b = Length(axes[1]);
    if constexpr (kIsHexahedron) {
      const Real c = Length(axes[2]);
      return Max(Taper(Sum({0, 2, 4, 6}) - Sum({1, 3, 5, 7}), a, b),
                 Max(Taper(Sum({0, 3, 5, 6}) - Sum({1, 2, 4, 7}), a, c),
                     Taper(Sum({0, 1, 6, 7}) - Sum({2, 3, 4, 5}), b, c)));
    }
    return Taper(Sum({0, 2}) - Sum({1, 3}), a, b);
  }

  const Points& p_;
  bool isPlane_;
  std::array<Real, kNumEdges> lengths_;
  Real longest_, shortest_;
};

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
    std::vector<std::size_t> together; // measures of the kernel
    for (std::size_t m = 0; m < measures_.size(); ++m) {
      const bool isOfMap = measures_[m] == Measure::ScaledJacobian && isQuadratic_;
      if (measures_[m] == Measure::Size && (isQuadratic_ || !Kernel<Family>::Has(Measure::Size)))
        Sizes(rows_[m]);
      else if (measures_[m] == Measure::MidNodeOffset || measures_[m] == Measure::MidNodeHeight)
        MidNodes(measures_[m] == Measure::MidNodeHeight, rows_[m]);
      else if (isOfMap && Kernel<Family>::Has(measures_[m]))
        Determinants(rows_[m]);
      else if (Kernel<Family>::Has(measures_[m])) {
        rows_[m].resize(NumElements());
        together.push_back(m);
      }
    }
    if (together.empty()) return;
    wip_Poll poll(2048);
    Points points;
    for (std::size_t first = 0; first < NumElements(); first += bme_kLanes) {
      poll.Advance();
      const std::size_t count = std::min(bme_kLanes, NumElements() - first);
      bool isFinite = true;
      for (std::size_t i = 0; i < bme_kLanes; ++i) { // lanes that are left over have the last element
        const std::span<const int> row = Row(first + std::min(i, count - 1));
        for (std::size_t k = 0; k < numCorners; ++k) {
          const std::array<double, 3> p = At(row[k]);
          isFinite &= std::isfinite(p[0] + p[1] + p[2]);
          points[k].x.v[i] = p[0];
          points[k].y.v[i] = p[1];
          points[k].z.v[i] = IsPlane() ? 0 : p[2];
        }
      }
      const Kernel<Family> kernel(points, IsPlane());
      for (const std::size_t m : together) {
        const Real values = kernel.Of(measures_[m]);
        for (std::size_t i = 0; i < count; ++i) rows_[m][first + i] = values.v[i];
        if (!isFinite) MakeFinite(first, count, numCorners, m);
      }
    }
  }
  void MakeFinite(std::size_t first, std::size_t count, std::size_t numCorners, std::size_t m) {
    for (std::size_t element = first; element < first + count; ++element)
      for (const int node : Row(element).first(numCorners)) {
        const std::array<double, 3> p = At(node);
        if (!std::isfinite(p[0] + p[1] + p[2])) rows_[m][element] = Limit(measures_[m]);
      }
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
    std::vector<shp_IsoPoint> normals(places.size());
    wip_Poll poll(1024);
    for (std::size_t e = 0; e < NumElements(); ++e) {
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
  }

  void MidNodes(bool isHeight, std::vector<double>& values) const {
    std::vector<std::array<int, 3>> edges;
    for (int face = 0; face < shape_.NumFaces(); ++face)
      for (int edge = 0; edge < shape_.MaxEdgesPerFace(); ++edge)
        if (const auto nodes = shape_.EdgeNodes(face, edge); nodes.size() == 3)
          edges.push_back({nodes[0], nodes[1], nodes[2]});
    if (edges.empty()) return;
    values.assign(NumElements(), 0);
    wip_Poll poll(4096);
    for (std::size_t e = 0; e < NumElements(); ++e) {
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
