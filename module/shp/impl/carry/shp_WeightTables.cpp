#include "shp_WeightTables.h"

#include <CoreGeometry/gsl_LinearEqnLUDSolver.h>
#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>

namespace {
using Matrix = shp_WeightTables::Matrix;
using Points = std::span<const shp_IsoPoint>;
using Functions = std::function<std::vector<double>(const shp_IsoPoint&)>;

/// A weight that is 0 or 1 but for rounding, as 0 or 1. A weight is a sum of at most 27 products below 100,
/// so rounding is below 1e-12; weights with another value are more than 1e-4 away from 0 and from 1.
double WithoutNoise(double weight) {
  constexpr double kNoise = 1e-12;
  return std::abs(weight) < kNoise ? 0 : std::abs(weight - 1) < kNoise ? 1 : weight;
}

void AppendRow(Matrix& matrix, std::span<const double> row) {
  matrix.numColumns = row.size();
  double gain = 0;
  for (const double computed : row) {
    const double weight = WithoutNoise(computed);
    matrix.values.push_back(weight);
    matrix.rounded.push_back(static_cast<float>(weight));
    gain += std::abs(weight);
  }
  matrix.largestGain = std::max(matrix.largestGain, gain);
}

/// Carries values at some points to others by the functions that the points determine, least squares where
/// there are more points than functions.
class Fit {
public:
  Fit(Points points, Functions functions) : functions_(std::move(functions)), numPoints_(points.size()) {
    for (const shp_IsoPoint& point : points) atPoints_.push_back(functions_(point));
    const std::size_t size = atPoints_.front().size();
    std::vector<std::vector<double>> normal(size, std::vector<double>(size, 0.0));
    for (const auto& row : atPoints_)
      for (std::size_t i = 0; i < size; ++i)
        for (std::size_t j = 0; j < size; ++j) normal[i][j] += row[i] * row[j];
    std::vector<const double*> rows;
    rows.reserve(size);
    for (const auto& row : normal) rows.push_back(row.data());
    solver_.SetMatrix(rows.data(), static_cast<unsigned>(size));
  }
  /// Weights of the points for the value at a place.
  std::vector<double> WeightsAt(const shp_IsoPoint& place) {
    std::vector<double> coefficients = functions_(place), weights(numPoints_, 0.0);
    if (!solver_.Solve(coefficients.data(), coefficients.data()))
      throw nex_AssertionException("integration points that do not determine their functions");
    for (std::size_t point = 0; point < numPoints_; ++point)
      for (std::size_t k = 0; k < coefficients.size(); ++k)
        weights[point] += coefficients[k] * atPoints_[point][k];
    return weights;
  }

private:
  Functions functions_;
  std::size_t numPoints_;
  std::vector<std::vector<double>> atPoints_;
  gsl_LinearEqnLUDSolver solver_;
};

shp_IsoPoint Mean(Points nodes, std::span<const int> members) {
  shp_IsoPoint mean{};
  for (const int node : members)
    for (std::size_t axis = 0; axis < 3; ++axis) mean[axis] += nodes[static_cast<std::size_t>(node)][axis];
  for (double& value : mean) value /= static_cast<double>(members.size());
  return mean;
}

/// Places of the nodes of a face on a family of as many corners: its corners, middles of sides, centre.
std::vector<shp_IsoPoint> PlacesOnFace(const shp_Connectivity& tables, int face, const shp_Facts& reference,
                                       Points nodes) {
  const auto faceNodes = tables.FaceNodes(face);
  const auto numCorners = static_cast<std::size_t>(reference.NumCorners());
  std::vector<shp_IsoPoint> places;
  const auto corner = [&](std::size_t k) { return reference.corners[k % numCorners]; };
  for (std::size_t k = 0; k < faceNodes.size(); ++k) {
    if (k < numCorners) {
      places.push_back(corner(k));
      continue;
    }
    const shp_IsoPoint& node = nodes[static_cast<std::size_t>(faceNodes[k])];
    std::array<int, 4> all = {0, 1, 2, 3};
    shp_IsoPoint place =
        Mean(std::span(reference.corners.begin(), numCorners), std::span(all).first(numCorners));
    for (std::size_t side = 0; side < numCorners; ++side) {
      const int ends[] = {faceNodes[side], faceNodes[(side + 1) % numCorners]};
      if (Mean(nodes, ends) == node) {
        const shp_IsoPoint both[] = {corner(side), corner(side + 1)};
        place = Mean(both, std::array{0, 1});
        break;
      }
    }
    places.push_back(place);
  }
  return places;
}

class Builder {
public:
  Builder(const shp_Options& options, const shp_NodePattern& pattern, const shp_Connectivity& connectivity)
      : options_(options), pattern_(pattern), connectivity_(connectivity), basis_(shp_BasisOf(pattern)),
        numNodes_(static_cast<std::size_t>(pattern.numNodes)),
        nodes_(std::span(pattern.coordinates).first(numNodes_)) {}

  std::unique_ptr<const shp_WeightTables> Build(int maxIntPtsPerFace) {
    BuildCentres();
    BuildIntPts();
    BuildFacePts(maxIntPtsPerFace);
    return std::move(tables_);
  }

private:
  std::vector<double> NodeWeights(const shp_IsoPoint& point) const {
    shp_Basis::Values values;
    basis_.Evaluate(point, values);
    return {values.begin(), values.begin() + pattern_.numNodes};
  }
  std::span<const int> Corners(int face) const {
    return connectivity_.FaceNodes(face).first(
        static_cast<std::size_t>(connectivity_.cornersPerFace[static_cast<std::size_t>(face)]));
  }

