#include "shp_LocateSearch.h"

namespace shp_LocateSearch {
namespace {
using State = shp_MappedElement::State;
using shp_Map::Dot, shp_Map::Minus;
constexpr std::size_t kMaxControls = shp_Basis::kMaxNodes;

/// Part of an element: the image of the family's own domain under iso = origin + sum of local[k] *
/// columns[k].
struct Part {
  shp_IsoPoint origin{};
  std::array<shp_IsoPoint, 3> columns{};

  shp_IsoPoint At(const shp_IsoPoint& local) const {
    shp_IsoPoint iso = origin;
    for (std::size_t k = 0; k < 3; ++k)
      for (std::size_t axis = 0; axis < 3; ++axis) iso[axis] += local[k] * columns[k][axis];
    return iso;
  }
  /// Local coordinates by the inverse of At; unused directions have unit columns.
  shp_IsoPoint Local(const shp_IsoPoint& iso) const {
    const shp_Vector r = Minus(iso, origin), bc = shp_Map::Cross(columns[1], columns[2]);
    const double determinant = Dot(columns[0], bc);
    return {Dot(r, bc) / determinant, Dot(r, shp_Map::Cross(columns[2], columns[0])) / determinant,
            Dot(r, shp_Map::Cross(columns[0], columns[1])) / determinant};
  }
};

class Search {
public:
  Search(const shp_MappedElement& element, const shp_Vector& target, double tolerance)
      : element_(element), table_(element.Table()), target_(target), tolerance_(tolerance) {}

  std::optional<Hit> Run(const std::optional<shp_IsoPoint>& elsewhere) {
    constexpr int kMaxParts = 400;
    constexpr std::size_t kMaxWaiting = 96;
    std::array<Part, kMaxWaiting> waiting;
    std::size_t numWaiting = 1;
    waiting[0].columns = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (int visited = 0; numWaiting > 0 && visited < kMaxParts; ++visited) {
      const Part part = waiting[--numWaiting];
      PlaceControls(part, 1);
      if (!BoxHoldsTarget()) continue;
      State state;
      shp_IsoPoint iso = part.At(table_.centre);
      const bool isKnown = visited == 0 && elsewhere;
      bool found = isKnown;
      if (isKnown)
        iso = *elsewhere;
      else
        found = Converge(iso, state);
      if (found && !isKnown) {
        const double excess = shp_Map::Excess(table_, table_.numDims, iso);
        if (excess <= tolerance_)
          return Hit{iso, excess, element_.IsSoundAt(state) || IsSoundBeside(element_, iso)};
      }
      const shp_IsoPoint local = part.Local(iso);
      if (IsSeparate(part, local)) continue;
      if (found && IsInjective(part, local)) continue;
      if (numWaiting + 2 <= kMaxWaiting) Split(part, waiting[numWaiting], waiting[numWaiting + 1]);
      numWaiting += 2;
      if (numWaiting > kMaxWaiting) return {};
    }
    return {};
  }

private:
  /// Control points of a part scaled about its centre, relative to the target.
  void PlaceControls(const Part& part, double scale) {
    std::array<shp_Vector, kMaxControls> values;
    State state;
    for (std::size_t k = 0; k < table_.controlPlaces.size(); ++k) {
      shp_IsoPoint local;
      for (std::size_t axis = 0; axis < 3; ++axis)
        local[axis] = table_.centre[axis] + scale * (table_.controlPlaces[k][axis] - table_.centre[axis]);
      element_.Evaluate(part.At(local), state);
      values[k] = Minus(state.position, target_);
    }
    for (std::size_t k = 0; k < table_.controlPlaces.size(); ++k) controls_[k] = {};
    for (const auto& [control, source, weight] : table_.controlsFromPlaces)
      for (std::size_t axis = 0; axis < 3; ++axis) controls_[control][axis] += weight * values[source][axis];
  }

  bool BoxHoldsTarget() const {
    constexpr double kMargin = shp_MappedElement::kResidual;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      double low = controls_[0][axis], high = low;
      for (std::size_t k = 1; k < table_.controlPlaces.size(); ++k) {
        low = std::min(low, controls_[k][axis]);
        high = std::max(high, controls_[k][axis]);
      }
      if (!(low <= kMargin && high >= -kMargin)) return false;
    }
    return true;
  }

  /// True when a plane at the target, facing from the nearest place of the part, has all control points on
  /// its other side.
  bool IsSeparate(const Part& part, const shp_IsoPoint& local) const {
    State state;
    element_.Evaluate(part.At(Clamped(local)), state);
    const shp_Vector direction = Minus(target_, state.position);
    const double length = shp_Map::Length(direction);
    double highest = -std::numeric_limits<double>::infinity();
    for (std::size_t k = 0; k < table_.controlPlaces.size(); ++k)
      highest = std::max(highest, Dot(controls_[k], direction));
    return highest < -shp_MappedElement::kResidual * length;
  }

