// bme_SweepMesh.h: surface meshes swept to solids
#pragma once

#include <CoreGeometry/bme_DivideMesh.h>
#include <array>

/// A mesh of solids. The sets "bottom" and "top" are the faces where the sweep begins and ends, of bme_OffsetMesh those at
/// the back and at the front of the shells; a closed revolution has none. Where the mesh has sets of these names, a number
/// follows, as in "top-2".
struct bme_Swept : bme_Edited {
  /// For each new node the old one that was swept to its place; the old nodes come first, and are their own.
  std::vector<unsigned> baseNodes{};
};

/// What all functions here do: every surface element, shells and plane ones, becomes a solid for each layer. Linear ones
/// become C3D6 and C3D8, quadratic ones C3D15, C3D20 and C3D27 with mid nodes half way through the layer; `types` chooses
/// other types by those of the surface elements. Solids are never inside out, whichever way the elements look. Other
/// elements are left out, with a remark.
///
/// Old nodes keep labels and order, and but for bme_OffsetMesh to both sides their places. Labels are as those of
/// bme_RefineMesh. Node sets have all places of their nodes, element sets all solids of their elements. Surfaces of one
/// side of elements have the faces of solids that look the same way; edges become the sides that they sweep. In the
/// renumbering new nodes come from none, so values and lists of nodes stay on the old ones. Controls and section points
/// of the elements are not those of solids, and are left out; so are notes of sets.
///
/// Units      coordinates are those of the mesh, without its placement; angles are radians.
/// Errors     nex_TextException for no layers, for no surface elements, for an element, with its label, of which a solid
///            would have no volume or be inside out, for a chosen type that does not fit, and for labels above
///            2147483647; wip_Cancelled.
/// Cost       one pass over nodes and elements for each layer.

/// Along a vector.
CORE_GEOMETRY_API bme_Swept bme_ExtrudeMesh(const bme_MeshAndSets& source,
                                            const std::array<double, 3>& vector, unsigned layers,
                                            const bme_TypeChoice& types = {});

/// About an axis through a point, by an angle of at most 2 pi, which closes the mesh: the last layer ends at the old
/// nodes. Nodes on the axis, within a millionth of the mesh, stay: quadrilaterals with an edge there become wedges,
/// triangles tetrahedra, and elements with one corner there solids that have that node twice.
/// nex_TextException, too, for layers of half a turn or more, and for elements that cross the axis.
CORE_GEOMETRY_API bme_Swept bme_RevolveMesh(const bme_MeshAndSets& source, const std::array<double, 3>& point,
                                            const std::array<double, 3>& axis, double angle, unsigned layers,
                                            const bme_TypeChoice& types = {});

enum class bme_OffsetSide { Top, Bottom, Both };

/// Shells to solids of this thickness, along unit normals at nodes: means of the normals of their elements, weighted by
/// the angle at the node (G. Thuermer and C. Wuethrich, 1998). Where surfaces meet at an angle the layer is thinner by
/// the cosine of half of it. nex_TextException, too, where elements at a node look to different sides
/// (bme_OrientMesh helps).
CORE_GEOMETRY_API bme_Swept bme_OffsetMesh(const bme_MeshAndSets& source, double thickness,
                                           bme_OffsetSide side, unsigned layers,
                                           const bme_TypeChoice& types = {});
