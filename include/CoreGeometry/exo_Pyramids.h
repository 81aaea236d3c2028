// exo_Pyramids.h: pyramids of models that were stored when they had no shape
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/bme_Mesh.h>

/// Makes classes of pyramids, see bme_Pyramids.h, of the classes whose type is a name of pyramids in Exodus II files
/// and has no shape. Everything else of a class stays. Answers the number of elements; asks the mesh for change
/// only when there are such classes.
CORE_GEOMETRY_EXCHANGE_API long long exo_ConvertPyramids(bme_Mesh& mesh);
