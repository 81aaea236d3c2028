#include "gsl_TestGeometry.h"
#include <CoreGeometry/gsl_Plane.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {
constexpr double kPi = 3.141592653589793;
}

TEST(gsl_Vector, KeepsItsLengthAsDocumented) {
  gsl_Vector v;
  EXPECT_EQ(v[2], 1);
  EXPECT_EQ(v[7], 1);
  EXPECT_EQ(v.Magnitude(), 1);
  v = gsl_Vector(3, 0, 4);
  v.Negate();
  EXPECT_EQ(v.Magnitude(), 5);
  v.Scale(-2);
  EXPECT_EQ(v[0], 6);
  EXPECT_EQ(v.Magnitude(), 10);
  v[0] = 0;
  EXPECT_EQ(v.Magnitude(), 10); // stale
  EXPECT_TRUE(v.IsOn(gsl_Vector(0, 0, 1)));
  v.Scale(0);
  EXPECT_TRUE(std::signbit(v.Magnitude()));
  EXPECT_EQ(gsl_Vector(1e200, 0, 1e200).Magnitude(), std::sqrt(2.0) * 1e200);
  EXPECT_EQ(gsl_Vector(3e-200, 4e-200, 0).Magnitude(), 5e-200);
  EXPECT_EQ(gsl_Vector(0, 0, 5e-324).Magnitude(), 5e-324);
}

TEST(gsl_Vector, NormalizesFromTheToleranceOn) {
  gsl_Vector at(1e-6, 0, 0), below(0.999999e-6, 0, 0);
  EXPECT_TRUE(at.Normalize());
  EXPECT_EQ(at.Magnitude(), 1.0);
  EXPECT_EQ(at[0], 1.0);
  EXPECT_FALSE(below.Normalize());
  EXPECT_EQ(below[0], 0.999999e-6);
  EXPECT_EQ(below.NormalizedCopy().Magnitude(), 0);
  EXPECT_EQ(below.UnitCopy()[0], 1);
  EXPECT_EQ(gsl_Vector(0, 0, 0).UnitCopy().Magnitude(), 0);
}

TEST(gsl_Vector, ComparesWithStrictBounds) {
  const gsl_Vector x(1, 0, 0), zero(0, 0, 0);
  EXPECT_TRUE(x == gsl_Vector(1, 0.999e-6, 0));
  EXPECT_FALSE(gsl_Vector(0, 0, 0) == gsl_Vector(0, 1e-6, 0));
  EXPECT_TRUE(x.IsOrthogonal(gsl_Vector(0.99e-10, 1, 0)));
  EXPECT_FALSE(x.IsOrthogonal(gsl_Vector(1e-10, 1, 0)));
  EXPECT_TRUE(x.IsOn(gsl_Vector(-1, 0.99e-10, 0)));
  EXPECT_FALSE(x.IsOn(gsl_Vector(1, 1e-10, 0)));
  for (const gsl_Vector& v : {x, zero}) {
    EXPECT_FALSE(zero.IsOn(v));
    EXPECT_FALSE(zero.IsOrthogonal(v));
  }
  EXPECT_TRUE(x.SameDirection(gsl_Vector(5, 0.5, 0), 0.1));
  EXPECT_FALSE(x.SameDirection(gsl_Vector(-5, 0, 0), 0.1));
  EXPECT_TRUE(x.IsParallel(gsl_Vector(-5, 0, 0), 0));
  EXPECT_TRUE(zero.SameDirection(zero, 0));
  EXPECT_FALSE(zero.IsParallel(x, 0.5));
}

TEST(gsl_Vector, ThreePointNormalIsRelativeToTheEdges) {
  const gsl_Point o(0, 0, 0);
  const gsl_Vector n(o, gsl_Point(1e-8, 0, 0), gsl_Point(1e-8, 1e-8, 0));
  EXPECT_DOUBLE_EQ(n[2], 1);
  EXPECT_DOUBLE_EQ(n.Magnitude(), 1);
  EXPECT_EQ(gsl_Vector(o, gsl_Point(1, 0, 0), gsl_Point(2, 1e-10, 0)).Magnitude(), 0); // at the bound
  EXPECT_EQ(gsl_Vector(o, gsl_Point(1, 0, 0), gsl_Point(2, 1.01e-10, 0))[2], 1);
  EXPECT_EQ(gsl_Vector(o, o, gsl_Point(1, 1, 1)).Magnitude(), 0);
}

TEST(gsl_Vector, FindsOrthogonalUnits) {
  RandomGeometry random(1);
  for (int i = 0; i < 200; ++i) {
    const gsl_Vector v = i < 2 ? gsl_Vector(3, 3, 3) * (1 - 2 * i) : random.Vector();
    EXPECT_NEAR(v.AnyOrthogonalUnit().DotProduct(v), 0, 1e-13);
    EXPECT_NEAR(v.AnyOrthogonalUnit().Magnitude(), 1, 1e-15);
    EXPECT_NEAR(v.BestAlignedOrthogonalUnit().DotProduct(v) / std::pow(v.Magnitude(), 3), 0, 1e-13);
  }
  EXPECT_TRUE(gsl_Vector(0, 0, 1).BestAlignedOrthogonalUnit()
              == gsl_Vector(1, 0, 0)); // a tie: the earlier axis
  EXPECT_TRUE(gsl_Vector(0, 0, 2).BestAlignedOrthogonalUnit() == gsl_Vector(4, 0, 0)); // times length squared
  EXPECT_TRUE(gsl_Vector(1, 0, 0).BestAlignedOrthogonalUnit() == gsl_Vector(0, 1, 0));
}

