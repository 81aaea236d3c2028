// gsl_TriTriDirDist.h: how far a set of triangles travels along a direction until it meets another
#pragma once

#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_TriOctree.h>
#include <CoreGeometry/gsl_Vector.h>
#include <cstdio>
#include <span>

/// Search for the smallest travel through two octrees of triangles, a fixed and a movable one, pruned by
/// their boxes. A derived class supplies the vertices. gsl_Travel.h answers the same question exactly and for
/// large sets; this search follows levels and facing rules that callers rely on, and can be traced.
///
/// Indices    Both trees name triangles through the one GetTriangle: the indices of the movable set follow
///            those of the fixed set (fixed 0 to n - 1, movable from n on).
/// Facing     A fixed triangle counts when it faces the movable set, a movable one when it faces the fixed
///            set, and any when the set is to be reversed. Triangles edge-on to the direction count always.
/// Levels     Fixed triangles of the first `levels` levels of their tree are compared, from each of these
///            nodes with the movable nodes in steps of up to levels - 1 levels. With levels of 1 or less only
///            the triangles of the two roots are compared; more levels than the trees have add nothing.
/// Distance   A vertex counts with its distance along the direction from the plane it meets, also when it is
///            already past that plane.
/// Transform  moves the vertices of fixed triangles; the owner of the fixed tree moves its boxes.
/// Tolerance  gsl_Util's at construction. A triangle of less than rtol twice its area is skipped, and so is a
///            fixed node whose box is smaller than tol.
/// Errors     wip_Cancelled, and nothing has changed, when the host asks to stop. A direction shorter than
///            tol finds nothing.
/// Trace      With TWL_TRITRIDIRDIST_DEBUG in the environment, whatever its value, the search is written to
///            TriTriDirDist.dat in the current folder.
/// Threads    one thread at a time.
class CORE_GEOMETRY_API gsl_TriTriDirDist {
public:
  explicit gsl_TriTriDirDist(int levels);
  gsl_TriTriDirDist(const gsl_TriTriDirDist&) = delete;
  gsl_TriTriDirDist& operator=(const gsl_TriTriDirDist&) = delete;
  virtual ~gsl_TriTriDirDist();

  virtual void GetTriangle(int index, gsl_Point (&vertices)[3]) const = 0;

  // change
  void SetDirection(const gsl_Vector& direction) noexcept { direction_ = direction; } ///< (0, 0, 1) before
  void SetTransform(const gsl_Matrix& transform) noexcept { transform_ = transform; } ///< identity before
  void SetReverse(bool fixed, bool movable) noexcept;                                 ///< false before

  // ask
  /// distance is the upper bound on entry, and the result when true is returned: the movable set meets the
  /// fixed one at less than the bound.
  bool FindDirectionalDistance(const gsl_TriOctreeNode& fixedRoot, const gsl_TriOctreeNode& movableRoot,
                               double& distance);
  int Levels() const noexcept { return levels_; }
  const gsl_Matrix& Transform() const noexcept { return transform_; }
  int FixedTriangle() const noexcept { return fixedTriangle_; } ///< of the last distance found
  int MovableTriangle() const noexcept { return movableTriangle_; }
  const gsl_Point& FixedPoint() const noexcept { return fixedPoint_; } ///< where they meet, after transform
  const gsl_Point& MovablePoint() const noexcept { return movablePoint_; } ///< before the travel
  int NumBoxTests() const noexcept { return numBoxTests_; }
  int NumTriangleTests() const noexcept { return numTriangleTests_; }

private:
  struct Facet;

  bool SearchNodes(const gsl_TriOctreeNode& fixed, const gsl_TriOctreeNode& movable, bool top, double& d);
  bool SearchTriangles(const gsl_TriOctreeNode& fixed, const gsl_TriOctreeNode& movable, double& d);
  bool BoxesMayMeet(const gsl_TriOctreeNode& fixed, const gsl_TriOctreeNode& movable, double d);
  void Collect(const gsl_TriOctreeNode& node, bool isFixed, const gsl_Vector& travel,
               std::vector<Facet>& facets) const;

