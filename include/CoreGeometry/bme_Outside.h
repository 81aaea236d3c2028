// bme_Outside.h: the external faces, edges, lines and points of a mesh
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <array>
#include <string>

/// An external face of an element, or a face of a chosen surface.
struct bme_OuterFace {
  unsigned word = 0; ///< see bme_EntityWord.h
  int group = 0;
  bme_LocalNodes nodes;
  std::array<double, 3> normal{}; ///< computed from the corners; its length is the area

  bool HasMidNodes() const noexcept { return nodes.corners > 2 && nodes.count >= 2 * nodes.corners; }
};

/// An edge of outer faces: its ends, and the node in the middle or -1.
struct bme_OuterEdge {
  std::array<int, 2> ends{};
  int middle = -1;
  unsigned face = 0;      ///< position of the first face that has it
  bool isFeature = false; ///< free, non-manifold, or between faces of different groups or normals
};

/// A line element.
struct bme_OuterLine {
  unsigned element = 0;
  int group = 0;
  bme_LocalNodes nodes; ///< first, interior, last
};

/// A node of a set of nodes.
struct bme_OuterPoint {
  unsigned node = 0;
  int group = 0;
};

struct bme_Outside {
  std::vector<cow_String> groups; ///< name of the set, or element type and category of the class
  std::vector<bme_OuterFace> faces;
  std::vector<bme_OuterEdge> edges; ///< in order of their ends
  std::vector<bme_OuterLine> lines;
  std::vector<bme_OuterPoint> points;
  long long notFinite = 0;    ///< excluded faces and lines: a node has no finite coordinates
  long long withoutShape = 0; ///< excluded elements: their type has no shape
};

/// The outside of a whole mesh, with a group for each element class. With names of sets, only these: external
/// faces of element sets, faces of surfaces, and nodes of node sets; if all are node sets, the whole mesh is
/// added as one group. Repeated corners of a face count once. Elements without a shape, or with nodes without
/// finite coordinates, are excluded. An edge is a feature when the normals of its faces are more than 30
/// degrees apart. Throws nex_TextException, beginning with `place`, for an unknown set, or when there is
/// nothing to see.
CORE_GEOMETRY_API bme_Outside bme_FindOutside(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                                              std::span<const std::string> names, const cow_String& place);

/// The outside whose faces are known already, those of a whole mesh or of a part of it: these faces and their edges, and
/// the lines of the elements, with the same groups and exclusions. There may be none.
CORE_GEOMETRY_API bme_Outside bme_OutsideOf(const bme_FEMFaceList& faces, const bme_FEMElemList& elements);
