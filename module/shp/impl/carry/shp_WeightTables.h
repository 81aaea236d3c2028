// shp_WeightTables.h: integration points and centres of a shape, and the weights that carry values between
// them
#pragma once

#include "shp_Basis.h"
#include "shp_Connectivity.h"
#include "shp_IntegrationRule.h"

/// Tables of one node pattern with one integration rule, without rings.
///
/// Matrices are stored row by row. Weights are kept in double and, for those who ask for the tables, in
/// single precision.
struct shp_WeightTables {
  struct Matrix {
    std::size_t numColumns = 0;
    std::vector<double> values;
    std::vector<float> rounded;
    double largestGain = 1; ///< largest sum of the absolute weights of a row, or 1
    std::span<const double> Row(std::size_t row) const {
      return std::span(values).subspan(row * numColumns, numColumns);
    }
  };

  shp_IsoPoint centroid{};
  std::vector<shp_IsoPoint> faceCentres;
  std::vector<shp_IsoPoint> intPts;
  std::vector<shp_IsoPoint> intPtDerivatives; ///< of the node functions, a row of nodes a point
  Matrix centre;                              ///< one row of nodes
  Matrix nodesToIntPts;                       ///< a row of nodes a point
  Matrix intPtsToNodes;                       ///< a row of points a node
  Matrix intPtsToFaces;                       ///< a row of points a face
  Matrix nodesToFaces;                        ///< a row of nodes a face
  Matrix faceNodesToCentres;                  ///< a row of face nodes, MaxNodesPerFace() long, a face
  /// Lines and plane shapes: a row of the points of an edge for both ends and the middle.
  Matrix edgePtsToNodes;
  /// Other shapes, for each face: a row of face points a face node.
  std::vector<Matrix> facePtsToNodes;
};

/// Static data, made on the first request; null when the key has no tables.
const shp_WeightTables* shp_FindWeightTables(const shp_Options& options, int maxIntPtsPerFace);
