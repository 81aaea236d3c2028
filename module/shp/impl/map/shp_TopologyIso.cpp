// The isoparametric map of an element shape.
#include "shp_Basis.h"
#include "shp_WeightTables.h"

#include <BasicUtils/omi_Singleton.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Util.h>
#include <CoreGeometry/shp_Topology.h>
#include <algorithm>
#include <cmath>

namespace {
using Vector = std::array<double, 3>;
using Jacobian = std::array<Vector, 3>; ///< rows x, y, z; columns xi, eta, zeta
using Iso = std::span<const float, 3>;

constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }
shp_IsoPoint Wide(Iso iso) { return {iso[0], iso[1], iso[2]}; }
Vector Coordinates(const gsl_Point& point) { return {point[0], point[1], point[2]}; }

/// Position by shape functions in single precision.
Vector PointAt(const shp_Basis& basis, std::span<const gsl_Point> nodes, Iso iso) {
  shp_Basis::Values weights;
  basis.Evaluate(Wide(iso), weights);
  Vector point{};
  for (std::size_t node = 0; node < At(basis.NumNodes()); ++node)
    for (unsigned axis = 0; axis < 3; ++axis)
      point[axis] += static_cast<double>(static_cast<float>(weights[node])) * nodes[node][axis];
  return point;
}

Jacobian JacobianAt(const shp_Basis& basis, std::span<const gsl_Point> nodes, Iso iso) {
  shp_Basis::Values values;
  shp_Basis::Derivatives derivatives;
  basis.Evaluate(Wide(iso), values, derivatives);
  Jacobian jacobian{};
  for (std::size_t node = 0; node < At(basis.NumNodes()); ++node)
    for (unsigned row = 0; row < 3; ++row)
      for (std::size_t column = 0; column < 3; ++column)
        jacobian[row][column] += nodes[node][row] * derivatives[node][column];
  return jacobian;
}

double SumOfAbsolutes(const Jacobian& jacobian) {
  double sum = 0;
  for (const Vector& row : jacobian)
    for (const double value : row) sum += std::abs(value);
  return sum;
}

double Determinant(const Jacobian& j) {
  return j[0][0] * (j[1][1] * j[2][2] - j[1][2] * j[2][1]) - j[0][1] * (j[1][0] * j[2][2] - j[1][2] * j[2][0])
         + j[0][2] * (j[1][0] * j[2][1] - j[1][1] * j[2][0]);
}

/// Solves for the step in the first numDims directions, with the rows of the largest pivots; false when a
/// pivot is too small.
bool SolveStep(Jacobian jacobian, Vector residual, std::size_t numDims, Vector& step) {
  constexpr double kSmallestPivot = 1e-10;
  std::array<std::size_t, 3> columns = {0, 1, 2};
  for (std::size_t k = 0; k < numDims; ++k) {
    std::size_t pivotRow = k, pivotColumn = k;
    for (std::size_t row = k; row < 3; ++row)
      for (std::size_t column = k; column < numDims; ++column)
        if (std::abs(jacobian[row][columns[column]]) > std::abs(jacobian[pivotRow][columns[pivotColumn]])) {
          pivotRow = row;
          pivotColumn = column;
        }
    std::swap(jacobian[k], jacobian[pivotRow]);
    std::swap(residual[k], residual[pivotRow]);
    std::swap(columns[k], columns[pivotColumn]);
    const double pivot = jacobian[k][columns[k]];
    // solids have been tested by their determinant, and may be small
    if (!(std::abs(pivot) >= (numDims == 3 ? 1e-300 : kSmallestPivot))) return false;
    for (std::size_t row = k + 1; row < 3; ++row) {
      const double factor = jacobian[row][columns[k]] / pivot;
      for (std::size_t column = k; column < numDims; ++column)
        jacobian[row][columns[column]] -= factor * jacobian[k][columns[column]];
      residual[row] -= factor * residual[k];
    }
  }
  step = {};
  for (std::size_t k = numDims; k-- > 0;) {
    double value = residual[k];
    for (std::size_t column = k + 1; column < numDims; ++column)
      value -= jacobian[k][columns[column]] * step[columns[column]];
    step[columns[k]] = value / jacobian[k][columns[k]];
  }
  return true;
}

