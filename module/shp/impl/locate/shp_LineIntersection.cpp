// Where a line meets the faces of an element.
#include "shp_Basis.h"

#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/shp_Topology.h>
#include <algorithm>
#include <cmath>

namespace {
using Vector = std::array<double, 3>;
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }
double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// A hit: the parameter of the line, and the nodes of the face or edge it is on.
struct Hit {
  double parameter;
  std::span<const int> nodes;
};

/// The lines and faces of an element, in coordinates relative to the line's first point and the element's
/// size.
class Search {
public:
  Search(const shp_Basis& basis, std::span<const gsl_Point> nodes, const gsl_Point& from, const gsl_Point& to,
         bool onlySegment)
      : basis_(basis), onlySegment_(onlySegment) {
    Vector lowest{}, highest{};
    for (std::size_t node = 0; node < At(basis.NumNodes()); ++node)
      for (unsigned axis = 0; axis < 3; ++axis) {
        nodes_[node][axis] = nodes[node][axis] - from[axis];
        lowest[axis] = node ? std::min(lowest[axis], nodes_[node][axis]) : nodes_[node][axis];
        highest[axis] = node ? std::max(highest[axis], nodes_[node][axis]) : nodes_[node][axis];
      }
    for (unsigned axis = 0; axis < 3; ++axis) {
      direction_[axis] = to[axis] - from[axis];
      size_ = std::max(size_, highest[axis] - lowest[axis]);
    }
    length_ = std::sqrt(Dot(direction_, direction_));
  }
  bool IsPossible() const {
    return length_ > 0 && size_ > 0 && std::isfinite(length_) && std::isfinite(size_);
  }
  bool HasHit() const { return first_.parameter <= last_.parameter; }
  const Hit& First() const { return first_; } ///< the hit with the smallest parameter
  const Hit& Last() const { return last_; }
  int NumHits() const { return !HasHit() ? 0 : IsSame(first_.parameter, last_.parameter) ? 1 : 2; }

  /// Finds hits on the part of the element that two directions span from a corner: a triangle or
  /// parallelogram of iso coordinates.
  void AddFace(const shp_IsoPoint& corner, const shp_IsoPoint& toU, const shp_IsoPoint& toV, bool isTriangle,
               std::span<const int> nodes) {
    constexpr double kStarts[] = {0.5, 0.2, 0.8, 0.05, 0.95};
    for (const double startU : kStarts)
      for (const double startV : kStarts) {
        double u = isTriangle ? startU * (1 - startV) : startU, v = startV, t = 0;
        if (!Converge(corner, toU, toV, u, v, t)) continue;
        if (u < -kRim || v < -kRim || (isTriangle ? u + v > 1 + kRim : u > 1 + kRim || v > 1 + kRim))
          continue;
        Add(t, nodes);
      }
  }

  /// Finds hits on an edge between two nodes: places where the line comes as close as rounding.
  void AddEdge(const shp_IsoPoint& first, const shp_IsoPoint& last, std::span<const int> nodes) {
    for (const double start : {0.5, 0.1, 0.9}) {
      double s = start, t = 0, distance = 0;
      if (ConvergeToEdge(first, last, s, t, distance) && s >= -kRim && s <= 1 + kRim
          && distance <= kRim * size_)
        Add(t, nodes);
    }
  }

private:
  static constexpr double kRim = 1e-9;

  bool IsSame(double t, double other) const { return std::abs(t - other) * length_ <= 1e-7 * size_; }
  /// Of hits that are the same the one found first counts.
  void Add(double t, std::span<const int> nodes) {
    if (onlySegment_ && (t < 0 || t > 1)) return;
    if (!HasHit()) {
      first_ = last_ = {t, nodes};
      return;
    }
    if (t < first_.parameter && !IsSame(t, first_.parameter)) first_ = {t, nodes};
    if (t > last_.parameter && !IsSame(t, last_.parameter)) last_ = {t, nodes};
  }

