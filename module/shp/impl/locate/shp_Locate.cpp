// From a point to its iso coordinates in double precision.
#include "shp_LocateLanes.h"
#include "shp_LocateSearch.h"

#include <BasicUtils/omi_Singleton.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Util.h>
#include <CoreGeometry/shp_ElementSearch.h>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }

/// What is done for a target that the Newton steps do not find inside.
enum class Effort { Steps, Search, Reason };

struct Answer {
  shp_Location location = shp_Location::Outside;
  shp_IsoPoint iso{};
};

[[gnu::always_inline]] inline Answer Verdict(const shp_IsoPoint& iso, double excess, bool isSound,
                                             double tolerance) {
  using enum shp_Location;
  return {!isSound ? Degenerate : excess >= -tolerance ? OnBoundary : Inside, iso};
}

/// False when the target is clearly outside. Linear elements lie in the box of their nodes; the functions of
/// others have a sum of absolute values of at most five, so these reach no further than five times from the
/// centre.
bool MayContain(const shp_MapTable& table, const shp_Frame& frame, const shp_Vector& target) {
  const double factor = table.numNodes == table.numCorners ? 1 : 5;
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!(std::abs(target[axis] - frame.centre[axis])
          <= factor * frame.half[axis] + shp_MappedElement::kResidual * frame.size))
      return false;
  return true;
}

/// Fallback after Newton: bisection, then a test for degeneracy when the reason is wanted. `elsewhere` is a place
/// outside the bounds of the iso coordinates that maps to the target.
template<class NodeAt>
[[gnu::noinline]] Answer LocateThoroughly(const shp_MapTable& table, const NodeAt& nodeAt,
                                          const shp_Vector& target, double tolerance, Effort effort,
                                          const std::optional<shp_IsoPoint>& elsewhere) {
  const bool isAffine = table.form == shp_MapTable::Form::Affine;
  if (effort == Effort::Steps || (isAffine && effort == Effort::Search)) return {};
  const shp_Frame frame(table, nodeAt);
  if (!frame.IsSound()) return {shp_Location::Degenerate, {}};
  if (!MayContain(table, frame, target)) return {};
  const shp_MappedElement element(table, nodeAt, frame);
  if (!isAffine)
    if (const auto hit = shp_LocateSearch::Find(element, frame.Normalised(target), tolerance, elsewhere))
      return Verdict(hit->iso, hit->excess, hit->isSound, tolerance);
  const bool isDegenerate = effort == Effort::Reason && shp_LocateSearch::IsDegenerate(element);
  return {isDegenerate ? shp_Location::Degenerate : shp_Location::Outside, {}};
}

/// True unless the target is off a line or surface by more than the tolerance.
template<std::size_t kNumDims, class NodeAt>
[[gnu::always_inline]] inline bool IsOn(const shp_MapTable& table, const NodeAt& nodeAt,
                                        const shp_Map::Columns& columns, const shp_Vector& residual,
                                        const shp_Vector& step) {
  if constexpr (kNumDims == 3) return true;
  constexpr double kMost = shp_Map::kResidual * shp_Map::kResidual;
  const double rest = shp_Map::Rest(columns, residual, step);
  if (rest <= shp_Map::kSmallRest * shp_Map::Dot(columns[0], columns[0])) return true;
  const double size = shp_Frame(table, nodeAt).size;
  return rest <= kMost * size * size;
}

/// The closed form of a tetrahedron with three coordinates in one register, the target as origin; the same
/// results as those of the formulas for single numbers.
template<class NodeAt>
[[gnu::always_inline]] inline void SolveTetrahedron(const NodeAt& nodeAt, const shp_Vector& target,
                                                    shp_IsoPoint& iso, bool& isSound) {
  const shp_Lanes origin = {target[0], target[1], target[2], 0};
  const auto relative = [&](std::size_t node, shp_Lanes & to) __attribute__((always_inline)) {
    const auto* x = nodeAt(node);
    to = shp_Lanes{static_cast<double>(x[0]), static_cast<double>(x[1]), static_cast<double>(x[2]), 0}
         - origin;
  };
  const auto turn = [](const shp_Lanes& v, shp_Lanes& to) __attribute__((always_inline)) {
    to = __builtin_shufflevector(v, v, 1, 2, 0, 3);
  };
  const auto cross = [&](const shp_Lanes& a, const shp_Lanes& b, shp_Lanes& to)
      __attribute__((always_inline)) {
    shp_Lanes turnedA, turnedB;
    turn(a, turnedA);
    turn(b, turnedB);
    turn(a * turnedB - turnedA * b, to);
  };
  // sums of each of four
  const auto sums = [](const shp_Lanes& p, const shp_Lanes& q, const shp_Lanes& r, const shp_Lanes& s,
                       shp_Lanes& to) __attribute__((always_inline)) {
    const shp_Lanes pq =
        __builtin_shufflevector(p, q, 0, 4, 2, 6) + __builtin_shufflevector(p, q, 1, 5, 3, 7);
    const shp_Lanes rs =
        __builtin_shufflevector(r, s, 0, 4, 2, 6) + __builtin_shufflevector(r, s, 1, 5, 3, 7);
    to = __builtin_shufflevector(pq, rs, 0, 1, 4, 5) + __builtin_shufflevector(pq, rs, 2, 3, 6, 7);
  };
  shp_Lanes first, a, b, c, bc, ca, ab, dots, squares;
  relative(0, first);
  relative(1, a);
  relative(2, b);
  relative(3, c);
  a -= first;
  b -= first;
  c -= first;
  cross(b, c, bc);
  cross(c, a, ca);
  cross(a, b, ab);
  const shp_Lanes residual = -first;
  sums(residual * bc, residual * ca, residual * ab, a * bc, dots);
  sums(a * a, b * b, c * c, ab * c, squares);
  const double inverse = 1 / dots[3];
  iso = {dots[0] * inverse, dots[1] * inverse, dots[2] * inverse};
  isSound = shp_Map::IsSoundVolume(squares[3], squares[0], squares[1], squares[2]);
}

