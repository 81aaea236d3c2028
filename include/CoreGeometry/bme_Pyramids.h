// bme_Pyramids.h: classes of pyramids, which are collapsed hexahedra
#pragma once

#include <CoreGeometry/bme_ElementClass.h>

/// Number of nodes of the pyramids that a class is of, 5 or 13; 0 when it is of anything else.
///
/// A pyramid is a row of a hexahedron of 8 or 20 nodes: its base is face 0, and every node on the opposite face
/// is the apex. The category label says that pyramids are meant, by a piece "collapsed PYRAMID5" before the name;
/// a class whose rows are not all collapsed so is of hexahedra, whatever its category says.
/// Cost       one pass over the rows where the category says so.
CORE_GEOMETRY_API int bme_PyramidNodes(const bme_ElementClass& elements);

/// The category label of a class of pyramids of that many nodes; `folder` may be empty.
CORE_GEOMETRY_API cow_String bme_PyramidCategory(const cow_String& folder, const cow_String& name,
                                                 int numNodes);

/// The category label without the piece that says that a class is of pyramids.
CORE_GEOMETRY_API cow_String bme_PlainCategory(const bme_ElementClass& elements);
