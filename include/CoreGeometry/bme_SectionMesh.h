// bme_SectionMesh.h: a mesh cut by a plane
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <array>

struct bme_CutPlane {
  std::array<double, 3> point{}, normal{0, 0, 1}; ///< the normal needs no unit length
  /// Elements with mid nodes are refined so many times before they are cut, so that their curved sides are followed.
  unsigned refinements = 0;
};

/// Area of a cut through solids, and its moments in the plane.
///
/// Units      model length and its powers; radians.
/// Empty      without area all is zero.
struct bme_SectionMoments {
  double area = 0;
  std::array<double, 3> centre{};
  /// Axes in the plane: the first one is the projection of x, or of z for a normal along x; normal, first and second are
  /// right-handed.
  std::array<double, 3> first{}, second{};
  /// Integrals of the squared distance from the first axis through the centre, from the second, and of the product of the
  /// coordinates.
  double aboutFirst = 0, aboutSecond = 0, product = 0;
  /// Of the principal axes: the largest second moment and the least one; the angle from the first axis to that of the
  /// largest.
  double largest = 0, least = 0, angle = 0;
};

/// Triangles and quadrilaterals where the plane cuts solids, lines where it cuts surfaces; in the renumbering their nodes
/// lie between the ends of the edges that were cut, so values at nodes are interpolated, and elements come from those that
/// were cut.
struct bme_Section : bme_Edited {
  bme_SectionMoments moments{};
  double length = 0; ///< of the cut through surface elements
  std::array<double, 3> lineCentre{};
};

/// Cuts elements through their corners, as if their edges were straight: S3 and S4 of solids, which look along the
/// normal, T3D2 of surfaces, as classes of their own for each class that is cut. Labels are from 1. Where a face is cut
/// twice, the side of its centre connects. Nodes on the plane count as in front of it: elements behind it that have a face
/// in the plane are cut there, and those in front are not. Lines, points, and types without faces are left out.
///
/// Range      the plane is in the coordinates of the mesh, without its placement. Moments are those of the cut before its
///            nodes are rounded to single precision.
/// Errors     nex_TextException for a plane that is not finite or has no normal, and for node indices outside the mesh;
///            wip_Cancelled.
/// Cost       one pass over the elements, and a hash table of the edges that are cut.
CORE_GEOMETRY_API bme_Section bme_CutMesh(const bme_MeshAndSets& source, const bme_CutPlane& plane);
