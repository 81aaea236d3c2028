// shp_ElementSearch.h: finding the iso coordinates of points in real elements
#pragma once

#include <CoreGeometry/shp_Topology.h>

/// Where a point lies in an element.
enum class shp_Location : int {
  Outside,
  Inside,
  OnBoundary, ///< within the tolerance in iso coordinates of the boundary, from either side
  Degenerate  ///< the element is inverted, or has no volume, area or length there
};

/// True when an element contains the point.
constexpr bool shp_IsHeld(shp_Location location) noexcept {
  return location == shp_Location::Inside || location == shp_Location::OnBoundary;
}

/// Bounding box in single precision.
struct shp_FloatBox {
  std::array<float, 3> low, high;
};

/// A point (three values), and the element to search for it (the indices of its nodes).
struct shp_ElementQuestion {
  const double* target;
  const int* nodes;
};

/// The inverse of a shape's isoparametric map, for real elements: location, distance, degeneracy and bounding
/// boxes.
///
/// Errors     a shape of a single node, or without nodes, has no map: every point is Outside, every distance
///            infinite, every box empty, and no element degenerate.
/// Lifetime   unlimited: it refers to static data only. It is as small as a pointer.
/// Threads    immutable.
class CORE_GEOMETRY_API shp_ElementSearch {
public:
  shp_ElementSearch(const shp_Topology& shape) noexcept : table_(shape.map_) {}

  /// In double precision, for elements of any size: Newton steps, then bisection of the element where they do
  /// not converge inside. Inside includes gsl_Util's linear tolerance in iso coordinates; on lines and
  /// surfaces the target must lie within a millionth of the element's bounding box. The iso coordinates are
  /// set unless the result is Outside or Degenerate.
  shp_Location Locate(const std::array<double, 3>& target, std::span<const double> coordinates,
                      shp_IsoPoint& iso) const;
  /// Locates each target, three values, in its own element: a row of base nodes as indices into the
  /// coordinates.
  void LocateEach(std::span<const double> targets, std::span<const int> connectivity,
                  std::span<const float> coordinates, std::span<shp_IsoPoint> isos,
                  std::span<shp_Location> locations) const;
  /// For many candidate elements: as Locate, but a target that is not found is Outside, also in a degenerate
  /// element. Without `thorough` only the Newton steps are made, which find nearly all points. Element nodes
  /// are indices into the coordinates, three values per node.
  shp_Location FindInElement(const std::array<double, 3>& target, std::span<const int> elementNodes,
                             std::span<const float> coordinates, shp_IsoPoint& iso,
                             bool thorough = true) const;
  /// FindInElement without `thorough` for each question; vectorised where the processor allows it.
  void FindInElements(std::span<const shp_ElementQuestion> questions, std::span<const float> coordinates,
                      std::span<shp_IsoPoint> isos, std::span<shp_Location> locations) const;
  /// Distance to the closest point of the element, and the iso coordinates of that point, by descent on each
  /// face and edge from several starts; 0 where FindInElement finds the target, infinite when no closest
  /// point exists.
  double FindClosestPoint(const std::array<double, 3>& target, std::span<const int> elementNodes,
                          std::span<const float> coordinates, shp_IsoPoint& iso) const;
  /// True for an element that is flat or inverted at its centre or at a corner, without size, or with a
  /// coordinate that is not a number. At repeated corners, as at the apex of a pyramid, the map is tested
  /// beside them.
  bool IsDegenerate(std::span<const int> elementNodes, std::span<const float> coordinates) const;
  /// Bounding boxes, outside of which Locate finds nothing, of elements with a row of nodesPerRow nodes each;
  /// empty (low above high) for elements with a coordinate that is not a number.
  void BoundEach(std::span<const int> connectivity, std::size_t nodesPerRow,
                 std::span<const float> coordinates, std::span<shp_FloatBox> boxes) const;

private:
  const shp_MapTable* table_; ///< null without map
};
