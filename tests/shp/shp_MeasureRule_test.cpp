#include <CoreGeometry/shp_MeasureRule.h>

#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <numeric>

namespace {
using Order = shp_MomentOrder;

const shp_Shape& Shape(const char* label) {
  static const shp_ShapeDictionary dictionary;
  return *dictionary.GetShape(label);
}

/// Node coordinates of the reference element through a map.
template<class Map> std::vector<double> Mapped(const shp_Shape& shape, Map map) {
  std::vector<double> coordinates;
  for (const shp_IsoPoint& node : shape.NodeCoordinates())
    for (const double x : map(node)) coordinates.push_back(x);
  return coordinates;
}

/// Every dimension of its space, one label for each number of nodes.
constexpr const char* kWithSign[] = {"C3D8",  "C3D20", "C3D27", "C3D4", "C3D10", "C3D6",
                                     "C3D15", "CPS4",  "CPS8R", "CPS3", "CPS6M"};
constexpr const char* kOthers[] = {"S4", "S8R", "S3", "STRI65", "B31", "B32"};

/// The reference element's volume, area or length.
double SizeOf(const shp_Shape& shape) {
  switch (shape.Options().Family()) {
  case shp_Family::Tetrahedron: return 1.0 / 6;
  case shp_Family::Triangle: return 0.5;
  case shp_Family::Wedge: return 1;
  default: return std::pow(2, shape.NumGeomDims());
  }
}
} // namespace

TEST(shp_MeasureRule, AffineElementsHaveTheirMeasureAndCentre) {
  for (const auto& labels : {std::span<const char* const>(kWithSign), std::span<const char* const>(kOthers)})
    for (const char* label : labels) {
      SCOPED_TRACE(label);
      const shp_Shape& shape = Shape(label);
      // far from the origin, stretched by 2 in each direction of the element, mirrored by exchanging x and y
      for (const bool mirrored : {false, true}) {
        const auto coordinates = Mapped(shape, [&](shp_IsoPoint p) {
          if (mirrored) std::swap(p[0], p[1]);
          return shp_IsoPoint{1000 + 2 * p[0], -500 + 2 * p[1], 2 * p[2]};
        });
        shp_MeasureRule rule(shape, Order::Second);
        const shp_Moments moments = rule.Integrate(coordinates);
        const double size = SizeOf(shape) * std::pow(2, shape.NumGeomDims());
        EXPECT_NEAR(moments.measure, mirrored && rule.HasSign() ? -size : size, 1e-12 * size);
        std::array<double, 3> centre{};
        const bool simplex = shape.NodeCoordinates()[0][0] == 0;
        if (simplex) centre = {2.0 / 3, 2.0 / 3, 0};
        if (shape.Options().Family() == shp_Family::Tetrahedron) centre = {0.5, 0.5, 0.5};
        EXPECT_NEAR(moments.first[0] / moments.measure - 1000, centre[0], 1e-10);
        EXPECT_NEAR(moments.first[1] / moments.measure + 500, centre[1], 1e-10);
        EXPECT_NEAR(moments.first[2] / moments.measure, centre[2], 1e-10);
      }
    }
}

// The smallest exact rule must agree with one for higher moments, whose first entries have more points.
TEST(shp_MeasureRule, CurvedElementsAreIntegratedExactly) {
  for (const char* label : kWithSign) {
    SCOPED_TRACE(label);
    const shp_Shape& shape = Shape(label);
    for (const bool revolved : {false, true}) {
      if (revolved && shape.NumGeomDims() == 3) continue;
      const auto coordinates = Mapped(shape, [](const shp_IsoPoint& p) {
        return shp_IsoPoint{3 + p[0] + 0.3 * std::sin(3 * p[1] + p[2]),
                            p[1] + 0.2 * std::cos(2 * p[0] - p[2]), p[2] + 0.25 * std::sin(p[0] * p[1] + 2)};
      });
      const shp_Moments second = shp_MeasureRule(shape, Order::Second, revolved).Integrate(coordinates);
      const shp_Moments first = shp_MeasureRule(shape, Order::First, revolved).Integrate(coordinates);
      const shp_Moments measure = shp_MeasureRule(shape, Order::Measure, revolved).Integrate(coordinates);
      EXPECT_NEAR(measure.measure, second.measure, 1e-13 * std::abs(second.measure));
      EXPECT_NEAR(first.measure, second.measure, 1e-13 * std::abs(second.measure));
      for (std::size_t a = 0; a < 3; ++a)
        EXPECT_NEAR(first.first[a], second.first[a], 1e-12 * std::abs(second.measure));
      EXPECT_EQ(measure.second[0], 0);
    }
  }
}

