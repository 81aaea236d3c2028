// exo_NodeOrder.h: node positions and node orders of Exodus II elements and VTK cells, and the way to ours
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/shp_Topology.h>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// Forms of Exodus II elements.
enum class exo_Cell { None, Point, Line, Triangle, Quadrilateral, Tetrahedron, Pyramid, Wedge, Hexahedron };

/// Iso coordinates of the nodes of an Exodus II element in the order of its file format, in the frames that
/// shp_Topology::NodeCoordinates uses; empty when the format has no such element.
CORE_GEOMETRY_EXCHANGE_API std::vector<shp_IsoPoint> exo_NodeCoordinates(exo_Cell cell, int numNodes);

/// The corners of a cell, then for each word of `mids`, such as "01 12 20", the mean of the corners that it
/// names.
CORE_GEOMETRY_EXCHANGE_API std::vector<shp_IsoPoint> exo_CellNodes(exo_Cell cell, std::string_view mids);

/// For each of our nodes its position among `theirs`; several of ours may be at one place. No value when the
/// two sets of points differ.
CORE_GEOMETRY_EXCHANGE_API std::optional<std::vector<int>>
exo_MatchNodes(std::span<const shp_IsoPoint> theirs, std::span<const shp_IsoPoint> ours);

/// Node positions of a hexahedron whose upper face is collapsed to the apex of a pyramid.
CORE_GEOMETRY_EXCHANGE_API std::vector<shp_IsoPoint> exo_Collapsed(std::span<const shp_IsoPoint> ours);

/// For each node of a shape, whose nodes are at `ours`, its position in the Exodus II element with that many
/// nodes; no value when the two sets of points differ. Found by comparing coordinates.
CORE_GEOMETRY_EXCHANGE_API std::optional<std::vector<int>>
exo_FindNodeOrder(exo_Cell cell, std::span<const shp_IsoPoint> ours, int numNodes);
/// The same for the element with as many nodes as the shape.
CORE_GEOMETRY_EXCHANGE_API std::optional<std::vector<int>>
exo_FindNodeOrder(exo_Cell cell, std::span<const shp_IsoPoint> ours);

/// The one cell whose nodes are at those of the shape; None when there is none.
CORE_GEOMETRY_EXCHANGE_API exo_Cell exo_FindCell(std::span<const shp_IsoPoint> ours);

/// "HEX", "TETRA" and so on: the type name that the format uses, without a node count.
CORE_GEOMETRY_EXCHANGE_API std::string_view exo_CellName(exo_Cell cell);

/// A VTK cell whose nodes are at those of a shape.
struct exo_VtkCell {
  int type; ///< VTK's number
  std::string_view name;
  std::vector<int> order; ///< position in the cell of each node of the shape
};
/// Node order of wedges in VTK, which depends on the release: from 9.7 on all wedges are numbered as ours;
/// 9.5 and 9.6 number the base of the linear wedge as seen from outside, 9.1 that of all four kinds.
enum class exo_VtkWedges { Plain, LinearMirrored, Mirrored };
CORE_GEOMETRY_EXCHANGE_API std::optional<exo_VtkCell>
exo_FindVtkCell(std::span<const shp_IsoPoint> ours, exo_VtkWedges wedges = exo_VtkWedges::Plain);

/// A cell type of VTK, by its number.
struct exo_VtkNodes {
  std::string_view name; ///< "VTK_WEDGE"
  exo_Cell cell;
  std::vector<shp_IsoPoint> nodes; ///< their positions, in the cell's order
};
/// No value for a cell type whose nodes have no fixed positions.
CORE_GEOMETRY_EXCHANGE_API std::optional<exo_VtkNodes>
exo_VtkNodesOf(int type, exo_VtkWedges wedges = exo_VtkWedges::Plain);