  shp_IsoPoint Clamped(shp_IsoPoint local) const {
    const std::size_t numSimplexDims = table_.numSimplexCorners > 0 ? table_.numSimplexCorners - 1 : 0;
    for (std::size_t axis = numSimplexDims; axis < table_.numDims; ++axis)
      local[axis] = std::clamp(local[axis], -1.0, 1.0);
    double sum = 0;
    for (std::size_t axis = 0; axis < numSimplexDims; ++axis)
      sum += local[axis] = std::clamp(local[axis], 0.0, 1.0);
    if (sum > 1)
      for (std::size_t axis = 0; axis < numSimplexDims; ++axis) local[axis] /= sum;
    return local;
  }

  /// By how much the part must be scaled about its centre to reach a place.
  double ScaleTo(const shp_IsoPoint& local) const {
    const std::size_t numSimplexDims = table_.numSimplexCorners > 0 ? table_.numSimplexCorners - 1 : 0;
    double scale = 1, sum = 0;
    for (std::size_t axis = numSimplexDims; axis < table_.numDims; ++axis)
      scale = std::max(scale, std::abs(local[axis]));
    const auto n = static_cast<double>(table_.numSimplexCorners);
    for (std::size_t axis = 0; axis < numSimplexDims; ++axis) {
      scale = std::max(scale, 1 - n * local[axis]);
      sum += local[axis];
    }
    return numSimplexDims > 0 ? std::max(scale, 1 - n * (1 - sum)) : scale;
  }

  /// True when no two points of the part, widened to hold a place, have one image: all derivatives are within
  /// less than one of those at the centre, seen in the directions of these.
  bool IsInjective(const Part& part, const shp_IsoPoint& local) {
    constexpr double kLargestScale = 8;
    const double scale = ScaleTo(local) * (1 + 1e-9);
    if (!(scale < kLargestScale)) return false;
    PlaceControls(part, scale);
    State state;
    element_.Evaluate(part.At(table_.centre), state);
    State ofPart{state.position, {}};
    for (std::size_t k = 0; k < table_.numDims; ++k)
      for (std::size_t j = 0; j < table_.numDims; ++j)
        for (std::size_t axis = 0; axis < 3; ++axis)
          ofPart.columns[k][axis] += part.columns[k][j] * state.columns[j][axis];
    for (const auto& [axis, from, to, perLength] : table_.neighbours) {
      shp_Vector slope = Minus(controls_[to], controls_[from]), seen;
      for (double& value : slope) value *= perLength / scale;
      element_.Step(ofPart, slope, seen);
      seen[axis] -= 1;
      if (!(std::abs(seen[0]) + std::abs(seen[1]) + std::abs(seen[2]) < 1)) return false;
    }
    return true;
  }

  /// Damped iteration; true when it comes to rest at the target.
  bool Converge(shp_IsoPoint& iso, State& state) const {
    constexpr int kMaxRounds = 20, kMaxHalvings = 8;
    constexpr double kLongestStep = 1.5, kShortestStep = 1e-12;
    element_.Evaluate(iso, state);
    shp_Vector residual = Minus(target_, state.position);
    double error = Dot(residual, residual);
    constexpr double kEnough = shp_MappedElement::kResidual * shp_MappedElement::kResidual;
    for (int round = 0; round < kMaxRounds; ++round) {
      shp_Vector step;
      element_.Step(state, residual, step);
      double longest = std::max({std::abs(step[0]), std::abs(step[1]), std::abs(step[2])});
      if (!std::isfinite(longest)) return error <= kEnough; // at the apex of a pyramid no step is
      double factor = longest > kLongestStep ? kLongestStep / longest : 1;
      State next;
      shp_IsoPoint nextIso;
      shp_Vector nextResidual;
      double nextError = 0;
      for (int halvings = 0;; factor /= 2, ++halvings) {
        for (std::size_t axis = 0; axis < 3; ++axis) nextIso[axis] = iso[axis] + factor * step[axis];
        element_.Evaluate(nextIso, next);
        nextResidual = Minus(target_, next.position);
        nextError = Dot(nextResidual, nextResidual);
        if (nextError < error || halvings == kMaxHalvings) break;
      }
      // the last steps change nothing but the rounding of the residual
      if (!(nextError < error)) return longest < 1e-8 && error <= kEnough;
      iso = nextIso;
      state = next;
      residual = nextResidual;
      error = nextError;
      longest *= factor;
      if (longest < kShortestStep) return error <= kEnough;
    }
    return false;
  }

