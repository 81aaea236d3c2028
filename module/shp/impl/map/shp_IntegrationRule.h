// shp_IntegrationRule.h: where the integration points of an element stand
#pragma once

#include "shp_NodePattern.h"

#include <vector>

/// Integration points of a family, and the functions that values at them determine.
///
/// Points of tensor rules run fastest along xi, then eta, then zeta; point k of a triangle or tetrahedron is
/// the one nearest to node k where there is one; wedges have the points of the triangle first, then zeta.
struct shp_IntegrationRule {
  shp_Family family;
  int numPoints;
  shp_ShortList<int, 2> onlyWithBits; ///< for keys with one of these bits; empty: for all
  std::array<int, 3> counts;          ///< points in each direction; of a simplex the points of its rule first

  std::vector<shp_IsoPoint> Points() const;
  /// Values at a point of the functions that extrapolation from this rule reproduces.
  std::vector<double> Functions(const shp_IsoPoint& point) const;
};

/// True when the integration points are the nodes.
bool shp_HasIntPtsAtNodes(const shp_Options& options) noexcept;

/// Static data; null for rules at the nodes, for single nodes, and for counts that the family does not know.
const shp_IntegrationRule* shp_FindIntegrationRule(const shp_Options& options) noexcept;
