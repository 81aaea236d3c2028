#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_ElementSearch.h>
#include <CoreGeometry/shp_ShapeDictionary.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <thread>

namespace {
using Point = bme_ElementLocator::Point;
using enum shp_Location;

double Between(std::mt19937& random, double low, double high) {
  return std::uniform_real_distribution(low, high)(random);
}
const shp_Shape& ShapeOf(const cow_String& label) {
  return *thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
}
bool IsHeld(shp_Location location) { return location == Inside || location == OnBoundary; }

/// Cells of a family in a unit cube, by the bits of their corners (x 1, y 2, z 4).
const std::vector<std::vector<int>>& Cells(shp_Family family) {
  static const std::map<shp_Family, std::vector<std::vector<int>>> cells = {
      {shp_Family::Line, {{0, 7}}},
      {shp_Family::Triangle, {{0, 1, 3}, {0, 3, 2}}},
      {shp_Family::Quadrilateral, {{0, 1, 3, 2}}},
      {shp_Family::Tetrahedron,
       {{0, 1, 3, 7}, {0, 3, 2, 7}, {0, 2, 6, 7}, {0, 6, 4, 7}, {0, 4, 5, 7}, {0, 5, 1, 7}}},
      {shp_Family::Wedge, {{0, 1, 3, 4, 5, 7}, {0, 3, 2, 4, 7, 6}}},
      {shp_Family::Hexahedron, {{0, 1, 3, 2, 4, 5, 7, 6}}}};
  return cells.at(family);
}

/// n x n x n cubes of a label's elements, each with nodes of its own, bent by one smooth map.
struct Sample {
  std::vector<float> xyz;
  std::vector<bme_ElementClass*> classes;

  void Add(const cow_String& label, int n, double size, const Point& origin) {
    const shp_Shape& shape = ShapeOf(label);
    const std::map<shp_Family, const char*> linear = {
        {shp_Family::Line, "B31"},         {shp_Family::Triangle, "S3"}, {shp_Family::Quadrilateral, "S4"},
        {shp_Family::Tetrahedron, "C3D4"}, {shp_Family::Wedge, "C3D6"},  {shp_Family::Hexahedron, "C3D8"}};
    const shp_Shape& corners = ShapeOf(linear.at(shape.Options().Family()));
    std::vector<int> connectivity;
    for (int cube = 0; cube < n * n * n; ++cube)
      for (const std::vector<int>& cell : Cells(shape.Options().Family()))
        for (const shp_IsoPoint& iso : shape.NodeCoordinates()) {
          std::vector<double> weights(cell.size());
          corners.ShapeFunctions(iso, weights);
          Point p = {double(cube % n), double(cube / n % n), double(cube / n / n)};
          for (std::size_t k = 0; k < cell.size(); ++k)
            for (std::size_t axis = 0; axis < 3; ++axis) p[axis] += weights[k] * (cell[k] >> axis & 1);
          const Point bent = {p[0] + 0.2 * std::sin(p[1] + p[2]), p[1] + 0.2 * std::sin(1.3 * p[0]),
                              p[2] + 0.15 * std::cos(p[0] + 1.7 * p[1])};
          connectivity.push_back(static_cast<int>(xyz.size() / 3));
          for (std::size_t axis = 0; axis < 3; ++axis)
            xyz.push_back(static_cast<float>(origin[axis] + size * bent[axis]));
        }
    cow_ArrayCOW<int> values;
    values.Append(connectivity);
    classes.push_back(new bme_ElementClass(label, cls_xp2DArrayInt(shape.NodeCoordinates().size(), values)));
  }
  bme_Mesh Mesh() {
    cow_ArrayCOW<float> values;
    values.Append(xyz);
    return {1, new bme_NodeData(uti_CoordCont3D(values)),
            new bme_ElementData(classes.data(), static_cast<unsigned>(classes.size())), bme_NATIVE_MESH,
            nullptr};
  }
};

/// Calls visit(element, shape, nodes, coordinates in double) for every element.
void ForEachElement(const bme_Mesh& mesh, const auto& visit) {
  const auto xyz = mesh.NodeData().Coordinates().Const();
  unsigned element = 0;
  for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& elements = mesh.ElementData().GetClass(c);
    for (int k = 0; k < elements.NumElements(); ++k, ++element) {
      std::vector<double> wide;
      for (const int node : elements.Connectivity(k))
        for (std::size_t axis = 0; axis < 3; ++axis)
          wide.push_back(static_cast<double>(xyz[3 * static_cast<std::size_t>(node) + axis]));
      visit(element, *elements.Shape(), elements.Connectivity(k), wide);
    }
  }
}

