// bme_RegenerateDatums.h: coordinate systems that follow the nodes of a mesh
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/cow_String.h>
#include <span>
#include <vector>

class bme_Mesh;
class dtu_DatumContainer;

/// Folder of the coordinate systems of each mesh: "datums/<mesh>".
inline constexpr const char* bme_kDatumFolder = "datums/";

/// A coordinate system that keeps its frame, since it cannot be computed from its nodes.
struct bme_LostDatum {
  enum Reason { MISSING_NODES, NOT_FINITE, COLLINEAR_NODES, SEVERAL_INSTANCES };
  int datum;               ///< its identifier
  Reason reason;           ///< SEVERAL_INSTANCES: its nodes belong to more than one part instance
  std::vector<int> labels; ///< nodes that are missing or not finite; otherwise all nodes it follows

  CORE_GEOMETRY_API cow_String Text() const; ///< "node 30 is not in the mesh"
};

/// Regenerates every system of the container that follows nodes, from the nodes of the mesh with those
/// labels, and returns the ones whose frame could not be made, by identifier. Other datums stay as they are.
///
/// `displacements` are three numbers for each node of the mesh, added to its coordinates; `rotations`
/// likewise, each a vector along the axis, as long as the angle in radians. Empty ones are zero. With
/// `display` the display frame is made instead of the stored one.
///
/// Raises nex_AssertionException for displacements or rotations that are not three for each node; nothing is
/// changed then.
CORE_GEOMETRY_API std::vector<bme_LostDatum> bme_RegenerateDatums(dtu_DatumContainer& container,
                                                                  const bme_Mesh& mesh,
                                                                  std::span<const float> displacements = {},
                                                                  std::span<const float> rotations = {},
                                                                  bool display = false);
