// rgnC_Facet.h: meaning of the facet ids of a subset
#pragma once

#include <CoreGeometry/shp_Topology.h>

/// A face of an element as a facet. The one face of a surface element can be meant from either side.
struct rgnC_Facet {
  int face = 0;
  bool isBack = false; ///< the side from which the nodes of the face are in clockwise order
  friend bool operator==(const rgnC_Facet&, const rgnC_Facet&) = default;
};

/// Facet ids of SURFACE_FACET subsets: the face, counted from 0; for its back the number of faces is added,
/// so the two sides of a shell are 0 and 1.
inline int rgnC_FacetId(const shp_Topology& shape, const rgnC_Facet& facet) noexcept {
  return facet.face + (facet.isBack ? shape.NumFaces() : 0);
}
inline rgnC_Facet rgnC_FacetOf(const shp_Topology& shape, int facetId) noexcept {
  const bool isBack = facetId >= shape.NumFaces();
  return {facetId - (isBack ? shape.NumFaces() : 0), isBack};
}

/// An edge of an element, addressed by one of its faces.
struct rgnC_EdgeFacet {
  int face = 0, edge = 0;
  friend bool operator==(const rgnC_EdgeFacet&, const rgnC_EdgeFacet&) = default;
};

/// Facet ids of SURFACE_EDGE subsets: bits of the masks of edges, see shp_InverseTopoTable.h.
constexpr int rgnC_EdgeFacetId(const rgnC_EdgeFacet& edge) noexcept { return 4 * edge.face + edge.edge; }
constexpr rgnC_EdgeFacet rgnC_EdgeFacetOf(int facetId) noexcept { return {facetId / 4, facetId % 4}; }
