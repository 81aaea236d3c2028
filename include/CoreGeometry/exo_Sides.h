// exo_Sides.h: the sides of Exodus II elements as faces and edges of ours
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/exo_NodeOrder.h>
#include <CoreGeometry/res_SetType.h>

/// How the sides of surface elements count. Solids, lines and points have one way each.
enum class exo_SideForm {
  Edges,         ///< the edges alone
  FacesThenEdges ///< the two sides of the face, then the edges
};

/// One side of an Exodus II element on an element of ours.
struct exo_Side {
  res_SetTypeEnm kind = res_SURFACE_ELEMENT; ///< SURFACE_FACET, SURFACE_EDGE, or no side that we know
  int facet = 0;                             ///< facet id, see rgnC_Facet.h
};

/// The sides in the order of the file format, side 1 first. `order` is the position in the file's element of
/// each of our nodes, empty when they are the same. A side whose corners are no face or edge of the shape is
/// of the kind SURFACE_ELEMENT. Found by comparing corners.
CORE_GEOMETRY_EXCHANGE_API std::vector<exo_Side>
exo_FindSides(exo_Cell cell, exo_SideForm form, std::span<const int> order, const shp_Topology& shape);

/// How many nodes of the file's element each of its sides has; all of them where the side is none of ours. `order` as
/// above.
CORE_GEOMETRY_EXCHANGE_API std::vector<int>
exo_CountSideNodes(std::span<const exo_Side> sides, std::span<const int> order, const shp_Topology& shape);
