#include "odiC_FacePoints.h"

#include <cmath>

namespace {
/// Points and weights of Gauss and Legendre in (0, 1), exact to degree 9 (M. Abramowitz, I. Stegun, Handbook of
/// Mathematical Functions, 1964, table 25.4).
constexpr double kAt[] = {0.5 - 0.453089922969332, 0.5 - 0.26923465505284155, 0.5, 0.5 + 0.26923465505284155,
                          0.5 + 0.453089922969332};
constexpr double kWeights[] = {0.11846344252809454, 0.23931433524968324, 0.28444444444444444,
                               0.23931433524968324, 0.11846344252809454};

} // namespace

std::vector<odiC_FacePoint> odiC_PointsOfFace(const shp_Topology& shape, int face) {
  const auto faceIndex = static_cast<std::size_t>(face);
  const auto numCorners = static_cast<std::size_t>(shape.CornersPerFace()[faceIndex]);
  if (numCorners < 3) return {};
  std::vector<shp_IsoPoint> corners;
  for (std::size_t k = 0; k < numCorners; ++k)
    corners.push_back(shape.NodeCoordinates()[static_cast<std::size_t>(shape.FaceNodes(face)[k])]);
  if (numCorners == 3) corners.push_back(corners[2]);
  const auto numNodes = static_cast<std::size_t>(shape.NumBaseNodes());
  std::vector<odiC_FacePoint> points;
  for (std::size_t i = 0; i < std::size(kAt); ++i)
    for (std::size_t j = 0; j < std::size(kAt); ++j) {
      const double u = kAt[i], v = kAt[j];
      const double weights[] = {(1 - u) * (1 - v), u * (1 - v), u * v, (1 - u) * v};
      const double weightsU[] = {-(1 - v), 1 - v, v, -v}, weightsV[] = {-(1 - u), -u, u, 1 - u};
      shp_IsoPoint at{}, byU{}, byV{};
      for (std::size_t k = 0; k < 4; ++k)
        for (std::size_t axis = 0; axis < 3; ++axis) {
          at[axis] += weights[k] * corners[k][axis];
          byU[axis] += weightsU[k] * corners[k][axis];
          byV[axis] += weightsV[k] * corners[k][axis];
        }
      odiC_FacePoint& point = points.emplace_back();
      point.weight = kWeights[i] * kWeights[j];
      point.functions.resize(numNodes);
      shape.ShapeFunctions(at, point.functions);
      std::vector<shp_IsoPoint> derivatives(numNodes);
      shape.ShapeDerivatives(at, derivatives);
      for (const shp_IsoPoint& d : derivatives) {
        point.alongU.push_back(d[0] * byU[0] + d[1] * byU[1] + d[2] * byU[2]);
        point.alongV.push_back(d[0] * byV[0] + d[1] * byV[1] + d[2] * byV[2]);
      }
    }
  return points;
}
