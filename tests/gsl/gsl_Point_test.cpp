#include "gsl_TestGeometry.h"
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_Segment.h>
#include <CoreGeometry/gsl_StLine.h>
#include <gtest/gtest.h>
#include <sstream>

TEST(gsl_Point, EveryConstructorAllocatesAUidAndAssignmentTakesIt) {
  const gsl_Point a(1, 2, 3);
  gsl_Point copy(a);
  copy[0] = 0;
  const gsl_Point moved = a + gsl_Vector(0, 0, 0);
  EXPECT_NE(copy.Uid(), a.Uid());
  EXPECT_NE(moved.Uid(), a.Uid());
  gsl_Point b;
  b = a;
  EXPECT_EQ(b.Uid(), a.Uid());
  b.Transform(gsl_Matrix());
  b[0] = 9;
  EXPECT_EQ(b.Uid(), a.Uid());
  gsl_Point out;
  double t;
  a.ProjectOn(gsl_Segment(), out, t); // degenerate: the point itself
  EXPECT_EQ(out.Uid(), a.Uid());
  EXPECT_EQ(a.DynTypeId(), 0x030A0001U);
}

TEST(gsl_Point, ComparesAndOrders) {
  const gsl_Point o, at(1e-6, 0, 0);
  EXPECT_TRUE(o == at);     // inclusive
  EXPECT_FALSE(o.IsOn(at)); // strict
  EXPECT_TRUE(o != gsl_Point(1.0001e-6, 0, 0));
  const gsl_Point a(1, 1, 1), b(2, 2, 1), c(2, 2, 2), d(0, 5, 5);
  EXPECT_TRUE(c > a);
  EXPECT_FALSE(b > a); // z is not greater
  EXPECT_TRUE(b >= a);
  EXPECT_FALSE(d > a || a > d || d >= a || a >= d); // a partial order
  EXPECT_TRUE(a >= a);
  EXPECT_FALSE(a > a);
  EXPECT_EQ(gsl_Point(a, 2, c, -1)[0], 0);
  EXPECT_EQ(gsl_Point(a, c)[2], 1.5);
  EXPECT_EQ(d[3], 5);
}

TEST(gsl_Point, MeasuresToLinesAndPlanes) {
  const gsl_Point p(1, 2, 3);
  const gsl_Plane plane(gsl_Point(0, 0, 1), gsl_Vector(0, 0, -4));
  EXPECT_EQ(p.GetSignedDistance(plane), -2);
  EXPECT_EQ(p.GetDistance(plane), 2);
  EXPECT_EQ(p.GetDistance(plane, gsl_Vector(0, 0, -3)), 2);
  EXPECT_EQ(p.GetDistance(plane, gsl_Vector(0, 0, 3)), -2); // against the normal
  EXPECT_DOUBLE_EQ(p.GetDistance(plane, gsl_Vector(3, 0, -4)), 2.5);
  const gsl_StLine line(gsl_Point(0, 2, 0), gsl_Vector(0, 0, 5));
  EXPECT_EQ(p.GetDistance(line), 1);
  double t = 0;
  EXPECT_TRUE(p.ProjectOn(line, t) == gsl_Point(0, 2, 3));
  EXPECT_EQ(t, 3);
  EXPECT_TRUE(gsl_Point(9, 9, 1 + 0.9e-6).IsOn(plane));
  EXPECT_FALSE(gsl_Point(9, 9, 1 - 1.1e-6).IsOn(plane));
  EXPECT_FALSE(gsl_Point(1e-6, 2, 7).IsOn(line));
}

