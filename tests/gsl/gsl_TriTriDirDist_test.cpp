// The octree of triangles, the search through two of them, and its kernels.
#include <CoreGeometry/gsl_TriTriDirDist.h>

#include "gsl_TestGeometry.h"
#include "gsl_TriangleSets.h"
#include <CoreGeometry/gsl_Travel.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {
namespace fs = std::filesystem;
const gsl_BBox kCube(gsl_Point(0, 0, 0), gsl_Point(8, 8, 8));

std::string Text(const gsl_BBox& box) {
  std::ostringstream text;
  for (unsigned i = 0; i < 3; ++i) text << box.Min()[i] << '-' << box.Max()[i] << ' ';
  return text.str();
}

TEST(gsl_TriOctree, NumbersOctantsByXThenZThenY) {
  gsl_TriOctreeNode root(kCube, 0, 0, nullptr);
  root.BuildOctree(kCube, 0);
  EXPECT_EQ(root.Child(0), nullptr);
  EXPECT_TRUE(root.IsEmpty(0));
  root.BuildOctree(kCube, 2);
  const char* boxes[] = {"0-4 0-4 0-4 ", "4-8 0-4 0-4 ", "0-4 0-4 4-8 ", "4-8 0-4 4-8 ",
                         "0-4 4-8 0-4 ", "4-8 4-8 0-4 ", "0-4 4-8 4-8 ", "4-8 4-8 4-8 "};
  for (int i = 0; i < 8; ++i) {
    const gsl_TriOctreeNode* child = root.Child(i);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(Text(child->BBox()), boxes[i]);
    EXPECT_EQ(child->Depth(), 1);
    EXPECT_EQ(child->Index(), i);
    EXPECT_EQ(child->Parent(), &root);
    ASSERT_NE(child->Child(7), nullptr);
    EXPECT_EQ(child->Child(7)->Child(0), nullptr);
  }
  EXPECT_EQ(root.Child(8), nullptr);
  EXPECT_EQ(root.Child(-1), nullptr);
  // the box that is given counts, not the node's own
  root.BuildOctree(gsl_BBox(gsl_Point(10, 10, 10), gsl_Point(12, 12, 12)), 1);
  EXPECT_EQ(Text(root.Child(7)->BBox()), "11-12 11-12 11-12 ");
  EXPECT_EQ(root.Child(0)->Child(0), nullptr);
}

TEST(gsl_TriOctree, StoresATriangleInTheDeepestBoxThatHoldsIt) {
  gsl_TriOctreeNode root(kCube, 0, 0, nullptr);
  root.BuildOctree(kCube, 2);
  EXPECT_TRUE(root.IsEmpty());
  EXPECT_TRUE(root.Add(gsl_Point(4, 1, 1), gsl_Point(4, 3, 1), gsl_Point(4, 3, 3), 0)); // on a split plane
  EXPECT_TRUE(root.Add(gsl_Point(1, 1, 1), gsl_Point(7, 1, 1), gsl_Point(1, 7, 1), 1)); // straddles
  EXPECT_TRUE(root.Add(gsl_Point(7, 7, 7), gsl_Point(8, 7, 7), gsl_Point(7, 8, 8), 2));
  EXPECT_FALSE(root.Add(gsl_Point(7, 7, 7), gsl_Point(8.5, 7, 7), gsl_Point(7, 8, 8), 3));
  EXPECT_FALSE(root.Add(gsl_Point(std::nan(""), 7, 7), gsl_Point(8, 7, 7), gsl_Point(7, 8, 8), 4));
  const auto at = [](const gsl_TriOctreeNode& node) {
    return std::vector<int>(node.Triangles().begin(), node.Triangles().end());
  };
  EXPECT_EQ(at(*root.Child(0)), std::vector{0});
  EXPECT_TRUE(at(*root.Child(1)).empty());
  EXPECT_EQ(at(root), std::vector{1});
  EXPECT_EQ(at(*root.Child(7)->Child(7)), std::vector{2});
  EXPECT_TRUE(root.IsEmpty(1));
  EXPECT_FALSE(root.IsEmpty(7)); // by what is below it
  root.RemoveEmptyChildren();
  EXPECT_EQ(root.Child(1), nullptr);
  EXPECT_EQ(root.Child(7)->Child(0), nullptr);
  EXPECT_NE(root.Child(7)->Child(7), nullptr);
}