constexpr double kCloseness = 0.0005; ///< of points on each axis, and of a step
bool IsClose(const Vector& a, const Vector& b) {
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!(std::abs(a[axis] - b[axis]) < kCloseness)) return false;
  return true;
}

void Fill(std::span<float, 3> out, const shp_IsoPoint& point) {
  for (std::size_t axis = 0; axis < 3; ++axis) out[axis] = static_cast<float>(point[axis]);
}
} // namespace

void shp_Topology::GetNodeIsoCoords(int node, std::span<float, 3> iso) const {
  const bool known = node >= 0 && At(node) < NodeCoordinates().size();
  Fill(iso, known ? NodeCoordinates()[At(node)] : shp_IsoPoint{});
}

void shp_Topology::IsoParCentroidLocation(std::span<float, 3> iso) const {
  Fill(iso, weights_ ? weights_->centroid : shp_IsoPoint{});
}

std::span<const shp_IsoPoint> shp_Topology::IntPtCoordinates() const noexcept {
  return weights_ ? std::span<const shp_IsoPoint>(weights_->intPts) : std::span<const shp_IsoPoint>();
}

std::span<const shp_IsoPoint> shp_Topology::FaceCentreCoordinates() const noexcept {
  return weights_ ? std::span<const shp_IsoPoint>(weights_->faceCentres) : std::span<const shp_IsoPoint>();
}

void shp_Topology::ShapeFunctions(const shp_IsoPoint& iso, std::span<double> values) const {
  if (!basis_) return;
  shp_Basis::Values all;
  basis_->Evaluate(iso, all);
  std::copy_n(all.begin(), basis_->NumNodes(), values.begin());
}

void shp_Topology::ShapeDerivatives(const shp_IsoPoint& iso, std::span<shp_IsoPoint> derivatives) const {
  if (!basis_) return;
  shp_Basis::Values values;
  shp_Basis::Derivatives all;
  basis_->Evaluate(iso, values, all);
  std::copy_n(all.begin(), basis_->NumNodes(), derivatives.begin());
}

void shp_Topology::CalculateNodesShapeWeight(Iso iso, std::span<float> weights) const {
  if (!basis_) return;
  shp_Basis::Values all;
  basis_->Evaluate(Wide(iso), all);
  std::transform(all.begin(), all.begin() + basis_->NumNodes(), weights.begin(),
                 [](double value) { return static_cast<float>(value); });
}

void shp_Topology::GetCenterNodeWeights(std::span<float> weights) const {
  if (weights_) std::ranges::copy(weights_->centre.rounded, weights.begin());
}

const float* shp_Topology::GetFcCenterNodeWeights(int face) const noexcept {
  if (!weights_ || face < 0 || face >= connectivity_->numFaces) return nullptr;
  return weights_->faceNodesToCentres.rounded.data() + At(face) * weights_->faceNodesToCentres.numColumns;
}

gsl_Point shp_Topology::InterpolatePointFromNodes(std::span<const gsl_Point> nodes, Iso iso) const {
  if (!basis_) return {};
  const Vector point = PointAt(*basis_, nodes, iso);
  return {point[0], point[1], point[2]};
}

float shp_Topology::InterpolateResultFromNodes(std::span<const float> values, Iso iso,
                                               float otherwise) const {
  if (!basis_) return otherwise;
  shp_Basis::Values weights;
  basis_->Evaluate(Wide(iso), weights);
  double sum = 0;
  for (std::size_t node = 0; node < At(basis_->NumNodes()); ++node)
    sum += static_cast<double>(static_cast<float>(weights[node])) * static_cast<double>(values[node]);
  return static_cast<float>(sum);
}