TEST(gsl_Point, ProjectsOnSegmentsStrictly) {
  const gsl_Segment s(gsl_Point(0, 0, 0), gsl_Point(4, 0, 0));
  gsl_Point out;
  double t = 0;
  EXPECT_TRUE(gsl_Point(1, 5, 0).ProjectOn(s, out, t));
  EXPECT_EQ(t, 0.25);
  EXPECT_TRUE(gsl_Point(-0.9e-6, 1, 0).ProjectOn(s, out, t));
  EXPECT_LT(t, 0);
  EXPECT_TRUE(gsl_Point(5, 1, 0).ProjectOn(s, 2.0, out, t));
  EXPECT_FALSE(gsl_Point(6, 1, 0).ProjectOn(s, 2.0, out, t)); // exactly at the bound
  EXPECT_EQ(t, 1.5);
  EXPECT_EQ(out[0], 6);
  EXPECT_FALSE(gsl_Point(-2, 1, 0).ProjectOn(s, 2.0, out, t));
  // as long as the tolerance is not degenerate, shorter is: the foot is then the point itself
  EXPECT_TRUE(gsl_Point(1, 5, 0).ProjectOn(s, 4.0, out, t));
  EXPECT_EQ(out[1], 0);
  EXPECT_TRUE(gsl_Point(1, 5, 0).ProjectOn(s, 4.1, out, t));
  EXPECT_EQ(out[1], 5);
  EXPECT_EQ(t, 0);
  EXPECT_EQ(gsl_Point(1, 5, 0).GetDistance(gsl_Segment(), out), 0);
  EXPECT_EQ(gsl_Point(-3, 4, 0).GetDistance(s, out), 5);
  EXPECT_EQ(out.Uid(), s.Point1().Uid());
  EXPECT_EQ(gsl_Point(7, 4, 0).GetDistance(s, out), 5);
  EXPECT_EQ(gsl_Point(1, 4, 0).GetDistance(s, out), 4);
}

TEST(gsl_Point, ProjectsOnTriangles) {
  const gsl_Point a(0, 0, 0), b(4, 0, 0), c(0, 4, 0);
  gsl_Point out;
  double w[3];
  EXPECT_TRUE(gsl_Point(1, 1, 7).ProjectOn(a, b, c, out, w));
  EXPECT_DOUBLE_EQ(w[0], 0.5);
  EXPECT_DOUBLE_EQ(w[1], 0.25);
  EXPECT_TRUE(gsl_Point(0, 0, 7).ProjectOn(a, b, c, out, w)); // a vertex
  EXPECT_TRUE(gsl_Point(2, 2, 7).ProjectOn(a, b, c, out, w)); // an edge
  EXPECT_FALSE(gsl_Point(2, 2 + 1e-10, 7).ProjectOn(a, b, c, out, w));
  // of a small triangle the bound lets points well outside pass
  const gsl_Point b3(1e-3, 0, 0), c3(0, 1e-3, 0);
  EXPECT_TRUE(gsl_Point(0, -0.99e-3, 0).ProjectOn(a, b3, c3, out, w));
  EXPECT_FALSE(gsl_Point(0, -1.01e-3, 0).ProjectOn(a, b3, c3, out, w));
  // colinear vertices
  const gsl_Point p(1, 2, 3);
  EXPECT_FALSE(p.ProjectOn(a, b, gsl_Point(8, 0, 0), out, w));
  EXPECT_EQ(out.Uid(), p.Uid());
  EXPECT_EQ(w[0] + w[1] + w[2], 0);
  EXPECT_FALSE(p.ProjectOn(a, gsl_Point(1e-100, 0, 0), gsl_Point(0, 1e-100, 0), out, w));

  EXPECT_EQ(gsl_Point(1, 1, 7).GetDistance(a, b, c), 7);
  EXPECT_EQ(gsl_Point(-3, -4, 0).GetDistance(a, b, c), 5);
  EXPECT_DOUBLE_EQ(gsl_Point(4, 4, 0).GetDistance(a, b, c), std::sqrt(8.0));
  EXPECT_EQ(gsl_Point(9, 9, 9).GetDistance(a, a, b), 0); // two vertices coincide
}

