#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/shp_ShapeDictionary.h>

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <sstream>

namespace {
/// A label of each integration rule, and the functions that extrapolation reproduces.
const std::map<std::string, const char*> kRules = {
    {"B31", "1"},
    {"SAX2", "1 x"},
    {"B23", "1 x xx"},
    {"CPS3", "1"},
    {"CPS6", "1 x y"},
    {"AC2D6", "1 x y xx xy yy"},
    {"CPS4R", "1"},
    {"CPS4", "1 x y xy"},
    {"CPS8", "1 x y xy xx yy xxy xyy xxyy"},
    {"GKPE4", "1 x"},
    {"SFMCL6", "1 y"},
    {"GKPE6", "1 x xx"},
    {"MCL6", "1 y yy"},
    {"MCL9", "1 x y xy yy xyy"},
    {"C3D4", "1"},
    {"C3D10", "1 x y z"},
    {"AC3D10", "1 x y z xx yy zz xy xz yz"},
    {"C3D6R", "1"},
    {"C3D6", "1 z"},
    {"COH3D6P", "1 x y"},
    {"CCL9", "1 z zz"},
    {"GK3D12M", "1 x y xx xy yy"},
    {"C3D15", "1 x y z xz yz zz xzz yzz"},
    {"AC3D15", "1 x y xx xy yy z xz yz xxz xyz yyz zz xzz yzz xxzz xyzz yyzz"},
    {"C3D8R", "1"},
    {"C3D8", "1 x y z xy xz yz xyz"},
    {"C3D20", "1 x y z xy xz yz xyz xx yy zz xxyy xxzz yyzz xxyyzz xxy xyy xxyzz"},
    {"COH3D8P", "1 x y xy"},
    {"GK3D18", "1 x y xy xx yy xxy xyy xxyy"},
    {"C3D27RC1", "1 x y xy xx+yy"},
    {"CCL24R", "1 x y xy z xz yz xyz zz xzz yzz xyzz"},
    {"C3D27R", "1 x y z xx yy zz xy xz yz xyz"},
};

double Evaluate(const std::string& function, const shp_IsoPoint& p) {
  double sum = 0, product = 1;
  for (const char c : function + '+')
    if (c == '+') {
      sum += product;
      product = 1;
    } else if (c != '1') {
      product *= p[static_cast<std::size_t>(c - 'x')];
    }
  return sum;
}

/// Keeps the errors of this thread.
class Errors : public wip_WIPBase {
public:
  Errors() { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(this); }
  ~Errors() override { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(nullptr); }
  void Error(const cow_String& message) override { messages.push_back(message); }
  std::vector<cow_String> messages;
};

class shp_ExtrapolationTest : public testing::Test {
protected:
  const shp_Shape& Shape(const cow_String& label) const { return *dictionary_.GetShape(label); }
  const shp_ShapeDictionary dictionary_;
};

TEST_F(shp_ExtrapolationTest, ReproducesTheFunctionsOfTheRule) {
  for (const auto& [label, functions] : kRules) {
    const shp_Shape& shape = Shape(label);
    std::istringstream list(functions);
    for (std::string function; list >> function;) {
      std::vector<float> values, nodes(static_cast<std::size_t>(shape.NumNodes())), faces(6);
      for (const shp_IsoPoint& point : shape.IntPtCoordinates())
        values.push_back(static_cast<float>(Evaluate(function, point)));
      shape.ExtrapolateToNodes(values, res_INTEGRATION_POINT, nodes, 1);
      shape.ExtrapolateToFaces(values, res_INTEGRATION_POINT, faces, 1);
      for (std::size_t node = 0; node < nodes.size(); ++node)
        EXPECT_NEAR(nodes[node], Evaluate(function, shape.NodeCoordinates()[node]), 1e-6)
            << label << ' ' << function << " at node " << node;
      for (std::size_t face = 0; face < static_cast<std::size_t>(shape.NumFaces()); ++face)
        EXPECT_NEAR(faces[face], Evaluate(function, shape.FaceCentreCoordinates()[face]), 1e-6)
            << label << ' ' << function << " at face " << face;
    }
  }
}

TEST_F(shp_ExtrapolationTest, EveryLabelHasItsPointsInsideAndKeepsConstants) {
  std::set<std::vector<shp_IsoPoint>> known;
  for (const auto& [label, functions] : kRules) {
    const auto points = Shape(label).IntPtCoordinates();
    known.insert({points.begin(), points.end()});
  }
  for (const auto& [label, key] : dictionary_.LabelTable()) {
    const shp_Shape& shape = Shape(label);
    const auto points = shape.IntPtCoordinates(), nodes = shape.NodeCoordinates();
    if (nodes.empty()) continue;
    ASSERT_EQ(points.size(), static_cast<std::size_t>(shape.NumBaseIntPts())) << label;
    EXPECT_TRUE(known.contains({points.begin(), points.end()}) || std::ranges::equal(points, nodes)) << label;
    EXPECT_EQ(shape.Options().HasBit(58) || shape.Options().HasBit(68), std::ranges::equal(points, nodes))
        << label;
    const std::vector<float> values(static_cast<std::size_t>(shape.NumIntPts()), 3);
    std::vector<float> carried(static_cast<std::size_t>(shape.NumNodes()));
    shape.ExtrapolateToNodes(values, res_INTEGRATION_POINT, carried, 1);
    for (const float value : carried) EXPECT_NEAR(value, 3, 2e-6) << label;
    for (const shp_IsoPoint& point : points) {
      const bool simplex = nodes[0] == shp_IsoPoint{} || nodes[0] == shp_IsoPoint{0, 0, -1};
      EXPECT_TRUE(std::abs(point[0]) <= 1 && std::abs(point[1]) <= 1 && std::abs(point[2]) <= 1) << label;
      if (simplex) {
        EXPECT_LE(point[0] + point[1], 1 + 1e-15) << label;
      }
    }
  }
}

TEST_F(shp_ExtrapolationTest, WeightsAreZeroOrOneWhereTheirValueIs) {
  constexpr double kLeast = 1e-4; // all other weights are farther from 0 and from 1
  for (const auto& [label, key] : dictionary_.LabelTable()) {
    const shp_Shape& shape = Shape(label);
    std::ostringstream text;
    shape.PrintWeightsInTable(text); // with seven digits of what is computed in double precision
    std::istringstream words(text.str());
    const auto check = [&, label = label](double weight, const char* where) {
      EXPECT_TRUE(weight == 0 || std::abs(weight) > kLeast) << label << where << weight;
      EXPECT_TRUE(weight == 1 || std::abs(weight - 1) > kLeast) << label << where << weight;
    };
    for (std::string word; words >> word;)
      if (char* end; std::strtod(word.c_str(), &end), *end == 0) check(std::stod(word), " printed ");
    if (shape.NodeCoordinates().empty()) continue;
    for (const auto table :
         {shape.IntPtToNodeWeights(), shape.IntPtToFaceWeights(), shape.NodeToFaceWeights()})
      for (const float weight : table) check(weight, " in a table ");
    std::vector<float> values(static_cast<std::size_t>(shape.NumBaseNodes())), faces(6);
    for (float& value : values) { // a large value at one node
      value = 1e30F;
      shape.ExtrapolateToFaces(values, res_ELEMENT_NODAL, faces, 1);
      for (const float face : faces) check(face / 1e30F, " at a face ");
      value = 0;
    }
    for (int face = 0; face < shape.NumFaces(); ++face)
      for (int point = 0; point < shape.MaxIntPtsPerFace(); ++point) {
        std::vector<float> unit(static_cast<std::size_t>(shape.MaxIntPtsPerFace())), nodes(9);
        unit[static_cast<std::size_t>(point)] = 1;
        shape.ExtrapolateFromFaceIntPtsToFaceNodes(unit, nodes, 1, face);
        for (const float node : nodes) check(node, " from a face point ");
      }
  }
}

TEST_F(shp_ExtrapolationTest, PointsAreThoseOfTheirDegree) {
  const double root = std::sqrt(15.0);
  struct Rule {
    const char* label;
    int degree;
    std::vector<std::pair<int, double>> weights; ///< of runs of points
    double (*integral)(int, int, int);
  };
  const auto factorial = [](int n) { return std::tgamma(n + 1.0); };
  static const auto f = factorial;
  const Rule rules[] = {
      {"AC2D6",
       4,
       {{3, 0.109951743655321868 / 2}, {3, 0.223381589678011466 / 2}},
       [](int a, int b, int c) { return c ? 0 : f(a) * f(b) / f(a + b + 2); }},
      {"AC3D10",
       5,
       {{1, 8.0 / 405}, {4, (2665 + 14 * root) / 226800}, {4, (2665 - 14 * root) / 226800}, {6, 5.0 / 567}},
       [](int a, int b, int c) { return f(a) * f(b) * f(c) / f(a + b + c + 3); }},
      {"C3D27R",
       5,
       {{6, 320.0 / 361}, {8, 121.0 / 361}},
       [](int a, int b, int c) { return a % 2 || b % 2 || c % 2 ? 0 : 8.0 / ((a + 1) * (b + 1) * (c + 1)); }},
  };
  for (const Rule& rule : rules) {
    const auto points = Shape(rule.label).IntPtCoordinates();
    for (int a = 0; a <= rule.degree; ++a)
      for (int b = 0; a + b <= rule.degree; ++b)
        for (int c = 0; a + b + c <= rule.degree; ++c) {
          double sum = 0;
          std::size_t point = 0;
          for (const auto& [count, weight] : rule.weights)
            for (int k = 0; k < count; ++k, ++point)
              sum += weight * std::pow(points[point][0], a) * std::pow(points[point][1], b)
                     * std::pow(points[point][2], c);
          EXPECT_NEAR(sum, rule.integral(a, b, c), 1e-14) << rule.label << a << b << c;
        }
  }
}

TEST_F(shp_ExtrapolationTest, PositionsThatAreNotKnownAreReportedOnceAndGiveZeros) {
  const shp_Shape& shape = Shape("C3D8");
  Errors errors;
  const std::vector<float> input = {1.5F, std::nanf(""), 3e38F};
  std::vector<float> nodes(24, 7), faces(18, 7);
  shape.StdExtrapToNodes(input, res_WHOLE_ELEMENT, nodes, 3);
  EXPECT_TRUE(nodes[0] == 1.5F && std::isnan(nodes[22]) && nodes[23] == 3e38F);
  shape.ExtrapolateToFaces(input, res_ELEMENT_CENTROID, faces, 3);
  EXPECT_EQ(faces[15], 1.5F);
  std::vector<float> copied(24);
  shape.StdExtrapToNodes(nodes, res_ELEMENT_NODAL, copied, 3);
  EXPECT_EQ(std::memcmp(copied.data(), nodes.data(), 24 * sizeof(float)), 0);
  EXPECT_TRUE(errors.messages.empty());

  shape.StdExtrapToNodes(input, res_NODAL, nodes, 3);
  shape.ExtrapolateToFaces(input, static_cast<res_OutputPositionEnm>(13), faces, 3);
  shape.ExtrapolateEachToNodes(2, input, res_ELEMENT_FACE, std::span(nodes), 1);
  EXPECT_EQ(errors.messages,
            (std::vector<cow_String>{"shp_Shape::ExtrapolateToNodes: Unsupported position NODAL",
                                     "shp_Shape::ExtrapolateToFaces: Unsupported position 13",
                                     "shp_Shape::ExtrapolateToNodes: Unsupported position ELEMENT_FACE"}));
  EXPECT_EQ(nodes, std::vector<float>(24, 0));
  EXPECT_EQ(faces, std::vector<float>(18, 0));
}

TEST_F(shp_ExtrapolationTest, SumsAreClampedToTheLargestFloat) {
  constexpr float kLargest = std::numeric_limits<float>::max();
  std::vector<float> points = {kLargest, -kLargest, -kLargest, kLargest}, nodes(4);
  Shape("CPS4").StdExtrapToNodes(points, res_INTEGRATION_POINT, nodes, 1);
  EXPECT_EQ(nodes[0], kLargest);
  EXPECT_EQ(nodes[1], -kLargest);
}

TEST_F(shp_ExtrapolationTest, ComponentsAndElementsDoNotMix) {
  for (const auto& [label, numComponents] : {std::pair{"C3D10", 11},
                                             {"C3D27", 6},
                                             {"S8R", 6},
                                             {"C3D8", 4},
                                             {"C3D8", 6},
                                             {"C3D10", 6},
                                             {"C3D15", 8},
                                             {"CAXA41", 11},
                                             {"B31", 1}}) {
    const shp_Shape& shape = Shape(label);
    const std::size_t n = 9, c = static_cast<std::size_t>(numComponents);
    const auto numPoints = static_cast<std::size_t>(shape.NumIntPts()),
               numNodes = static_cast<std::size_t>(shape.NumNodes());
    std::vector<float> points(n * c * numPoints), nodes(n * c * numNodes);
    for (std::size_t k = 0; k < points.size(); ++k) points[k] = static_cast<float>((k * 37) % 101);
    points[3 * c * numPoints] = std::numeric_limits<float>::max(); // sums of the fourth element are clamped
    if (numPoints > 1) points[3 * c * numPoints + c] = -std::numeric_limits<float>::max();
    shape.ExtrapolateEachToNodes(static_cast<int>(n), points, res_INTEGRATION_POINT, nodes, numComponents);
    std::vector<float> onePoint(numPoints), oneNode(numNodes);
    for (std::size_t element = 0; element < n; ++element)
      for (std::size_t k = 0; k < c; ++k) {
        for (std::size_t p = 0; p < numPoints; ++p) onePoint[p] = points[(element * numPoints + p) * c + k];
        shape.ExtrapolateToNodes(onePoint, res_INTEGRATION_POINT, oneNode, 1);
        for (std::size_t p = 0; p < numNodes; ++p)
          EXPECT_EQ(nodes[(element * numNodes + p) * c + k], oneNode[p]) << label;
      }
  }
}

TEST_F(shp_ExtrapolationTest, RingsTakeTheMeanOfTheirTwoBlocks) {
  const shp_Shape& shape = Shape("CAXA4R1"); // two rings, one point in each of four blocks
  std::vector<float> nodes(8);
  shape.CaxaExtrapToNodes(std::vector<float>{1, 3, 10, 30}, res_INTEGRATION_POINT, nodes, 1);
  EXPECT_EQ(nodes, (std::vector<float>{2, 2, 2, 2, 20, 20, 20, 20}));
  std::vector<float> face(1);
  shape.ExtrapolateToFaces(std::vector<float>{1, 3, 10, 30}, res_INTEGRATION_POINT, face, 1);
  EXPECT_EQ(face[0], 2);
}

TEST_F(shp_ExtrapolationTest, FacePointsReachTheNodesOfEachFace) {
  const double g = 1 / std::sqrt(3.0);
  const auto carry = [&](const char* label, std::vector<float> values, int face, std::size_t numNodes) {
    std::vector<float> nodes(numNodes);
    Shape(label).ExtrapolateFromFaceIntPtsToFaceNodes(values, nodes, 1, face);
    return nodes;
  };
  // u + 2 v on a quadrilateral
  const std::vector<float> bilinear = {static_cast<float>(-3 * g), static_cast<float>(-g),
                                       static_cast<float>(g), static_cast<float>(3 * g)};
  const float onQuad[] = {-3, -1, 3, 1, -2, 1, 2, -1, 0};
  const auto quad = carry("C3D27", bilinear, 1, 9);
  for (std::size_t k = 0; k < 9; ++k) EXPECT_NEAR(quad[k], onQuad[k], 1e-6) << k;
  const auto cohesive = carry("COH3D8P", bilinear, 2, 6); // middles of the second and the last side
  for (std::size_t k = 0; k < 6; ++k)
    EXPECT_NEAR(cohesive[k], k < 4 ? onQuad[k] : k == 4 ? 1 : -1, 1e-6) << k;
  // a linear function on the triangle of a wedge, whose fourth value is not used
  const auto triangle = carry("C3D15", {1.0F / 6, 2.0F / 3, 1.0F / 6, 99}, 0, 6);
  const float onTriangle[] = {0, 1, 0, 0.5F, 0.5F, 0};
  for (std::size_t k = 0; k < 6; ++k) EXPECT_NEAR(triangle[k], onTriangle[k], 1e-6) << k;
  EXPECT_EQ(carry("C3D4", {4}, 2, 3), (std::vector<float>{4, 4, 4}));
  const auto edge = carry("CPE8", {static_cast<float>(-g), static_cast<float>(g)}, 1, 3);
  for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(edge[k], static_cast<float>(k) - 1, 1e-6);
  const auto line = carry("B32", {static_cast<float>(-g), static_cast<float>(g)}, -1, 3);
  EXPECT_NEAR(line[1], 1, 1e-6);
  EXPECT_NEAR(line[2], 0, 1e-6);
}

TEST_F(shp_ExtrapolationTest, PrintsLocationsAndWeights) {
  std::ostringstream shell, unknown;
  Shape("CPS4R").PrintWeightsInTable(shell);
  EXPECT_EQ(shell.str(),
            "  Centroid, Node and Int. Point Isoparametric Locations\n0 0 0\n-1 -1 0\n1 -1 0\n1 1 0\n"
            "-1 1 0\n0 0 0\n   Integration Point Weights\n1\n1\n1\n1\n   Node Weights\n"
            "0.25 0.25 0.25 0.25\n   Face Weights\n1\n");
  shp_Shape("ODD", LongKey{6, 15, 37}, 0).PrintWeightsInTable(unknown);
  EXPECT_EQ(unknown.str(),
            "  Centroid, Node and Int. Point Isoparametric Locations\n No Integration Point Weights\n"
            "  No Weights Available\n   Face Weights\n");
}
} // namespace