  void BuildCentres() {
    std::vector<int> corners(static_cast<std::size_t>(shp_FindFacts(pattern_.family)->NumCorners()));
    std::iota(corners.begin(), corners.end(), 0);
    tables_->centroid = Mean(nodes_, corners);
    AppendRow(tables_->centre, NodeWeights(tables_->centroid));
    for (int face = 0; face < connectivity_.numFaces; ++face) {
      tables_->faceCentres.push_back(Mean(nodes_, Corners(face)));
      const std::vector<double> weights = NodeWeights(tables_->faceCentres.back());
      AppendRow(tables_->nodesToFaces, weights);
      std::vector<double> ofFaceNodes(static_cast<std::size_t>(connectivity_.maxNodesPerFace), 0.0);
      std::ranges::transform(connectivity_.FaceNodes(face), ofFaceNodes.begin(),
                             [&](int node) { return weights[static_cast<std::size_t>(node)]; });
      AppendRow(tables_->faceNodesToCentres, ofFaceNodes);
    }
  }

  void BuildIntPts() {
    const shp_IntegrationRule* rule = shp_FindIntegrationRule(options_);
    if (shp_HasIntPtsAtNodes(options_)) {
      tables_->intPts.assign(nodes_.begin(), nodes_.end());
      for (const shp_IsoPoint& node : nodes_) AppendRow(tables_->intPtsToNodes, NodeWeights(node));
      tables_->intPtsToFaces = tables_->nodesToFaces;
    } else if (rule) {
      tables_->intPts = rule->Points();
      Fit fit(tables_->intPts, [rule](const shp_IsoPoint& point) { return rule->Functions(point); });
      for (const shp_IsoPoint& node : nodes_) AppendRow(tables_->intPtsToNodes, fit.WeightsAt(node));
      for (const shp_IsoPoint& centre : tables_->faceCentres)
        AppendRow(tables_->intPtsToFaces, fit.WeightsAt(centre));
    }
    for (const shp_IsoPoint& point : tables_->intPts) {
      shp_Basis::Values values;
      shp_Basis::Derivatives derivatives;
      basis_.Evaluate(point, values, derivatives);
      AppendRow(tables_->nodesToIntPts, std::span(values).first(numNodes_));
      tables_->intPtDerivatives.insert(tables_->intPtDerivatives.end(), derivatives.begin(),
                                       derivatives.begin() + pattern_.numNodes);
    }
  }

  /// Plane shapes and lines have points on edges, others on their faces.
  void BuildFacePts(int maxIntPtsPerFace) {
    if (maxIntPtsPerFace == 2) {
      AppendFacePts(tables_->edgePtsToNodes, {shp_Family::Line, 2, {}, {2}},
                    std::array{shp_IsoPoint{-1}, shp_IsoPoint{1}, shp_IsoPoint{0}});
      return;
    }
    for (int face = 0; face < connectivity_.numFaces; ++face) {
      const bool triangle = Corners(face).size() == 3;
      const bool linear = connectivity_.FaceNodes(face).size() == 3;
      const auto places = PlacesOnFace(connectivity_, face, triangle ? kTriangle : kQuadrilateral, nodes_);
      Matrix& matrix = tables_->facePtsToNodes.emplace_back();
      if (triangle)
        AppendFacePts(matrix, {shp_Family::Triangle, linear ? 1 : 3, {}, {linear ? 1 : 3}}, places);
      else
        AppendFacePts(matrix, {shp_Family::Quadrilateral, 4, {}, {2, 2}}, places);
    }
  }
  static void AppendFacePts(Matrix& matrix, const shp_IntegrationRule& rule, Points places) {
    const std::vector<shp_IsoPoint> points = rule.Points();
    Fit fit(points, [&](const shp_IsoPoint& point) { return rule.Functions(point); });
    for (const shp_IsoPoint& place : places) AppendRow(matrix, fit.WeightsAt(place));
  }

  const shp_Options& options_;
  const shp_NodePattern& pattern_;
  const shp_Connectivity& connectivity_;
  const shp_Basis& basis_;
  std::size_t numNodes_;
  Points nodes_;
  std::unique_ptr<shp_WeightTables> tables_ = std::make_unique<shp_WeightTables>();
};

/// One node, one point and one face, which all have the same value.
const shp_WeightTables& SingleNode() {
  static const shp_WeightTables tables = [] {
    shp_WeightTables single;
    for (Matrix* matrix :
         {&single.centre, &single.nodesToIntPts, &single.intPtsToNodes, &single.intPtsToFaces,
          &single.nodesToFaces, &single.faceNodesToCentres, &single.edgePtsToNodes})
      AppendRow(*matrix, std::array{1.0});
    return single;
  }();
  return tables;
}
} // namespace

const shp_WeightTables* shp_FindWeightTables(const shp_Options& options, int maxIntPtsPerFace) {
  const shp_Connectivity* connectivity = shp_FindConnectivity(options);
  if (!connectivity) return nullptr;
  const shp_NodePattern* pattern = shp_FindNodePattern(options);
  if (!pattern) return &SingleNode();
  const shp_IntegrationRule* rule = shp_FindIntegrationRule(options);
  static std::mutex mutex;
  static std::map<std::tuple<const void*, const void*, bool, int>, std::unique_ptr<const shp_WeightTables>>
      made;
  const std::lock_guard lock(mutex);
  auto& tables = made[{connectivity, rule, shp_HasIntPtsAtNodes(options), maxIntPtsPerFace}];
  if (!tables) tables = Builder(options, *pattern, *connectivity).Build(maxIntPtsPerFace);
  return tables.get();
}
