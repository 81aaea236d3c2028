#include "gsl_TestGeometry.h"
#include <gtest/gtest.h>

namespace {
constexpr double kPi = 3.141592653589793;

void ExpectNear(const gsl_Matrix& a, const gsl_Matrix& b, double tol) {
  for (unsigned i = 0; i < 4; ++i)
    for (unsigned j = 0; j < 4; ++j) EXPECT_NEAR(a.Element(i, j), b.Element(i, j), tol);
}
} // namespace

TEST(gsl_Matrix, IdentityIsRememberedAndSnapped) {
  gsl_Matrix m;
  EXPECT_TRUE(m.IsIdentity());
  m.SetRow(0, {1.000000005, 1e-8, -1e-8});
  m.SetTranslation({0, 1e-8, 0});
  EXPECT_TRUE(m.IsIdentity());
  EXPECT_EQ(m.Element(0, 0), 1.0); // snapped
  EXPECT_EQ(m.Element(1, 3), 0.0);
  m.SetTranslation({0, 1.1e-8, 0});
  EXPECT_FALSE(m.IsIdentity());
  double elements[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {5, 6, 7, 8}};
  gsl_Matrix fourth(elements);
  EXPECT_TRUE(fourth.IsIdentity()); // the fourth row is not looked at, but overwritten
  fourth.AsArray(elements);
  EXPECT_EQ(elements[3][0], 0);
  EXPECT_EQ(elements[3][3], 1);
}

TEST(gsl_Matrix, ComparesCoarsely) {
  gsl_Matrix a, b;
  b.SetTranslation({0.001, 0, 0});
  EXPECT_TRUE(a == b);
  b.SetTranslation({0.0010001, 0, 0});
  EXPECT_TRUE(a != b);
}

TEST(gsl_Matrix, MovesPointsAndTurnsVectors) {
  gsl_Matrix m;
  m.SetRow(0, {0, -2, 0});
  m.SetRow(1, {2, 0, 0});
  m.SetTranslation({10, 20, 30});
  gsl_Point p(1, 2, 3);
  p.Transform(m);
  EXPECT_TRUE(p == gsl_Point(6, 22, 33));
  gsl_Vector v(3, 4, 0);
  v.RotateAndTransform(m);
  EXPECT_TRUE(v == gsl_Vector(-8, 6, 0));
  EXPECT_EQ(v.Magnitude(), 10);
  EXPECT_TRUE(m.NewXAxis() == gsl_Vector(0, 2, 0));
  EXPECT_TRUE(m.NewOrigin() == gsl_Point(10, 20, 30));
  m.SetRotationVectors({0, 2, 0}, {0, 0, 0}, {0, 0, 3});
  EXPECT_TRUE(m.NewXAxis() == gsl_Vector(0, 1, 0));
  EXPECT_EQ(m.NewYAxis().Magnitude(), 0);
  gsl_Vector t;
  m.GetTranslation(t);
  EXPECT_EQ(t[2], 30);
}

TEST(gsl_Matrix, ConcatenateAppliesItsArgumentAfter) {
  RandomGeometry random(8);
  for (int i = 0; i < 100; ++i) {
    const gsl_Matrix a = random.Rigid(), b = random.Rigid();
    gsl_Matrix both = a;
    both.Concatenate(b);
    gsl_Point p = random.Point(), q;
    q = p;
    p.Transform(a);
    p.Transform(b);
    q.Transform(both);
    EXPECT_LT(p.GetDistance(q), 1e-12);
    gsl_Matrix self = a, twice = a;
    self.Concatenate(self);
    twice.Concatenate(a);
    ExpectNear(self, twice, 0);
  }
}