  static shp_IsoPoint Along(const shp_IsoPoint& corner, const shp_IsoPoint& toU, double u,
                            const shp_IsoPoint& toV, double v) {
    shp_IsoPoint iso;
    for (std::size_t axis = 0; axis < 3; ++axis)
      iso[axis] = corner[axis] + u * (toU[axis] - corner[axis]) + v * (toV[axis] - corner[axis]);
    return iso;
  }
  /// Position, and its derivatives along two directions of iso coordinates.
  void Evaluate(const shp_IsoPoint& iso, const shp_IsoPoint& corner, const shp_IsoPoint& toU,
                const shp_IsoPoint& toV, Vector& point, Vector& byU, Vector& byV) const {
    shp_Basis::Values values;
    shp_Basis::Derivatives derivatives;
    basis_.Evaluate(iso, values, derivatives);
    point = byU = byV = {};
    for (std::size_t node = 0; node < At(basis_.NumNodes()); ++node) {
      double slopeU = 0, slopeV = 0;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        slopeU += derivatives[node][axis] * (toU[axis] - corner[axis]);
        slopeV += derivatives[node][axis] * (toV[axis] - corner[axis]);
      }
      for (std::size_t axis = 0; axis < 3; ++axis) {
        point[axis] += values[node] * nodes_[node][axis];
        byU[axis] += slopeU * nodes_[node][axis];
        byV[axis] += slopeV * nodes_[node][axis];
      }
    }
  }

  bool Converge(const shp_IsoPoint& corner, const shp_IsoPoint& toU, const shp_IsoPoint& toV, double& u,
                double& v, double& t) const {
    for (int round = 0; round < 30; ++round) {
      Vector point, byU, byV;
      Evaluate(Along(corner, toU, u, toV, v), corner, toU, toV, point, byU, byV);
      const Vector normal = Cross(byU, byV);
      const double determinant = Dot(normal, direction_);
      if (!(std::abs(determinant) > 1e-12 * std::sqrt(Dot(normal, normal)) * length_)) return false;
      // point + du byU + dv byV = t direction
      t = Dot(normal, point) / determinant;
      Vector residual;
      for (std::size_t axis = 0; axis < 3; ++axis) residual[axis] = t * direction_[axis] - point[axis];
      const double area = Dot(normal, normal);
      const double stepU = Dot(Cross(residual, byV), normal) / area,
                   stepV = Dot(Cross(byU, residual), normal) / area;
      if (!(std::abs(stepU) < 100 && std::abs(stepV) < 100)) return false;
      u += stepU;
      v += stepV;
      if (std::abs(stepU) + std::abs(stepV) < 1e-13) return true;
    }
    return false;
  }

  bool ConvergeToEdge(const shp_IsoPoint& first, const shp_IsoPoint& last, double& s, double& t,
                      double& distance) const {
    for (int round = 0; round < 30; ++round) {
      Vector point, along, unused;
      Evaluate(Along(first, last, s, first, 0), first, last, first, point, along, unused);
      const double aa = Dot(along, along), ad = Dot(along, direction_), dd = length_ * length_;
      const double determinant = aa * dd - ad * ad;
      if (!(determinant > 1e-20 * aa * dd)) return false; // along the line: no single place
      const double pa = Dot(point, along), pd = Dot(point, direction_);
      const double step = (ad * pd - dd * pa) / determinant;
      t = (pd + ad * step) / dd;
      Vector gap;
      for (std::size_t axis = 0; axis < 3; ++axis)
        gap[axis] = point[axis] + step * along[axis] - t * direction_[axis];
      distance = std::sqrt(Dot(gap, gap));
      if (!(std::abs(step) < 100)) return false;
      s += step;
      if (std::abs(step) < 1e-13) return true;
    }
    return false;
  }

  const shp_Basis& basis_;
  std::array<Vector, shp_Basis::kMaxNodes> nodes_{};
  Vector direction_{};
  double length_ = 0, size_ = 0;
  bool onlySegment_;
  Hit first_{1, {}}, last_{0, {}}; ///< out of order while there is none
};
} // namespace

bool shp_Topology::LineShapeIntersection(const gsl_Point& from, const gsl_Point& to,
                                         std::span<const gsl_Point> nodes, std::span<double, 2> parameters,
                                         std::span<gsl_Point> faceNodes, int& count, bool onlySegment,
                                         gsl_Point& point) const {
  count = 0;
  if (!basis_) return false;
  Search search(*basis_, nodes, from, to, onlySegment);
  if (!search.IsPossible()) return false;
  const auto iso = [&](int node) { return NodeCoordinates()[At(node)]; };
  for (int face = 0; face < NumFaces(); ++face) {
    const auto loop = FaceNodes(face);
    const auto numCorners = CornersPerFace()[At(face)];
    if (numCorners > 2)
      search.AddFace(iso(loop[0]), iso(loop[1]), iso(loop[At(numCorners) - 1]), numCorners == 3, loop);
    for (int edge = 0; NumGeomDims() < 3 && edge < EdgesPerFace()[At(face)]; ++edge)
      search.AddEdge(iso(EdgeNodes(face, edge).front()), iso(EdgeNodes(face, edge).back()),
                     EdgeNodes(face, edge));
  }
  count = search.NumHits();
  if (count == 0) return false;
  parameters[0] = search.First().parameter;
  parameters[1] = search.Last().parameter;
  std::ranges::transform(search.First().nodes, faceNodes.begin(), [&](int node) { return nodes[At(node)]; });
  for (unsigned axis = 0; axis < 3; ++axis)
    point[axis] = from[axis] + parameters[0] * (to[axis] - from[axis]);
  return true;
}
