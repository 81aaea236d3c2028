#include "shp_Basis.h"

#include "shp_NodePatternTable.h"

namespace {
/// A factor or function and its derivatives.
struct Factor {
  double value = 1;
  double slope = 0;
};
struct SimplexFunction {
  double value;
  shp_IsoPoint slope;
};

// Factors of one direction, by where the node stands: at the lower end, in the middle, at the upper end; the
// last is for directions that the pattern does not have.
constexpr std::uint8_t kLower = 0, kMiddle = 1, kUpper = 2, kNone = 3;
constexpr std::array<Factor, 4> Factors(double x) {
  return {{{(1 - x) / 2, -0.5}, {1 - x * x, -2 * x}, {(1 + x) / 2, 0.5}, {1, 0}}};
}
constexpr std::uint8_t PlaceOn(double coordinate) {
  return coordinate < -0.5 ? kLower : coordinate > 0.5 ? kUpper : kMiddle;
}

// Functions of a simplex: one of each corner, then one of each edge.
constexpr std::array<std::array<int, 2>, 6> kEdges = {{{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}};
std::array<SimplexFunction, 10> SimplexFunctions(const shp_IsoPoint& iso, int numCorners) {
  std::array<SimplexFunction, 10> functions;
  const bool solid = numCorners == 4;
  functions[0] = {1 - iso[0] - iso[1] - (solid ? iso[2] : 0.0), {-1, -1, solid ? -1.0 : 0.0}};
  for (std::size_t axis = 0; axis + 1 < static_cast<std::size_t>(numCorners); ++axis) {
    functions[axis + 1] = {iso[axis], {}};
    functions[axis + 1].slope[axis] = 1;
  }
  auto next = static_cast<std::size_t>(numCorners);
  for (std::size_t k = 0; k < (solid ? 6U : 3U); ++k) {
    const SimplexFunction& a = functions[static_cast<std::size_t>(kEdges[k][0])];
    const SimplexFunction& b = functions[static_cast<std::size_t>(kEdges[k][1])];
    SimplexFunction& edge = functions[next++];
    edge.value = 4 * a.value * b.value;
    for (std::size_t axis = 0; axis < 3; ++axis)
      edge.slope[axis] = 4 * (a.slope[axis] * b.value + a.value * b.slope[axis]);
  }
  return functions;
}
} // namespace

shp_Basis::shp_Basis(const shp_NodePattern& pattern) : pattern_(&pattern) {
  const shp_Facts& facts = *shp_FindFacts(pattern.family);
  numSimplexCorners_ = facts.NumSimplexCorners();
  hasLayers_ = facts.HasSimplex() && !facts.IsSimplex();
  const auto numNodes = static_cast<std::size_t>(pattern.numNodes);
  for (std::size_t node = 0; node < numNodes; ++node) PlaceNode(node);
  for (int bubbles = 3; bubbles >= 0; --bubbles)
    for (std::size_t by = 0; by < numNodes; ++by) {
      if (numBubbles_[by] <= bubbles) continue;
      Values products{};
      EvaluateProducts<false>(pattern.coordinates[by], products, nullptr);
      for (std::size_t node = 0; node < numNodes; ++node)
        if (numBubbles_[node] == bubbles && products[node] != 0)
          corrections_.push_back({static_cast<Place>(node), static_cast<Place>(by), products[node]});
    }
}

void shp_Basis::PlaceNode(std::size_t node) {
  const shp_IsoPoint& iso = pattern_->coordinates[node];
  std::array<Place, 3>& factors = factors_[node];
  if (numSimplexCorners_ == 0) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      factors[axis] =
          static_cast<int>(axis) < shp_FindFacts(pattern_->family)->numDims ? PlaceOn(iso[axis]) : kNone;
      numBubbles_[node] += factors[axis] == kMiddle;
    }
    return;
  }
  // the function of the simplex that is one here
  const auto functions = SimplexFunctions(iso, numSimplexCorners_);
  while (functions[factors[0]].value != 1) ++factors[0];
  factors[1] = hasLayers_ ? PlaceOn(iso[2]) : kNone;
  numBubbles_[node] = (factors[0] >= numSimplexCorners_) + (factors[1] == kMiddle);
}

template<bool withDerivatives>
void shp_Basis::EvaluateProducts(const shp_IsoPoint& iso, Values& values,
                                 Derivatives* derivatives) const noexcept {
  const auto numNodes = static_cast<std::size_t>(pattern_->numNodes);
  const std::array<Factor, 4> z = Factors(iso[2]);
  if (numSimplexCorners_ == 0) {
    const std::array<Factor, 4> x = Factors(iso[0]), y = Factors(iso[1]);
    for (std::size_t node = 0; node < numNodes; ++node) {
      const Factor &a = x[factors_[node][0]], &b = y[factors_[node][1]], &c = z[factors_[node][2]];
      values[node] = a.value * b.value * c.value;
      if constexpr (withDerivatives)
        (*derivatives)[node] = {a.slope * b.value * c.value, a.value * b.slope * c.value,
                                a.value * b.value * c.slope};
    }
    return;
  }
  const auto functions = SimplexFunctions(iso, numSimplexCorners_);
  for (std::size_t node = 0; node < numNodes; ++node) {
    const SimplexFunction& f = functions[factors_[node][0]];
    const Factor& c = z[factors_[node][1]];
    values[node] = f.value * c.value;
    if constexpr (withDerivatives)
      (*derivatives)[node] = {f.slope[0] * c.value, f.slope[1] * c.value,
                              hasLayers_ ? f.value * c.slope : f.slope[2]};
  }
}

template<bool withDerivatives>
void shp_Basis::EvaluateAll(const shp_IsoPoint& iso, Values& values,
                            Derivatives* derivatives) const noexcept {
  EvaluateProducts<withDerivatives>(iso, values, derivatives);
  for (const Correction& correction : corrections_) {
    values[correction.node] -= correction.weight * values[correction.by];
    if constexpr (withDerivatives)
      for (std::size_t axis = 0; axis < 3; ++axis)
        (*derivatives)[correction.node][axis] -= correction.weight * (*derivatives)[correction.by][axis];
  }
}

void shp_Basis::Products(const shp_IsoPoint& iso, Values& values) const noexcept {
  EvaluateProducts<false>(iso, values, nullptr);
}

void shp_Basis::Evaluate(const shp_IsoPoint& iso, Values& values) const noexcept {
  EvaluateAll<false>(iso, values, nullptr);
}

void shp_Basis::Evaluate(const shp_IsoPoint& iso, Values& values, Derivatives& derivatives) const noexcept {
  EvaluateAll<true>(iso, values, &derivatives);
}

const shp_Basis& shp_BasisOf(const shp_NodePattern& pattern) {
  using shp_PatternTable::kPatterns;
  static const std::vector<shp_Basis> bases(kPatterns.begin(), kPatterns.end());
  return bases[static_cast<std::size_t>(&pattern - kPatterns.data())];
}