gsl_Point shp_Topology::InterpolatePointFromNodes(std::span<const gsl_Point> nodes,
                                                  const shp_IsoPoint& iso) const {
  if (!basis_) return {};
  shp_Basis::Values weights;
  basis_->Evaluate(iso, weights);
  Vector point{};
  for (std::size_t node = 0; node < At(basis_->NumNodes()); ++node)
    for (unsigned axis = 0; axis < 3; ++axis) point[axis] += weights[node] * nodes[node][axis];
  return {point[0], point[1], point[2]};
}

float shp_Topology::InterpolateResultFromNodes(std::span<const float> values, const shp_IsoPoint& iso,
                                               float otherwise) const {
  if (!basis_) return otherwise;
  shp_Basis::Values weights;
  basis_->Evaluate(iso, weights);
  double sum = 0;
  for (std::size_t node = 0; node < At(basis_->NumNodes()); ++node)
    sum += weights[node] * static_cast<double>(values[node]);
  return static_cast<float>(sum);
}

gsl_Matrix shp_Topology::ShapeFunctionJacobian(std::span<const gsl_Point> nodes, Iso iso) const {
  double elements[4][4] = {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}};
  if (basis_) {
    const Jacobian jacobian = JacobianAt(*basis_, nodes, iso);
    for (std::size_t row = 0; row < 3; ++row)
      for (std::size_t column = 0; column < 3; ++column) elements[row][column] = jacobian[row][column];
  }
  return gsl_Matrix(elements);
}

void shp_Topology::IntPtJacobians(std::span<const double> coordinates, std::span<double> jacobians) const {
  if (!basis_) return;
  const std::size_t numNodes = At(basis_->NumNodes());
  const shp_IsoPoint* derivatives = weights_->intPtDerivatives.data();
  double* out = jacobians.data();
  for (std::size_t point = 0; point < weights_->intPts.size(); ++point, derivatives += numNodes, out += 9) {
    std::fill_n(out, 9, 0.0);
    for (std::size_t node = 0; node < numNodes; ++node)
      for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
          out[3 * row + column] += coordinates[3 * node + row] * derivatives[node][column];
  }
}

gsl_Point shp_Topology::GetFaceCentroid(int face, std::span<const gsl_Point> points,
                                        std::span<const int> elementNodes) const {
  Vector centroid{};
  if (const float* weights = GetFcCenterNodeWeights(face))
    for (const int node : FaceNodes(face)) {
      const gsl_Point& point = points[At(elementNodes[At(node)])];
      for (unsigned axis = 0; axis < 3; ++axis) centroid[axis] += static_cast<double>(*weights) * point[axis];
      ++weights;
    }
  return {centroid[0], centroid[1], centroid[2]};
}

namespace {
/// Sum of weighted nodes.
void WeightedPoint(std::span<const double> weights, std::span<const int> elementNodes,
                   std::span<const float> coordinates, float* out) {
  Vector sum{};
  for (std::size_t node = 0; node < weights.size(); ++node)
    for (std::size_t axis = 0; axis < 3; ++axis)
      sum[axis] += weights[node] * static_cast<double>(coordinates[3 * At(elementNodes[node]) + axis]);
  for (std::size_t axis = 0; axis < 3; ++axis) out[axis] = static_cast<float>(sum[axis]);
}
} // namespace

void shp_Topology::Centroid(std::span<const int> elementNodes, std::span<const float> coordinates,
                            std::span<float, 3> centroid) const {
  std::ranges::fill(centroid, 0.0F);
  if (weights_) WeightedPoint(weights_->centre.Row(0), elementNodes, coordinates, centroid.data());
}

void shp_Topology::IntPtCoord(std::span<const float> coordinates, std::span<const int> elementNodes,
                              std::span<float> points, int& count) const {
  count = 0;
  if (!HasIntPtTables()) return;
  const int blocksPerRing = IsCaxaElement() ? 2 : 1;
  for (int block = 0; block < NumRings() * blocksPerRing; ++block)
    for (int point = 0; point < NumBaseIntPts(); ++point)
      WeightedPoint(weights_->nodesToIntPts.Row(At(point)),
                    elementNodes.subspan(At(block / blocksPerRing * NumBaseNodes())), coordinates,
                    points.data() + 3 * At(count++));
}

