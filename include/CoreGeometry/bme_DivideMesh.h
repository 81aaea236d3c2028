// bme_DivideMesh.h: elements of another order, split into simplices, or refined
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <map>

/// Types to use instead of those that are found by their names: C3D20 for C3D8, C3D4 for C3D8R, STRI65 for S3.
using bme_TypeChoice = std::map<cow_String, cow_String>;

/// What all functions here do: old nodes keep their places, labels and order; new ones follow them, with labels above the
/// largest one, and are shared by all elements that need them. A new node joins the node sets that have all the nodes that
/// it lies between. The first of the elements that were made of one keeps its label, and the others get labels above the
/// largest one. Element sets have all that were made of their elements, surfaces the faces that lie on theirs. Classes of
/// which no type is found stay as they are, with a remark.
///
/// Errors     nex_TextException for a node index outside the mesh, for a chosen type that is not of the same kind with
///            the right number of nodes, and for labels above 2147483647; wip_Cancelled.
/// Cost       one pass over the elements, and a hash table of the new nodes.

/// Linear elements to quadratic ones, with mid nodes where the linear map has them, or back, without mid nodes that no
/// element has any more. Elements of that order stay.
CORE_GEOMETRY_API bme_Edited bme_ChangeOrder(const bme_MeshAndSets& source, bool toQuadratic,
                                             const bme_TypeChoice& types = {});

struct bme_Projected : bme_Edited {
  std::vector<unsigned> moved{};  ///< nodes of the new mesh, ascending
  double largest = 0;             ///< of the ways that they were moved
  std::vector<unsigned> folded{}; ///< elements of the new mesh whose map fails somewhere now
};

/// What bme_ChangeOrder made, with new nodes moved to the closest points of a curved or finer surface: those on the outside
/// of the mesh that lie between nodes which are all within the distance of the surface. Both meshes are in the same
/// coordinates. nex_TextException for a distance that is not above 0, and for no faces.
CORE_GEOMETRY_API bme_Projected bme_ProjectNodes(const bme_Edited& edited, const bme_FEMFaceList& surface,
                                                 double distance);

/// Hexahedra, wedges and collapsed ones to tetrahedra, quadrilaterals to triangles. Every quadrilateral is cut through its
/// corner with the lowest label, so neighbours agree (J. Dompierre et al., 1999). Quadratic elements become quadratic ones.
CORE_GEOMETRY_API bme_Edited bme_SplitElements(const bme_MeshAndSets& source,
                                               const bme_TypeChoice& types = {});

/// Every line in 2, every triangle and quadrilateral in 4, every solid in 8 elements of its type. Points, interactions and
/// elements with rings stay.
CORE_GEOMETRY_API bme_Edited bme_RefineMesh(const bme_MeshAndSets& source);