TEST(gsl_TriOctree, HalvesOnlyLongAxesInTheModifiedTree) {
  const gsl_BBox flat(gsl_Point(0, 0, 0), gsl_Point(8, 6, 1));
  gsl_ModOctreeNode root(flat, 0, 0, nullptr);
  root.BuildOctree(flat, 3);
  EXPECT_EQ(root.NumChildren(), 8);
  EXPECT_EQ(Text(root.Child(5)->BBox()), "4-8 3-6 0-1 ");
  for (const int i : {2, 3, 6, 7}) EXPECT_EQ(root.Child(i), nullptr);
  EXPECT_NE(root.Child(5)->Child(5), nullptr);
}

/// One flat triangle a node wide, or any others, by index.
class Source : public gsl_TriTriDirDist {
public:
  explicit Source(int levels) : gsl_TriTriDirDist(levels) {}
  int Add(const gsl_Point& a, const gsl_Point& b, const gsl_Point& c) {
    points_.insert(points_.end(), {a, b, c});
    return static_cast<int>(points_.size() / 3) - 1;
  }
  void GetTriangle(int index, gsl_Point (&p)[3]) const override {
    for (int i = 0; i < 3; ++i) p[i] = points_[static_cast<std::size_t>(3 * index + i)];
  }

private:
  std::vector<gsl_Point> points_;
};

TEST(gsl_TriTriDirDist, ReachesAsManyLevelsAsItIsTold) {
  // a fixed triangle facing up on each level of its tree, higher with the level, and movable ones above them
  for (const int levels : {-3, 0, 1, 2, 3, 4, 99}) {
    gsl_TriOctreeNode fixed(kCube, 0, 0, nullptr), movable(kCube, 0, 0, nullptr);
    fixed.BuildOctree(kCube, 3);
    Source search(levels);
    search.SetDirection(gsl_Vector(0, 0, -2));
    for (int level = 0; level < 4; ++level) {
      const double size = 6.0 / (1 << level), z = 0.1 * level;
      const gsl_Point p[3] = {{0.1, 0.1, z}, {size, 0.1, z}, {0.1, size, z}};
      ASSERT_TRUE(fixed.Add(p[0], p[1], p[2], search.Add(p[0], p[1], p[2])));
    }
    const gsl_Point p[3] = {{0.1, 0.1, 4}, {0.1, 0.7, 4}, {0.7, 0.1, 4}};
    movable.Add(p[0], p[1], p[2], search.Add(p[0], p[1], p[2]));
    double d = 100;
    EXPECT_TRUE(search.FindDirectionalDistance(fixed, movable, d));
    EXPECT_DOUBLE_EQ(d, 4 - 0.1 * (std::clamp(levels, 1, 4) - 1)) << levels;
    EXPECT_EQ(search.FixedTriangle(), std::clamp(levels, 1, 4) - 1);
    EXPECT_EQ(search.MovableTriangle(), 4);
    EXPECT_NEAR(search.MovablePoint()[2] - search.FixedPoint()[2], d, 1e-12);
    const double known = d;
    EXPECT_FALSE(search.FindDirectionalDistance(fixed, movable, d)); // a bound must be beaten
    EXPECT_EQ(d, known);
    gsl_TriOctreeNode empty(kCube, 0, 0, nullptr), deep(kCube, 0, 0, nullptr);
    deep.BuildOctree(kCube, 2);
    deep.Add(gsl_Point(0.1, 0.1, 1), gsl_Point(1, 0.1, 1), gsl_Point(0.1, 1, 1), 3);
    d = 100;
    EXPECT_FALSE(search.FindDirectionalDistance(fixed, empty, d));
    EXPECT_FALSE(search.FindDirectionalDistance(empty, movable, d));
    EXPECT_EQ(search.FindDirectionalDistance(deep, movable, d), levels > 2); // not empty, but out of reach
  }
}

