// Directional distance of triangle sets: one pair against an exhaustive search of corners, trees against all
// pairs.
#include <CoreGeometry/gsl_Travel.h>

#include "gsl_TestGeometry.h"
#include "gsl_TravelKernel.h"
#include "gsl_TriangleSets.h"
#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <optional>

namespace {
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNever = -1; ///< no travel makes them meet

/// Travel of one triangle by linear programming: weights of three fixed and three movable vertices are a pair
/// of points that the third axis joins; every set of up to four weights that these conditions determine is
/// tried.
std::optional<double> ByCorners(const gsl_TravelTriangle& f, const gsl_TravelTriangle& m) {
  double low = kInfinity, high = -kInfinity;
  for (unsigned basis = 1; basis < 64; ++basis) {
    std::vector<int> columns;
    for (int c = 0; c < 6; ++c)
      if (basis >> c & 1U) columns.push_back(c);
    const int n = static_cast<int>(columns.size());
    if (n > 4) continue;
    double a[4][5] = {}; // sum of fixed weights, of movable weights, x, y | right-hand side
    for (int k = 0; k < n; ++k) {
      const bool fixed = columns[k] < 3;
      const double* p = fixed ? f.p[columns[k]] : m.p[columns[k] - 3];
      a[0][k] = fixed;
      a[1][k] = !fixed;
      for (int axis = 0; axis < 2; ++axis) a[2 + axis][k] = fixed ? p[axis] : -p[axis];
    }
    a[0][4] = a[1][4] = 1;
    bool isCorner = true;
    for (int c = 0; c < n && isCorner; ++c) {
      int pivot = c;
      for (int r = c + 1; r < 4; ++r)
        if (std::fabs(a[r][c]) > std::fabs(a[pivot][c])) pivot = r;
      std::swap(a[c], a[pivot]);
      isCorner = std::fabs(a[c][c]) > 1e-12;
      for (int r = 0; r < 4 && isCorner; ++r)
        for (int k = 4; k >= c && r != c; --k) a[r][k] -= a[c][k] * (a[r][c] / a[c][c]);
    }
    for (int r = n; r < 4; ++r) isCorner = isCorner && std::fabs(a[r][4]) < 1e-11;
    double way = 0;
    for (int k = 0; k < n && isCorner; ++k) {
      const double weight = a[k][4] / a[k][k];
      isCorner = weight > -1e-11;
      way += weight * (columns[k] < 3 ? f.p[columns[k]][2] : -m.p[columns[k] - 3][2]);
    }
    if (!isCorner) continue;
    low = std::min(low, way);
    high = std::max(high, way);
  }
  return high > -1e-12 ? std::optional(std::max(low, 0.0)) : std::nullopt;
}

/// A random triangle on a small grid half of the time: shared places, edges edge-on, parallel and touching.
gsl_TravelTriangle RandomTriangle(RandomGeometry& random, bool onGrid) {
  gsl_TravelTriangle t;
  for (auto& p : t.p)
    for (double& x : p) x = onGrid ? std::floor(random.Real(0, 4)) : random.Real(0, 4);
  t.FindBox();
  t.FindPlane();
  return t;
}
TEST(gsl_Travel, OnePairAgreesWithAllCornersOfItsPairsOfPoints) {
  RandomGeometry random(11);
  int meetings = 0;
  for (int i = 0; i < 40'000; ++i) {
    const gsl_TravelTriangle f = RandomTriangle(random, i % 4 != 0), m = RandomTriangle(random, i % 4 < 2);
    gsl_TravelContact contact;
    const bool met = gsl_MeetTriangles(f, m, 1e-12, contact);
    const std::optional<double> expected = ByCorners(f, m);
    ASSERT_EQ(met, expected.has_value()) << i;
    if (!met) continue;
    ++meetings;
    ASSERT_NEAR(contact.distance, *expected, 1e-9) << i;
    for (int axis = 0; axis < 3; ++axis)
      ASSERT_NEAR(contact.movable[axis] + (axis == 2 ? contact.distance : 0), contact.fixed[axis], 1e-9) << i;
  }
  EXPECT_GT(meetings, 10'000);
}

std::vector<gsl_TravelTriangle> InFrame(const TriangleSet& set, const gsl_TravelFrame& frame) {
  std::vector<gsl_TravelTriangle> all(set.triangles.size() / 3);
  for (std::size_t i = 0; i < set.triangles.size(); ++i)
    gsl_ToFrame(frame, &set.xyz[3 * static_cast<std::size_t>(set.triangles[i])], all[i / 3].p[i % 3]);
  for (gsl_TravelTriangle& triangle : all) {
    triangle.FindBox();
    triangle.FindPlane();
  }
  return all;
}

/// Travel over all pairs.
double AllPairs(const TriangleSet& fixed, const TriangleSet& movable, const gsl_Vector& direction) {
  const gsl_TravelFrame frame = gsl_FrameAlong(direction.UnitCopy());
  gsl_TravelContact contact;
  for (const gsl_TravelTriangle& f : InFrame(fixed, frame))
    for (const gsl_TravelTriangle& m : InFrame(movable, frame)) gsl_MeetTriangles(f, m, 1e-11, contact);
  return contact.distance == kInfinity ? kNever : contact.distance;
}

double Travel(const TriangleSet& fixed, const TriangleSet& movable, const gsl_Vector& direction,
              gsl_Travel* result = nullptr) {
  gsl_Travel travel;
  if (!gsl_FindTravel(fixed.xyz, fixed.triangles, movable.xyz, movable.triangles, direction, travel))
    return kNever;
  if (result) *result = travel;
  return travel.distance;
}

/// Up to 60 triangles; on a grid every second time.
TriangleSet RandomSet(RandomGeometry& random, bool onGrid) {
  TriangleSet set;
  const int points = 3 + static_cast<int>(random.Real(0, 20)),
            triangles = static_cast<int>(random.Real(1, 60));
  const gsl_Vector middle = random.Vector(3);
  for (int i = 0; i < 3 * points; ++i) {
    const double x = random.Real(-2, 2) + middle[static_cast<unsigned>(i % 3)];
    set.xyz.push_back(onGrid ? std::floor(x) : x);
  }
  for (int i = 0; i < 3 * triangles; ++i) set.triangles.push_back(static_cast<int>(random.Real(0, points)));
  return set;
}

TEST(gsl_Travel, SetsAgreeWithAllPairsHoweverTheyStand) {
  RandomGeometry random(5);
  const gsl_Vector axes[] = {{1, 0, 0}, {0, -1, 0}, {0, 0, -3}, {1, 1, 0}, {0, 1e-9, 1}};
  int meetings = 0;
  for (int i = 0; i < 4'000; ++i) {
    TriangleSet fixed = RandomSet(random, i % 2 == 0), movable = RandomSet(random, i % 2 == 0);
    gsl_Vector direction = i % 3 == 0 ? random.Vector() : axes[i % 5];
    const double expected = AllPairs(fixed, movable, direction);
    gsl_Travel travel;
    ASSERT_NEAR(Travel(fixed, movable, direction, &travel), expected, 1e-9) << i;
    if (expected != kNever) {
      ++meetings;
      const gsl_Vector way = direction.UnitCopy() * expected;
      for (unsigned axis = 0; axis < 3; ++axis)
        ASSERT_NEAR(travel.movablePoint[axis] + way[axis], travel.fixedPoint[axis], 1e-8) << i;
    }
    // trees that stand across the direction
    gsl_Travel across;
    const bool met = gsl_FindTravel(gsl_TriangleTree(fixed.xyz, fixed.triangles),
                                    gsl_TriangleTree(movable.xyz, movable.triangles), direction, across);
    ASSERT_NEAR(met ? across.distance : kNever, expected, 1e-9) << i;
    // the other one moves
    gsl_Vector back = direction;
    back.Negate();
    ASSERT_NEAR(Travel(movable, fixed, back), expected, 1e-9) << i;
    // everything moves; of faces nearly edge-on the last bit of a coordinate is a large part of the travel
    if (i % 3 != 0 && i % 5 == 4) continue;
    const gsl_Matrix motion = random.Rigid();
    motion.Transform(direction);
    fixed.Move(motion);
    movable.Move(motion);
    ASSERT_NEAR(Travel(fixed, movable, direction), expected, 1e-9) << i;
  }
  EXPECT_GT(meetings, 1'000);
}

/// A bumpy sheet of n x n squares 10 wide, with a wall on every fourth line.
TriangleSet Sheet(RandomGeometry& random, int n, double height, double wall) {
  TriangleSet set;
  std::vector<gsl_Point> points;
  for (int i = 0; i <= n; ++i)
    for (int k = 0; k <= n; ++k)
      points.emplace_back(10.0 * i / n, 10.0 * k / n, height + 0.02 * (i - k) + random.Real(0, 0.1));
  const auto at = [&](int i, int k) -> const gsl_Point& {
    return points[static_cast<std::size_t>(i * (n + 1) + k)];
  };
  for (int i = 0; i < n; ++i)
    for (int k = 0; k < n; ++k) {
      set.Add(at(i, k), at(i + 1, k), at(i, k + 1));
      set.Add(at(i + 1, k + 1), at(i + 1, k), at(i, k + 1));
      if (i % 4 == 0) set.Add(at(i, k), at(i, k + 1), at(i, k) + gsl_Vector(0, 0, wall));
    }
  return set;
}

TEST(gsl_Travel, DeepTreesAgreeWithAllPairs) {
  RandomGeometry random(8);
  for (const double wall : {0.0, 0.7})
    for (const double far : {0.0, 1e6}) {
      TriangleSet fixed = Sheet(random, 18, 0, wall), movable = Sheet(random, 21, 3, -wall);
      movable.Shift(far + 0.3, 0.2, 0);
      fixed.Shift(far, 0, 0);
      for (const gsl_Vector& direction :
           {gsl_Vector(0, 0, -1), gsl_Vector(0.4, 0.3, -1), gsl_Vector(1, 0, -0.5)}) {
        const double expected = AllPairs(fixed, movable, direction);
        EXPECT_GT(expected, 1);
        EXPECT_NEAR(Travel(fixed, movable, direction), expected, 1e-9 * (1 + far));
        gsl_Travel across;
        ASSERT_TRUE(gsl_FindTravel(gsl_TriangleTree(fixed.xyz, fixed.triangles),
                                   gsl_TriangleTree(movable.xyz, movable.triangles), direction, across));
        EXPECT_NEAR(across.distance, expected, 1e-9 * (1 + far));
      }
    }
}

TEST(gsl_Travel, KnowsEveryKindOfContact) {
  const TriangleSet cube = BoxSet(1, 1, 1);
  struct Case {
    const char* kind;
    double shift[3], distance; ///< of the second cube, which falls along -z
  };
  for (const Case& c : {Case{"face on face", {0.25, 0.25, 3}, 2}, Case{"aligned", {0, 0, 3}, 2},
                        Case{"edges touch, sides graze", {1, 0.5, 3}, 2}, Case{"corner grazes", {1, 1, 3}, 2},
                        Case{"passes", {1.001, 0, 3}, kNever}, Case{"touches", {0, 0, 1}, 0},
                        Case{"overlaps", {0.5, 0.5, 0.5}, 0}, Case{"is past", {0, 0, -1.5}, kNever},
                        Case{"leaves, touching", {0, 0, -1}, 0}}) {
    for (const double size : {1e-3, 1.0, 1e5}) // relative tolerances
      for (const bool turned : {false, true}) {
        TriangleSet fixed = cube, movable = cube;
        movable.Shift(c.shift[0], c.shift[1], c.shift[2]);
        gsl_Vector direction(0, 0, -7);
        for (TriangleSet* set : {&fixed, &movable})
          for (double& x : set->xyz) x *= size;
        if (turned) {
          RandomGeometry random(3);
          const gsl_Matrix motion = random.Rigid();
          fixed.Move(motion);
          movable.Move(motion);
          motion.Transform(direction);
        }
        const double distance = Travel(fixed, movable, direction);
        if (c.distance == kNever)
          EXPECT_EQ(distance, kNever) << c.kind;
        else
          EXPECT_NEAR(distance, c.distance * size, 1e-9 * size) << c.kind << size << turned;
      }
  }
  // a hollow box: what is inside meets the wall, and the winding does not matter
  TriangleSet shell = BoxSet(10, 10, 10), inner = cube;
  inner.Shift(4, 4, 4);
  EXPECT_EQ(Travel(shell, inner, gsl_Vector(1, 0, 0)), 5);
  for (std::size_t i = 0; i < shell.triangles.size(); i += 3)
    std::swap(shell.triangles[i], shell.triangles[i + 1]);
  EXPECT_EQ(Travel(shell, inner, gsl_Vector(1, 0, 0)), 5);
}

TEST(gsl_Travel, AnswersWhereThereIsNothingToFind) {
  const TriangleSet cube = BoxSet(1, 1, 1);
  TriangleSet above = cube, broken = cube, empty;
  above.Shift(0, 0, 5);
  const gsl_Vector down(0, 0, -1);
  const double nan = std::nan("");
  for (const gsl_Vector& direction :
       {gsl_Vector(0, 0, 0), gsl_Vector(nan, 0, 1), gsl_Vector(kInfinity, 0, 0)})
    EXPECT_EQ(Travel(cube, above, direction), kNever);
  EXPECT_EQ(Travel(cube, above, gsl_Vector(0, 0, -1e-200)), 4);
  EXPECT_EQ(Travel(empty, cube, down), kNever);
  EXPECT_EQ(Travel(cube, empty, down), kNever);
  // the upper face of the fixed cube is not there, then none of it is
  for (std::size_t i = 14; i < 24; i += 3) broken.xyz[i] = nan;
  EXPECT_EQ(gsl_TriangleTree(broken.xyz, broken.triangles).NumTriangles(), 2U);
  EXPECT_EQ(Travel(broken, above, down), 5);
  for (double& x : broken.xyz) x = -kInfinity;
  EXPECT_EQ(Travel(broken, above, down), kNever);

  const gsl_TriangleTree fixed(cube.xyz, cube.triangles), movable(above.xyz, above.triangles),
      sideways(cube.xyz, cube.triangles, gsl_Vector(1, 0, 0));
  gsl_Travel travel;
  EXPECT_FALSE(gsl_FindTravel(fixed, movable, down, travel, 3.9));
  EXPECT_EQ(travel.fixedTriangle, -1);
  EXPECT_TRUE(gsl_FindTravel(fixed, movable, down, travel, 4.1));
  EXPECT_THROW(gsl_FindTravel(sideways, movable, down, travel), nex_AssertionException);
  const std::vector<int> wrong = {0, 1, 2, 0, 8, 1};
  try {
    const gsl_TriangleTree tree(cube.xyz, wrong);
    FAIL();
  } catch (const nex_TextException& error) {
    EXPECT_STREQ(error.what(), "triangle 1: point 8 is not one of 8 points");
  }
  // single precision, far from the origin
  const std::vector<float> low = {4096, 0, 0, 4097, 0, 0, 4096, 1, 0},
                           high = {4096, 0, 2, 4097, 0, 2, 4096, 1, 3};
  const std::vector<int> one = {0, 1, 2};
  ASSERT_TRUE(
      gsl_FindTravel(std::span<const float>(low), one, std::span<const float>(high), one, down, travel));
  EXPECT_EQ(travel.distance, 2);
  EXPECT_EQ(travel.movableTriangle, 0);
}
} // namespace