class bme_ElementLocatorTest : public testing::TestWithParam<std::vector<const char*>> {};

TEST_P(bme_ElementLocatorTest, AgreesWithEveryElementAskedInTurn) {
  std::mt19937 random(4);
  for (const double size : {1e-6, 1.0, 1e6}) {
    Sample sample;
    double shift = 0;
    for (const char* label : GetParam()) sample.Add(label, 2, size, {size * shift++, 5 * size, 0});
    const bme_Mesh mesh = sample.Mesh();
    const auto xyz = mesh.NodeData().Coordinates().Const();
    const bme_ElementLocator locator(mesh);
    ASSERT_EQ(locator.NumElements(), mesh.ElementData().NumElements());

    std::vector<Point> points;
    for (int k = 0; k < 60; ++k)
      points.push_back(
          {size * Between(random, -1, 4), size * Between(random, 4, 8), size * Between(random, -1, 3)});
    ForEachElement(
        mesh, [&](unsigned element, const shp_Shape& shape, auto, const std::vector<double>& wide) {
          const auto corners = static_cast<std::size_t>(shape.NumCorners());
          for (int k = element % 3 == 2 ? 0 : 2; k > 0; --k) { // inside, and at a corner
            std::vector<double> weights(wide.size() / 3);
            shp_IsoPoint iso = shape.NodeCoordinates()[element % corners];
            for (std::size_t axis = 0; k == 1 && axis < 3; ++axis) {
              iso[axis] = 0;
              for (std::size_t c = 0; c < corners; ++c)
                iso[axis] += shape.NodeCoordinates()[c][axis] * (c == 1 ? 0.5 : 0.5 / double(corners - 1));
            }
            shape.ShapeFunctions(iso, weights);
            Point p{};
            for (std::size_t i = 0; i < wide.size(); ++i) p[i % 3] += weights[i / 3] * wide[i];
            points.push_back(p);
          }
        });

    std::vector<double> flat;
    for (const Point& p : points) flat.insert(flat.end(), p.begin(), p.end());
    std::vector<bme_ElementHit> batch(points.size()), owners;
    locator.FindEach(flat, batch);
    int numHeld = 0, numShared = 0;
    for (std::size_t k = 0; k < points.size(); ++k) {
      SCOPED_TRACE(testing::Message() << "size " << size << " point " << k);
      std::vector<bme_ElementHit> expected;
      double least = std::numeric_limits<double>::infinity();
      ForEachElement(mesh, [&](unsigned element, const shp_Shape& shape, std::span<const int> nodes,
                               const std::vector<double>& wide) {
        bme_ElementHit hit{element};
        hit.location = shp_ElementSearch(shape).Locate(points[k], wide, hit.iso);
        if (IsHeld(hit.location)) expected.push_back(hit);
        shp_IsoPoint closest{};
        if (expected.empty())
          least = std::min(least, shp_ElementSearch(shape).FindClosestPoint(points[k], nodes, xyz, closest));
      });
      locator.FindAll(points[k], owners);
      ASSERT_EQ(owners.size(), expected.size());
      for (std::size_t i = 0; i < owners.size(); ++i) {
        EXPECT_EQ(owners[i].element, expected[i].element);
        EXPECT_EQ(owners[i].location, expected[i].location);
        EXPECT_EQ(owners[i].iso, expected[i].iso);
      }
      const bme_ElementHit first = locator.Find(points[k]);
      EXPECT_TRUE(first.element == batch[k].element && first.location == batch[k].location
                  && first.iso == batch[k].iso);
      const bme_NearestElement nearest = locator.FindNearest(points[k]);
      if (expected.empty()) {
        EXPECT_EQ(first.element, bme_kNotFound);
        EXPECT_EQ(first.location, Outside);
        EXPECT_DOUBLE_EQ(nearest.distance, least);
      } else {
        EXPECT_EQ(first.element, expected[0].element);
        EXPECT_EQ(first.location, expected[0].location);
        EXPECT_EQ(nearest.element, first.element);
        EXPECT_EQ(nearest.distance, 0);
      }
      numHeld += !expected.empty();
      numShared += expected.size() > 1;
    }
    EXPECT_GT(numHeld, 6);
    if (size == 1 && ShapeOf(GetParam()[0]).NumGeomDims() == 3) {
      EXPECT_GT(numShared, 2);
    }
  }
}

