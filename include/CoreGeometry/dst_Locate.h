// dst_Locate.h: which elements of a split mesh contain points, or are nearest to them
#pragma once

#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/dst_Labels.h>

/// An element of a split mesh that contains a point.
struct dst_Hit {
  dst_Place element{}; ///< nowhere when no element contains the point
  shp_Location location = shp_Location::Outside;
  shp_IsoPoint iso{};
};

/// The element of a split mesh that is closest to a point.
struct dst_Nearest {
  dst_Place element{};
  double distance = std::numeric_limits<double>::infinity();
  shp_IsoPoint iso{};
};

/// bme_ElementLocator for the whole mesh: Find, FindAll and FindNearest of points, three values each. All ranks ask with
/// the same points and have the result: the same elements by their numbers, and the same bits of iso coordinates and
/// distances. Parts whose boxes do not hold a point are not asked.
///
/// Order      of elements in different parts that contain a point, the first is the one with the smallest number,
///            wherever the split runs.
/// Errors     nex_TextException when the number of values is not a multiple of three.
/// Cost       a locator for each part with points, and 64 bytes for each answer. A part for the nearest element is asked
///            when its box is nearer than what the part with the nearest box answered.
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_Hit> dst_Locate(const dst_Mesh& mesh,
                                                              std::span<const double> points);
CORE_GEOMETRY_DISTRIBUTED_API std::vector<std::vector<dst_Hit>> dst_LocateAll(const dst_Mesh& mesh,
                                                                              std::span<const double> points);
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_Nearest> dst_FindNearest(const dst_Mesh& mesh,
                                                                       std::span<const double> points);
