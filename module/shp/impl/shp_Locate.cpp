// From a point to its iso coordinates in double precision.
#include "shp_Basis.h"

#include <BasicUtils/omi_Singleton.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Util.h>
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
Vector Minus(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
double Length(const Vector& a) { return std::sqrt(Dot(a, a)); }

/// How far outside its bounds a point is in iso coordinates; negative inside.
double Excess(shp_Family family, int numDims, const shp_IsoPoint& iso) {
  double excess = -1;
  const bool isWedge = family == shp_Family::Wedge;
  const bool isSimplex = family == shp_Family::Triangle || family == shp_Family::Tetrahedron;
  if (!isSimplex && !isWedge) {
    for (std::size_t axis = 0; axis < At(numDims); ++axis) excess = std::max(excess, std::abs(iso[axis]) - 1);
    return excess;
  }
  double sum = 0;
  for (std::size_t axis = 0; axis < (isWedge ? 2U : At(numDims)); ++axis) {
    excess = std::max(excess, -iso[axis]);
    sum += iso[axis];
  }
  excess = std::max(excess, sum - 1);
  return isWedge ? std::max(excess, std::abs(iso[2]) - 1) : excess;
}

/// An element moved and scaled so that its box is centred at the origin and one wide.
class Element {
public:
  Element(const shp_Basis& basis, int numDims, std::span<const double> coordinates)
      : basis_(basis), numDims_(At(numDims)), numNodes_(At(basis.NumNodes())) {
    lowest_ = highest_ = {coordinates[0], coordinates[1], coordinates[2]};
    for (std::size_t k = 3; k < 3 * numNodes_; ++k) {
      lowest_[k % 3] = std::min(lowest_[k % 3], coordinates[k]);
      highest_[k % 3] = std::max(highest_[k % 3], coordinates[k]);
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
      centre_[axis] = lowest_[axis] + (highest_[axis] - lowest_[axis]) / 2;
      size_ = std::max(size_, highest_[axis] - lowest_[axis]);
    }
    for (std::size_t k = 0; k < 3 * numNodes_; ++k)
      nodes_[k / 3][k % 3] = (coordinates[k] - centre_[k % 3]) / size_;
  }

  bool HasSize() const { return size_ > 0 && std::isfinite(size_); }
  Vector Normalised(const Vector& point) const {
    Vector moved = Minus(point, centre_);
    for (double& value : moved) value /= size_;
    return moved;
  }
  /// False when the target is clearly outside. Linear elements lie in their box; the functions of others have
  /// a sum of absolute values of at most five, so these reach no further than five times from the centre.
  bool MayContain(const Vector& target) const {
    const double margin = basis_.Pattern().interpOrder == 1 ? kResidual : 2.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double half = (highest_[axis] - lowest_[axis]) / size_ / 2;
      if (!(std::abs(target[axis]) <= half + margin)) return false;
    }
    return true;
  }

  struct State {
    shp_IsoPoint iso;
    Vector residual;
    std::array<Vector, 3> columns; ///< derivatives of the position by xi, eta, zeta
    double error;
  };
  State Evaluate(const Vector& target, const shp_IsoPoint& iso) const {
    shp_Basis::Values values;
    shp_Basis::Derivatives derivatives;
    basis_.Evaluate(iso, values, derivatives);
    State state{iso, target, {}, 0};
    for (std::size_t node = 0; node < numNodes_; ++node)
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const double x = nodes_[node][axis];
        state.residual[axis] -= values[node] * x;
        for (std::size_t k = 0; k < 3; ++k) state.columns[k][axis] += derivatives[node][k] * x;
      }
    state.error = Dot(state.residual, state.residual);
    return state;
  }

  /// Volume, area or length of the directions over the product of their lengths, negative when inside out.
  double Quality(const State& state) const {
    const auto& [a, b, c] = state.columns;
    if (numDims_ == 1) return Length(a) > kFlat ? 1 : 0;
    const Vector normal = Cross(a, b);
    const double product = numDims_ == 2 ? Length(a) * Length(b) : Length(a) * Length(b) * Length(c);
    if (!(product > kFlat * kFlat * kFlat)) return 0;
    return (numDims_ == 2 ? Length(normal) : Dot(normal, c)) / product;
  }

  /// Newton's step, or that of least squares on lines and surfaces; false when the directions are flat.
  bool Step(const State& state, Vector& step) const {
    const auto& [a, b, c] = state.columns;
    const Vector& r = state.residual;
    step = {};
    if (numDims_ == 3) {
      const Vector bc = Cross(b, c);
      const double determinant = Dot(a, bc);
      if (!(std::abs(determinant) > 1e-30)) return false;
      step = {Dot(r, bc) / determinant, Dot(r, Cross(c, a)) / determinant, Dot(r, Cross(a, b)) / determinant};
      return true;
    }
    const double aa = Dot(a, a), ab = Dot(a, b), bb = Dot(b, b), ra = Dot(r, a), rb = Dot(r, b);
    const double determinant = numDims_ == 2 ? aa * bb - ab * ab : aa;
    if (!(determinant > 1e-30)) return false;
    step[0] = numDims_ == 2 ? (ra * bb - rb * ab) / determinant : ra / determinant;
    if (numDims_ == 2) step[1] = (rb * aa - ra * ab) / determinant;
    return true;
  }

  /// Damped iteration from a start; true when it comes to rest.
  bool Converge(const Vector& target, const shp_IsoPoint& start, State& state) const {
    constexpr int kMaxRounds = 50, kMaxHalvings = 12;
    constexpr double kLongestStep = 1.5, kShortestStep = 1e-13;
    state = Evaluate(target, start);
    for (int round = 0; round < kMaxRounds; ++round) {
      Vector step;
      if (!Step(state, step)) return false;
      double longest = std::max({std::abs(step[0]), std::abs(step[1]), std::abs(step[2])});
      if (!std::isfinite(longest)) return false;
      double factor = longest > kLongestStep ? kLongestStep / longest : 1;
      State next;
      int halvings = 0;
      for (;; factor /= 2, ++halvings) {
        next = Evaluate(target, {state.iso[0] + factor * step[0], state.iso[1] + factor * step[1],
                                 state.iso[2] + factor * step[2]});
        if (next.error < state.error || halvings == kMaxHalvings) break;
      }
      // the last steps change nothing but the rounding of the residual
      if (!(next.error < state.error)) return longest < 1e-8;
      state = next;
      longest *= factor;
      if (longest < kShortestStep) return true;
    }
    return false;
  }

  static constexpr double kResidual = 1e-6;