/// No place of a fine net over the rim is closer than the closest place.
TEST_P(bme_ElementLocatorTest, ClosestPlacesAreCloserThanAnyOther) {
  std::mt19937 random(5);
  Sample sample;
  for (const char* label : GetParam()) sample.Add(label, 1, 1, {});
  const bme_Mesh mesh = sample.Mesh();
  const auto xyz = mesh.NodeData().Coordinates().Const();
  ForEachElement(mesh, [&](unsigned, const shp_Shape& shape, std::span<const int> nodes,
                           const std::vector<double>& wide) {
    const auto position = [&](const shp_IsoPoint& iso) {
      std::vector<double> weights(wide.size() / 3);
      shape.ShapeFunctions(iso, weights);
      Point p{};
      for (std::size_t i = 0; i < wide.size(); ++i) p[i % 3] += weights[i / 3] * wide[i];
      return p;
    };
    const auto distance = [](const Point& a, const Point& b) {
      return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
    };
    const auto corners = static_cast<std::size_t>(shape.NumCorners());
    for (int k = 0; k < 10; ++k) {
      const Point target = {Between(random, -1, 2), Between(random, -1, 2), Between(random, -1, 2)};
      shp_IsoPoint closest{};
      const double least = shp_ElementSearch(shape).FindClosestPoint(target, nodes, xyz, closest);
      if (least == 0) continue;
      EXPECT_NEAR(distance(position(closest), target), least, 1e-12);
      for (int sampled = 0; sampled < 2000; ++sampled) {
        shp_IsoPoint iso{};
        double sum = 0;
        std::vector<double> weights(corners);
        for (double& weight : weights) sum += weight = std::pow(Between(random, 0, 1), 4);
        for (std::size_t c = 0; c < corners; ++c)
          for (std::size_t axis = 0; axis < 3; ++axis)
            iso[axis] += weights[c] / sum * shape.NodeCoordinates()[c][axis];
        EXPECT_GE(distance(position(iso), target), least - 1e-9);
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Types, bme_ElementLocatorTest,
                         testing::Values(std::vector{"C3D8"}, std::vector{"C3D20", "C3D27"},
                                         std::vector{"C3D4"}, std::vector{"C3D10", "C3D15"},
                                         std::vector{"C3D6", "C3D15V"}, std::vector{"S4", "S3", "B31"},
                                         std::vector{"S8R", "STRI65", "B32"},
                                         std::vector{"B31", "C3D8", "S9R5", "C3D4"}),
                         [](const auto& info) {
                           std::string name;
                           for (const char* label : info.param)
                             name.append(name.empty() ? "" : "_").append(label);
                           return name;
                         });

TEST(bme_ElementLocator, LeavesOutWhatCannotBeFoundAndNamesDegenerateElements) {
  Sample sample;
  sample.Add("C3D8", 2, 1, {1e6, 0, 0}); // far from the origin
  sample.Add("C3D8", 1, 1, {0, 0, 50});
  for (std::size_t k = sample.xyz.size() - 24; k < sample.xyz.size(); k += 3) sample.xyz[k + 2] = 50; // flat
  int one[] = {0}, *points[] = {one}, missing[] = {0, 1, 2, -1}, *tetrahedra[] = {missing};
  sample.classes.push_back(new bme_ElementClass(1, "MASS", points));
  sample.classes.push_back(new bme_ElementClass(1, "C3D4", tetrahedra));
  const bme_Mesh mesh = sample.Mesh();
  const bme_ElementLocator locator(mesh);
  EXPECT_EQ(locator.NumElements(), 9U);
  const float* node = mesh.NodeData().Coordinates().Const().data() + 3 * 8 * 3;
  Point middle{};
  for (std::size_t k = 0; k < 24; ++k) middle[k % 3] += static_cast<double>(node[k]) / 8;
  const bme_ElementHit hit = locator.Find(middle);
  EXPECT_EQ(hit.element, 3U);
  EXPECT_EQ(hit.location, Inside);
  for (const double x : hit.iso) EXPECT_NEAR(x, 0, 1e-9);
  const bme_ElementHit flat = locator.Find({0.5, 0.5, 50});
  EXPECT_EQ(flat.element, 8U);
  EXPECT_EQ(flat.location, Degenerate);
  EXPECT_EQ(locator.Find({NAN, 0, 0}).element, bme_kNotFound);
  EXPECT_NEAR(locator.FindNearest({1e6, -8, 0}).distance, locator.FindNearest({1e6, -7, 0}).distance + 1,
              1e-3);
  EXPECT_EQ(locator.FindNearest({0, INFINITY, 0}).element, bme_kNotFound);

  const bme_ElementLocator some(mesh, std::vector<unsigned>{1}), none(mesh, std::vector<unsigned>{2});
  EXPECT_EQ(some.Find(middle).element, bme_kNotFound);
  EXPECT_EQ(some.FindNearest(middle).element, 8U);
  EXPECT_EQ(none.NumElements(), 0U);
  EXPECT_EQ(none.FindNearest(middle).element, bme_kNotFound);
  EXPECT_EQ(none.Find(middle).location, Outside);
  EXPECT_THROW(bme_ElementLocator(mesh, std::vector<unsigned>{9}), nex_OutOfRangeException);
}
/// Elements of three sizes, the smallest ones a hundred thousand times smaller than the largest: bins in bins.
TEST(bme_ElementLocator, FindsSmallElementsAmongLargeOnes) {
  Sample sample;
  sample.Add("C3D8", 4, 10, {});
  sample.Add("C3D4", 6, 1e-2, {3, 4, 5});
  sample.Add("C3D8", 7, 1e-4, {31, 4, 5});
  const bme_Mesh mesh = sample.Mesh();
  const auto xyz = mesh.NodeData().Coordinates().Const();
  const bme_ElementLocator locator(mesh);
  std::mt19937 random(8);
  const auto near = [&](const Point& origin, double size, int n) {
    Point p = origin;
    for (double& x : p) x += size * Between(random, -1, n + 1);
    return p;
  };
  int numSmall = 0;
  for (int k = 0; k < 90; ++k) {
    const Point point = k % 3 == 0   ? near({}, 10, 4)
                        : k % 3 == 1 ? near({3, 4, 5}, 1e-2, 6)
                                     : near({31, 4, 5}, 1e-4, 7);
    std::vector<bme_ElementHit> owners;
    std::vector<unsigned> expected, found;
    double least = std::numeric_limits<double>::infinity();
    ForEachElement(mesh, [&](unsigned element, const shp_Shape& shape, std::span<const int> nodes,
                             const std::vector<double>& wide) {
      shp_IsoPoint iso{};
      if (IsHeld(shp_ElementSearch(shape).Locate(point, wide, iso))) expected.push_back(element);
      if (k < 12) least = std::min(least, shp_ElementSearch(shape).FindClosestPoint(point, nodes, xyz, iso));
    });
    locator.FindAll(point, owners);
    for (const bme_ElementHit& hit : owners) found.push_back(hit.element);
    ASSERT_EQ(found, expected) << k;
    std::vector<bme_ElementHit> batch(1);
    locator.FindEach(point, batch);
    ASSERT_EQ(batch[0].element, expected.empty() ? bme_kNotFound : expected[0]) << k;
    ASSERT_EQ(batch[0].element, locator.Find(point).element) << k;
    if (k < 12) {
      EXPECT_DOUBLE_EQ(locator.FindNearest(point).distance, least) << k;
    }
    numSmall += !expected.empty() && expected.back() >= 64;
  }
  EXPECT_GT(numSmall, 20);
}

TEST(bme_ElementLocator, OutlivesTheThreadThatMadeIt) {
  Sample sample;
  sample.Add("C3D20R", 2, 1, {0, 0, 0});
  sample.Add("C3D10", 2, 1, {9, 0, 0});
  const bme_Mesh mesh = sample.Mesh();
  std::optional<bme_ElementLocator> locator;
  std::thread([&] { locator.emplace(mesh); }).join();
  std::vector<std::vector<unsigned char>> others; // another thread takes the memory of the one that ended
  std::thread([&] {
    for (std::size_t size = 2000; size > 0; --size) others.emplace_back(size, 0xEE);
  }).join();
  const bme_ElementLocator own(mesh);
  std::mt19937 random(3);
  unsigned held = 0;
  for (int i = 0; i < 200; ++i) {
    const Point point = {Between(random, 0, 11), Between(random, 0, 2), Between(random, 0, 2)};
    const bme_ElementHit hit = locator->Find(point), expected = own.Find(point);
    ASSERT_EQ(hit.element, expected.element);
    EXPECT_EQ(hit.iso, expected.iso);
    EXPECT_EQ(locator->FindNearest(point).distance, own.FindNearest(point).distance);
    held += IsHeld(hit.location);
  }
  EXPECT_GT(held, 20U);
}
} // namespace
