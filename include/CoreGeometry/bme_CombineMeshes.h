// bme_CombineMeshes.h: several meshes as one, and copies of a mesh
#pragma once

#include <CoreGeometry/bme_Renumbering.h>

class gsl_Matrix;

/// What happens to the labels of later meshes.
enum class bme_Labels {
  Keep,  ///< nex_TextException naming a label that two meshes have
  Offset ///< the largest label of the meshes before is added to them
};

/// A mesh and the name that its sets get in front of their own when another mesh has a set of that name.
struct bme_MeshToCombine {
  cow_String name;
  const bme_MeshAndSets* mesh;
};

/// Several meshes in one; nodes, elements and classes of a later mesh follow those of the ones before.
struct bme_Combined {
  struct Part {
    unsigned firstNode, numNodes, firstElement, numElements, firstClass, numClasses;
  };
  bme_MeshAndSets result;
  std::vector<Part> parts; ///< of each mesh
  std::vector<cow_String> remarks{};
  std::vector<std::vector<unsigned char>>
      turns{}; ///< of the elements of each mesh; empty when none was turned

  CORE_GEOMETRY_API bme_Renumbering RenumberingOf(std::size_t part) const;
};

/// The meshes as one, at the placement of the first. Classes are not united. Labels stay implicit when they are in
/// all meshes. Sets get other indices where two of a kind have the same one.
///
/// Errors     nex_TextException for no mesh, for a clash of labels, and for labels or indices above 2147483647;
///            wip_Cancelled when the host asks to stop.
CORE_GEOMETRY_API bme_Combined bme_CombineMeshes(std::span<const bme_MeshToCombine> meshes,
                                                 bme_Labels labels);

/// The mesh with every node moved, in the space that the mesh is placed in: rotation, translation, scale and mirror.
/// A mirror reverses solids, and surface elements so that their front stays the same side; plane elements are
/// reversed when they are turned over. Lines stay.
///
/// Sign       in coordinate planes through the origin, mirroring twice gives the same bits.
/// Errors     nex_TextException for a matrix that is not finite or flattens the mesh, that takes plane elements out
///            of their plane, that makes a coordinate too large (with the node's label), and for a mirror of a class
///            whose type has no reversal (with the class); wip_Cancelled.
CORE_GEOMETRY_API bme_Edited bme_TransformMesh(const bme_MeshAndSets& source, const gsl_Matrix& matrix);

/// The mesh and a copy for each matrix; labels of copies are offset. Sets of copy i, from 1, are called "<name>-<i>".
CORE_GEOMETRY_API bme_Combined bme_CopyMesh(const bme_MeshAndSets& source,
                                            std::span<const gsl_Matrix> copies);
