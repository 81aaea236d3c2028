#include "shp/AllocationCounter.h"

#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/shp_ElementSearch.h>
#include <CoreGeometry/shp_ShapeDictionary.h>

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {
using Vector = std::array<double, 3>;

/// One label of every node pattern that has a map.
constexpr const char* kPatterns[] = {"B31",    "B32",   "S3",       "STRI65",  "S4",    "CINPE5R",
                                     "GK3D6L", "MCL6",  "S8R",      "S9R5",    "C3D4",  "C3D10",
                                     "C3D8",   "CCL12", "CIN3D12R", "GK3D18",  "C3D20", "CCL24",
                                     "C3D27",  "C3D6",  "CCL9",     "GK3D12M", "C3D15", "C3D15V"};

class shp_LocateTest : public testing::Test {
protected:
  using Random = std::mt19937;
  const shp_Shape& Shape(const cow_String& label) const { return *dictionary_.GetShape(label); }

  static double Between(Random& random, double low, double high) {
    return std::uniform_real_distribution(low, high)(random);
  }
  /// A point inside, as a weighted mean of the corners with a margin to the rim.
  static shp_IsoPoint RandomInside(const shp_Shape& shape, Random& random, int numCorners) {
    shp_IsoPoint iso{};
    std::vector<double> weights(static_cast<std::size_t>(numCorners));
    double sum = 0;
    for (double& weight : weights) sum += weight = std::pow(-std::log(Between(random, 1e-12, 1)), 2) + 1e-5;
    for (std::size_t k = 0; k < weights.size(); ++k)
      for (std::size_t axis = 0; axis < 3; ++axis)
        iso[axis] += weights[k] / sum * shape.NodeCoordinates()[k][axis];
    return iso;
  }
  static Vector Position(const shp_Shape& shape, const std::vector<double>& xyz, const shp_IsoPoint& iso) {
    std::vector<double> values(xyz.size() / 3);
    shape.ShapeFunctions(iso, values);
    Vector point{};
    for (std::size_t k = 0; k < xyz.size(); ++k) point[k % 3] += values[k / 3] * xyz[k];
    return point;
  }
  /// Least volume, area or length over a grid of points inside, relative to that of the undistorted element.
  static bool IsValid(const shp_Shape& shape, const std::vector<double>& xyz, int numCorners) {
    Random random(7);
    std::vector<shp_IsoPoint> slopes(xyz.size() / 3);
    for (int sample = 0; sample < 600 + numCorners; ++sample) {
      const shp_IsoPoint iso = sample < numCorners ? shape.NodeCoordinates()[static_cast<std::size_t>(sample)]
                                                   : RandomInside(shape, random, numCorners);
      shape.ShapeDerivatives(iso, slopes);
      Vector a{}, b{}, c{};
      for (std::size_t k = 0; k < xyz.size(); ++k) {
        a[k % 3] += slopes[k / 3][0] * xyz[k];
        b[k % 3] += slopes[k / 3][1] * xyz[k];
        c[k % 3] += slopes[k / 3][2] * xyz[k];
      }
      const double z = a[0] * b[1] - a[1] * b[0];
      const double volume = shape.NumGeomDims() == 1   ? a[0]
                            : shape.NumGeomDims() == 2 ? z
                                                       : z * c[2] + (a[1] * b[2] - a[2] * b[1]) * c[0]
                                                             + (a[2] * b[0] - a[0] * b[2]) * c[1];
      if (!(volume > 0.08)) return false;
    }
    return true;
  }
  /// Node coordinates with the corners moved by up to 30 % of an edge and the other nodes by up to 20 %, or
  /// some part of that.
  static std::vector<double> Distorted(const shp_Shape& shape, Random& random, int numCorners,
                                       double amount = 1) {
    std::vector<double> xyz;
    const auto nodes = shape.NodeCoordinates();
    const double edge = nodes[1][0] - nodes[0][0];
    for (std::size_t node = 0; node < nodes.size(); ++node)
      for (int axis = 0; axis < 3; ++axis) {
        const double share = axis >= shape.NumGeomDims()           ? 0
                             : static_cast<int>(node) < numCorners ? 0.3
                                                                   : 0.2;
        xyz.push_back(nodes[node][static_cast<std::size_t>(axis)]
                      + amount * Between(random, -share, share) * edge);
      }
    return xyz;
  }

  const shp_ShapeDictionary dictionary_;
};

std::vector<gsl_Point> Points(const std::vector<double>& xyz) {
  std::vector<gsl_Point> points;
  for (std::size_t k = 0; k < xyz.size(); k += 3) points.emplace_back(xyz[k], xyz[k + 1], xyz[k + 2]);
  return points;
}

TEST_F(shp_LocateTest, PointsInDistortedElementsOfAnySizeAreFound) {
  Random random(1);
  int tried = 0, missed = 0;
  for (const char* label : kPatterns) {
    const shp_Shape& shape = Shape(label);
    const int numCorners = shape.NumCorners();
    for (int element = 0; element < 300; ++element) {
      std::vector<double> xyz = Distorted(shape, random, numCorners);
      if (!IsValid(shape, xyz, numCorners)) continue;
      const double scale = std::pow(10, element % 13 - 6);
      for (std::size_t k = 0; k < xyz.size(); ++k)
        xyz[k] = xyz[k] * scale + (element % 2 ? 3 : 30000) * scale * static_cast<double>(k % 3);
      for (int k = 0; k < 50; ++k) {
        const shp_IsoPoint iso = RandomInside(shape, random, numCorners);
        shp_IsoPoint found{9, 9, 9};
        const shp_Location location = shp_ElementSearch(shape).Locate(Position(shape, xyz, iso), xyz, found);
        bool right = location == shp_Location::Inside || location == shp_Location::OnBoundary;
        for (std::size_t axis = 0; axis < 3; ++axis) right &= std::abs(found[axis] - iso[axis]) < 1e-8;
        ++tried;
        if (!right) {
          ++missed;
          std::cout << label << " element " << element << " verdict " << static_cast<int>(location) << ' '
                    << iso[0] << ' ' << iso[1] << ' ' << iso[2] << " found " << found[0] << ' ' << found[1]
                    << ' ' << found[2] << '\n';
        }
      }
    }
  }
  EXPECT_GT(tried, 24 * 1500);
  EXPECT_LE(missed, tried / 10000);
}

TEST_F(shp_LocateTest, TheVerdictTellsRimOutsideAndElementsThatAreNone) {
  using enum shp_Location;
  const std::vector<double> cube = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  const auto locate = [&](const char* label, const std::vector<double>& xyz, const Vector& target) {
    shp_IsoPoint iso{};
    const shp_Location location = shp_ElementSearch(Shape(label)).Locate(target, xyz, iso);
    EXPECT_TRUE(std::isfinite(iso[0]) && std::isfinite(iso[1]) && std::isfinite(iso[2]));
    return location;
  };
  EXPECT_EQ(locate("C3D8", cube, {0.5, 0.5, 0.5}), Inside);
  EXPECT_EQ(locate("C3D8", cube, {0.5, 1, 0.5}), OnBoundary);
  EXPECT_EQ(locate("C3D8", cube, {1, 1, 1}), OnBoundary);
  EXPECT_EQ(locate("C3D8", cube, {0.5, 0.5, 1.00001}), Outside);
  EXPECT_EQ(locate("C3D8", cube, {9, 9, 9}), Outside);
  EXPECT_EQ(locate("C3D8", cube, {std::nan(""), 0, 0}), Outside);
  EXPECT_EQ(locate("MASS", {0, 0, 0}, {0, 0, 0}), Outside);
  const std::vector<double> triangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  EXPECT_EQ(locate("S3", triangle, {0.6, 0.6, 0}), Outside) << "in the box of the nodes";
  EXPECT_EQ(locate("S3", triangle, {0.3, 0.3, 1e-3}), Outside) << "beside the plane";
  EXPECT_EQ(locate("S3", triangle, {0.3, 0.3, 1e-8}), Inside);

  std::vector<double> flat = cube, collapsed = cube, point(24, 0.25), mirrored = cube, undefined = cube;
  for (std::size_t k = 2; k < 24; k += 3) flat[k] = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    collapsed[9 + axis] = collapsed[6 + axis]; // nodes 2 and 3 coincide, and 6 and 7
    collapsed[21 + axis] = collapsed[18 + axis];
    for (std::size_t node = 0; node < 4; ++node)
      std::swap(mirrored[3 * node + axis], mirrored[12 + 3 * node + axis]);
  }
  undefined[5] = std::nan("");
  EXPECT_EQ(locate("C3D8", flat, {0.5, 0.5, 0}), Degenerate);
  EXPECT_EQ(locate("C3D8", point, {0.25, 0.25, 0.25}), Degenerate);
  EXPECT_EQ(locate("C3D8", mirrored, {0.5, 0.5, 0.5}), Degenerate);
  EXPECT_EQ(locate("C3D8", undefined, {0.5, 0.5, 0.5}), Degenerate);
  EXPECT_EQ(locate("C3D8", collapsed, {0.5, 0.25, 0.5}), Inside) << "a wedge written as a hexahedron";
  EXPECT_EQ(locate("C3D8", collapsed, {0.1, 0.9, 0.5}), Outside) << "which is sound beside its edge";

  // many elements at once
  const shp_Shape& shape = Shape("C3D8");
  std::vector<float> coordinates(cube.begin(), cube.end());
  const std::vector<int> connectivity = {0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 0, 1, 2, 3};
  const std::vector<double> targets = {0.75, 0.5, 0.5, 0.75, 0.5, 0.5};
  std::vector<shp_IsoPoint> isos(2);
  std::vector<shp_Location> locations(2);
  shp_ElementSearch(shape).LocateEach(targets, connectivity, coordinates, isos, locations);
  EXPECT_EQ(locations, (std::vector{Inside, Degenerate}));
  EXPECT_NEAR(isos[0][0], 0.5, 1e-12);
}

