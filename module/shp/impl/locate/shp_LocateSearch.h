// shp_LocateSearch.h: the thorough way from a point to its iso coordinates
#pragma once

#include "shp_MappedElement.h"

#include <optional>

namespace shp_LocateSearch {
/// A place in the element, within the tolerance of its bounds, that maps to the target.
struct Hit {
  shp_IsoPoint iso;
  double excess;
  bool isSound; ///< the map has a volume, area or length there, and a positive one
};

/// Halves the element until each part is shown not to contain the target, or an iteration from its middle
/// finds it. A part does not contain the target when this lies outside the hull of the part's control
/// points, or when the iteration finds it elsewhere and the derivatives show that the map takes no point
/// twice in a region that holds both. `elsewhere` is a place outside the bounds known to map to the target.
std::optional<Hit> Find(const shp_MappedElement& element, const shp_Vector& target, double tolerance,
                        const std::optional<shp_IsoPoint>& elsewhere);

/// True when the map is flat or inside out at the centre or at a corner. Where corners are collapsed to one, as at
/// the apex of a pyramid, it is looked at beside them.
bool IsDegenerate(const shp_MappedElement& element);

/// True when corners of the element are at one place, and the map is sound beside a place where it is not.
bool IsSoundBeside(const shp_MappedElement& element, const shp_IsoPoint& iso);
} // namespace shp_LocateSearch