void shp_Topology::BodyOp(std::span<const gsl_Point> nodes, std::span<float> values) const {
  if (!basis_ || NumGeomDims() != 3) return;
  const shp_Facts& facts = *shp_FindFacts(options_.Family());
  if (NumBaseNodes() != facts.NumCorners()) return;
  // a function times the determinant has at most degree two in a simplex and three in each other direction
  shp_IntegrationRule rule{options_.Family(), 0, {}, {2, 2, 2}};
  double weight = 1; // of a point: the volume of the simplex over the number of its points
  if (facts.HasSimplex()) rule.counts = {facts.NumSimplexCorners(), 2, 0};
  for (int k = 2; k <= facts.NumSimplexCorners(); ++k) weight /= k;
  shp_Basis::Values sums{}, functions;
  shp_Basis::Derivatives derivatives;
  for (const shp_IsoPoint& point : rule.Points()) {
    basis_->Evaluate(point, functions, derivatives);
    Jacobian jacobian{};
    for (std::size_t node = 0; node < At(NumBaseNodes()); ++node)
      for (unsigned row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
          jacobian[row][column] += nodes[node][row] * derivatives[node][column];
    const double volume = weight * Determinant(jacobian);
    for (std::size_t node = 0; node < At(NumBaseNodes()); ++node) sums[node] += functions[node] * volume;
  }
  for (std::size_t node = 0; node < At(NumBaseNodes()); ++node) values[node] = static_cast<float>(sums[node]);
}

bool shp_Topology::FindIsoPointLocation(const gsl_Point& target, std::span<const gsl_Point> nodes,
                                        std::span<float, 3> iso) const {
  if (!basis_) return false;
  const Vector wanted = Coordinates(target);
  std::array<float, 3> lowest = {1, 1, 1}, highest = {-1, -1, -1};
  for (int node = 0; node < NumBaseNodes(); ++node) {
    GetNodeIsoCoords(node, iso);
    if (IsClose(wanted, Coordinates(nodes[At(node)]))) return true;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      lowest[axis] = std::min(lowest[axis], iso[axis]);
      highest[axis] = std::max(highest[axis], iso[axis]);
    }
  }

  std::ranges::fill(iso, 0.0F);
  const double limit = 1000 * SumOfAbsolutes(JacobianAt(*basis_, nodes, iso));
  const double boxTolerance = omi_Singleton<gsl_Util>::Instance().Tolerance();
  for (int round = 0;; ++round) {
    if (round == 100) return false;
    const Vector point = PointAt(*basis_, nodes, iso);
    const Jacobian jacobian = JacobianAt(*basis_, nodes, iso);
    if (SumOfAbsolutes(jacobian) > limit) return false;
    if (NumGeomDims() == 3 && std::abs(Determinant(jacobian)) < 1e-10) return false;
    Vector step;
    const Vector residual = {wanted[0] - point[0], wanted[1] - point[1], wanted[2] - point[2]};
    if (!SolveStep(jacobian, residual, At(NumGeomDims()), step)) return false;
    for (std::size_t axis = 0; axis < 3; ++axis)
      iso[axis] = static_cast<float>(static_cast<double>(iso[axis]) + step[axis]);
    if (std::sqrt(step[0] * step[0] + step[1] * step[1] + step[2] * step[2]) < kCloseness) break;
  }
  bool inBox = true;
  double clamped = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto value = static_cast<double>(iso[axis]);
    inBox &= value >= static_cast<double>(lowest[axis]) - boxTolerance
             && value <= static_cast<double>(highest[axis]) + boxTolerance;
  }
  if (inBox) return true;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const float value = std::clamp(iso[axis], lowest[axis], highest[axis]);
    clamped += std::abs(static_cast<double>(iso[axis]) - static_cast<double>(value));
    iso[axis] = value;
  }
  return IsClose(PointAt(*basis_, nodes, iso), wanted) || clamped < kCloseness;
}