TEST_F(shp_LocateTest, ManyElementsAtOnceAreAsEachByItself) {
  Random random(11);
  for (const char* label : kPatterns) {
    const shp_Shape& shape = Shape(label);
    const std::size_t size = shape.NodeCoordinates().size();
    constexpr std::size_t kCount = 203; // some groups of several, and a rest
    std::vector<float> coordinates;
    std::vector<double> targets;
    std::vector<int> rows;
    for (std::size_t k = 0; k < kCount; ++k) {
      std::vector<double> xyz = Distorted(shape, random, shape.NumCorners(), 0.6);
      if (k % 17 == 0) std::ranges::fill(xyz, 0.5);
      for (const double x : xyz) coordinates.push_back(static_cast<float>(x));
      // inside, outside, at nodes, and off lines and surfaces
      shp_IsoPoint iso = RandomInside(shape, random, shape.NumCorners());
      if (k % 3 == 1) iso[0] += 1.5;
      if (k % 5 == 1) iso = shape.NodeCoordinates()[k % size];
      const std::vector<double> stored(coordinates.end() - static_cast<std::ptrdiff_t>(3 * size),
                                       coordinates.end());
      Vector target = Position(shape, stored, iso);
      if (k % 7 == 0) target[2] += 0.1;
      targets.insert(targets.end(), target.begin(), target.end());
      for (std::size_t node = 0; node < size; ++node) rows.push_back(static_cast<int>(k * size + node));
    }
    std::vector<shp_IsoPoint> isos(kCount);
    std::vector<shp_Location> locations(kCount);
    shp_ElementSearch(shape).LocateEach(targets, rows, coordinates, isos, locations);
    const std::vector<double> wide(coordinates.begin(), coordinates.end());
    int numFound = 0;
    for (std::size_t k = 0; k < kCount; ++k) {
      shp_IsoPoint iso{};
      const shp_Location location =
          shp_ElementSearch(shape).Locate({targets[3 * k], targets[3 * k + 1], targets[3 * k + 2]},
                                          std::span(wide).subspan(3 * k * size, 3 * size), iso);
      EXPECT_EQ(locations[k], location) << label << " " << k;
      EXPECT_EQ(isos[k], iso) << label << " " << k << ": not the same to the last bit";
      numFound += location == shp_Location::Inside || location == shp_Location::OnBoundary;
    }
    EXPECT_GT(numFound, 60) << label;
    EXPECT_LT(numFound, 195) << label;
  }
}

