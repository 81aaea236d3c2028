#include <CoreGeometry/gsl_BBox.h>

#include "gsl_TestGeometry.h"
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_Triangle.h>
#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

TEST(gsl_BBox, StartsEmptyAndEmptyChangesNothing) {
  gsl_BBox box;
  EXPECT_TRUE(box.IsEmpty());
  EXPECT_EQ(box.Size(), -1);
  EXPECT_TRUE(box.Center() == gsl_Point(-0.5, -0.5, -0.5));
  box.Add(gsl_Point(1, 2, 3));
  EXPECT_EQ(box.Size(), 0);
  box.Add(gsl_BBox());
  EXPECT_TRUE(box == gsl_BBox(gsl_Point(1, 2, 3), gsl_Point(1, 2, 3)));
  box.Add(gsl_Point(4, 2, -1));
  EXPECT_EQ(box.Size(), 5);
  EXPECT_EQ(box.XLen() + box.YLen() + box.ZLen(), 7);
  EXPECT_TRUE(box.Diag() == gsl_Vector(3, 0, 4));
  gsl_BBox copy;
  copy.Add(box);
  EXPECT_TRUE(copy == box);
  gsl_BBox empty;
  empty.Transform(RandomGeometry(1).Rigid());
  EXPECT_TRUE(empty.IsEmpty());
  box.Vacate();
  EXPECT_TRUE(box == gsl_BBox());
  std::ostringstream out;
  box.Print(out, 1);
  EXPECT_EQ(out.str(), " x:\t0\ty:\t0\tz:\t0\n x:\t-1\ty:\t-1\tz:\t-1\n");
}

TEST(gsl_BBox, TouchingBoxesIntersect) {
  const auto box = [](double low, double high) {
    return gsl_BBox(gsl_Point(low, low, low), gsl_Point(high, high, high));
  };
  EXPECT_TRUE(box(0.01, 0.02).Intersect(box(0.02, 0.08))); // although 0.08 - 0.01 rounds above the sum
  EXPECT_TRUE(box(0, 5).Intersect(box(1, 2)));
  EXPECT_FALSE(box(0, 1).Intersect(box(std::nextafter(1.0, 2.0), 2)));
  EXPECT_FALSE(box(0, 1).Intersect(gsl_BBox()));
  EXPECT_FALSE(gsl_BBox().Intersect(gsl_BBox()));
}

TEST(gsl_BBox, TransformedBoxHoldsTheMovedPoints) {
  RandomGeometry random(7);
  for (int i = 0; i < 50; ++i) {
    gsl_BBox box, exact;
    std::vector<gsl_Point> points;
    const gsl_Matrix m = random.Rigid();
    for (int k = 0; k < 10; ++k) {
      gsl_Point p = random.Point();
      box.Add(p);
      p.Transform(m);
      exact.Add(p);
    }
    box.Transform(m);
    for (unsigned k = 0; k < 3; ++k) {
      EXPECT_LE(box.Min()[k], exact.Min()[k] + 1e-12);
      EXPECT_GE(box.Max()[k], exact.Max()[k] - 1e-12);
    }
  }
}

TEST(gsl_Triangle, EdgesAreInside) {
  const gsl_Point a(0, 0, 0), b(4, 0, 0), c(0, 4, 0);
  gsl_Triangle t(a, b, c);
  for (const gsl_Point& p : {a, b, c, gsl_Point(2, 2, 0), gsl_Point(1, 1, 0)}) EXPECT_TRUE(t.Contains(p));
  EXPECT_TRUE(t.ContainsProjectedPoint(gsl_Point(1, 1, 99)));
  EXPECT_FALSE(t.Contains(gsl_Point(1, 1, 1e-6)));
  EXPECT_TRUE(t.Contains(gsl_Point(1, 1, 0.9e-6)));
  EXPECT_FALSE(t.ContainsProjectedPoint(gsl_Point(1, -1e-15, 0)));
  const cls_Uid second = t.Vertex(1).Uid();
  t.Reverse();
  EXPECT_EQ(t.Normal()[2], -1);
  EXPECT_TRUE(t.Vertex(1) == c);
  EXPECT_EQ(t.Vertex(2).Uid(), second);
  EXPECT_TRUE(t.Contains(gsl_Point(1, 1, 0)));
  EXPECT_TRUE(t.GetBBox() == gsl_BBox(a, gsl_Point(4, 4, 0)));
  EXPECT_EQ(gsl_Triangle().Normal().Magnitude(), 0);
  EXPECT_TRUE(gsl_Triangle().ContainsProjectedPoint(gsl_Point(5, 5, 5)));
  EXPECT_FALSE(gsl_Triangle().Contains(gsl_Point()));
}

TEST(gsl_Triangle, IsCarriedAlongADirection) {
  gsl_Triangle t(gsl_Point(0, 0, 0), gsl_Point(1, 0, 1), gsl_Point(0, 1, 2));
  const gsl_Plane plane(gsl_Point(0, 0, 5), gsl_Vector(0, 0, 2));
  gsl_Triangle out;
  EXPECT_FALSE(t.Project(plane, gsl_Vector(1, 1, 0), out));
  EXPECT_EQ(out.Vertex(1)[2], 0);
  EXPECT_TRUE(t.Project(plane, gsl_Vector(1, 0, 1), t));
  EXPECT_TRUE(t.Vertex(0) == gsl_Point(5, 0, 5));
  EXPECT_TRUE(t.Vertex(2) == gsl_Point(3, 1, 5));
  EXPECT_FALSE(t.Project(plane, gsl_Vector(0, 0, 0), out));
}
