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
template<class Real> std::optional<Real> ByCorners(const Real (&f)[3][3], const Real (&m)[3][3]) {
  Real low = kInfinity, high = -kInfinity;
  for (unsigned basis = 1; basis < 64; ++basis) {
    std::vector<int> columns;
    for (int c = 0; c < 6; ++c)
      if (basis >> c & 1U) columns.push_back(c);
    const int n = static_cast<int>(columns.size());
    if (n > 4) continue;
    Real a[4][5] = {}; // sum of fixed weights, of movable weights, x, y | right-hand side
    for (int k = 0; k < n; ++k) {
      const bool fixed = columns[k] < 3;
      const Real* p = fixed ? f[columns[k]] : m[columns[k] - 3];
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
    Real way = 0;
    for (int k = 0; k < n && isCorner; ++k) {
      const Real weight = a[k][4] / a[k][k];
      isCorner = weight > -1e-11;
      way += weight * (columns[k] < 3 ? f[columns[k]][2] : -m[columns[k] - 3][2]);
    }
    if (!isCorner) continue;
    low = std::min(low, way);
    high = std::max(high, way);
  }
  return high > -1e-12 ? std::optional(std::max(low, Real(0))) : std::nullopt;
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
    const std::optional<double> expected = ByCorners(f.p, m.p);
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

/// Of all pairs of triangles of two small sets, in long double.
double Reference(const TriangleSet& fixed, const TriangleSet& movable, const gsl_Vector& direction) {
  using Real = long double;
  const Real d[3] = {direction[0], direction[1], direction[2]};
  Real axes[3][3]; // across, across and along the direction
  std::copy_n(d, 3, axes[2]);
  const int least = std::fabs(d[0]) <= std::fabs(d[1]) && std::fabs(d[0]) <= std::fabs(d[2]) ? 0
                    : std::fabs(d[1]) <= std::fabs(d[2])                                     ? 1
                                                                                             : 2;
  for (int i = 0; i < 3; ++i)
    axes[0][i] = i == least ? 0 : i == (least + 1) % 3 ? -d[(least + 2) % 3] : d[(least + 1) % 3];
  for (int i = 0; i < 3; ++i)
    axes[1][i] = d[(i + 1) % 3] * axes[0][(i + 2) % 3] - d[(i + 2) % 3] * axes[0][(i + 1) % 3];
  for (auto& axis : axes) {
    const Real length = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
    for (Real& x : axis) x /= length;
  }
  const auto inFrame = [&](const TriangleSet& set, std::size_t first, Real(&p)[3][3]) {
    for (std::size_t k = 0; k < 3; ++k)
      for (int i = 0; i < 3; ++i) {
        const double* x = &set.xyz[3 * static_cast<std::size_t>(set.triangles[first + k])];
        p[k][i] = axes[i][0] * x[0] + axes[i][1] * x[1] + axes[i][2] * x[2];
      }
  };
  double travel = kInfinity;
  for (std::size_t i = 0; i < fixed.triangles.size(); i += 3)
    for (std::size_t k = 0; k < movable.triangles.size(); k += 3) {
      Real f[3][3], m[3][3];
      inFrame(fixed, i, f);
      inFrame(movable, k, m);
      if (const auto way = ByCorners(f, m)) travel = std::min(travel, static_cast<double>(*way));
    }
  return travel == kInfinity ? kNever : travel;
}

// Edges and faces along the direction have no length or area in the view; what rounding leaves of them in a
// skew frame must not decide.
TEST(gsl_Travel, EdgesAndFacesAlongTheDirectionCountHoweverTheyStand) {
  RandomGeometry random(29);
  const auto whole = [&](int size) { return std::floor(random.Real(-size, size + 1)); };
  const auto place = [&] { return gsl_Point(whole(9), whole(9), whole(9)); };
  int meetings = 0;
  for (int i = 0; i < 3'000; ++i) {
    TriangleSet sets[2];
    gsl_Vector direction(whole(5), whole(5), whole(5));
    if (i % 3 == 0) { // a pair, along an edge or in a face of one or of both
      const gsl_Point a = place(), b = place(), c = place(), d = place(), e = place();
      direction = i % 2 == 0 ? gsl_Vector(a, b) : gsl_Vector(a, b) * whole(2) + gsl_Vector(a, c) * whole(2);
      sets[i / 6 % 2].Add(a, b, c);
      sets[1 - i / 6 % 2].Add(d, i / 12 % 2 == 0 ? place() : d + direction, e);
    } else { // ribs: upright rectangles
      for (TriangleSet& set : sets)
        for (int k = 0; k < 1 + i % 4; ++k) {
          const gsl_Point a = place(), b = place();
          const gsl_Vector up = direction * (1 + std::floor(random.Real(0, 2)));
          set.Add(a, b, a + up);
          set.Add(b, a + up, b + up);
        }
    }
    if (direction.Magnitude() == 0) continue;
    const double expected = Reference(sets[0], sets[1], direction);
    meetings += expected != kNever;
    for (const bool turned : {false, true}) {
      if (turned) {
        const gsl_Matrix motion = random.Rigid();
        for (TriangleSet& set : sets) set.Move(motion);
        motion.Transform(direction);
      }
      ASSERT_NEAR(Travel(sets[0], sets[1], direction), expected, 1e-9) << i << turned;
    }
  }
  EXPECT_GT(meetings, 1'000);
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

TEST(gsl_Travel, SizesFromTheSmallestToTheLargestFloat) {
  const gsl_Vector down(0, 0, -1);
  for (const double size : {1e-44, 1e-40, 2e-38, 1e-30, 1.0, 1e20}) { // of many triangles beside a few others
    TriangleSet cluster, above = BoxSet(1, 1, 1);
    for (int i = 0; i < 40; ++i) {
      const double x = size * i / 40;
      cluster.Add(gsl_Point(x, 0, 0), gsl_Point(x + size / 50, 0, 0), gsl_Point(x, size / 50, 0));
    }
    for (int i = 1; i < 4; ++i)
      cluster.Add(gsl_Point(5 * i, 5, -2), gsl_Point(5 * i + 1, 5, -2), gsl_Point(5 * i, 6, -2));
    above.Shift(0, 0, 3);
    EXPECT_EQ(Travel(cluster, above, down), 3) << size;
  }
  const std::vector<int> one = {0, 1, 2};
  for (const double size : {1e-60, 1e37, 9e37, 1.1e38, 1e39, 1e120, 1e300, 1.7e308}) {
    const std::vector<double> low = {0, 0, 0, size, 0, 0, 0, size, 0},
                              high = {0, 0, size, size, 0, size, 0, size, size};
    gsl_Travel travel;
    if (size < 1e38) {
      EXPECT_TRUE(gsl_FindTravel(low, one, high, one, down, travel)) << size;
      EXPECT_EQ(travel.distance, size);
      continue;
    }
    try {
      gsl_FindTravel(low, one, high, one, down, travel);
      ADD_FAILURE() << size;
    } catch (const nex_TextException& error) {
      EXPECT_TRUE(error.Message().starts_with("triangle 0: a coordinate is beyond 1e+38")) << error.Message();
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
