// odiC_PutMesh.h: stores a mesh, and with it what a model keeps about the one that had its name
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/cow_String.h>
#include <vector>

class bme_Mesh;
class cls_Database;
class cls_WritePass;

/// What could not follow a mesh that took the place of another one.
struct odiC_LeftBehind {
  std::vector<cow_String> runs; ///< roots of runs that were removed: of a mesh of other sizes or types
  struct Datum {
    cow_String path, reason; ///< "datums/Wing/hinge", "node 30 is not in the mesh"
  };
  std::vector<Datum> datums; ///< coordinate systems that keep the frame they had
};

/// Puts the mesh under its root "meshes/<mesh>". Coordinate systems that follow its nodes are computed again.
CORE_GEOMETRY_API odiC_LeftBehind odiC_PutMesh(const cls_Database& model, cls_WritePass& pass,
                                               const cow_String& root, const bme_Mesh& mesh);
