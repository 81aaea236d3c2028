// exo_Pyramids.h: pyramids of models that were stored before pyramids had a shape
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/bme_Mesh.h>

/// Converts classes without a shape, whose type is an Exodus II name of pyramids, to classes of pyramids as
/// in bme_Pyramids.h. The rest of a class stays. Returns the number of elements; the mesh is modified only
/// when there are such classes.
/// only when there are such classes.
CORE_GEOMETRY_EXCHANGE_API long long exo_ConvertPyramids(bme_Mesh& mesh);
