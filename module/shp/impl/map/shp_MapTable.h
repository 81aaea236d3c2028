// shp_MapTable.h: what the fast form of an element's map is made of
#pragma once

#include "shp_Basis.h"

/// The map of a node pattern, arranged for many evaluations with the nodes of one element.
///
/// Every function is a product of a plane function, in the first two directions or all of a simplex, and a
/// layer function of the remaining direction. Patterns that are full grids have Lagrange factors; for others
/// the corrections of shp_Basis are applied to the node coordinates, once an element, instead of to the
/// functions.
struct shp_MapTable {
  /// Multilinear maps have the powers 1, xi, eta, xi eta and these times zeta, or some of them; quadratic
  /// ones are those of simplices with all middles.
  enum class Form { Affine, Multilinear, Quadratic, Products };

  shp_Family family = shp_Family::None;
  std::size_t numDims = 0, numNodes = 0, numCorners = 0, numSimplexCorners = 0;
  Form form = Form::Products;
  bool isWide = false;               ///< evaluated with AVX2, which this processor has
  shp_IsoPoint centre{};             ///< mean of the corners
  std::array<bool, 3> isParabolic{}; ///< direction, or simplex, with quadratic Lagrange factors
  std::array<bool, 3> isAbsent{};    ///< direction without factor
  std::array<std::uint8_t, shp_Basis::kMaxNodes> plane{}, layer{};
  std::vector<shp_Basis::Correction> corrections{}; ///< coordinates[by] -= weight * coordinates[node]

  /// The element lies in the convex hull of control points (Bernstein's) that stand at the nodes of the
  /// smallest full pattern; each is a weighted sum of values at those nodes, or of the element's own nodes.
  struct Term {
    std::uint8_t control, source;
    double weight;
  };
  /// The derivatives along an axis lie in the hull of the differences of neighbours over their distance.
  struct Neighbours {
    std::uint8_t axis, from, to;
    double perLength;
  };
  std::span<const shp_IsoPoint> controlPlaces{};
  std::vector<Term> controlsFromPlaces{}, controlsFromNodes{};
  std::vector<Neighbours> neighbours{};
};

/// Static data.
const shp_MapTable& shp_MapTableOf(const shp_NodePattern& pattern);
