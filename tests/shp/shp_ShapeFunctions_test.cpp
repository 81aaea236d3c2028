#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/shp_ShapeDictionary.h>

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {
class shp_ShapeFunctionsTest : public testing::Test {
protected:
  const shp_Shape& Shape(const cow_String& label) const { return *dictionary_.GetShape(label); }
  /// Calls check(shape) for a label of every set of nodes; each set is static data with one address, but the
  /// open and closed variants share theirs.
  void ForEachPattern(const auto& check) const {
    std::set<std::pair<const void*, const void*>> seen;
    for (const auto& [label, key] : dictionary_.LabelTable()) {
      const shp_Shape& shape = Shape(label);
      if (shape.NodeCoordinates().empty()) continue;
      if (!seen.emplace(shape.NodeCoordinates().data(), shape.NodesPerFace().data()).second) continue;
      SCOPED_TRACE(label);
      check(shape);
    }
    EXPECT_GE(seen.size(), 24U + 5);
  }
  static std::vector<double> Functions(const shp_Shape& shape, const shp_IsoPoint& iso) {
    std::vector<double> values(shape.NodeCoordinates().size());
    shape.ShapeFunctions(iso, values);
    return values;
  }
  static shp_IsoPoint Random(const shp_Shape& shape, std::mt19937& random) {
    shp_IsoPoint iso{};
    for (std::size_t axis = 0; axis < static_cast<std::size_t>(shape.NumGeomDims()); ++axis)
      iso[axis] = std::uniform_real_distribution(-1.0, 1.0)(random);
    return iso;
  }
  const shp_ShapeDictionary dictionary_;
};

TEST_F(shp_ShapeFunctionsTest, AreOneAtTheirNodeAndReproduceTheirPolynomials) {
  std::mt19937 random(1);
  ForEachPattern([&](const shp_Shape& shape) {
    const auto nodes = shape.NodeCoordinates();
    for (std::size_t node = 0; node < nodes.size(); ++node) {
      const std::vector<double> values = Functions(shape, nodes[node]);
      for (std::size_t k = 0; k < nodes.size(); ++k)
        EXPECT_EQ(values[k], k == node ? 1 : 0) << node << ' ' << k;
    }
    // complete quadratics where every edge has a middle
    bool quadratic = !shape.NodesPerEdge().empty();
    for (int face = 0; face < shape.NumFaces(); ++face)
      for (int edge = 0; edge < shape.EdgesPerFace()[static_cast<std::size_t>(face)]; ++edge)
        quadratic &= shape.EdgeNodes(face, edge).size() == 3;
    quadratic &= !shape.Options().HasBit(57);
    for (int sample = 0; sample < 20; ++sample) {
      const shp_IsoPoint iso = Random(shape, random);
      const std::vector<double> values = Functions(shape, iso);
      double sum = 0;
      std::array<double, 9> reproduced{};
      for (std::size_t node = 0; node < nodes.size(); ++node) {
        sum += values[node];
        for (std::size_t a = 0; a < 3; ++a) {
          reproduced[a] += values[node] * nodes[node][a];
          reproduced[3 + a] += values[node] * nodes[node][a] * nodes[node][a];
          reproduced[6 + a] += values[node] * nodes[node][a] * nodes[node][(a + 1) % 3];
        }
      }
      EXPECT_NEAR(sum, 1, 1e-13);
      for (std::size_t a = 0; a < 3; ++a) {
        EXPECT_NEAR(reproduced[a], iso[a], 1e-13);
        if (!quadratic) continue;
        EXPECT_NEAR(reproduced[3 + a], iso[a] * iso[a], 1e-12);
        EXPECT_NEAR(reproduced[6 + a], iso[a] * iso[(a + 1) % 3], 1e-12);
      }
      std::vector<shp_IsoPoint> slopes(nodes.size());
      shape.ShapeDerivatives(iso, slopes);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        constexpr double h = 1e-5;
        shp_IsoPoint before = iso, after = iso;
        before[axis] -= h;
        after[axis] += h;
        const auto low = Functions(shape, before), high = Functions(shape, after);
        for (std::size_t node = 0; node < nodes.size(); ++node)
          EXPECT_NEAR(slopes[node][axis], (high[node] - low[node]) / (2 * h), 1e-8) << node;
      }
    }
  });
}

