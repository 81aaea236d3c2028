#include <CoreGeometry/gsl_StLine.h>

#include "gsl_TestGeometry.h"
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_Segment.h>
#include <gtest/gtest.h>

TEST(gsl_StLine, ParallelLinesAreNeverSkewed) {
  const gsl_StLine a(gsl_Point(0, 0, 0), gsl_Vector(1, 0, 0)), b(gsl_Point(5, 3, 4), gsl_Vector(-2, 0, 0));
  gsl_Point out(7, 7, 7);
  double gap = -1;
  EXPECT_TRUE(a.IsParallel(b));
  EXPECT_EQ(a.GetDistance(b), 0);
  EXPECT_FALSE(a.IsSkewed(b));
  EXPECT_FALSE(a.Intersect(b, out, gap));
  EXPECT_EQ(gap, 5);
  EXPECT_EQ(out[0], 7);
}

TEST(gsl_StLine, SkewedLinesWriteNothing) {
  const gsl_StLine a(gsl_Point(0, 0, 0), gsl_Vector(1, 0, 0)), b(gsl_Point(0, 0, 1), gsl_Vector(0, 1, 0));
  gsl_Point out(7, 7, 7);
  double gap = -1;
  EXPECT_EQ(a.GetDistance(b), 1);
  EXPECT_TRUE(a.IsSkewed(b));
  EXPECT_FALSE(a.Intersect(b, out, gap));
  EXPECT_EQ(out[0], 7);
  EXPECT_EQ(gap, -1);
  const gsl_StLine atBound(gsl_Point(0, 0, 1e-6), gsl_Vector(0, 1, 0));
  EXPECT_FALSE(a.IsSkewed(atBound));
  EXPECT_TRUE(a.Intersect(atBound, out, gap));
  EXPECT_EQ(gap, 1e-6);
}

TEST(gsl_StLine, ShortDirectionsCountAsParallel) {
  const gsl_StLine a(gsl_Point(0, 0, 0), gsl_Vector(1e-4, 0, 0)),
      b(gsl_Point(3, 0, 1), gsl_Vector(0, 1e-4, 0));
  gsl_Point out;
  double gap = -1;
  EXPECT_EQ(a.GetDistance(b), 0);
  EXPECT_TRUE(a.Intersect(b, out, gap));
  EXPECT_EQ(gap, 1);
  EXPECT_TRUE(out == gsl_Point(3, 0, 0));
}

TEST(gsl_StLine, IntersectionLiesOnBothLines) {
  RandomGeometry random(5);
  for (int i = 0; i < 300; ++i) {
    const gsl_Point meeting = random.Point();
    const gsl_Vector u = random.Vector(), v = random.Vector();
    const gsl_StLine a(meeting + u * random.Real(-2, 2), u), b(meeting + v * random.Real(-2, 2), v);
    gsl_Point out;
    double gap;
    ASSERT_TRUE(a.Intersect(b, out, gap));
    EXPECT_LT(out.GetDistance(meeting), 1e-9);
    EXPECT_LT(gap, 1e-9);
    EXPECT_EQ(a.GetDistance(b), b.GetDistance(a));
  }
}

TEST(gsl_StLine, KnowsPlanesAndPlaces) {
  gsl_StLine line(gsl_Point(1, 1, 5), gsl_Point(1, 5, 5));
  EXPECT_EQ(line.Direction()[1], 4); // as given
  EXPECT_EQ(line.Method(), gsl_FROM_PNT_PNT);
  EXPECT_TRUE(line.IsOk());
  const gsl_Plane ground(gsl_Point(0, 0, 2), gsl_Vector(0, 0, -9)),
      wall(gsl_Point(0, 2, 0), gsl_Vector(0, 1, 0));
  EXPECT_TRUE(line.IsParallel(ground));
  EXPECT_EQ(line.GetDistance(ground), 3);
  EXPECT_FALSE(line.IsParallel(wall));
  EXPECT_EQ(line.GetDistance(wall), 0);
  gsl_Point out;
  EXPECT_TRUE(line.Intersect(wall, out));
  EXPECT_TRUE(out == gsl_Point(1, 2, 5));
  EXPECT_FALSE(line.Intersect(ground, out));
  EXPECT_TRUE(line.PointAtDistance(2, out));
  EXPECT_TRUE(out == gsl_Point(1, 3, 5));
  EXPECT_FALSE(line.PointAtDistance(-1e-300, out));
  line.FlipDirection();
  EXPECT_EQ(line.Direction()[1], -4);
  EXPECT_FALSE(line.IsFlipped());
  EXPECT_TRUE(gsl_StLine(out, gsl_Vector(0, 0, 0)).PointAtDistance(3, out));
  EXPECT_TRUE(out == gsl_Point(1, 3, 5));
  const gsl_StLine empty;
  EXPECT_EQ(empty.Direction()[2], 1);
  EXPECT_EQ(empty.Method(), gsl_STLINE_INVALID);
  EXPECT_FALSE(empty.IsOk());
  EXPECT_TRUE(gsl_LinesAreParallel(&line, &line));
  EXPECT_FALSE(gsl_LinesAreSkew(&line, nullptr));
}