TEST_F(shp_LocateTest, TheSinglePrecisionIterationKeepsItsRules) {
  const std::vector<double> cube = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  const shp_Shape& shape = Shape("C3D8");
  std::array<float, 3> iso{};
  using Iso = std::array<float, 3>;
  const std::vector<gsl_Point> nodes = Points(cube);
  EXPECT_TRUE(shape.FindIsoPointLocation(gsl_Point(0.5, 0.5, 0.5), nodes, iso));
  EXPECT_EQ(iso, (Iso{0, 0, 0}));
  EXPECT_TRUE(shape.FindIsoPointLocation(gsl_Point(1.0004, 1.0004, -0.0004), nodes, iso)) << "a node";
  EXPECT_EQ(iso, (Iso{1, 1, -1}));
  EXPECT_FALSE(shape.FindIsoPointLocation(gsl_Point(5, 0.5, 0.5), nodes, iso));
  EXPECT_EQ(iso, (Iso{1, 0, 0})) << "clamped";
  EXPECT_TRUE(shape.FindIsoPointLocation(gsl_Point(0.5, 0.5, 1.0002), nodes, iso)) << "close after clamping";
  std::vector<double> flat = cube, tiny = cube;
  for (std::size_t k = 2; k < 24; k += 3) flat[k] = 0;
  for (double& x : tiny) x *= 9e-4;
  EXPECT_FALSE(shape.FindIsoPointLocation(gsl_Point(0.5, 0.5, 0), Points(flat), iso));
  EXPECT_TRUE(shape.FindIsoPointLocation(gsl_Point(4.5e-4, 4.5e-4, 4.5e-4), Points(tiny), iso));
  EXPECT_EQ(iso, (Iso{-1, -1, -1})) << "all nodes are close";
  EXPECT_TRUE(shape.FindPointInShape(gsl_Point(4.5e-4, 4.5e-4, 4.5e-4), Points(tiny), iso));
  EXPECT_NEAR(iso[0], 0, 1e-6);

  const std::vector<gsl_Point> triangle = Points({0, 0, 0, 1, 0, 0, 0, 1, 0});
  EXPECT_TRUE(Shape("S3").FindIsoPointLocation(gsl_Point(0.6, 0.6, 0), triangle, iso)) << "in the nodes' box";
  EXPECT_FALSE(Shape("S3").FindPointInShape(gsl_Point(0.6, 0.6, 0), triangle, iso));
  EXPECT_TRUE(Shape("S3").FindIsoPointLocation(gsl_Point(0.3, 0.2, 0.5), triangle, iso))
      << "beside the plane";
  EXPECT_FALSE(
      Shape("S3").FindIsoPointLocation(gsl_Point(0.3, 0.2, 0), Points({0, 0, 0, 1, 0, 0, 2, 0, 0}), iso));
  EXPECT_TRUE(Shape("B31").FindIsoPointLocation(gsl_Point(0, 0.25, 0), Points({0, 0, 0, 0, 1, 0}), iso));
  EXPECT_FLOAT_EQ(iso[0], -0.5F);
  EXPECT_FALSE(Shape("MASS").FindIsoPointLocation(gsl_Point(0, 0, 0), Points({0, 0, 0}), iso));
}