TEST_F(shp_ShapeFunctionsTest, OfNodesOffAFaceVanishOnIt) {
  std::mt19937 random(2);
  ForEachPattern([&](const shp_Shape& shape) {
    if (shape.NumGeomDims() != 3) return;
    for (int face = 0; face < shape.NumFaces(); ++face) {
      const auto onFace = shape.FaceNodes(face);
      for (int sample = 0; sample < 5; ++sample) {
        std::array<double, 4> weights{};
        double sum = 0;
        const auto numCorners =
            static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(face)]);
        for (std::size_t k = 0; k < numCorners; ++k)
          sum += weights[k] = std::uniform_real_distribution(0.0, 1.0)(random);
        shp_IsoPoint iso{};
        for (std::size_t k = 0; k < numCorners; ++k)
          for (std::size_t axis = 0; axis < 3; ++axis)
            iso[axis] +=
                weights[k] / sum * shape.NodeCoordinates()[static_cast<std::size_t>(onFace[k])][axis];
        const std::vector<double> values = Functions(shape, iso);
        for (int node = 0; node < shape.NumBaseNodes(); ++node)
          if (std::ranges::find(onFace, node) == onFace.end()) {
            EXPECT_NEAR(values[static_cast<std::size_t>(node)], 0, 1e-14) << face << ' ' << node;
          }
      }
    }
  });
}

