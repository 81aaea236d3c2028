// gsl_Travel.h: exact distance that one large triangle set travels along a direction until it meets another
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

/// Bounding box tree over triangles for gsl_FindTravel, from flat arrays: three coordinates per point, three
/// points per triangle. It is built once and serves any number of searches.
///
/// Direction  the boxes are aligned with it, so that searches along it, forwards or backwards, are fastest;
///            any other direction works as well. Trees that are searched together must have the same
///            direction.
/// Units      model length.
/// Arrays     are referred to, not copied: they must outlive the tree and not change.
/// Empty      a triangle with a coordinate that is not finite is excluded. Colinear or coincident points make
///            a triangle that is the segment or point they cover.
/// Range      coordinates up to 1e38, and sets that are 1e-60 across or more.
/// Errors     nex_TextException for a point index out of range, and for a coordinate beyond the range;
///            wip_Cancelled when the host asks to stop. One or two left-over indices, or coordinates, are
///            ignored.
/// Cost       20 to 35 bytes per triangle, and 16 more while it is built; building takes n log n steps.
/// Threads    a tree may be searched from any thread. Making one uses a lent wip_Executor; the tree is the same with
///            any number of threads.
class CORE_GEOMETRY_API gsl_TriangleTree {
public:
  gsl_TriangleTree(std::span<const float> xyz, std::span<const int> triangles); ///< along z
  gsl_TriangleTree(std::span<const double> xyz, std::span<const int> triangles);
  gsl_TriangleTree(std::span<const float> xyz, std::span<const int> triangles, const gsl_Vector& direction);
  gsl_TriangleTree(std::span<const double> xyz, std::span<const int> triangles, const gsl_Vector& direction);

  std::size_t NumTriangles() const noexcept { return order_.size(); } ///< without the excluded ones
  std::size_t Memory() const noexcept;                                ///< bytes

private:
  friend class gsl_TravelSearch;
  friend class gsl_ViewBoxes;
  static constexpr std::size_t kTrianglesPerLeaf = 8; ///< of the fullest tree, on average
  static constexpr std::size_t kMostPerLeaf = 12;

  /// Bounds of a node's triangles: a box in the tree's frame, whose sides across the direction are relative
  /// to the tree's origin and rounded outwards, and a slab oblique to the direction. Around a smooth surface
  /// the slab is thinner than the box by the order of its size, so that few nodes near the contact must be
  /// opened.
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
  /// Some leaves, a power of two of them, and the items in them.
  struct Part {
    std::size_t firstItem = 0, numItems = 0, firstLeaf = 0, numLeaves = 1;
    std::array<Part, 2> HalvesAt(std::size_t cut) const noexcept {
      const std::size_t half = numLeaves / 2;
      return {Part{firstItem, cut, firstLeaf, half},
              Part{firstItem + cut, numItems - cut, firstLeaf + half, half}};
    }
  };
  static std::size_t Cut(std::span<Item> items, std::size_t leaves);
  void Halve(std::span<Item> all, Part part);
  void HalveAll(std::span<Item> items);
  /// Asks for the coordinates of the leaves' corners, which lie in many places of the memory.
  void Prefetch(std::size_t firstLeaf, std::size_t endLeaf) const noexcept;
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

/// The distance to contact, and where the two sets touch.
struct gsl_Travel {
  double distance = 0;
  std::array<double, 3> fixedPoint{}, movablePoint{}; ///< the latter before the travel
  int fixedTriangle = -1, movableTriangle = -1;       ///< positions in their sets
};

/// Smallest travel, 0 or more and below the limit, of the movable set along a direction until it touches the
/// fixed set; sets that touch or overlap have a travel of 0. Exact for vertices against faces, edges against
/// edges, and faces seen edge-on; neither the winding of triangles nor the length of the direction matters.
///
/// Tolerance  triangles that pass each other closer than 1e-12 of the extent of both sets meet; far from the
///            origin, closer than about 1e-14 of the coordinates.
/// Empty      false, and travel is untouched, when the sets never meet, one is empty, or the direction is
///            zero or not finite.
/// Errors     nex_AssertionException when the trees have different directions; wip_Cancelled, and travel is
///            untouched, when the host asks to stop.
/// Cost       for smooth separated sets little more than the depth of the trees; at worst, for large plane
///            faces whose distances differ in the last digits only, a few steps for each triangle.
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