private:
  static constexpr double kFlat = 1e-9;

  const shp_Basis& basis_;
  std::size_t numDims_, numNodes_;
  std::array<Vector, shp_Basis::kMaxNodes> nodes_{};
  Vector lowest_{}, highest_{}, centre_{};
  double size_ = 0;
};

constexpr double kWorstQuality = 1e-9;
} // namespace

shp_Location shp_Topology::Locate(const std::array<double, 3>& target, std::span<const double> coordinates,
                                  shp_IsoPoint& iso) const {
  using enum shp_Location;
  if (!basis_) return Outside;
  const shp_Family family = options_.Family();
  const Element element(*basis_, NumGeomDims(), coordinates);
  if (!element.HasSize()) return Degenerate;
  const Vector wanted = element.Normalised(target);
  if (!element.MayContain(wanted)) return Outside;

  const double tolerance = omi_Singleton<gsl_Util>::Instance().Tolerance();
  const std::span<const shp_IsoPoint> nodes = NodeCoordinates();
  const shp_Facts& facts = *shp_FindFacts(family);
  shp_IsoPoint centre{};
  for (const shp_IsoPoint& corner : facts.corners)
    for (std::size_t axis = 0; axis < 3; ++axis) centre[axis] += corner[axis] / facts.NumCorners();
  const auto halfway = [&](const shp_IsoPoint& node, double share) {
    shp_IsoPoint start;
    for (std::size_t axis = 0; axis < 3; ++axis)
      start[axis] = centre[axis] + share * (node[axis] - centre[axis]);
    return start;
  };
  const auto tryFrom = [&](const shp_IsoPoint& start, shp_Location& answer) {
    Element::State state;
    if (!element.Converge(wanted, start, state) || !(std::sqrt(state.error) <= Element::kResidual))
      return false;
    const double excess = Excess(family, NumGeomDims(), state.iso);
    if (!(excess <= tolerance)) return false;
    const bool isSound = element.Quality(state) > kWorstQuality;
    iso = state.iso;
    answer = !isSound ? Degenerate : excess >= -tolerance ? OnBoundary : Inside;
    return true;
  };

  shp_Location answer = Outside;
  if (tryFrom(centre, answer)) return answer;
  const bool isAffine = NumBaseNodes() == NumGeomDims() + 1; // one step is exact
  if (!isAffine)
    for (const double share : {0.5, 0.9})
      for (const shp_IsoPoint& node : nodes)
        if (tryFrom(halfway(node, share), answer)) return answer;
  if (!(element.Quality(element.Evaluate(wanted, centre)) > kWorstQuality)) return Degenerate;
  for (const shp_IsoPoint& corner : facts.corners)
    if (!(element.Quality(element.Evaluate(wanted, corner)) > kWorstQuality)) return Degenerate;
  return Outside;
}

void shp_Topology::LocateEach(std::span<const double> targets, std::span<const int> connectivity,
                              std::span<const float> coordinates, std::span<shp_IsoPoint> isos,
                              std::span<shp_Location> locations) const {
  std::array<double, 3 * shp_Basis::kMaxNodes> gathered{};
  const std::size_t numNodes = NodeCoordinates().size();
  for (std::size_t k = 0; k < locations.size(); ++k) {
    for (std::size_t node = 0; node < numNodes; ++node)
      for (std::size_t axis = 0; axis < 3; ++axis)
        gathered[3 * node + axis] =
            static_cast<double>(coordinates[3 * At(connectivity[k * numNodes + node]) + axis]);
    locations[k] = Locate({targets[3 * k], targets[3 * k + 1], targets[3 * k + 2]},
                          std::span(gathered).first(3 * numNodes), isos[k]);
  }
}

bool shp_Topology::FindPointInShape(const gsl_Point& target, std::span<const gsl_Point> nodes,
                                    std::span<float, 3> iso) const {
  std::array<double, 3 * shp_Basis::kMaxNodes> gathered{};
  const std::size_t numNodes = NodeCoordinates().size();
  for (std::size_t node = 0; node < numNodes; ++node)
    for (unsigned axis = 0; axis < 3; ++axis) gathered[3 * node + axis] = nodes[node][axis];
  shp_IsoPoint found{};
  const shp_Location location =
      Locate({target[0], target[1], target[2]}, std::span(gathered).first(3 * numNodes), found);
  if (location != shp_Location::Inside && location != shp_Location::OnBoundary) return false;
  for (std::size_t axis = 0; axis < 3; ++axis) iso[axis] = static_cast<float>(found[axis]);
  return true;
}
