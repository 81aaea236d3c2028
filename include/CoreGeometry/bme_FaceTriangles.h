// bme_FaceTriangles.h: faces as triangles in flat arrays, and their normals
#pragma once

#include <CoreGeometry/bme_FEMFaceList.h>
#include <optional>

/// Triangles in the order of their faces, oriented like the face: counter-clockwise from outside for solids
/// that are not inverted.
struct bme_FaceTriangles {
  std::vector<int> nodes;      ///< three mesh node indices each
  std::vector<unsigned> words; ///< of each triangle, the face it is part of: bme_ElementOf, bme_FaceOf
};

/// Cuts faces into triangles, through their corners only or through mid nodes too: a quadrilateral of 4, 8 or
/// 9 nodes becomes 2, 6 or 8 triangles, a triangle of 3 or 6 nodes 1 or 4. Triangles with a repeated node are
/// left out.
CORE_GEOMETRY_API bme_FaceTriangles bme_Triangulate(const bme_FEMFaceList& faces,
                                                    bme_NodesOf which = bme_NodesOf::Corners);

/// Unit normals, three values per face, zero for a face without area; as bme_Mesh::ComputeFaceNorml, reversed
/// for the back of a shell. A node that is not in the mesh is reported as an error, and the result is empty.
CORE_GEOMETRY_API std::optional<std::vector<float>> bme_ComputeNormals(const bme_FEMFaceList& faces);
