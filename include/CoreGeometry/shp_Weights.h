// shp_Weights.h: extrapolation weights between the locations of an element, in double precision
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/shp_Topology.h>

/// Locations that values are extrapolated to.
enum class shp_Target : int { Nodes, Faces, Centroid };

/// A row of weights for each location that gets a value, with a weight for each location that has one.
struct shp_Weights {
  std::size_t numRows = 0, numColumns = 0;
  std::vector<double> values; ///< row by row
  bool areMeans = false;      ///< the given locations determine only a mean
};

/// Weights of the shape's integration points, or of its nodes, over all rings. To nodes and faces they are
/// those of shp_Topology's extrapolation; to the centroid, the shape functions there, applied to the values
/// at nodes. Empty for shapes that have none.
CORE_GEOMETRY_API shp_Weights shp_WeightsOfIntPts(const shp_Topology& shape, shp_Target target);
CORE_GEOMETRY_API shp_Weights shp_WeightsOfNodes(const shp_Topology& shape, shp_Target target);
/// Weights of `count` other points, the same for all rings: a least-squares fit of the corner shape
/// functions, which is evaluated at the nodes. Without places, or when these do not determine the fit, every
/// node gets the mean.
CORE_GEOMETRY_API shp_Weights shp_WeightsOfPoints(const shp_Topology& shape, std::size_t count,
                                                  std::span<const shp_IsoPoint> places, shp_Target target);
