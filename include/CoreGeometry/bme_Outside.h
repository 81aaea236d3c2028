// bme_Outside.h: what is seen of a mesh from outside
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <array>
#include <string>

/// A face of an element that is seen.
struct bme_OuterFace {
  unsigned word = 0; ///< see bme_EntityWord.h
  int group = 0;
  bme_LocalNodes nodes;
  std::array<double, 3> normal{}; ///< as long as the area; from the corners

  bool HasMidNodes() const noexcept { return nodes.corners > 2 && nodes.count >= 2 * nodes.corners; }
};

/// An edge of outer faces: its ends, and the node in the middle or -1.
struct bme_OuterEdge {
  std::array<int, 2> ends{};
  int middle = -1;
  unsigned face = 0;      ///< position of the first face that has it
  bool isFeature = false; ///< no other face has it, or several have, or one of another group or direction
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
  std::vector<cow_String> groups; ///< the set, or the element type and category of the class
  std::vector<bme_OuterFace> faces;
  std::vector<bme_OuterEdge> edges; ///< in order of their ends
  std::vector<bme_OuterLine> lines;
  std::vector<bme_OuterPoint> points;
  long long notFinite = 0;    ///< faces and lines left out, since a node of theirs has no finite coordinates
  long long withoutShape = 0; ///< elements left out, since their type has no shape
};

/// Of the whole mesh, a group for each element class; with names of sets, of these alone: external faces of
/// element sets, the faces of surfaces, and the nodes of node sets; with node sets alone also of the whole mesh,
/// as one group. Corners that are collapsed to one are one. Types without a shape are left out, and what has
/// nodes without finite coordinates. Faces meet at a feature when
/// their normals are more than 30 degrees apart. Throws nex_TextException, beginning with `place`, when there
/// is no such set, or nothing to see.
CORE_GEOMETRY_API bme_Outside bme_FindOutside(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                                              std::span<const std::string> names, const cow_String& place);
