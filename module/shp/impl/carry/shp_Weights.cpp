#include <CoreGeometry/shp_Weights.h>

#include "shp_Facts.h"
#include "shp_WeightTables.h"

#include <CoreGeometry/gsl_LinearEqnLUDSolver.h>

namespace {
using Matrix = shp_WeightTables::Matrix;

constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }

const shp_WeightTables* TablesOf(const shp_Topology& shape) {
  return shp_FindWeightTables(shape.Options(), shape.MaxIntPtsPerFace());
}
std::size_t NumRows(const Matrix& matrix) {
  return matrix.numColumns == 0 ? 0 : matrix.values.size() / matrix.numColumns;
}

shp_Weights Zero(std::size_t numRows, std::size_t numColumns) {
  return {numRows, numColumns, std::vector<double>(numRows * numColumns)};
}
shp_Weights Product(const shp_Weights& a, const shp_Weights& b) {
  shp_Weights product = Zero(a.numRows, b.numColumns);
  product.areMeans = b.areMeans;
  for (std::size_t i = 0; i < a.numRows; ++i)
    for (std::size_t k = 0; k < a.numColumns; ++k)
      for (std::size_t j = 0; j < b.numColumns; ++j)
        product.values[i * b.numColumns + j] +=
            a.values[i * a.numColumns + k] * b.values[k * b.numColumns + j];
  return product;
}

/// The function of a corner that is one there and linear in every direction towards the others.
double CornerFunction(const shp_Facts& facts, std::size_t corner, const shp_IsoPoint& at) {
  const shp_IsoPoint& place = facts.corners[corner];
  double value = 1, rest = 1;
  bool isOrigin = true;
  for (std::size_t axis = 0; axis < At(facts.numSimplexDims); ++axis) {
    rest -= at[axis];
    if (place[axis] == 0) continue;
    value = at[axis];
    isOrigin = false;
  }
  if (facts.HasSimplex() && isOrigin) value = rest;
  for (std::size_t axis = At(facts.numSimplexDims); axis < At(facts.numDims); ++axis)
    value *= (1 + place[axis] * at[axis]) / 2;
  return value;
}

/// N (M^T M)^-1 M^T with the functions of the corners at the nodes, N, and at the points, M; empty when they do not
/// determine it.
shp_Weights Fit(const shp_Facts& facts, std::span<const shp_IsoPoint> points,
                std::span<const shp_IsoPoint> nodes) {
  const std::size_t size = At(facts.NumCorners());
  std::vector<std::vector<double>> atPoints, normal(size, std::vector<double>(size));
  for (const shp_IsoPoint& point : points) {
    std::vector<double>& row = atPoints.emplace_back();
    for (std::size_t k = 0; k < size; ++k) row.push_back(CornerFunction(facts, k, point));
    for (std::size_t i = 0; i < size; ++i)
      for (std::size_t j = 0; j < size; ++j) normal[i][j] += row[i] * row[j];
  }
  std::vector<const double*> rows;
  rows.reserve(size);
  for (const auto& row : normal) rows.push_back(row.data());
  gsl_LinearEqnLUDSolver solver;
  solver.SetMatrix(rows.data(), static_cast<unsigned>(size));
  shp_Weights weights = Zero(nodes.size(), points.size());
  for (std::size_t node = 0; node < nodes.size(); ++node) {
    std::vector<double> factors(size);
    for (std::size_t k = 0; k < size; ++k) factors[k] = CornerFunction(facts, k, nodes[node]);
    if (!solver.Solve(factors.data(), factors.data())) return {};
    for (std::size_t point = 0; point < points.size(); ++point)
      for (std::size_t k = 0; k < size; ++k)
        weights.values[node * points.size() + point] += factors[k] * atPoints[point][k];
  }
  return weights;
}
} // namespace

shp_Weights shp_WeightsOfNodes(const shp_Topology& shape, shp_Target target) {
  shp_Weights weights;
  if (target == shp_Target::Nodes) {
    weights = Zero(At(shape.NumNodes()), At(shape.NumNodes()));
    for (std::size_t node = 0; node < weights.numRows; ++node)
      weights.values[node * (weights.numColumns + 1)] = 1;
    return weights;
  }
  const shp_WeightTables* tables = TablesOf(shape);
  if (!tables) return {};
  const Matrix& matrix = target == shp_Target::Faces ? tables->nodesToFaces : tables->centre;
  weights = Zero(NumRows(matrix), At(shape.NumNodes())); // of the first ring
  for (std::size_t row = 0; row < weights.numRows; ++row)
    std::ranges::copy(matrix.Row(row), &weights.values[row * weights.numColumns]);
  return weights;
}

shp_Weights shp_WeightsOfIntPts(const shp_Topology& shape, shp_Target target) {
  const shp_WeightTables* tables = TablesOf(shape);
  const std::size_t numPoints = At(shape.NumBaseIntPts());
  if (!tables || numPoints == 0 || tables->intPtsToNodes.numColumns != numPoints) return {};
  if (target == shp_Target::Centroid)
    return Product(shp_WeightsOfNodes(shape, target), shp_WeightsOfIntPts(shape, shp_Target::Nodes));
  const Matrix& matrix = target == shp_Target::Nodes ? tables->intPtsToNodes : tables->intPtsToFaces;
  const std::size_t numRings = target == shp_Target::Nodes ? At(shape.NumRings()) : 1,
                    perRing = NumRows(matrix);
  const std::size_t numBlocks = shape.IsCaxaElement() ? 2 : 1; // whose mean is that of a ring
  shp_Weights weights = Zero(numRings * perRing, At(shape.NumIntPts()));
  for (std::size_t row = 0; row < weights.numRows; ++row)
    for (std::size_t block = 0; block < numBlocks; ++block)
      for (std::size_t point = 0; point < numPoints; ++point)
        weights.values[row * weights.numColumns + (row / perRing * numBlocks + block) * numPoints + point] =
            matrix.Row(row % perRing)[point] / static_cast<double>(numBlocks);
  return weights;
}

shp_Weights shp_WeightsOfPoints(const shp_Topology& shape, std::size_t count,
                                std::span<const shp_IsoPoint> places, shp_Target target) {
  if (target != shp_Target::Nodes)
    return Product(shp_WeightsOfNodes(shape, target),
                   shp_WeightsOfPoints(shape, count, places, shp_Target::Nodes));
  const shp_Facts* facts = shp_FindFacts(shape.Options().Family());
  const std::span<const shp_IsoPoint> nodes = shape.NodeCoordinates();
  shp_Weights ring;
  if (facts && !nodes.empty() && count > 0 && places.size() == count) ring = Fit(*facts, places, nodes);
  const std::size_t numNodes = At(shape.NumNodes());
  shp_Weights weights = Zero(numNodes, count);
  weights.areMeans = ring.values.empty();
  for (std::size_t node = 0; node < numNodes; ++node)
    for (std::size_t point = 0; point < count; ++point)
      weights.values[node * count + point] = weights.areMeans
                                                 ? 1 / static_cast<double>(count)
                                                 : ring.values[node % nodes.size() * count + point];
  return weights;
}
