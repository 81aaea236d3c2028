// bme_Pyramids.h: classes of pyramids, which are collapsed hexahedra
#pragma once

#include <CoreGeometry/bme_ElementClass.h>

/// Number of nodes of the pyramids in a class, 5 or 13; 0 for a class of other elements.
///
/// A pyramid is stored as a hexahedron of 8 or 20 nodes: its base is face 0, and all nodes of the opposite
/// face are the apex. A part "collapsed PYRAMID5" before the name marks such a class in its category label; a
/// class in which some rows are not collapsed like this has hexahedra, whatever its category.
/// Cost       one pass over the connectivity of classes with this mark.
CORE_GEOMETRY_API int bme_PyramidNodes(const bme_ElementClass& elements);

/// The category label of a class of pyramids of that many nodes; `folder` may be empty.
CORE_GEOMETRY_API cow_String bme_PyramidCategory(const cow_String& folder, const cow_String& name,
                                                 int numNodes);

/// The category label without the mark of pyramids.
CORE_GEOMETRY_API cow_String bme_PlainCategory(const bme_ElementClass& elements);
