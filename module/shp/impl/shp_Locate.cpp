// From a point to its iso coordinates in double precision.
#include "shp_LocateSearch.h"

#include <BasicUtils/omi_Singleton.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Util.h>
#include <CoreGeometry/shp_Topology.h>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }

struct Answer {
  shp_Location location = shp_Location::Outside;
  shp_IsoPoint iso{};
};

[[gnu::always_inline]] inline Answer Verdict(const shp_IsoPoint& iso, double excess, bool isSound,
                                             double tolerance) {
  using enum shp_Location;
  return {!isSound ? Degenerate : excess >= -tolerance ? OnBoundary : Inside, iso};
}

constexpr double kResidual = shp_MappedElement::kResidual * shp_MappedElement::kResidual;

/// The closed form of lines, triangles and tetrahedra without middles.
template<class NodeAt>
[[gnu::always_inline]] inline Answer LocateInAffine(const shp_MapTable& table, const NodeAt& nodeAt,
                                                    const shp_Vector& target, double tolerance,
                                                    bool wantReason) {
  const auto wide = [&](std::size_t node) __attribute__((always_inline)) {
    const auto* x = nodeAt(node);
    return shp_Vector{static_cast<double>(x[0]), static_cast<double>(x[1]), static_cast<double>(x[2])};
  };
  const shp_Vector origin = wide(0);
  shp_Map::Columns columns{};
  shp_Vector low{}, high{};
  for (std::size_t k = 0; k < table.numDims; ++k) {
    columns[k] = shp_Map::Minus(wide(k + 1), origin);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low[axis] = std::min(low[axis], columns[k][axis]);
      high[axis] = std::max(high[axis], columns[k][axis]);
    }
  }
  const double size = std::max({high[0] - low[0], high[1] - low[1], high[2] - low[2]}), perSize = 1 / size;
  shp_Vector residual = shp_Map::Minus(target, origin), iso;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    residual[axis] *= perSize;
    for (shp_Vector& column : columns) column[axis] *= perSize;
  }
  const bool isSound = shp_Map::IsSoundAt(table.numDims, columns);
  if (shp_Map::Step(table.numDims, columns, residual, iso)
      && (table.numDims == 3 || shp_Map::Rest(columns, residual, iso) <= kResidual)) {
    if (table.numDims == 1) iso[0] = 2 * iso[0] - 1;
    const double excess = shp_Map::Excess(table, iso);
    if (excess <= tolerance) return Verdict(iso, excess, isSound, tolerance);
  }
  if (isSound || !wantReason) return {};
  constexpr double kMargin = shp_MappedElement::kResidual;
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (residual[axis] < low[axis] * perSize - kMargin || residual[axis] > high[axis] * perSize + kMargin)
      return {};
  return {shp_Location::Degenerate, {}};
}

/// Full Newton steps from the centre; where they do not arrive inside, the search by halves. Degenerate
/// elements in which the target is not found count as Outside unless the reason is wanted.
template<class NodeAt>
[[gnu::always_inline]] inline Answer LocateIn(const shp_MapTable& table, const NodeAt& nodeAt,
                                              const shp_Vector& target, double tolerance, bool wantReason) {
  if (table.form == shp_MapTable::Form::Affine)
    return LocateInAffine(table, nodeAt, target, tolerance, wantReason);
  const shp_MappedElement element(table, nodeAt);
  if (!element.HasSize()) return {shp_Location::Degenerate, {}};
  const shp_Vector wanted = element.Normalised(target);
  if (!element.MayContain(wanted)) return {};

  constexpr int kMaxRounds = 10;
  constexpr double kLongestStep = 8, kShortStep = 1e-3, kError = 1e-11;
  shp_IsoPoint iso = table.centre;
  bool hasArrived = false;
  double previous = 1;
  for (int round = 0; round < kMaxRounds; ++round) {
    shp_MappedElement::State state;
    element.Evaluate(iso, state);
    const shp_Vector residual = shp_Map::Minus(wanted, state.position);
    shp_Vector step;
    if (!element.Step(state, residual, step)) break;
    for (std::size_t axis = 0; axis < 3; ++axis) iso[axis] += step[axis];
    const double longest = std::max({std::abs(step[0]), std::abs(step[1]), std::abs(step[2])});
    // convergence is quadratic: the next step would be about longest * (longest / previous)^2
    const bool isAtRest = longest < kShortStep && longest * longest * longest < kError * previous * previous;
    if (!isAtRest) {
      if (!(longest < kLongestStep)) break;
      previous = longest;
      continue;
    }
    hasArrived = shp_Map::Rest(state.columns, residual, step) <= kResidual;
    const double excess = shp_Map::Excess(table, iso);
    if (hasArrived && excess <= tolerance) return Verdict(iso, excess, element.IsSoundAt(state), tolerance);
    break;
  }
  if (!element.IsSound()) return {shp_Location::Degenerate, {}};
  const auto hit =
      shp_LocateSearch::Find(element, wanted, tolerance, hasArrived ? std::optional(iso) : std::nullopt);
  if (hit) return Verdict(hit->iso, hit->excess, hit->isSound, tolerance);
  return {wantReason && shp_LocateSearch::IsDegenerate(element) ? shp_Location::Degenerate
                                                                : shp_Location::Outside,
          {}};
}

