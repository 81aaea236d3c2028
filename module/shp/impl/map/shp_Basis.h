// shp_Basis.h: the shape functions of a node pattern
#pragma once

#include "shp_NodePattern.h"

#include <vector>

/// Shape functions by one construction for every pattern.
///
/// Each node starts with a product of factors that is one at the node: linear in the directions in which the
/// node stands at an end, a bubble in those in which it stands in the middle. From it the functions of the
/// nodes with more bubbles are subtracted, as often as the product is not zero there. That gives the Lagrange
/// functions of full patterns, the serendipity functions of patterns without centres, and the transition
/// functions of those with some mid nodes only.
class shp_Basis {
public:
  static constexpr std::size_t kMaxNodes = shp_NodePattern::kMaxNodes;
  using Values = std::array<double, kMaxNodes>;
  using Derivatives = std::array<shp_IsoPoint, kMaxNodes>;

  explicit shp_Basis(const shp_NodePattern& pattern);

  int NumNodes() const noexcept { return pattern_->numNodes; }
  const shp_NodePattern& Pattern() const noexcept { return *pattern_; }
  void Evaluate(const shp_IsoPoint& iso, Values& values) const noexcept;
  void Evaluate(const shp_IsoPoint& iso, Values& values, Derivatives& derivatives) const noexcept;

  // ask: the construction
  using Place = std::uint8_t;
  /// values[node] -= weight * values[by]
  struct Correction {
    Place node, by;
    double weight;
  };
  /// Of each direction: 0 at the lower end, 1 in the middle, 2 at the upper end, 3 for a direction that the
  /// pattern does not have. Of patterns with a simplex its function (corners, then edges) and that of zeta.
  const std::array<Place, 3>& PlacesOf(std::size_t node) const noexcept { return factors_[node]; }
  int NumSimplexCorners() const noexcept { return numSimplexCorners_; } ///< 0 without a simplex
  int NumBubbles(std::size_t node) const noexcept { return numBubbles_[node]; }
  const std::vector<Correction>& Corrections() const noexcept { return corrections_; } ///< in their order
  void Products(const shp_IsoPoint& iso, Values& values) const noexcept;               ///< before corrections

private:
  template<bool withDerivatives>
  void EvaluateProducts(const shp_IsoPoint& iso, Values& values, Derivatives* derivatives) const noexcept;
  template<bool withDerivatives>
  void EvaluateAll(const shp_IsoPoint& iso, Values& values, Derivatives* derivatives) const noexcept;
  void PlaceNode(std::size_t node);

  const shp_NodePattern* pattern_;
  int numSimplexCorners_ = 0; ///< 3 or 4 when the first directions are those of a triangle or tetrahedron
  bool hasLayers_ = false;    ///< a direction beside the simplex
  std::array<std::array<Place, 3>, kMaxNodes> factors_{};
  std::array<int, kMaxNodes> numBubbles_{};
  std::vector<Correction> corrections_; ///< those of nodes with more bubbles first
};

/// Static data.
const shp_Basis& shp_BasisOf(const shp_NodePattern& pattern);