TEST_F(shp_ShapeFunctionsTest, OfCylindricalHexahedraAreBilinearTimesQuadratic) {
  const shp_IsoPoint p = {0.3, -0.7, 0.45};
  const double signs[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
  const std::vector<double> values = Functions(Shape("CCL12"), p);
  for (std::size_t k = 0; k < 4; ++k) {
    const double plane = (1 + signs[k][0] * p[0]) * (1 + signs[k][1] * p[1]);
    EXPECT_NEAR(values[k], plane * (p[2] * p[2] - p[2]) / 8, 1e-15);
    EXPECT_NEAR(values[k + 4], plane * (p[2] * p[2] + p[2]) / 8, 1e-15);
    EXPECT_NEAR(values[k + 8], plane * (1 - p[2] * p[2]) / 4, 1e-15);
  }
}

TEST_F(shp_ShapeFunctionsTest, CarryPointsResultsAndTheirDerivatives) {
  const shp_Shape& shape = Shape("C3D8");
  std::vector<gsl_Point> nodes;
  std::vector<float> flat, results;
  for (const shp_IsoPoint& node : shape.NodeCoordinates()) {
    nodes.emplace_back(2 * node[0] + 1, 3 * node[1] + node[0], node[2] - 4);
    for (unsigned axis = 0; axis < 3; ++axis) flat.push_back(static_cast<float>(nodes.back()[axis]));
    results.push_back(static_cast<float>(node[0] * node[1] * node[2]));
  }
  const std::array<float, 3> iso = {0.5F, -0.25F, 0.125F};
  const gsl_Point point = shape.InterpolatePointFromNodes(nodes, iso);
  EXPECT_NEAR(point[0], 2, 1e-6);
  EXPECT_NEAR(point[1], -0.25, 1e-6);
  EXPECT_NEAR(point[2], -3.875, 1e-6);
  EXPECT_NEAR(shape.InterpolateResultFromNodes(results, iso), -0.015625F, 1e-7F);
  EXPECT_EQ(Shape("MASS").InterpolateResultFromNodes(results, iso, 5.0F), 5.0F);
  const gsl_Matrix jacobian = shape.ShapeFunctionJacobian(nodes, iso);
  const double expected[3][3] = {{2, 0, 0}, {1, 3, 0}, {0, 0, 1}};
  std::vector<double> wide(flat.begin(), flat.end()), all(9 * 8);
  shape.IntPtJacobians(wide, all);
  for (unsigned row = 0; row < 3; ++row)
    for (unsigned column = 0; column < 3; ++column) {
      EXPECT_NEAR(jacobian.Element(row, column), expected[row][column], 1e-12);
      EXPECT_NEAR(all[9 * 7 + 3 * row + column], expected[row][column], 1e-12);
    }

  const std::vector<int> elementNodes = {0, 1, 2, 3, 4, 5, 6, 7};
  std::array<float, 3> centroid{};
  shape.Centroid(elementNodes, flat, centroid);
  EXPECT_EQ(centroid, (std::array<float, 3>{1, 0, -4}));
  EXPECT_NEAR(shape.GetFaceCentroid(3, nodes, elementNodes)[0], 3, 1e-12);
  std::vector<float> points(24);
  int count = 0;
  shape.IntPtCoord(flat, elementNodes, points, count);
  EXPECT_EQ(count, 8);
  EXPECT_NEAR(points[0], 1 - 2 / std::sqrt(3.0F), 1e-6);
  std::array<float, 3> node{};
  shape.GetNodeIsoCoords(6, node);
  EXPECT_EQ(node, (std::array<float, 3>{1, 1, 1}));
  Shape("C3D6").IsoParCentroidLocation(node);
  EXPECT_EQ(node, (std::array<float, 3>{1.0F / 3, 1.0F / 3, 0}));
}

TEST_F(shp_ShapeFunctionsTest, WeightsOfCentresAreValuesNotMeans) {
  std::vector<float> centre(20);
  Shape("C3D20").GetCenterNodeWeights(centre);
  EXPECT_EQ(centre[0], -0.25F);
  EXPECT_EQ(centre[19], 0.25F);
  const float* face = Shape("C3D20").GetFcCenterNodeWeights(2);
  for (std::size_t k = 0; k < 8; ++k) EXPECT_EQ(face[k], k < 4 ? -0.25F : 0.5F);
  EXPECT_EQ(Shape("C3D27").GetFcCenterNodeWeights(5)[8], 1);
  EXPECT_EQ(*Shape("MASS").GetFcCenterNodeWeights(0), 1);
  EXPECT_EQ(Shape("C3D8").GetFcCenterNodeWeights(6), nullptr);
}

TEST_F(shp_ShapeFunctionsTest, IntegralsOverTheBodySumToItsVolume) {
  // a pyramid-like distortion, for which the determinant is not constant
  for (const char* label : {"C3D4", "C3D6", "C3D8"}) {
    const shp_Shape& shape = Shape(label);
    std::vector<gsl_Point> nodes;
    for (const shp_IsoPoint& p : shape.NodeCoordinates()) {
      const double taper = 1 + 0.3 * p[2] + (shape.NumBaseNodes() == 8 ? 0.1 * p[0] * p[1] : 0);
      nodes.emplace_back(p[0] * taper, p[1] * (1 + 0.2 * p[0]), p[2]);
    }
    // the same by three Gauss points a direction of a cube that is folded onto the element
    double volume = 0;
    std::vector<double> values(nodes.size()), expected(nodes.size());
    const double root = std::sqrt(0.15), places[] = {0.5 - root, 0.5, 0.5 + root};
    const double weights[] = {5.0 / 18, 8.0 / 18, 5.0 / 18};
    for (int k = 0; k < 27; ++k) {
      const double u = places[k % 3], v = places[k / 3 % 3], w = places[k / 9];
      double weight = weights[k % 3] * weights[k / 3 % 3] * weights[k / 9];
      shp_IsoPoint iso = {2 * u - 1, 2 * v - 1, 2 * w - 1};
      if (shape.NumBaseNodes() == 8) {
        weight *= 8;
      } else {
        const double rest = (1 - u) * (1 - v);
        iso = {u, v * (1 - u), shape.NumBaseNodes() == 4 ? w * rest : iso[2]};
        weight *= shape.NumBaseNodes() == 4 ? (1 - u) * rest : 2 * (1 - u);
      }
      std::vector<shp_IsoPoint> slopes(nodes.size());
      shape.ShapeDerivatives(iso, slopes);
      double e[3][3] = {};
      for (std::size_t node = 0; node < nodes.size(); ++node)
        for (unsigned row = 0; row < 3; ++row)
          for (std::size_t column = 0; column < 3; ++column)
            e[row][column] += nodes[node][row] * slopes[node][column];
      const double cell = weight
                          * (e[0][0] * (e[1][1] * e[2][2] - e[1][2] * e[2][1])
                             - e[0][1] * (e[1][0] * e[2][2] - e[1][2] * e[2][0])
                             + e[0][2] * (e[1][0] * e[2][1] - e[1][1] * e[2][0]));
      shape.ShapeFunctions(iso, values);
      volume += cell;
      for (std::size_t node = 0; node < nodes.size(); ++node) expected[node] += values[node] * cell;
    }
    std::vector<float> body(nodes.size(), -1);
    shape.BodyOp(nodes, body);
    double sum = 0;
    for (const float value : body) sum += value;
    EXPECT_NEAR(sum, volume, 1e-6 * volume) << label;
    for (std::size_t node = 0; node < nodes.size(); ++node)
      EXPECT_NEAR(body[node], expected[node], 1e-7 * volume) << label << " node " << node;
  }
  std::vector<gsl_Point> twenty(20);
  std::vector<float> untouched(20, -1);
  Shape("C3D20").BodyOp(twenty, untouched);
  EXPECT_EQ(untouched, std::vector<float>(20, -1));
}
} // namespace