TEST(gsl_Matrix, RigidTransformsKeepDistancesAnglesAndInverses) {
  RandomGeometry random(9);
  for (int i = 0; i < 200; ++i) {
    const gsl_Matrix m = random.Rigid();
    gsl_Point p = random.Point(), q = random.Point();
    gsl_Vector u = random.Vector(), v = random.Vector();
    const double distance = p.GetDistance(q), angle = u.AngleWith(v, false);
    p.Transform(m);
    q.Transform(m);
    u.RotateAndTransform(m);
    v.RotateAndTransform(m);
    EXPECT_NEAR(p.GetDistance(q), distance, 1e-12);
    EXPECT_NEAR(u.AngleWith(v, false), angle, 1e-7);
    ExpectNear(m.InverseRigidTransform().InverseRigidTransform(), m, 1e-13);
    gsl_Matrix round = m;
    round.Concatenate(m.InverseRigidTransform());
    EXPECT_TRUE(round.IsIdentity());
  }
  gsl_Matrix shift;
  shift.SetTranslation({1, 2, 3});
  EXPECT_TRUE(shift.InverseRigidTransform().NewOrigin() == gsl_Point(-1, -2, -3));
}

TEST(gsl_Matrix, AxisAndAngleComeBack) {
  RandomGeometry random(10);
  for (int i = 0; i < 500; ++i) {
    gsl_Vector axis = i < 3 ? gsl_Vector(i == 0, i == 1, i == 2) : random.Vector();
    const double angle = i < 3 || i % 7 == 0 ? kPi : random.Real(0.01, 6.27);
    gsl_Matrix m, back;
    m.AxisRotation(gsl_Point(), axis, angle);
    gsl_Point point;
    gsl_Vector found;
    double turn;
    m.GetAxisRotation(point, found, turn);
    EXPECT_GE(turn, 0);
    EXPECT_LT(turn, 2 * kPi);
    back.AxisRotation(point, found, turn);
    ExpectNear(back, m, 2e-6);
    // and the three angles
    double x, y, z;
    m.GetRotationAngles(x, y, z);
    gsl_Matrix composed, ry, rz;
    composed.AxisRotation(gsl_Point(), {1, 0, 0}, x);
    ry.AxisRotation(gsl_Point(), {0, 1, 0}, y);
    rz.AxisRotation(gsl_Point(), {0, 0, 1}, z);
    composed.Concatenate(ry);
    composed.Concatenate(rz);
    ExpectNear(composed, m, 1e-13);
  }
}

TEST(gsl_Matrix, AxisRotationAtItsLimits) {
  gsl_Matrix m;
  m.SetTranslation({1, 2, 3});
  m.AxisRotation(gsl_Point(1, 1, 1), {0.9e-6, 0, 0}, 1);
  EXPECT_TRUE(m.IsIdentity());
  gsl_Point p(9, 9, 9);
  gsl_Vector axis;
  double angle = 7;
  m.GetAxisRotation(p, axis, angle);
  EXPECT_EQ(angle, 0);
  EXPECT_EQ(axis.Magnitude(), 0);
  m.AxisRotation(gsl_Point(1, 0, 0), {0, 0, 8}, kPi / 2); // about an axis that misses the origin
  gsl_Point q(2, 0, 5);
  q.Transform(m);
  EXPECT_LT(q.GetDistance(gsl_Point(1, 1, 5)), 1e-15);
  double x, y, z;
  m.AxisRotation(gsl_Point(), {0, 1, 0}, kPi / 2); // where only z - x is known
  m.GetRotationAngles(x, y, z);
  EXPECT_EQ(x, 0);
  EXPECT_NEAR(y, kPi / 2, 1e-15);
  EXPECT_NEAR(z, 0, 1e-15);
  // a fourth element other than 1 scales the quaternion
  double elements[4][4] = {{4, 0, 0, 0}, {0, 0, -4, 0}, {0, 4, 0, 0}, {0, 0, 0, 4}};
  gsl_Matrix(elements).GetAxisRotation(p, axis, angle);
  EXPECT_NEAR(angle, kPi / 2, 1e-6);
  EXPECT_NEAR(axis[0], 1, 1e-6);
}
