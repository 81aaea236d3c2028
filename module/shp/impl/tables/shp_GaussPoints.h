// shp_GaussPoints.h: integration points of any degree
#pragma once

#include <CoreGeometry/shp_Topology.h>
#include <vector>

/// Points and weights on [0, 1] for the weight function (1 - u)^power: exact up to degree 2 count - 1.
struct shp_GaussLine {
  std::vector<double> points, weights;
};
shp_GaussLine shp_GaussJacobi(int count, int power);

/// The first `numSimplexDims` directions run over a simplex with corner 0 at the origin, the others from -1
/// to 1.
struct shp_Domain {
  int numDims = 0;
  int numSimplexDims = 0;
};
struct shp_WeightedPoint {
  shp_IsoPoint at;
  double weight;
};
/// Products of counts[d] points in direction d.
std::vector<shp_WeightedPoint> shp_GaussPoints(const shp_Domain& domain, const std::array<int, 3>& counts);