  /// Halves a part across its longest direction; the half nearer to the target comes last.
  void Split(const Part& part, Part& further, Part& nearer) const {
    State state;
    element_.Evaluate(part.At(table_.centre), state);
    const auto length = [&](const shp_IsoPoint& direction, double factor) {
      shp_Vector image{};
      for (std::size_t j = 0; j < table_.numDims; ++j)
        for (std::size_t axis = 0; axis < 3; ++axis) image[axis] += direction[j] * state.columns[j][axis];
      // the extent in iso coordinates decides where the element is flat
      return factor * (shp_Map::Length(image) + 1e-3 * shp_Map::Length(direction));
    };
    const std::size_t numSimplexDims = table_.numSimplexCorners > 0 ? table_.numSimplexCorners - 1 : 0;
    std::size_t first = 0, second = 0; // corners of the simplex, or twice the direction
    double longest = -1;
    for (std::size_t axis = numSimplexDims; axis < table_.numDims; ++axis)
      if (const double l = length(part.columns[axis], 2); l > longest) {
        longest = l;
        first = second = axis;
      }
    for (std::size_t b = 1; b <= numSimplexDims; ++b)
      for (std::size_t a = 0; a < b; ++a) {
        const shp_IsoPoint edge =
            a == 0 ? part.columns[b - 1] : Minus(part.columns[b - 1], part.columns[a - 1]);
        if (const double l = length(edge, 1); l > longest) {
          longest = l;
          first = a;
          second = b;
        }
      }
    Part low = part, high = part;
    if (first == second) {
      for (std::size_t k = 0; k < 3; ++k) {
        const double half = part.columns[first][k] / 2;
        low.origin[k] -= half;
        high.origin[k] += half;
        low.columns[first][k] = high.columns[first][k] = half;
      }
    } else {
      // the second corner moves to the middle of the edge, or the first does
      for (std::size_t k = 0; k < 3; ++k) {
        const double a = first == 0 ? 0 : part.columns[first - 1][k], b = part.columns[second - 1][k];
        const double middle = (a + b) / 2;
        low.columns[second - 1][k] = middle;
        if (first > 0) {
          high.columns[first - 1][k] = middle;
        } else {
          high.origin[k] += middle;
          for (std::size_t corner = 0; corner < numSimplexDims; ++corner) high.columns[corner][k] -= middle;
        }
      }
    }
    const auto distance = [&](const Part& half) {
      element_.Evaluate(half.At(table_.centre), state);
      const shp_Vector gap = Minus(state.position, target_);
      return Dot(gap, gap);
    };
    const bool isLowNearer = distance(low) < distance(high);
    further = isLowNearer ? high : low;
    nearer = isLowNearer ? low : high;
  }

  const shp_MappedElement& element_;
  const shp_MapTable& table_;
  const shp_Vector target_;
  const double tolerance_;
  std::array<shp_Vector, kMaxControls> controls_;
};
} // namespace

std::optional<Hit> Find(const shp_MappedElement& element, const shp_Vector& target, double tolerance,
                        const std::optional<shp_IsoPoint>& elsewhere) {
  return Search(element, target, tolerance).Run(elsewhere);
}

namespace {
/// Another corner is at the same place.
bool IsCollapsedAt(const shp_MappedElement& element, const shp_IsoPoint& iso) {
  State here, there;
  element.Evaluate(iso, here);
  constexpr double kSame = shp_MappedElement::kResidual;
  const auto corners = shp_FindFacts(element.Table().family)->corners;
  return std::ranges::count_if(corners,
                               [&](const shp_IsoPoint& corner) {
                                 element.Evaluate(corner, there);
                                 return shp_Map::Length(Minus(there.position, here.position)) <= kSame;
                               })
         > 1;
}
} // namespace

bool IsSoundBeside(const shp_MappedElement& element, const shp_IsoPoint& iso) {
  constexpr double kStep = 0x1p-6; // of the way to the centre
  const shp_MapTable& table = element.Table();
  const auto corners = shp_FindFacts(table.family)->corners;
  if (std::ranges::none_of(corners,
                           [&](const shp_IsoPoint& corner) { return IsCollapsedAt(element, corner); }))
    return false;
  shp_IsoPoint inner = iso;
  for (std::size_t axis = 0; axis < 3; ++axis) inner[axis] += kStep * (table.centre[axis] - iso[axis]);
  State state;
  element.Evaluate(inner, state);
  return element.IsSoundAt(state);
}

bool IsDegenerate(const shp_MappedElement& element) {
  const shp_MapTable& table = element.Table();
  State state;
  element.Evaluate(table.centre, state);
  if (!element.IsSoundAt(state)) return true;
  if (table.form == shp_MapTable::Form::Affine) return false;
  return std::ranges::any_of(shp_FindFacts(table.family)->corners, [&](const shp_IsoPoint& corner) {
    element.Evaluate(corner, state);
    return !element.IsSoundAt(state) && !(IsCollapsedAt(element, corner) && IsSoundBeside(element, corner));
  });
}
} // namespace shp_LocateSearch