TEST(gsl_TriTriDirDist, MeetsWhatFacesOrIsReversed) {
  const std::vector<int> one = {0, 1, 2}, turned = {0, 2, 1};
  const std::vector<double> low = {0, 0, 0, 2, 0, 0, 0, 2, 0}, high = {0, 0, 5, 2, 0, 5, 0, 2, 5};
  for (const bool fixedFaces : {false, true})
    for (const bool movableFaces : {false, true})
      for (const bool reverseFixed : {false, true})
        for (const bool reverseMovable : {false, true}) {
          gsl_ArrayTriTriDirDist search(low, fixedFaces ? one : turned, high, movableFaces ? turned : one);
          search.SetDirection(gsl_Vector(0, 0, -1));
          search.SetReverse(reverseFixed, reverseMovable);
          double d = 100;
          EXPECT_EQ(search.FindDirectionalDistance(d),
                    (fixedFaces || reverseFixed) && (movableFaces || reverseMovable));
          EXPECT_EQ(search.MovableTriangle(), d < 100 ? 1 : 0); // after the one of the fixed set
        }
  gsl_ArrayTriTriDirDist search(low, one, high, turned);
  gsl_Matrix up;
  up.SetTranslation(gsl_Vector(0.5, 0, 1));
  search.SetTransform(up);
  search.SetDirection(gsl_Vector(0, 0, -1));
  double d = 100;
  ASSERT_TRUE(search.FindDirectionalDistance(d));
  EXPECT_DOUBLE_EQ(d, 4);
  search.SetDirection(gsl_Vector(0, 0, 1));
  EXPECT_FALSE(search.FindDirectionalDistance(d));
  search.SetDirection(gsl_Vector(0, 0, 0));
  EXPECT_FALSE(search.FindDirectionalDistance(d));
}

/// Two triangles, the travel of the first one along z, negative for none, and its point of contact.
struct Pair {
  const char *contact, *numbers;
};

TEST(gsl_TriTriDirDist, MeetsVerticesFacesAndEdges) {
  const Pair pairs[] = {
      // clang-format off
      {"vertex on face", "1 1 0 2 1 -1 1 2 -1, 0 0 3 0 9 3 9 0 3, 3, 1 1 0"},
      {"face on vertex", "0 0 0 9 0 0 0 9 0, 1 1 3 1 2 4 2 1 4, 3, 1 1 0"},
      {"edge on edge", "-2 0 0 2 0 0 0 5 -5, 0 -2 3 0 2 3 5 0 8, 3, 0 0 0"},
      {"faces away", "0 0 0 0 9 0 9 0 0, 1 1 3 1 2 4 2 1 4, -1, 0 0 0"},
      {"beside", "0 0 0 1 0 0 0 1 0, 2 2 3 2 3 3 3 2 3, -1, 0 0 0"},
      {"beyond", "0 0 5 9 0 5 0 9 5, 1 1 3 1 2 4 2 1 4, -1, 0 0 0"},
      {"edge-on, vertex ahead", "1 1 -1 2 1 -1 1.5 1 0, 0 0 3 0 9 3 9 0 3, 3, 1.5 1 0"},
      {"edge-on, wider than the face", "-9 1 0 9 1 0 0 1 -1, 0 0 3 0 4 3 4 0 3, 3, 0 1 0"},
      {"the other one edge-on", "0 0 0 4 0 0 0 4 0, 1 1 3 2 1 4 1 1 5, 3, 1 1 0"},
      {"both edge-on in one plane", "0 1 0 4 1 0 2 1 -1, 1 1 3 1 1 5 0 1 4, 3, 1 1 0"},
      {"both edge-on, planes cross", "0 1 0 4 1 0 2 1 -1, 2 0 3 2 4 3 2 2 5, 3, 2 1 0"},
      {"edge-on, pierces", "1 1 -1 2 1 -1 1.5 1 1, 0 0 0 0 9 0 9 0 0, 0, 1.25 1 0"},
      {"edge-on, pierces with a face wider than the other", "-9 1 -1 9 1 -1 0 1 8, 0 0 0 0 4 0 4 0 0, 0, 0 1 0"},
      {"the other one edge-on, pierces", "0 0 0 4 0 0 0 4 0, 1 1 -1 2 1 -1 1 1 1, 0, 1 1 0"},
      {"edge-on, past by less than the tolerance", "1 1 4 2 1 4 1.5 1 5e-07, 0 0 0 0 9 0 9 0 0, -1, 0 0 0"},
      {"both edge-on in one plane, overlap", "0 1 0 4 1 0 2 1 3, 1 1 1 3 1 1 2 1 5, 0, 2 1 2.142857142857143"},
      {"both edge-on, one inside the other", "0 1 0 9 1 0 0 1 9, 1 1 1 2 1 1 1 1 2, 0, 1 1 1.777777777777778"},
      {"both edge-on, planes cross, overlap", "0 1 0 4 1 0 2 1 4, 2 0 3 2 4 3 2 2 5, 0, 2 1 3.2"},
      {"both edge-on, apart", "0 1 0 4 1 0 2 1 -1, 1 2 3 1 2 5 0 2 4, -1, 0 0 0"},
      {"colinear", "0 0 0 1 1 0 2 2 0, 0 0 3 0 9 3 9 0 3, -1, 0 0 0"},
      // clang-format on
  };
  const bool noFlip[2] = {false, false};
  for (const Pair& pair : pairs) {
    std::string text = pair.numbers;
    std::ranges::replace(text, ',', ' ');
    std::istringstream numbers(text);
    gsl_Point a[3], b[3], onA;
    double distance = 0;
    const auto read = [&](gsl_Point& point) { numbers >> point[0] >> point[1] >> point[2]; };
    for (gsl_Point& point : a) read(point);
    for (gsl_Point& point : b) read(point);
    numbers >> distance;
    read(onA);
    ASSERT_TRUE(numbers) << pair.contact;
    gsl_Point contact[2];
    double d = 50;
    const auto meet = [&](double& bound) {
      return gsl_TriTriMinDirectionalDist(gsl_Vector(0, 0, 4), a[0], a[1], a[2], b[0], b[1], b[2], noFlip,
                                          1e-6, contact, bound);
    };
    ASSERT_EQ(meet(d), distance >= 0) << pair.contact;
    if (distance < 0) continue;
    EXPECT_NEAR(d, distance, 1e-12) << pair.contact;
    EXPECT_LT(contact[0].GetDistance(onA), 1e-9) << pair.contact;
    EXPECT_LT(contact[1].GetDistance(contact[0] + gsl_Vector(0, 0, d)), 1e-9) << pair.contact;
    double same = d; // strictly below the bound
    EXPECT_FALSE(meet(same)) << pair.contact;
  }
}