/// Full Newton steps from the centre, one closed form for affine maps, with the target as origin.
template<bool kIsWide, std::size_t kNumDims, class NodeAt>
[[gnu::always_inline]] inline Answer LocateIn(const shp_MapTable& table, const NodeAt& nodeAt,
                                              const shp_Vector& target, double tolerance, Effort effort) {
  shp_IsoPoint iso;
  if (kIsWide && kNumDims == 3 && table.form == shp_MapTable::Form::Affine) {
    bool isSound = false;
    SolveTetrahedron(nodeAt, target, iso, isSound);
    const double excess = shp_Map::Excess(table, 3, iso);
    if (excess <= tolerance) return Verdict(iso, excess, isSound, tolerance);
    return LocateThoroughly(table, nodeAt, target, tolerance, effort, std::nullopt);
  }
  shp_MappedElement::State state{};
  shp_Vector residual, step;
  bool isAtRest = false;
  if (table.form == shp_MapTable::Form::Affine) {
    const auto relative = [&](std::size_t node) __attribute__((always_inline)) {
      const auto* x = nodeAt(node);
      return shp_Vector{static_cast<double>(x[0]) - target[0], static_cast<double>(x[1]) - target[1],
                        static_cast<double>(x[2]) - target[2]};
    };
    const shp_Vector first = relative(0);
    for (std::size_t k = 0; k < kNumDims; ++k) state.columns[k] = shp_Map::Minus(relative(k + 1), first);
    residual = {-first[0], -first[1], -first[2]};
    shp_Map::Step(kNumDims, state.columns, residual, step);
    iso = step;
    if (kNumDims == 1) iso[0] = 2 * iso[0] - 1;
    isAtRest = true;
  } else {
    const shp_MappedElement element(table, nodeAt, target);
    iso = table.centre;
    double previous = 1;
    for (int round = 0; round < shp_Map::kMaxRounds && !isAtRest; ++round) {
      element.Evaluate(iso, state);
      residual = {-state.position[0], -state.position[1], -state.position[2]};
      shp_Map::Step(kNumDims, state.columns, residual, step);
      for (std::size_t axis = 0; axis < 3; ++axis) iso[axis] += step[axis];
      const double longest = shp_Map::Longest(step);
      if (!(longest < shp_Map::kLongestStep)) break;
      isAtRest = shp_Map::ComesToRest(longest, previous);
      previous = longest;
    }
  }
  std::optional<shp_IsoPoint> elsewhere;
  if (isAtRest && IsOn<kNumDims>(table, nodeAt, state.columns, residual, step)) {
    const double excess = shp_Map::Excess(table, kNumDims, iso);
    if (excess <= tolerance)
      return Verdict(iso, excess, shp_Map::IsSoundAt(kNumDims, state.columns), tolerance);
    elsewhere = iso;
  }
  return LocateThoroughly(table, nodeAt, target, tolerance, effort, elsewhere);
}

/// The same compiled for each number of dimensions and for two kinds of processors.
template<std::size_t kNumDims, class NodeAt>
Answer LocatePlain(const shp_MapTable& table, const NodeAt& nodeAt, const shp_Vector& target,
                   double tolerance, Effort effort) {
  return LocateIn<false, kNumDims>(table, nodeAt, target, tolerance, effort);
}
#ifdef __x86_64__
template<std::size_t kNumDims, class NodeAt>
[[gnu::target("avx2")]] Answer LocateAvx2(const shp_MapTable& table, const NodeAt& nodeAt,
                                          const shp_Vector& target, double tolerance, Effort effort) {
  return LocateIn<true, kNumDims>(table, nodeAt, target, tolerance, effort);
}
#endif

template<std::size_t kNumDims, class NodeAt>
Answer LocateOn(const shp_MapTable& table, const NodeAt& nodeAt, const shp_Vector& target, double tolerance,
                Effort effort) {
#ifdef __x86_64__
  if (table.isWide) return LocateAvx2<kNumDims>(table, nodeAt, target, tolerance, effort);
#endif
  return LocatePlain<kNumDims>(table, nodeAt, target, tolerance, effort);
}

