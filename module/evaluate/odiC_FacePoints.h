// odiC_FacePoints.h: points at which faces of elements are integrated
#pragma once

#include <CoreGeometry/shp_Topology.h>
#include <vector>

/// A Gauss point of a face of a shape.
struct odiC_FacePoint {
  double weight;
  std::vector<double> functions;      ///< of the nodes of the element
  std::vector<double> alongU, alongV; ///< their derivatives along the face
};

/// Points of a face in the iso coordinates of its element: between the corners, which lie in a plane there. Triangles are
/// squares of which one side is a point. None for faces that are lines.
std::vector<odiC_FacePoint> odiC_PointsOfFace(const shp_Topology& shape, int face);
