// Directional distance of triangle sets: one pair against an exhaustive search of corners, trees against all pairs.
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

/// Travel of one triangle by linear programming: weights of three fixed and three movable vertices are a pair of
/// points that the third axis joins; every set of up to four weights that these conditions determine is tried.
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
} // namespace
