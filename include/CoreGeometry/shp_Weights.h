// shp_Weights.h: weights that carry values between the places of an element, in double precision
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/shp_Topology.h>

/// Where values are carried to.
enum class shp_Target : int { Nodes, Faces, Centroid };

/// A row of weights for each place that gets a value, a weight for each place that has one.
struct shp_Weights {
  std::size_t numRows = 0, numColumns = 0;
  std::vector<double> values; ///< row by row
  bool areMeans = false;      ///< the places do not determine more than their mean
};

/// Of the shape's integration points, or of its nodes, those of all rings. To nodes and faces they are the weights of
/// shp_Topology's extrapolation; to the centroid, the shape functions there of the values at nodes. Empty for shapes
/// that have none.
CORE_GEOMETRY_API shp_Weights shp_WeightsOfIntPts(const shp_Topology& shape, shp_Target target);
CORE_GEOMETRY_API shp_Weights shp_WeightsOfNodes(const shp_Topology& shape, shp_Target target);
/// Of `count` other points, the same for all rings: a least-squares fit of the functions of the corners, which is
/// evaluated at the nodes. Without places, or when these do not determine the fit, every node has the mean.
CORE_GEOMETRY_API shp_Weights shp_WeightsOfPoints(const shp_Topology& shape, std::size_t count,
                                                  std::span<const shp_IsoPoint> places, shp_Target target);
