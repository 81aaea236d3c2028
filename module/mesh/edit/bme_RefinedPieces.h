// bme_RefinedPieces.h: parts of half the size, in the iso coordinates of an element
#pragma once

#include <CoreGeometry/shp_Topology.h>

/// Places in the iso coordinates of an element: the corners of a piece of it, or all its nodes.
using bme_Piece = std::vector<shp_IsoPoint>;

inline shp_IsoPoint bme_Middle(const shp_IsoPoint& a, const shp_IsoPoint& b) {
  return {(a[0] + b[0]) / 2, (a[1] + b[1]) / 2, (a[2] + b[2]) / 2};
}

/// Corners of the parts of an element with these corners: 2 of lines, 4 of surfaces, 8 of solids. Of tetrahedra 4, and
/// three times 4: those about each diagonal of the octahedron between them, from the middles of the edges (0, 1), (1, 2)
/// and (0, 2) to those of the opposite ones.
std::vector<bme_Piece> bme_RefinedPieces(const bme_Piece& corners, int numDims);
