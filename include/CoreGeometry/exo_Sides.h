// exo_Sides.h: the sides of Exodus II elements as faces and edges of ours
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/exo_NodeOrder.h>
#include <CoreGeometry/res_SetType.h>

/// Numbering of the sides of surface elements. Solids, lines and points have only one numbering.
enum class exo_SideForm {
  Edges,         ///< the edges alone
  FacesThenEdges ///< the two sides of the face, then the edges
};

/// One side of an Exodus II element as a side of our element.
struct exo_Side {
  res_SetTypeEnm kind = res_SURFACE_ELEMENT; ///< SURFACE_FACET, SURFACE_EDGE, or none of ours
  int facet = 0;                             ///< facet id, see rgnC_Facet.h
};

/// The sides in the order of the file format, side 1 first. `order` gives, for each of our nodes, its
/// position in the file's element; it is empty when they are the same. A side whose corners are no face or
/// edge of the shape has the kind SURFACE_ELEMENT. Found by comparing corners.
CORE_GEOMETRY_EXCHANGE_API std::vector<exo_Side>
exo_FindSides(exo_Cell cell, exo_SideForm form, std::span<const int> order, const shp_Topology& shape);

/// Number of nodes of each side of the file's element; all nodes of the element for a side that is none of
/// ours. `order` as above.
CORE_GEOMETRY_EXCHANGE_API std::vector<int>
exo_CountSideNodes(std::span<const exo_Side> sides, std::span<const int> order, const shp_Topology& shape);
