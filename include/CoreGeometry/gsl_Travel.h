// gsl_Travel.h: exact travel of one large triangle set along a direction until it meets another
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

class gsl_Vector;
struct gsl_TravelTriangle;

/// Triangles of flat arrays, three coordinates a point, three points a triangle, in a tree of boxes for
/// gsl_FindTravel. It is built once and serves any number of searches.
///
/// Direction  the boxes stand along it, so that searches along it, forwards or backwards, are fastest; every
///            other direction is right as well. Trees that are searched together have the same.
/// Units      model length.
/// Arrays     are referred to, not copied: they must outlive the tree and not change.
/// Empty      a triangle with a coordinate that is not finite is left out. Colinear or coincident points make
///            a triangle that is the segment or point they cover.
/// Range      coordinates up to 1e38, and sets that are 1e-60 across or more.
/// Errors     nex_TextException for a point that is not there, and for a coordinate beyond the range;
///            wip_Cancelled when the host asks to stop. A rest of one or two indices, or coordinates, is ignored.
/// Cost       20 to 35 bytes a triangle, and 16 more while it is built; building takes n log n steps.
/// Threads    searched from any thread.
class CORE_GEOMETRY_API gsl_TriangleTree {
public:
  gsl_TriangleTree(std::span<const float> xyz, std::span<const int> triangles); ///< along z
  gsl_TriangleTree(std::span<const double> xyz, std::span<const int> triangles);
  gsl_TriangleTree(std::span<const float> xyz, std::span<const int> triangles, const gsl_Vector& direction);
  gsl_TriangleTree(std::span<const double> xyz, std::span<const int> triangles, const gsl_Vector& direction);

  std::size_t NumTriangles() const noexcept { return order_.size(); } ///< without those left out
  std::size_t Memory() const noexcept;                                ///< bytes

private:
  friend class gsl_TravelSearch;
  static constexpr std::size_t kTrianglesPerLeaf = 8; ///< of the fullest tree, on average
  static constexpr std::size_t kMostPerLeaf = 12;

  /// What holds a node's triangles: a box in the tree's frame, its sides across the direction relative to the
  /// tree's origin and rounded outwards, and a slab oblique to the direction. Of a smooth surface the slab is
  /// thinner than the box by the order of its size, so that few nodes near the place of contact are in doubt.
  struct Node {
    float low[2], high[2];
    float slope[2];           ///< of the slab
    double near, far;         ///< depths: exact, because large plane faces are often equally deep
    double slabNear, slabFar; ///< depths at the origin
  };

  struct Item {
    float middle[3];
    std::int32_t triangle;
  };

  template<class T> void Build(std::span<const T> xyz, std::span<const int> triangles);
  template<class T> std::vector<Item> FindMiddles(const T* xyz, std::size_t numTriangles);
  void Halve(std::span<Item> items, std::size_t leaves);
  Node MakeLeaf(std::span<const gsl_TravelTriangle> triangles) const noexcept;
  static Node Join(const Node& a, const Node& b) noexcept;

  const float* floats_ = nullptr; ///< the coordinates are floats or doubles
  const double* doubles_ = nullptr;
  const int* triangles_ = nullptr;
  std::array<std::array<double, 3>, 3> frame_; ///< two axes across the direction, and the direction
  double low_[3], high_[3];                    ///< of the whole set, in the frame
  double origin_[2] = {0, 0};                  ///< of the rectangles
  std::vector<std::int32_t> order_;            ///< triangles, leaf after leaf
  std::size_t leaves_ = 0;                     ///< a power of two, 0 when empty
  std::vector<std::uint32_t> leafStart_;       ///< of each leaf in the order, and the end
  std::vector<Node> nodes_;                    ///< node i has children 2i and 2i + 1; the root is node 1
};

/// Where and when two sets meet.
struct gsl_Travel {
  double distance = 0;
  std::array<double, 3> fixedPoint{}, movablePoint{}; ///< the latter before the travel
  int fixedTriangle = -1, movableTriangle = -1;       ///< positions in their sets
};

/// Smallest travel, 0 or more and below the limit, of the movable set along a direction until it touches the
/// fixed set; sets that touch or overlap have a travel of 0. Exact: vertices against faces, edges against
/// edges, faces edge-on; the winding of triangles does not matter, nor does the length of the direction.
///
/// Tolerance  triangles that pass each other closer than 1e-12 of the extent of both sets meet; far from the
///            origin, closer than some 1e-14 of the coordinates.
/// Empty      false, and travel is untouched, when the sets never meet, one is empty, or the direction is
///            zero or not finite.
/// Errors     nex_AssertionException when the trees stand along different directions; wip_Cancelled, and
///            travel is untouched, when the host asks to stop.
/// Cost       of smooth separated sets little more than the depth of the trees; at worst, of large plane
///            faces that are equally far but for the last digits, a few steps for each triangle.
CORE_GEOMETRY_API bool gsl_FindTravel(const gsl_TriangleTree& fixed, const gsl_TriangleTree& movable,
                                      const gsl_Vector& direction, gsl_Travel& travel,
                                      double limit = std::numeric_limits<double>::infinity());

/// The same for a single search: builds trees along the direction.
CORE_GEOMETRY_API bool gsl_FindTravel(std::span<const double> fixedXyz, std::span<const int> fixedTriangles,
                                      std::span<const double> movableXyz,
                                      std::span<const int> movableTriangles, const gsl_Vector& direction,
                                      gsl_Travel& travel);
CORE_GEOMETRY_API bool gsl_FindTravel(std::span<const float> fixedXyz, std::span<const int> fixedTriangles,
                                      std::span<const float> movableXyz,
                                      std::span<const int> movableTriangles, const gsl_Vector& direction,
                                      gsl_Travel& travel);