/// In elements of which no two places have one image, both find the same one.
TEST_F(shp_LocateTest, BothPrecisionsAgree) {
  Random random(3);
  for (const char* label : kPatterns) {
    const shp_Shape& shape = Shape(label);
    for (int k = 0; k < 100; ++k) {
      const std::vector<gsl_Point> nodes = Points(Distorted(shape, random, shape.NumCorners(), 0.17));
      const shp_IsoPoint iso = RandomInside(shape, random, shape.NumCorners());
      std::array<float, 3> single{9, 9, 9}, exact{9, 9, 9};
      const std::array<float, 3> rounded = {static_cast<float>(iso[0]), static_cast<float>(iso[1]),
                                            static_cast<float>(iso[2])};
      const gsl_Point target = shape.InterpolatePointFromNodes(nodes, rounded);
      ASSERT_TRUE(shape.FindIsoPointLocation(target, nodes, single)) << label;
      ASSERT_TRUE(shape.FindPointInShape(target, nodes, exact)) << label;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(exact[axis], iso[axis], 2e-6) << label;
        EXPECT_NEAR(single[axis], exact[axis], 5e-4) << label; // its last step may be as long
      }
    }
  }
}

TEST_F(shp_LocateTest, DegenerateElementsOfEveryFamilyAreReported) {
  using enum shp_Location;
  Random random(6);
  for (const char* label : kPatterns) {
    const shp_Shape& shape = Shape(label);
    const auto corners = shape.NumCorners();
    const auto last = static_cast<std::size_t>(shape.NumGeomDims()) - 1;
    for (int k = 0; k < 60; ++k) {
      const std::vector<double> whole = Distorted(shape, random, corners, 0.12);
      const shp_IsoPoint iso = RandomInside(shape, random, corners);
      std::vector<double> flat = whole, mirrored = whole, joined = whole;
      for (std::size_t i = 0; i < whole.size(); ++i) {
        if (i % 3 == last) flat[i] = 4;
        if (i % 3 == 0) mirrored[i] = -mirrored[i];
      }
      for (int pair = 0; pair <= k % 3; ++pair) { // nodes that coincide, edges without length
        const std::size_t a = random() % (whole.size() / 3), b = random() % (whole.size() / 3);
        for (std::size_t axis = 0; axis < 3; ++axis) joined[3 * a + axis] = joined[3 * b + axis];
      }
      const auto locate = [&](const std::vector<double>& xyz, const Vector& target, shp_IsoPoint& found) {
        const shp_Location location = shp_ElementSearch(shape).Locate(target, xyz, found);
        EXPECT_TRUE(std::isfinite(found[0]) && std::isfinite(found[1]) && std::isfinite(found[2])) << label;
        return location;
      };
      shp_IsoPoint found{};
      EXPECT_EQ(locate(flat, Position(shape, flat, iso), found), Degenerate) << label;
      if (last == 2) {
        EXPECT_EQ(locate(mirrored, Position(shape, mirrored, iso), found), Degenerate) << label;
      }
      const Vector target = Position(shape, joined, iso);
      const shp_Location location = locate(joined, target, found);
      EXPECT_NE(location, Outside) << label;
      if (location != Degenerate) {
        const Vector image = Position(shape, joined, found);
        for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(image[axis], target[axis], 1e-5) << label;
      }
      const std::vector<double> point(whole.size(), 0.5);
      EXPECT_EQ(locate(point, {0.5, 0.5, 0.5}, found), Degenerate) << label;
    }
  }
}

