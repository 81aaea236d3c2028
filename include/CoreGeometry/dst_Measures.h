// dst_Measures.h: box and measures of a split mesh
#pragma once

#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/dst_Model.h>

/// Box of all nodes, with the bits of bme_Mesh::GetBBox of the whole mesh, when its coordinates are finite. All ranks
/// call it and have the result.
CORE_GEOMETRY_DISTRIBUTED_API gsl_BBox dst_GetBBox(const dst_Mesh& mesh);

/// Measures of all elements, or of some. All ranks call it and have the result: every number has the bits of
/// bme_CalculateMeasures of the whole mesh, and the lists have its order. The functions of the options are asked for
/// elements of parts.
///
/// Errors     as bme_CalculateMeasures and dst_Elements.
/// Cost       that of the parts; then some 25 KB of integers are added over all ranks, and the lists go to all of them.
CORE_GEOMETRY_DISTRIBUTED_API bme_Measures dst_CalculateMeasures(const dst_Mesh& mesh,
                                                                 const bme_MeasureOptions& options = {});
CORE_GEOMETRY_DISTRIBUTED_API bme_Measures dst_CalculateMeasures(const dst_Mesh& mesh,
                                                                 const dst_Elements& elements,
                                                                 const bme_MeasureOptions& options = {});