TEST(gsl_TriTriDirDist, CountsAVertexBehindThePlaneToo) {
  // a tilted face whose first corner is 1 past the plane, the others 2 before it
  const bool noFlip[2] = {false, false};
  gsl_Point contact[2];
  double d = 50;
  ASSERT_TRUE(gsl_TriTriMinDirectionalDist(gsl_Vector(0, 0, 1), gsl_Point(1, 1, 4), gsl_Point(2, 1, 1),
                                           gsl_Point(1, 2, 1), gsl_Point(0, 0, 3), gsl_Point(0, 9, 3),
                                           gsl_Point(9, 0, 3), noFlip, 1e-6, contact, d));
  EXPECT_DOUBLE_EQ(d, 1);
}

TEST(gsl_TriTriDirDist, MovesSegmentsOfOnePlane) {
  const gsl_Vector up(0, 0, 1);
  gsl_Point contact[2];
  const auto travel = [&](gsl_Point p0, gsl_Point p1, gsl_Point q0, gsl_Point q1, int sign) {
    double d = 50;
    return gsl_InPlaneSegSegMinDirectionalDist(up, p0, p1, q0, q1, sign, contact, d) ? d : -1;
  };
  const gsl_Point a0(0, 0, 0), a1(2, 0, 1), b0(1, 0, 5), b1(9, 0, 5);
  EXPECT_DOUBLE_EQ(travel(a0, a1, b0, b1, 1), 4); // the end (2, 0, 1) moves
  EXPECT_LT(contact[0].GetDistance(a1), 1e-9);
  EXPECT_DOUBLE_EQ(travel(b0, b1, a0, a1, -1), 4); // the same, moved as the other one
  EXPECT_LT(contact[0].GetDistance(a1), 1e-9);
  EXPECT_EQ(travel(a0, a1, b0, b1, -1), -1);                                      // it moves away
  EXPECT_EQ(travel(a0, a1, gsl_Point(3, 0, 5), b1, 1), -1);                       // beside
  EXPECT_DOUBLE_EQ(travel(a0, a1, gsl_Point(0, 0, 7), gsl_Point(0, 0, 3), 1), 3); // along the direction
  // the ends of the other one are met as well, and what is in contact has no way to go
  const gsl_Point flat0(0, 0, 0), flat1(2, 0, 0);
  EXPECT_DOUBLE_EQ(travel(flat0, flat1, gsl_Point(1, 0, 1), gsl_Point(3, 0, 5), 1), 1);
  EXPECT_LT(contact[0].GetDistance(gsl_Point(1, 0, 0)), 1e-9);
  EXPECT_DOUBLE_EQ(travel(flat0, flat1, gsl_Point(0.5, 0, 1), gsl_Point(1.5, 0, 5), 1), 1);
  EXPECT_EQ(travel(flat0, gsl_Point(2, 0, 2), gsl_Point(0, 0, 2), gsl_Point(2, 0, 0), 1), 0);
  EXPECT_LT(contact[0].GetDistance(gsl_Point(1, 0, 1)), 1e-9);
  EXPECT_EQ(travel(flat0, gsl_Point(0, 0, 4), gsl_Point(-1, 0, 2), gsl_Point(2, 0, 2), 1), 0);
  EXPECT_EQ(travel(flat0, gsl_Point(0, 0, 4), gsl_Point(0, 0, 3), gsl_Point(0, 0, 9), 1), 0);

  // any two segments of a plane: the nearest of all pairs of their points that the direction joins
  RandomGeometry random(17);
  for (int i = 0; i < 2'000; ++i) {
    const auto place = [&] {
      return gsl_Point(std::floor(random.Real(0, 5)), 0, std::floor(random.Real(0, 9)));
    };
    const gsl_Point p[2] = {place(), place()}, q[2] = {place(), place()};
    double low = 1e9, high = -1e9;
    for (const gsl_Point& a : p)
      for (const gsl_Point& b : q) {
        const auto offer = [&](double way) { low = std::min(low, way), high = std::max(high, way); };
        const auto at = [](const gsl_Point(&s)[2], double x, double& z) {
          if (s[0][0] == s[1][0] || (x - s[0][0]) * (x - s[1][0]) > 0) return false;
          z = s[0][2] + (s[1][2] - s[0][2]) * (x - s[0][0]) / (s[1][0] - s[0][0]);
          return true;
        };
        double z;
        if (a[0] == b[0]) offer(b[2] - a[2]);
        if (at(q, a[0], z)) offer(z - a[2]);
        if (at(p, b[0], z)) offer(b[2] - z);
      }
    const double expected = high >= 0 ? std::max(low, 0.0) : -1;
    EXPECT_NEAR(travel(p[0], p[1], q[0], q[1], 1), expected, 1e-9) << i;
    EXPECT_NEAR(travel(q[0], q[1], p[0], p[1], -1), expected, 1e-9) << i;
  }
}

