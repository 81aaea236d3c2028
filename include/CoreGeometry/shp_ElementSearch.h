// shp_ElementSearch.h: from points to iso coordinates in real elements
#pragma once

#include <CoreGeometry/shp_Topology.h>

/// Where a point lies in an element.
enum class shp_Location : int {
  Outside,
  Inside,
  OnBoundary, ///< within the box tolerance of the rim, from either side
  Degenerate  ///< the element has no volume, area or length there, or is inside out
};

/// True when an element holds the point.
constexpr bool shp_IsHeld(shp_Location location) noexcept {
  return location == shp_Location::Inside || location == shp_Location::OnBoundary;
}

/// Corners of a box in single precision.
struct shp_FloatBox {
  std::array<float, 3> low, high;
};

/// A point, three values, and the element, indices of its nodes, that it is looked for in.
struct shp_ElementQuestion {
  const double* target;
  const int* nodes;
};

/// The inverse of a shape's isoparametric map, for real elements: location, distance, soundness and boxes.
///
/// Errors     a shape of a single node, or without nodes, has no map: every place is Outside, every distance
///            infinite, every box empty, and no element degenerate.
/// Lifetime   of the program: what it reads is static data. As small as a pointer.
/// Threads    immutable.
class CORE_GEOMETRY_API shp_ElementSearch {
public:
  shp_ElementSearch(const shp_Topology& shape) noexcept : table_(shape.map_) {}

  /// In double precision, for elements of any size: Newton steps, and bisection of the element where they do not
  /// converge inside. Inside includes gsl_Util's linear tolerance in iso coordinates; on
  /// lines and surfaces the target must lie within a millionth of the element's box. The iso coordinates are
  /// set when the answer is not Outside or Degenerate.
  shp_Location Locate(const std::array<double, 3>& target, std::span<const double> coordinates,
                      shp_IsoPoint& iso) const;
  /// Each target, three values, in its own element: a row of base nodes into the coordinates.
  void LocateEach(std::span<const double> targets, std::span<const int> connectivity,
                  std::span<const float> coordinates, std::span<shp_IsoPoint> isos,
                  std::span<shp_Location> locations) const;
  /// For many candidates: as Locate, but where the target is not found the answer is Outside whatever the
  /// element is. Without `thorough` only the Newton steps are made, which find nearly all points. Element
  /// nodes are indices into the coordinates, three values a node.
  shp_Location FindInElement(const std::array<double, 3>& target, std::span<const int> elementNodes,
                             std::span<const float> coordinates, shp_IsoPoint& iso,
                             bool thorough = true) const;
  /// As FindInElement without `thorough` for each question; several at a time where the processor can.
  void FindInElements(std::span<const shp_ElementQuestion> questions, std::span<const float> coordinates,
                      std::span<shp_IsoPoint> isos, std::span<shp_Location> locations) const;
  /// Distance to the closest place of the element, by descent on each face and edge from several starts, and
  /// that place; 0 where FindInElement finds the target, infinite when there is nothing to be close to.
  double FindClosestPoint(const std::array<double, 3>& target, std::span<const int> elementNodes,
                          std::span<const float> coordinates, shp_IsoPoint& iso) const;
  /// Flat or inside out at the centre or at a corner, or without size, or with a coordinate that is no
  /// number. Corners that are collapsed to one, as at the apex of a pyramid, are judged by the map beside them.
  bool IsDegenerate(std::span<const int> elementNodes, std::span<const float> coordinates) const;
  /// Boxes outside of which Locate finds nothing, of elements whose rows begin every nodesPerRow numbers;
  /// empty (low above high) for elements with a coordinate that is not a number.
  void BoundEach(std::span<const int> connectivity, std::size_t nodesPerRow,
                 std::span<const float> coordinates, std::span<shp_FloatBox> boxes) const;

private:
  const shp_MapTable* table_; ///< null without map
};
