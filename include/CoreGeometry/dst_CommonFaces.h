// dst_CommonFaces.h: faces of solids whose other side lies in another part
#pragma once

#include <CoreGeometry/dst_Faces.h>

/// A face of a part that an element of another part has, too.
struct dst_CommonFace {
  unsigned part = 0; ///< the other one
  unsigned word = 0; ///< of the face in this part
};

/// Faces of each own part that are outside in it, and outside in another part as well: by other part, and for two parts in
/// the same order on both sides, that of the numbers of their nodes. A face of more than two parts stands there for each.
///
/// Cost       bme_ComputeFaces in each part, and 20 bytes for each face between shared nodes.
CORE_GEOMETRY_DISTRIBUTED_API dst_OfParts<std::vector<dst_CommonFace>>
dst_FindCommonFaces(const dst_Mesh& mesh);
