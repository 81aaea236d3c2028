// bme_TypeLike.h: element types of the same kind with other nodes
#pragma once

#include <CoreGeometry/bme_DivideMesh.h>

class shp_Shape;

/// Corners of the shape: the ends of a line, the corners of faces.
std::size_t bme_NumCorners(const shp_Shape& shape);

/// The label of a type of the same kind with so many corners and nodes: that of the name with the other number, without
/// letters at its end that it does not have. Empty when there is none; nex_TextException for a chosen one that is another
/// kind.
cow_String bme_TypeLike(const cow_String& label, std::size_t corners, std::size_t nodes,
                        const bme_TypeChoice& types);
