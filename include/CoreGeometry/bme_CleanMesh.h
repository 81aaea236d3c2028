// bme_CleanMesh.h: parts of a mesh, and a mesh without what is too much
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <optional>

/// What bme_CleanMesh removes.
struct bme_CleanOptions {
  bool duplicates =
      true; ///< elements on the nodes of an earlier one of their type; not of points and interactions
  bool zeroSize = true;     ///< elements without length, area or volume, by the rule of `coregeometry check`
  bool unusedNodes = true;  ///< nodes that no element that is left has
  bool nodesOfSets = false; ///< also those of them that are in a node set
};

/// How bme_MergeNodes chooses.
struct bme_MergeOptions {
  double tolerance = 0; ///< in model length
  /// Only these nodes; all nodes when nothing is given.
  std::optional<std::span<const unsigned>> nodes{};
  /// When given, only pairs of one node of `nodes` and one of these are merged: each of these with the nearest of
  /// `nodes` within the tolerance.
  std::optional<std::span<const unsigned>> with{};
  bool removeCollapsed = false; ///< elements in which nodes became one
};

/// A result with the elements and nodes of the old mesh that the work was about, ascending.
struct bme_Cleaned : bme_Edited {
  std::vector<unsigned> duplicates{}, zeroSize{}, unusedNodes{};
};
struct bme_Merged : bme_Edited {
  std::vector<unsigned> merged{};    ///< nodes that another one stands for now
  std::vector<unsigned> collapsed{}; ///< elements in which nodes became one
};

/// The elements and their nodes as a mesh of its own. Classes of which nothing is left are gone.
///
/// Errors of all functions here: nex_OutOfRangeException for an index that is not in the mesh, and those of
/// bme_Renumber; wip_Cancelled when the host asks to stop.
CORE_GEOMETRY_API bme_Edited bme_ExtractElements(const bme_MeshAndSets& source,
                                                 std::span<const unsigned> elements);
/// The mesh without these elements and nodes. nex_TextException for a node that an element which is left needs.
CORE_GEOMETRY_API bme_Edited bme_RemoveEntities(const bme_MeshAndSets& source,
                                                std::span<const unsigned> elements,
                                                std::span<const unsigned> nodes);
/// Faces (bme_FaceWord) as elements S3, STRI65, S4, S8R or S9R5 with their nodes, of faces with only some of their
/// mid nodes with the corners. Labels are from 1, in mesh order. Node sets are cut to what is left, surfaces have
/// those of their faces that were extracted, element sets the faces of their elements. In the renumbering an
/// element goes to its first face.
CORE_GEOMETRY_API bme_Edited bme_ExtractFaces(const bme_MeshAndSets& source, std::span<const unsigned> faces);

CORE_GEOMETRY_API bme_Cleaned bme_CleanMesh(const bme_MeshAndSets& source,
                                            const bme_CleanOptions& options = {});

/// Merges nodes at one place. Those within the tolerance of each other, directly or through a chain, become the one
/// with the lowest label, which keeps its place.
/// nex_TextException for a tolerance that is negative or not a number.
CORE_GEOMETRY_API bme_Merged bme_MergeNodes(const bme_MeshAndSets& source, const bme_MergeOptions& options);