/// The same compiled for two kinds of processors.
template<class NodeAt>
Answer LocatePlain(const shp_MapTable& table, const NodeAt& nodeAt, const shp_Vector& target,
                   double tolerance, bool wantReason) {
  return LocateIn(table, nodeAt, target, tolerance, wantReason);
}
#ifdef __x86_64__
template<class NodeAt>
[[gnu::target("avx2")]] Answer LocateAvx2(const shp_MapTable& table, const NodeAt& nodeAt,
                                          const shp_Vector& target, double tolerance, bool wantReason) {
  return LocateIn(table, nodeAt, target, tolerance, wantReason);
}
bool HasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2");
  return has;
}
#endif

template<class NodeAt>
Answer LocateAnyhow(const shp_MapTable& table, const NodeAt& nodeAt, const shp_Vector& target,
                    bool wantReason) {
  const double tolerance = omi_Singleton<gsl_Util>::Instance().Tolerance();
#ifdef __x86_64__
  if (HasAvx2()) return LocateAvx2(table, nodeAt, target, tolerance, wantReason);
#endif
  return LocatePlain(table, nodeAt, target, tolerance, wantReason);
}

/// Coordinates of the nodes of an element, one after the other or by index.
struct InOrder {
  const double* coordinates;
  const double* operator()(std::size_t node) const { return coordinates + 3 * node; }
};
struct ByIndex {
  const float* coordinates;
  const int* nodes;
  const float* operator()(std::size_t node) const { return coordinates + 3 * At(nodes[node]); }
};
} // namespace

shp_Location shp_Topology::Locate(const std::array<double, 3>& target, std::span<const double> coordinates,
                                  shp_IsoPoint& iso) const {
  if (!basis_) return shp_Location::Outside;
  const Answer answer = LocateAnyhow(*map_, InOrder{coordinates.data()}, target, true);
  if (answer.location == shp_Location::Inside || answer.location == shp_Location::OnBoundary)
    iso = answer.iso;
  return answer.location;
}

shp_Location shp_Topology::FindInElement(const std::array<double, 3>& target,
                                         std::span<const int> elementNodes,
                                         std::span<const float> coordinates, shp_IsoPoint& iso) const {
  if (!basis_) return shp_Location::Outside;
  const Answer answer = LocateAnyhow(*map_, ByIndex{coordinates.data(), elementNodes.data()}, target, false);
  if (answer.location == shp_Location::Inside || answer.location == shp_Location::OnBoundary)
    iso = answer.iso;
  return answer.location;
}

bool shp_Topology::IsDegenerate(std::span<const int> elementNodes, std::span<const float> coordinates) const {
  if (!basis_) return false;
  const shp_MappedElement element(*map_, ByIndex{coordinates.data(), elementNodes.data()});
  return !element.IsSound() || shp_LocateSearch::IsDegenerate(element);
}

void shp_Topology::LocateEach(std::span<const double> targets, std::span<const int> connectivity,
                              std::span<const float> coordinates, std::span<shp_IsoPoint> isos,
                              std::span<shp_Location> locations) const {
  const std::size_t numNodes = NodeCoordinates().size();
  for (std::size_t k = 0; k < locations.size(); ++k) {
    Answer answer;
    if (basis_)
      answer = LocateAnyhow(*map_, ByIndex{coordinates.data(), connectivity.data() + k * numNodes},
                            {targets[3 * k], targets[3 * k + 1], targets[3 * k + 2]}, true);
    locations[k] = answer.location;
    if (answer.location == shp_Location::Inside || answer.location == shp_Location::OnBoundary)
      isos[k] = answer.iso;
  }
}

void shp_Topology::BoundEach(std::span<const int> connectivity, std::size_t nodesPerRow,
                             std::span<const float> coordinates, std::span<shp_FloatBox> boxes) const {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (std::size_t k = 0; k < boxes.size(); ++k) {
    shp_FloatBox& box = boxes[k] = {{kInfinity, kInfinity, kInfinity}, {-kInfinity, -kInfinity, -kInfinity}};
    if (!basis_) continue;
    const ByIndex nodeAt{coordinates.data(), connectivity.data() + k * nodesPerRow};
    double low[3], high[3], size = 0;
    bool isSound = true;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      std::array<double, shp_Basis::kMaxNodes> controls{};
      double least = static_cast<double>(nodeAt(0)[axis]), most = least, undefined = 0;
      for (std::size_t node = 0; node < map_->numNodes; ++node) {
        const auto x = static_cast<double>(nodeAt(node)[axis]);
        least = std::min(least, x);
        most = std::max(most, x);
        undefined += x * 0;
      }
      if (map_->numNodes > map_->numCorners) {
        for (const auto& [control, source, weight] : map_->controlsFromNodes)
          controls[control] += weight * static_cast<double>(nodeAt(source)[axis]);
        least = *std::min_element(controls.begin(),
                                  controls.begin() + static_cast<std::ptrdiff_t>(map_->controlPlaces.size()));
        most = *std::max_element(controls.begin(),
                                 controls.begin() + static_cast<std::ptrdiff_t>(map_->controlPlaces.size()));
      }
      low[axis] = least;
      high[axis] = most;
      size = std::max(size, most - least);
      isSound &= undefined == 0;
    }
    if (!isSound) continue;
    // the tolerances of Locate, and the rounding to float
    const double margin = 4 * shp_MappedElement::kResidual * size;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      box.low[axis] = std::nextafterf(static_cast<float>(low[axis] - margin), -kInfinity);
      box.high[axis] = std::nextafterf(static_cast<float>(high[axis] + margin), kInfinity);
    }
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