TEST(gsl_Point, MeetsPlanesAndSegmentsAlongAFullLine) {
  const gsl_Plane plane(gsl_Point(0, 0, 2), gsl_Vector(0, 0, 3));
  const gsl_Point p(1, 1, 5);
  gsl_Point out;
  EXPECT_TRUE(p.RayIntersect(gsl_Vector(0, 0, 1), plane, out)); // backwards
  EXPECT_TRUE(out == gsl_Point(1, 1, 2));
  EXPECT_FALSE(p.RayIntersect(gsl_Vector(1, 0, 0), plane, out));
  EXPECT_TRUE(out == p);
  EXPECT_FALSE(p.RayIntersect(gsl_Vector(0, 0, 0.9e-6), plane, out));
  EXPECT_TRUE(gsl_Point(1, 1, 2).RayIntersect(gsl_Vector(1, 0, 0), plane, out)); // on the plane already
  EXPECT_FALSE(p.RayIntersect(gsl_Vector(1, 0, 0), gsl_Plane(gsl_Point(), gsl_Vector(0, 0, 0)), out));
  EXPECT_TRUE(out == p);

  const gsl_Point a(0, 0, 0), b(4, 0, 0);
  double w[2];
  EXPECT_TRUE(gsl_Point(1, 3, 0).RayIntersect(a, b, gsl_Vector(0, 1, 0), out, w));
  EXPECT_DOUBLE_EQ(w[0], 0.25);
  EXPECT_DOUBLE_EQ(w[1], 0.75);
  EXPECT_TRUE(gsl_Point(4 + 0.9e-6, 3, 0).RayIntersect(a, b, gsl_Vector(0, 1, 0), out, w));
  EXPECT_FALSE(gsl_Point(4 + 1.1e-6, 3, 0).RayIntersect(a, b, gsl_Vector(0, 1, 0), out, w));
  EXPECT_FALSE(gsl_Point(1, 3, 1).RayIntersect(a, b, gsl_Vector(0, 1, 0), out, w)); // passes above
  EXPECT_FALSE(gsl_Point(1, 3, 0).RayIntersect(a, b, gsl_Vector(1, 0, 0), out, w)); // parallel
}

TEST(gsl_Point, ProjectionsAreIdempotentAndDistancesSymmetric) {
  RandomGeometry random(4);
  for (int i = 0; i < 300; ++i) {
    const gsl_Point p = random.Point(), q = random.Point();
    EXPECT_EQ(p.GetDistance(q), q.GetDistance(p));
    const gsl_Plane plane(random.Point(), random.Vector());
    const gsl_StLine line(random.Point(), random.Vector());
    const gsl_Point onPlane = p.ProjectOn(plane);
    EXPECT_TRUE(onPlane.IsOn(plane));
    EXPECT_TRUE(onPlane.ProjectOn(plane) == onPlane);
    EXPECT_NEAR(p.GetDistance(onPlane), p.GetDistance(plane), 1e-12);
    double t;
    const gsl_Point onLine = p.ProjectOn(line, t);
    EXPECT_TRUE(onLine.IsOn(line));
    EXPECT_TRUE(onLine.ProjectOn(line, t) == onLine);
    EXPECT_NEAR(p.GetDistance(onLine), p.GetDistance(line), 1e-12);
    // barycentric weights reproduce the foot
    const gsl_Point v[3] = {random.Point(), random.Point(), random.Point()};
    gsl_Point foot;
    double w[3];
    const bool inside = p.ProjectOn(v[0], v[1], v[2], foot, w);
    for (unsigned k = 0; k < 3; ++k)
      EXPECT_NEAR(w[0] * v[0][k] + w[1] * v[1][k] + w[2] * v[2][k], foot[k], 1e-8);
    EXPECT_EQ(inside, w[0] >= 0 && w[1] >= 0 && w[2] >= 0);
  }
}

TEST(gsl_Point, PrintsFifteenDigits) {
  std::ostringstream out;
  gsl_Point(1, 0.1, -1.0 / 3).Print(out, 3);
  EXPECT_EQ(out.str(), "   x:\t1\ty:\t0.1\tz:\t-0.333333333333333\n");
}