// Coordinates are fields that the functions carry: their integrals are the first moments.
TEST(shp_MeasureRule, IntegralsOfFunctionsGiveTheMeasureAndTheFirstMoments) {
  for (const auto& labels : {std::span<const char* const>(kWithSign), std::span<const char* const>(kOthers)})
    for (const char* label : labels)
      for (const bool revolved : {false, true}) {
        const shp_Shape& shape = Shape(label);
        if (revolved && (shape.NumGeomDims() == 3 || shape.NumSpatialDims() == 3)) continue;
        SCOPED_TRACE(label);
        const auto exact = Mapped(shape, [](const shp_IsoPoint& p) {
          return shp_IsoPoint{3 + p[0] + 0.3 * std::sin(3 * p[1] + p[2]),
                              p[1] + 0.2 * std::cos(2 * p[0] - p[2]),
                              p[2] + 0.25 * std::sin(p[0] * p[1] + 2)};
        });
        const std::vector<float> points(exact.begin(), exact.end());
        std::vector<int> row(points.size() / 3);
        std::iota(row.begin(), row.end(), 0);
        shp_MeasureRule rule(shape, Order::First, revolved);
        std::vector<int> rows = row;
        rows.insert(rows.end(), row.begin(), row.end());
        std::vector<double> integrals(rows.size());
        rule.IntegrateFunctionsEach(rows, row.size(), points, integrals);
        const shp_Moments moments = rule.Integrate(std::vector<double>(points.begin(), points.end()));
        double measure = 0;
        std::array<double, 3> first{};
        for (std::size_t n = 0; n < row.size(); ++n) {
          EXPECT_EQ(integrals[n], integrals[row.size() + n]);
          measure += integrals[n];
          for (std::size_t a = 0; a < 3; ++a)
            first[a] += integrals[n] * static_cast<double>(points[3 * n + a]);
        }
        const double accuracy = (rule.HasSign() ? 1e-12 : 1e-8) * std::abs(moments.measure);
        EXPECT_NEAR(measure, moments.measure, accuracy);
        EXPECT_NEAR(first[1], moments.first[1], accuracy);
        if (!revolved) {
          EXPECT_NEAR(first[0], moments.first[0], accuracy);
          EXPECT_NEAR(first[2], rule.HasSign() && shape.NumGeomDims() == 2 ? first[2] : moments.first[2],
                      accuracy);
        }
        shp_MeasureRule few(shape, Order::Measure);
        EXPECT_THROW(few.IntegrateFunctionsEach(rows, row.size(), points, integrals), nex_AssertionException);
      }
}

TEST(shp_MeasureRule, SecondMomentsOfABrickAndOfASimplex) {
  for (const char* label : {"C3D8", "C3D20", "C3D27"}) {
    const auto brick = Mapped(Shape(label), [](const shp_IsoPoint& p) {
      return shp_IsoPoint{p[0] + 1, 2 * p[1], 3 * p[2]}; // 2 x 4 x 6, x from 0
    });
    const shp_Moments m = shp_MeasureRule(Shape(label), Order::Second).Integrate(brick);
    EXPECT_NEAR(m.second[0], 48 * 4.0 / 3, 1e-11) << label;
    EXPECT_NEAR(m.second[1], 48 * 16.0 / 12, 1e-11) << label;
    EXPECT_NEAR(m.second[2], 48 * 36.0 / 12, 1e-11) << label;
    EXPECT_NEAR(m.second[3], 0, 1e-11) << label;
  }
  // of the unit tetrahedron: x^2 is 1/60, xy is 1/120
  for (const char* label : {"C3D4", "C3D10"}) {
    const auto unit = Mapped(Shape(label), [](const shp_IsoPoint& p) { return p; });
    const shp_Moments m = shp_MeasureRule(Shape(label), Order::Second).Integrate(unit);
    for (std::size_t k = 0; k < 6; ++k)
      EXPECT_NEAR(m.second[k], k < 3 ? 1.0 / 60 : 1.0 / 120, 1e-15) << label;
  }
}