TEST_F(shp_LocateTest, QuestionsAboutWholeArraysDoNotAllocate) {
  for (const char* label : kPatterns) {
    const shp_Shape& shape = Shape(label);
    const std::size_t size = shape.NodeCoordinates().size();
    std::vector<double> xyz, jacobians(static_cast<std::size_t>(9 * shape.NumBaseIntPts()));
    for (const shp_IsoPoint& node : shape.NodeCoordinates()) xyz.insert(xyz.end(), node.begin(), node.end());
    const std::vector<gsl_Point> nodes = Points(xyz);
    const std::vector<float> narrow(xyz.begin(), xyz.end());
    std::vector<int> rows(2 * size);
    for (std::size_t k = 0; k < rows.size(); ++k) rows[k] = static_cast<int>(k % size);
    const std::vector<double> targets = {0.3, 0.2, 0.1, 1.3, 1.2, 1.1};
    std::vector<shp_IsoPoint> isos(2);
    std::vector<shp_Location> locations(2);
    std::vector<shp_FloatBox> boxes(2);
    std::vector<float> values(static_cast<std::size_t>(2 * 6 * shape.NumIntPts())), carried(2 * 6 * size);
    std::vector<gsl_Point> face(9);
    std::array<double, 2> parameters{};
    const gsl_Point from(-9, 0.2, 0.1), to(9, 0.25, 0.1);
    gsl_Point at;
    int count = 0;
    const auto ask = [&] {
      shp_ElementSearch(shape).LocateEach(targets, rows, narrow, isos, locations);
      shp_ElementSearch(shape).BoundEach(rows, size, narrow, boxes);
      shp_ElementSearch(shape).FindClosestPoint({3, 3, 3}, rows, narrow, isos[0]);
      shape.IntPtJacobians(xyz, jacobians);
      shape.ExtrapolateEachToNodes(2, values, res_INTEGRATION_POINT, carried, 6);
      shape.LineShapeIntersection(from, to, nodes, parameters, face, count, false, at);
    };
    ask(); // makes the singletons
    const long before = NumAllocations();
    ask();
    EXPECT_EQ(NumAllocations(), before) << label;
  }
}