TEST(gsl_Plane, DistanceIsThatOfParallelPlanes) {
  const gsl_Plane a(gsl_Point(0, 0, 1), gsl_Vector(0, 0, 1)), b(gsl_Point(7, 7, 4), gsl_Vector(0, 0, -2)),
      c(gsl_Point(0, 0, 9), gsl_Vector(0, 1e-3, 1));
  EXPECT_EQ(a.GetDistance(b), 3);
  EXPECT_EQ(b.GetDistance(a), 3);
  EXPECT_EQ(a.GetDistance(c), 0);
  EXPECT_TRUE(gsl_PlanesAreParallel(&a, &b));
  EXPECT_FALSE(gsl_PlanesAreParallel(&a, &c));
  EXPECT_EQ(gsl_Plane().Method(), gsl_PLANE_INVALID);
}

TEST(gsl_Segment, MeetsLinesInclusiveOfItsEnds) {
  const gsl_Segment s(gsl_Point(0, 0, 0), gsl_Point(1, 0, 0));
  const auto meets = [&](double x) {
    gsl_Point out;
    return s.Intersect(gsl_StLine(gsl_Point(x, -3, 0), gsl_Vector(0, 1, 0)), out);
  };
  EXPECT_TRUE(meets(0.5));
  EXPECT_TRUE(meets(-1e-6)); // exactly at the bound
  EXPECT_FALSE(meets(-1.0001e-6));
  EXPECT_TRUE(meets(1 + 0.9999e-6));
  EXPECT_FALSE(meets(1 + 1.0001e-6));
  gsl_Point out;
  const gsl_StLine up(gsl_Point(0, 0, 0), gsl_Vector(0, 1, 0));
  EXPECT_FALSE(gsl_Segment(gsl_Point(), gsl_Point(0.9e-6, 0, 0)).Intersect(up, out));
  EXPECT_FALSE(s.Intersect(gsl_StLine(gsl_Point(0, 0, 1), gsl_Vector(0, 1, 0)), out));
  EXPECT_TRUE(s.Intersect(gsl_Segment(gsl_Point(0.5, -1, 0), gsl_Point(0.5, 1, 0)), out));
  EXPECT_TRUE(out == gsl_Point(0.5, 0, 0));
  EXPECT_FALSE(s.Intersect(gsl_Segment(gsl_Point(0.5, 1, 0), gsl_Point(0.5, 2, 0)), out)); // ends before
}

TEST(gsl_Segment, WeightsSayWhereAPointLies) {
  double w[2] = {7, 7};
  const gsl_Point a(0, 0, 0), b(4, 0, 0), close(1e-6, 0, 0);
  EXPECT_TRUE(gsl_SegmentWeights(gsl_Point(4 + 0.9e-6, 0, 0), a, b, w));
  EXPECT_FALSE(gsl_SegmentWeights(gsl_Point(4 + 1.1e-6, 0, 0), a, b, w));
  EXPECT_FALSE(gsl_SegmentWeights(gsl_Point(1, 0, 0), a, close, w)); // as short as the tolerance
  EXPECT_TRUE(gsl_SegmentWeights(gsl_Point(0, 1e-6, 0), a, close, w));
  EXPECT_TRUE(gsl_SegmentWeights(close, a, close, w)); // the other end, but within the tolerance of this one
  EXPECT_EQ(w[0], 0);
  EXPECT_EQ(w[1], 1);
}

TEST(gsl_Segment, FindsTheNearestPointsOfTwoSegments) {
  RandomGeometry random(6);
  for (int i = 0; i < 2000; ++i) {
    const int kind = i % 5; // general, parallel, nearly parallel, one and two degenerate
    const gsl_Point a = random.Point(), b = random.Point();
    const gsl_Vector u = kind == 4 ? gsl_Vector(0, 0, 0) : random.Vector();
    const gsl_Vector v = kind == 0   ? random.Vector()
                         : kind == 1 ? u * random.Real(-1, 1)
                         : kind == 2 ? u + random.Vector(1e-9)
                                     : gsl_Vector(0, 0, 0);
    const gsl_Segment s(a, a + u), t(b, b + v);
    gsl_Segment nearest, reverse;
    const double distance = s.GetDistance(t, nearest);
    EXPECT_NEAR(distance, t.GetDistance(s, reverse), 1e-12 * (1 + distance));
    EXPECT_EQ(distance, nearest.Length());
    gsl_Point foot;
    if (u.Magnitude() > 0) {
      EXPECT_LT(nearest.Point1().GetDistance(s, foot), 1e-9);
    }
    if (v.Magnitude() > 0) {
      EXPECT_LT(nearest.Point2().GetDistance(t, foot), 1e-9);
    }
    // no pair of points is nearer
    for (int k = 0; k <= 20; ++k)
      for (int l = 0; l <= 20; ++l)
        EXPECT_GE((a + u * (k / 20.0)).GetDistance(b + v * (l / 20.0)), distance - 1e-9);
  }
}