  std::FILE* debugFile_ = nullptr;
  bool reverseFixed_ = false, reverseMovable_ = false;
  gsl_Vector direction_;
  gsl_Matrix transform_;
  int fixedTriangle_ = 0, movableTriangle_ = 0, numBoxTests_ = 0, numTriangleTests_ = 0, levels_;
  double relTolerance_, tolerance_;
  gsl_Point reference_; ///< depths along the direction are measured from here
  gsl_Point fixedPoint_, movablePoint_;
};

/// The search over flat arrays, with its own trees of all triangles: triangles of the fixed set keep their
/// indices, those of the movable set follow. The arrays must outlive the object.
///
/// Errors     the constructor throws nex_TextException for a point index out of range; a triangle with a NaN
///            coordinate meets nothing.
class CORE_GEOMETRY_API gsl_ArrayTriTriDirDist : public gsl_TriTriDirDist {
public:
  gsl_ArrayTriTriDirDist(std::span<const double> fixedXyz, std::span<const int> fixedTriangles,
                         std::span<const double> movableXyz, std::span<const int> movableTriangles);

  void GetTriangle(int index, gsl_Point (&vertices)[3]) const override;
  using gsl_TriTriDirDist::FindDirectionalDistance;
  bool FindDirectionalDistance(double& distance);
  int NumFixedTriangles() const noexcept { return static_cast<int>(sets_[0].triangles.size() / 3); }

private:
  struct Set {
    std::span<const double> xyz;
    std::span<const int> triangles;
  };
  Set sets_[2];
  gsl_TriOctree fixed_, movable_;
};

/// Smallest travel of triangle a along dir until it meets triangle b, when it is below d: then true, d is the
/// travel, contact[0] the point of a and contact[1] the point of b that meet. A must face along dir and b
/// against it, unless its flip is set or it is edge-on. Pairs farther apart along dir than d + tol are
/// skipped.
///
/// A vertex counts with its distance from the other plane along dir, even when it is already past that plane.
/// Edges meet where they cross in the view along dir, and only ahead. When one triangle is edge-on, or both
/// lie in one plane or in planes that cross, the travel is 0 for triangles in contact, and there is none for
/// triangles that are past each other. Colinear vertices meet nothing.
CORE_GEOMETRY_API bool gsl_TriTriMinDirectionalDist(const gsl_Vector& dir, const gsl_Point& a0,
                                                    const gsl_Point& a1, const gsl_Point& a2,
                                                    const gsl_Point& b0, const gsl_Point& b1,
                                                    const gsl_Point& b2, const bool flip[2], double tol,
                                                    gsl_Point contact[], double& d);

/// The smallest travel, 0 or more, of one of two segments along dir until it meets the other, when it is
/// below d. With a sign of 1 p moves, with -1 q moves. The segments are meant to lie in one plane that
/// contains dir; if not, they meet where their planes along dir intersect. Segments in contact have a travel
/// of 0. contact[0] is the point of the segment that moves.
CORE_GEOMETRY_API bool gsl_InPlaneSegSegMinDirectionalDist(const gsl_Vector& dir, const gsl_Point& p0,
                                                           const gsl_Point& p1, const gsl_Point& q0,
                                                           const gsl_Point& q1, int sign, gsl_Point contact[],
                                                           double& d);

/// Smallest travel, 0 or more, of the movable box along dir until it touches the fixed one. False, and
/// distance is untouched, when they never meet, a box is empty, or dir is shorter than gsl_Util's tolerance.
/// Boxes that pass each other closer than that tolerance meet.
CORE_GEOMETRY_API bool gsl_BoxBoxDirectionalDist(const gsl_Vector& dir, const gsl_BBox& fixed,
                                                 const gsl_BBox& movable, double& distance);