TEST(gsl_TriTriDirDist, BoxesEnterEachOther) {
  const gsl_BBox fixed(gsl_Point(0, 0, 0), gsl_Point(1, 1, 1)),
      movable(gsl_Point(4, 4, 4), gsl_Point(5, 5, 5));
  double d = -7;
  ASSERT_TRUE(gsl_BoxBoxDirectionalDist(gsl_Vector(-2, -2, -2), fixed, movable, d));
  EXPECT_DOUBLE_EQ(d, 3 * std::sqrt(3.0));
  ASSERT_TRUE(gsl_BoxBoxDirectionalDist(gsl_Vector(0, 1, 0), fixed, fixed, d));
  EXPECT_EQ(d, 0);
  for (const gsl_Vector& away : {gsl_Vector(1, 1, 1), gsl_Vector(0, 0, -1), gsl_Vector(-1, -1, -1.8),
                                 gsl_Vector(0, 0, 0), gsl_Vector(std::nan(""), 0, 0)})
    EXPECT_FALSE(gsl_BoxBoxDirectionalDist(away, fixed, movable, d));
  EXPECT_FALSE(gsl_BoxBoxDirectionalDist(gsl_Vector(-1, -1, -1), fixed, gsl_BBox(), d));
}

TEST(gsl_TriTriDirDist, TracesWhenTheEnvironmentSaysSo) {
  const fs::path folder = fs::path(testing::TempDir()) / "tri_tri_trace", before = fs::current_path();
  fs::remove_all(folder);
  fs::create_directories(folder);
  fs::current_path(folder);
  const std::vector<int> up = {0, 1, 2}, down = {0, 2, 1};
  const std::vector<double> low = {0, 0, 0, 2, 0, 0, 0, 2, 0}, high = {0, 0, 2, 2, 0, 2, 0, 2, 2};
  const auto search = [&](double bound, const gsl_Vector& direction) {
    gsl_ArrayTriTriDirDist search(low, up, high, down);
    search.SetDirection(direction);
    search.FindDirectionalDistance(bound);
  };
  const auto trace = [] {
    std::ifstream in("TriTriDirDist.dat");
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  unsetenv("TWL_TRITRIDIRDIST_DEBUG");
  search(9, gsl_Vector(0, 0, -1));
  EXPECT_FALSE(fs::exists("TriTriDirDist.dat"));
  setenv("TWL_TRITRIDIRDIST_DEBUG", "", 1); // set, though empty
  const std::string nodes = " Fixed bbox node level 0 and index 0\n Movable bbox node level 0 and index 0\n";
  search(9, gsl_Vector(0, 0, -1));
  EXPECT_EQ(trace(), nodes
                         + "  Bbox distance: 2.000000\n   Fixed Triangles: 1\n   Movable Triangles: 1\n"
                           "  (F 0, M 1): 2.000000\n  Distance: 2.000000\n");
  search(1, gsl_Vector(0, 0, -1));
  EXPECT_EQ(trace(), nodes + "  Bbox distance: 2.000000\n  Rejecting based on the face bbox check\n");
  search(9, gsl_Vector(0, 0, 1));
  EXPECT_EQ(trace(), nodes + "  BBox did not intersect\n");
  unsetenv("TWL_TRITRIDIRDIST_DEBUG");
  std::FILE* out = std::fopen("tree", "w");
  gsl_TriOctree("bolt", low, up).Print(out);
  std::fclose(out);
  std::ifstream in("tree");
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(line, "Root id: bolt, Max Depth: 0");
  fs::current_path(before);
}

TEST(gsl_TriTriDirDist, AgreesWithTheExactTravelOfSeparatedSets) {
  RandomGeometry random(21);
  int meetings = 0;
  for (int i = 0; i < 400; ++i) {
    TriangleSet fixed, movable;
    for (TriangleSet* set : {&fixed, &movable}) {
      const int triangles = static_cast<int>(random.Real(1, 40));
      for (int k = 0; k < triangles; ++k) {
        const gsl_Point middle = random.Point(4);
        set->Add(middle + random.Vector(2), middle + random.Vector(2), middle + random.Vector(2));
      }
    }
    movable.Shift(0, 0, 20);
    const gsl_Vector direction(random.Real(-0.3, 0.3), random.Real(-0.3, 0.3), -1);
    gsl_ArrayTriTriDirDist search(fixed.xyz, fixed.triangles, movable.xyz, movable.triangles);
    search.SetDirection(direction);
    search.SetReverse(true, true);
    double d = 1e9;
    gsl_Travel travel;
    const bool met =
        gsl_FindTravel(fixed.xyz, fixed.triangles, movable.xyz, movable.triangles, direction, travel);
    ASSERT_EQ(search.FindDirectionalDistance(d), met) << i;
    if (!met) continue;
    ++meetings;
    ASSERT_NEAR(d, travel.distance, 1e-5) << i;
    EXPECT_EQ(search.FixedTriangle(), travel.fixedTriangle) << i;
    EXPECT_EQ(search.MovableTriangle() - search.NumFixedTriangles(), travel.movableTriangle) << i;
    EXPECT_NEAR(search.FixedPoint()[2], travel.fixedPoint[2], 1e-5) << i;
  }
  EXPECT_GT(meetings, 200);
}
} // namespace
