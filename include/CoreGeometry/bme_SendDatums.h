// bme_SendDatums.h: datums of a mesh that was edited
#pragma once

#include <CoreGeometry/bme_Renumbering.h>

class dtu_DatumContainer;
class gsl_Matrix;

/// The datums of the old mesh as those of the new one, moved by the matrix, which is in the coordinates of the meshes.
/// Systems that follow nodes follow them under their new labels; those whose nodes are gone stay where they are, as
/// systems that follow nothing, with a remark.
CORE_GEOMETRY_API dtu_DatumContainer bme_SendDatums(const dtu_DatumContainer& datums,
                                                    const bme_Renumbering& renumbering,
                                                    const bme_Mesh& oldMesh, const bme_Mesh& newMesh,
                                                    const gsl_Matrix& matrix,
                                                    std::vector<cow_String>& remarks);