TEST(gsl_Vector, MeasuresAngles) {
  const gsl_Vector x(2, 0, 0), y(0, 3, 0), z(0, 0, 4), zero(0, 0, 0);
  EXPECT_DOUBLE_EQ(x.AngleWith(y, false), kPi / 2);
  EXPECT_EQ(x.AngleWith(x * -1, false), kPi);
  EXPECT_EQ(x.AngleWith(gsl_Vector(0.5, 0, 0), true), 0); // the raw product is 1
  EXPECT_EQ(zero.AngleWith(x, false), std::acos(0.0));
  EXPECT_EQ(x.AngleWith(gsl_Vector(1e-6, 0, 0), false), std::acos(0.0)); // must be longer than the tolerance
  EXPECT_DOUBLE_EQ(x.AngleWith(y, false, z), kPi / 2);
  EXPECT_DOUBLE_EQ(y.AngleWith(x, false, z), 3 * kPi / 2);

  double angle = -9;
  EXPECT_TRUE(z.AngleBetween(x, y, angle));
  EXPECT_DOUBLE_EQ(angle, kPi / 2);
  EXPECT_TRUE(z.AngleBetween(y, x, angle));
  EXPECT_DOUBLE_EQ(angle, -kPi / 2);
  for (const gsl_Vector& axis : {z, z * -1}) {
    EXPECT_TRUE(axis.AngleBetween(x, x * -1, angle));
    EXPECT_EQ(angle, kPi); // never -pi
  }
  RandomGeometry random(12);
  for (int i = 0; i < 300; ++i) {
    const gsl_Vector a = random.Vector(), axis = i % 2 == 0 ? a.AnyOrthogonalUnit() : random.Vector();
    if (axis.AngleBetween(a, a * -1, angle)) {
      EXPECT_TRUE(-kPi < angle && angle <= kPi);
    }
    const gsl_Vector b = a + random.Vector(1e-9);
    const double turn = a.AngleWith(b, false, axis);
    EXPECT_TRUE(0 <= turn && turn < 2 * kPi) << turn;
  }
  EXPECT_EQ(gsl_Vector(1, 0, 0).AngleWith(gsl_Vector(1, 1e-9, 0), false, gsl_Vector(0, 0, -1)), 0);
  EXPECT_TRUE(z.AngleBetween(x + z, y + z * (3 / 2.0), angle)); // the same angle with the axis
  EXPECT_NEAR(angle, kPi / 2, 1e-15);
  EXPECT_FALSE(z.AngleBetween(x, y + z, angle));
  EXPECT_FALSE(z.AngleBetween(zero, y, angle));
  EXPECT_TRUE(zero.AngleBetween(x, y, angle)); // the axis is not tested
  EXPECT_EQ(angle, 0);
  EXPECT_TRUE(z.AngleBetween(z, z, angle));
  EXPECT_EQ(angle, 0);
}

TEST(gsl_Vector, AngleBetweenIsTheAngleOfTheRotationAboutTheAxis) {
  RandomGeometry random(2);
  for (int i = 0; i < 300; ++i) {
    const gsl_Vector axis = random.Vector(), a = random.Vector();
    const double turn = random.Real(-3.1, 3.1);
    gsl_Matrix m;
    m.AxisRotation(gsl_Point(), axis, turn);
    gsl_Vector b = a;
    b.RotateAndTransform(m);
    double angle;
    ASSERT_TRUE(axis.AngleBetween(a, b, angle));
    EXPECT_NEAR(angle, turn, 1e-9 / axis.NormalizedCopy().CrossProduct(a.NormalizedCopy()).Magnitude());
  }
}

TEST(gsl_Vector, ProjectsOnAPlaneOnceAndForAll) {
  RandomGeometry random(3);
  for (int i = 0; i < 100; ++i) {
    const gsl_Plane plane(random.Point(), random.Vector());
    const gsl_Vector p = random.Vector().ProjectOn(plane);
    EXPECT_NEAR(p.DotProduct(plane.Direction()), 0, 1e-12);
    EXPECT_TRUE(p.ProjectOn(plane) == p);
  }
}

TEST(gsl_Vector, PrintsLengthThenComponents) {
  std::ostringstream out;
  gsl_Vector(0, 0.1, 0).Print(out, 2);
  EXPECT_EQ(out.str(), "  magnitude:\t0.1\n  x:\t0\ty:\t0.1\tz:\t0\n");
  out.str("");
  gsl_Vector(3, 0, -4).Print(out, 0);
  EXPECT_EQ(out.str(), "magnitude:\t5\nx:\t3\ty:\t0\tz:\t-4\n");
}