TEST_F(shp_LocateTest, ALineEntersAndLeavesThroughFaces) {
  const std::vector<gsl_Point> cube =
      Points({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1});
  std::array<double, 2> parameters{};
  std::vector<gsl_Point> face(9);
  int count = -1;
  gsl_Point point;
  const auto intersect = [&](const char* label, const std::vector<gsl_Point>& nodes, const gsl_Point& from,
                             const gsl_Point& to, bool onlySegment) {
    return Shape(label).LineShapeIntersection(from, to, nodes, parameters, face, count, onlySegment, point);
  };
  EXPECT_TRUE(intersect("C3D8", cube, gsl_Point(-1, 0.3, 0.4), gsl_Point(3, 0.3, 0.4), true));
  EXPECT_EQ(count, 2);
  EXPECT_NEAR(parameters[0], 0.25, 1e-12);
  EXPECT_NEAR(parameters[1], 0.5, 1e-12);
  EXPECT_NEAR(point[0], 0, 1e-12);
  for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ(face[k][0], 0);
  EXPECT_TRUE(intersect("C3D8", cube, gsl_Point(-1, 0.3, 0.4), gsl_Point(0.5, 0.3, 0.4), true));
  EXPECT_EQ(count, 1);
  EXPECT_FALSE(intersect("C3D8", cube, gsl_Point(-1, 0.3, 0.4), gsl_Point(-0.5, 0.3, 0.4), true));
  EXPECT_TRUE(intersect("C3D8", cube, gsl_Point(-1, 0.3, 0.4), gsl_Point(-0.5, 0.3, 0.4), false));
  EXPECT_NEAR(parameters[1], 4, 1e-12);
  EXPECT_TRUE(intersect("C3D8", cube, gsl_Point(-1, -1, -1), gsl_Point(2, 2, 2), true))
      << "through two corners";
  EXPECT_EQ(count, 2);
  EXPECT_FALSE(intersect("C3D8", cube, gsl_Point(-1, 1.5, 0.4), gsl_Point(3, 1.5, 0.4), false));
  EXPECT_EQ(count, 0);
  EXPECT_FALSE(intersect("C3D8", cube, gsl_Point(1, 1, 1), gsl_Point(1, 1, 1), false)) << "no direction";
  // a surface: through it, and in its plane
  const std::vector<gsl_Point> square = Points({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
  EXPECT_TRUE(intersect("S4", square, gsl_Point(0.5, 0.5, 1), gsl_Point(0.5, 0.5, -1), true));
  EXPECT_EQ(count, 1);
  EXPECT_NEAR(parameters[0], 0.5, 1e-12);
  EXPECT_TRUE(intersect("S4", square, gsl_Point(-1, 0.5, 0), gsl_Point(2, 0.5, 0), true));
  EXPECT_EQ(count, 2);
  EXPECT_TRUE(
      intersect("B31", Points({0, 0, 0, 1, 0, 0}), gsl_Point(0.25, -1, 0), gsl_Point(0.25, 1, 0), true));
  EXPECT_FALSE(
      intersect("B31", Points({0, 0, 0, 1, 0, 0}), gsl_Point(0.25, -1, 1), gsl_Point(0.25, 1, 1), true));
  // a curved edge is hit twice
  const std::vector<gsl_Point> arch = Points({-1, 0, 0, 1, 0, 0, 0, 1, 0});
  EXPECT_TRUE(intersect("B32", arch, gsl_Point(-2, 0.75, 0), gsl_Point(2, 0.75, 0), true));
  EXPECT_EQ(count, 2);
  EXPECT_NEAR(parameters[0], 0.375, 1e-9);
}
} // namespace