TEST(shp_MeasureRule, CurvedAreasAndLengthsConverge) {
  // a parabola y = x^2 on [-1, 1]
  const double length = std::sqrt(5.0) + std::asinh(2.0) / 2;
  const auto parabola = Mapped(Shape("B32"), [](const shp_IsoPoint& p) {
    return shp_IsoPoint{p[0], p[0] * p[0], 0};
  });
  EXPECT_NEAR(shp_MeasureRule(Shape("B32"), Order::Measure).Integrate(parabola).measure, length, 1e-10);
  // the same, drawn along z
  const auto sheet = Mapped(Shape("S8R"), [](const shp_IsoPoint& p) {
    return shp_IsoPoint{p[0], p[0] * p[0], p[1]};
  });
  EXPECT_NEAR(shp_MeasureRule(Shape("S8R"), Order::Measure).Integrate(sheet).measure, 2 * length, 1e-9);
  // faces and edges of a solid with the same shape
  const shp_Shape& brick = Shape("C3D20");
  const auto bent = Mapped(brick, [](const shp_IsoPoint& p) {
    return shp_IsoPoint{p[0], p[1] + p[0] * p[0], p[2]};
  });
  double faces = 0, edges = 0;
  for (int face = 0; face < 6; ++face) {
    const auto pick = [&](const shp_MeasureRule& rule) {
      std::vector<double> nodes;
      for (const int node : rule.Nodes())
        nodes.insert(nodes.end(), bent.begin() + 3 * node, bent.begin() + 3 * node + 3);
      return nodes;
    };
    shp_MeasureRule rule = shp_MeasureRule::OfFace(brick, face, Order::Measure);
    faces += rule.Integrate(pick(rule)).measure;
    for (int edge = 0; edge < 4; ++edge) {
      shp_MeasureRule line = shp_MeasureRule::OfEdge(brick, face, edge, Order::Measure);
      edges += line.Integrate(pick(line)).measure / 2; // each is in two faces
    }
  }
  EXPECT_NEAR(faces, 4 * length + 8 + 8, 1e-8); // two bent sheets, two plane ends, two sides of area 4
  EXPECT_NEAR(edges, 4 * length + 16, 1e-9);
  EXPECT_TRUE(shp_MeasureRule::OfFace(brick, 6, Order::Measure).IsEmpty());
  EXPECT_TRUE(shp_MeasureRule(Shape("MASS"), Order::Measure).IsEmpty());
}

TEST(shp_MeasureRule, RevolvedElementsAreBodies) {
  // a ring of radii 2 and 4, height 2
  const shp_Shape& quad = Shape("CAX4");
  const auto section = Mapped(quad, [](const shp_IsoPoint& p) {
    return shp_IsoPoint{3 + p[0], p[1] + 5, 0};
  });
  const shp_Moments ring = shp_MeasureRule(quad, Order::Second, true).Integrate(section);
  const double volume = std::numbers::pi * 24, radii = volume * (16 + 4) / 2;
  EXPECT_NEAR(ring.measure, volume, 1e-11);
  EXPECT_NEAR(ring.first[1], 5 * volume, 1e-10);
  EXPECT_NEAR(ring.second[0] + ring.second[2], radii, 1e-9);
  EXPECT_NEAR(ring.second[1], volume * (25 + 4.0 / 12), 1e-9);
  // the cylinder's mantle
  const shp_Shape& line = Shape("SAX1");
  const shp_Moments mantle =
      shp_MeasureRule(line, Order::Second, true).Integrate(std::vector<double>{2, 0, 0, 2, 3, 0});
  EXPECT_NEAR(mantle.measure, 12 * std::numbers::pi, 1e-12);
  EXPECT_NEAR(mantle.second[0], mantle.measure * 2, 1e-11);
}
