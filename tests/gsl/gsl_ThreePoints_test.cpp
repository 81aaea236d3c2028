#include <CoreGeometry/gsl_ThreePoints.h>

#include "gsl_TestGeometry.h"
#include <CoreGeometry/gsl_DepthFirstSearch.h>
#include <CoreGeometry/gsl_Interval.h>
#include <CoreGeometry/gsl_Plane.h>
#include <gtest/gtest.h>
#include <vector>

TEST(gsl_ThreePoints, CircleTouchesItsPoints) {
  RandomGeometry random(12);
  for (int i = 0; i < 200; ++i) {
    const gsl_Point a = random.Point(), b = random.Point(), c = random.Point();
    gsl_Point centre;
    gsl_Vector n;
    ASSERT_TRUE(gsl_ComputeCircumCircle(a, b, c, centre, n));
    const double radius = centre.GetDistance(a);
    EXPECT_NEAR(centre.GetDistance(b), radius, 1e-9 * radius);
    EXPECT_NEAR(centre.GetDistance(c), radius, 1e-9 * radius);
    EXPECT_LT(centre.GetDistance(gsl_Plane(a, n)), 1e-9 * radius);
    EXPECT_TRUE(n == gsl_Vector(a, b, c));
  }
  const gsl_Point a(0, 0, 0), b(1, 0, 0), c(2, 0, 0);
  gsl_Point centre;
  gsl_Vector n;
  EXPECT_FALSE(gsl_ComputeCircumCircle(a, b, c, centre, n));
  EXPECT_EQ(centre.Uid(), a.Uid());
  EXPECT_EQ(n.Magnitude(), 0);
}

TEST(gsl_ThreePoints, FramesAreRightHanded) {
  RandomGeometry random(13);
  for (int i = 0; i < 100; ++i) {
    const gsl_Point a = random.Point(), b = random.Point(), c = random.Point();
    for (const bool circular : {false, true}) {
      gsl_Point origin;
      gsl_Vector x, y, z;
      gsl_Transcribe3PointsIntoOriginAndAxes(circular, a, b, c, origin, x, y, z);
      EXPECT_TRUE(x.CrossProduct(y) == z);
      EXPECT_NEAR(gsl_Vector(a, b).DotProduct(z), 0, 1e-9);
      EXPECT_TRUE(x.SameDirection(circular ? gsl_Vector(origin, a) : gsl_Vector(a, b), 1e-9));
      EXPECT_TRUE(circular || origin.Uid() == a.Uid());
    }
  }
  gsl_Point origin(1, 0, 0);
  const gsl_Point b(2, 0, 0), c(2, 1, 0);
  gsl_Vector x, y, z;
  gsl_Transcribe3PointsIntoOriginAndAxes(true, origin, b, c, origin, x, y, z); // may replace a point
  EXPECT_TRUE(origin == gsl_Point(1.5, 0.5, 0));
}

TEST(gsl_ThreePoints, NormalIsARelativeTest) {
  gsl_Vector n;
  EXPECT_TRUE(gsl_NormalToThreePoints(gsl_Point(0, 0, 0), gsl_Point(1e-8, 0, 0), gsl_Point(0, 1e-8, 0), n));
  EXPECT_FALSE(gsl_NormalToThreePoints(gsl_Point(0, 0, 0), gsl_Point(1, 0, 0), gsl_Point(5, 0, 0), n));
}

TEST(gsl_Interval, ClosedWithAnEmptyState) {
  const gsl_Interval a(1, 3), b(3, 7), empty;
  EXPECT_TRUE(empty.IsEmpty() && gsl_Interval(2, 1).IsEmpty() && gsl_Interval(std::nan(""), 1).IsEmpty());
  EXPECT_EQ(a.Intersection(b), gsl_Interval(3, 3)); // ends are included
  EXPECT_TRUE(a.Intersection(gsl_Interval(3.1, 4)).IsEmpty());
  EXPECT_EQ(a.Union(b), gsl_Interval(1, 7));
  EXPECT_EQ(a.Union(empty), a);
  EXPECT_EQ(a.Intersection(empty), empty);
  EXPECT_TRUE(a.Contains(1) && a.Contains(3) && !a.Contains(3.0000001) && !empty.Contains(0));
  EXPECT_EQ(gsl_Interval(0.1, 0.7).Interpolate(1), 0.7);
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(gsl_Interval(0, infinity).Interpolate(0), 0); // the ends, also of a ray
  EXPECT_EQ(gsl_Interval(0, infinity).Interpolate(1), infinity);
  EXPECT_EQ(gsl_Interval(-infinity, 0).Interpolate(0), -infinity);
  EXPECT_EQ(gsl_Interval(-infinity, 0).Interpolate(1), 0);
  EXPECT_EQ(a.Interpolate(0.25), 1.5);
  EXPECT_EQ(a.Parameter(a.Interpolate(-2)), -2);
  EXPECT_EQ(gsl_Interval(2, 2).Parameter(5), 0);
  EXPECT_TRUE(std::isnan(empty.Interpolate(0.5)) && std::isnan(empty.Parameter(1)));
  EXPECT_EQ(empty.Length(), -1);
  gsl_Interval grown;
  for (const double x : {2.0, -1.0, std::nan(""), 1.0}) grown.Add(x);
  EXPECT_EQ(grown, gsl_Interval(-1, 2));
}

TEST(gsl_DepthFirstSearch, VisitsInPreorder) {
  // 0 - 1, 0 - 2, 1 - 3, 2 - 3, 4 alone
  constexpr int n = 5;
  bool adjacency[n * n] = {};
  for (const auto& [i, j] : {std::pair{0, 1}, {0, 2}, {1, 3}, {2, 3}})
    adjacency[i * n + j] = adjacency[j * n + i] = true;
  int order[n], count = -1;
  gsl_DepthFirstSearch(adjacency, n, order, count);
  EXPECT_EQ(std::vector<int>(order, order + count), (std::vector<int>{0, 1, 3, 2}));
  gsl_DepthFirstSearch(adjacency, 0, order, count);
  EXPECT_EQ(count, 0);
}