template<class NodeAt>
Answer LocateAnyhow(const shp_MapTable& table, const NodeAt& nodeAt, const shp_Vector& target,
                    Effort effort) {
  const double tolerance = omi_Singleton<gsl_Util>::Instance().Tolerance();
  switch (table.numDims) {
  case 1: return LocateOn<1>(table, nodeAt, target, tolerance, effort);
  case 2: return LocateOn<2>(table, nodeAt, target, tolerance, effort);
  default: return LocateOn<3>(table, nodeAt, target, tolerance, effort);
  }
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

shp_Location shp_ElementSearch::Locate(const std::array<double, 3>& target,
                                       std::span<const double> coordinates, shp_IsoPoint& iso) const {
  if (!table_) return shp_Location::Outside;
  const Answer answer = LocateAnyhow(*table_, InOrder{coordinates.data()}, target, Effort::Reason);
  if (shp_IsHeld(answer.location)) iso = answer.iso;
  return answer.location;
}

shp_Location shp_ElementSearch::FindInElement(const std::array<double, 3>& target,
                                              std::span<const int> elementNodes,
                                              std::span<const float> coordinates, shp_IsoPoint& iso,
                                              bool thorough) const {
  if (!table_) return shp_Location::Outside;
  const Answer answer = LocateAnyhow(*table_, ByIndex{coordinates.data(), elementNodes.data()}, target,
                                     thorough ? Effort::Search : Effort::Steps);
  if (shp_IsHeld(answer.location)) iso = answer.iso;
  return answer.location;
}

bool shp_ElementSearch::IsDegenerate(std::span<const int> elementNodes,
                                     std::span<const float> coordinates) const {
  if (!table_) return false;
  const ByIndex nodeAt{coordinates.data(), elementNodes.data()};
  const shp_Frame frame(*table_, nodeAt);
  return !frame.IsSound() || shp_LocateSearch::IsDegenerate({*table_, nodeAt, frame});
}

void shp_ElementSearch::FindInElements(std::span<const shp_ElementQuestion> questions,
                                       std::span<const float> coordinates, std::span<shp_IsoPoint> isos,
                                       std::span<shp_Location> locations) const {
  std::ranges::fill(locations, shp_Location::Outside);
  if (!table_) return;
  const double tolerance = omi_Singleton<gsl_Util>::Instance().Tolerance();
  std::size_t k = 0;
  if (shp_CanLocateLanes(*table_))
    for (; k + 4 <= questions.size(); k += 4) {
      shp_LaneHits hits;
      shp_LocateLanes(*table_, questions.subspan(k).first<4>(), coordinates.data(), tolerance, hits);
      for (std::size_t lane = 0; lane < 4; ++lane) {
        if (!hits.isFound[lane]) continue;
        const Answer answer = Verdict(hits.isos[lane], hits.excesses[lane], hits.isSound[lane], tolerance);
        locations[k + lane] = answer.location;
        isos[k + lane] = answer.iso;
      }
    }
  for (; k < questions.size(); ++k) {
    const auto& [target, nodes] = questions[k];
    const Answer answer = LocateAnyhow(*table_, ByIndex{coordinates.data(), nodes},
                                       {target[0], target[1], target[2]}, Effort::Steps);
    locations[k] = answer.location;
    if (shp_IsHeld(answer.location)) isos[k] = answer.iso;
  }
}

void shp_ElementSearch::LocateEach(std::span<const double> targets, std::span<const int> connectivity,
                                   std::span<const float> coordinates, std::span<shp_IsoPoint> isos,
                                   std::span<shp_Location> locations) const {
  constexpr std::size_t kBlock = 64;
  std::array<shp_ElementQuestion, kBlock> questions;
  std::array<shp_IsoPoint, kBlock> found;
  const std::size_t numNodes = table_ ? table_->numNodes : 0;
  for (std::size_t first = 0; first < locations.size(); first += kBlock) {
    const std::size_t count = std::min(kBlock, locations.size() - first);
    for (std::size_t k = 0; k < count; ++k)
      questions[k] = {targets.data() + 3 * (first + k), connectivity.data() + (first + k) * numNodes};
    const auto places = locations.subspan(first, count);
    FindInElements(std::span(questions).first(count), coordinates, found, places);
    for (std::size_t k = 0; k < count; ++k) {
      if (places[k] == shp_Location::Outside && table_) {
        const auto& [target, nodes] = questions[k];
        const Answer answer = LocateAnyhow(*table_, ByIndex{coordinates.data(), nodes},
                                           {target[0], target[1], target[2]}, Effort::Reason);
        places[k] = answer.location;
        found[k] = answer.iso;
      }
      if (shp_IsHeld(places[k])) isos[first + k] = found[k];
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
  const shp_Location location = shp_ElementSearch(*this).Locate(
      {target[0], target[1], target[2]}, std::span(gathered).first(3 * numNodes), found);
  if (!shp_IsHeld(location)) return false;
  for (std::size_t axis = 0; axis < 3; ++axis) iso[axis] = static_cast<float>(found[axis]);
  return true;
}
