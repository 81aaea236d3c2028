#include "gsl_TestGeometry.h"
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_LinearEqnLUDSolver.h>
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_Segment.h>
#include <CoreGeometry/gsl_StLine.h>
#include <CoreGeometry/gsl_ThreePoints.h>
#include <CoreGeometry/gsl_TriTriDirDist.h>
#include <CoreGeometry/gsl_Triangle.h>
#include <CoreGeometry/gsl_utils.h>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>

namespace {
/// Picks coordinates among the numbers that break geometry.
class Nasty {
public:
  double Number() {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    constexpr double kNumbers[] = {0,      -0.0,    1,      -1,     2,
                                   5e-324, 1e-310,  1e-160, -1e-80, 1e-7,
                                   1e-6,   1e80,    1e154,  1e200,  1e300,
                                   -1e300, 1.7e308, kInf,   -kInf,  std::numeric_limits<double>::quiet_NaN()};
    return kNumbers[static_cast<std::size_t>(random_.Real(0, std::size(kNumbers)))];
  }
  /// Often a number again and again: coincident points, parallel vectors.
  double Repeated() {
    if (random_.Real(0, 1) < 0.6) last_ = Number();
    return last_;
  }
  gsl_Point Point() { return {Repeated(), Repeated(), Repeated()}; }
  gsl_Vector Vector() { return {Repeated(), Repeated(), Repeated()}; }

private:
  RandomGeometry random_{30};
  double last_ = 0;
};

bool NotNegative(double x) { return std::isnan(x) || x >= 0; }
bool ZeroOrUnit(const gsl_Vector& v) {
  return std::isnan(v.Magnitude()) || v.Magnitude() == 0 || std::fabs(v.Magnitude() - 1) < 1e-9;
}
} // namespace

TEST(gsl_Degenerate, NoInputRaisesOrGivesAnImpossibleAnswer) {
  Nasty nasty;
  for (int i = 0; i < 20000; ++i) {
    const gsl_Point p = nasty.Point(), a = nasty.Point(), b = nasty.Point(), c = nasty.Point();
    const gsl_Vector u = nasty.Vector(), v = nasty.Vector();
    const gsl_StLine line(a, u), other(b, v);
    const gsl_Plane plane(a, u), second(b, v);
    const gsl_Segment segment(a, b), further(c, p);
    gsl_Point out;
    double t, weights[3];
    EXPECT_TRUE(NotNegative(p.GetDistance(a)) && NotNegative(p.GetDistance(line))
                && NotNegative(p.GetDistance(plane)));
    EXPECT_TRUE(NotNegative(p.GetDistance(segment, out)) && NotNegative(p.GetDistance(a, b, c)));
    EXPECT_TRUE(NotNegative(line.GetDistance(other)) && NotNegative(plane.GetDistance(second)));
    p.GetDistance(plane, v);
    p.ProjectOn(plane);
    p.ProjectOn(line, t);
    // a success has a finite or honestly infinite answer, never a NaN
    EXPECT_FALSE(p.ProjectOn(segment, out, t) && std::isnan(t));
    EXPECT_FALSE(p.ProjectOn(a, b, c, out, weights) && std::isnan(weights[0] + weights[1] + weights[2]));
    p.RayIntersect(v, plane, out);
    EXPECT_FALSE(p.RayIntersect(a, b, v, out, weights) && std::isnan(weights[0] + weights[1]));
    line.Intersect(other, out, t);
    segment.Intersect(further, out);
    gsl_Segment nearest;
    EXPECT_TRUE(NotNegative(segment.GetDistance(further, nearest)));
    EXPECT_FALSE(p > a && a > p);
    EXPECT_TRUE(ZeroOrUnit(gsl_Vector(a, b, c)));
    gsl_Vector n, x, y, z;
    const bool plain = gsl_NormalToThreePoints(a, b, c, n);
    EXPECT_EQ(plain, n.Magnitude() > 0);
    gsl_ComputeCircumCircle(a, b, c, out, n);
    for (const bool circular : {false, true})
      gsl_Transcribe3PointsIntoOriginAndAxes(circular, a, b, c, out, x, y, z);
    EXPECT_FALSE(std::isfinite(u.Magnitude() * v.Magnitude()) && u.IsOn(v) && u.IsOrthogonal(v));
    EXPECT_TRUE(u.IsParallel(u, 0));
    u.BestAlignedOrthogonalUnit();
    u.AnyOrthogonalUnit();
    double angle;
    EXPECT_FALSE(u.AngleBetween(v, n, angle) && (angle < -3.1416 || angle > 3.1416));
    EXPECT_TRUE(NotNegative(u.AngleWith(v, false)));
    gsl_Triangle triangle(a, b, c), projected;
    triangle.Contains(p);
    triangle.Project(plane, v, projected);
    triangle.Reverse();
    gsl_BBox box = triangle.GetBBox();
    EXPECT_FALSE(box.IsEmpty());
    gsl_Matrix m;
    m.AxisRotation(p, u, nasty.Number());
    box.Transform(m);
    double angles[3];
    m.GetAxisRotation(out, n, t);
    m.GetRotationAngles(angles[0], angles[1], angles[2]);
    m.InverseRigidTransform().IsIdentity();
    const double number = nasty.Number();
    gsl_RealEqualDig(number, nasty.Number(), i % 20 - 2);
    gsl_RoundFloat(number, i % 20 - 2);
    gsl_Truncate(number, 1 + i % 330);
    const double r0[2] = {nasty.Number(), number}, r1[2] = {t, nasty.Number()}, *const rows[2] = {r0, r1};
    gsl_LinearEqnLUDSolver solver;
    solver.SetMatrix(rows, 2);
    double solved[2];
    solver.Solve(r0, solved);
  }
}

namespace {
gsl_Vector Toward(const gsl_Point* p) { return gsl_Vector(p[0], gsl_Point(p[1], 0.7, p[2], 0.3)); }
} // namespace

// Every function with an output argument of a kind that its inputs have too, with outputs apart and in the
// place of each input.
TEST(gsl_Degenerate, OutputsMayBeInputs) {
  using Numbers = std::vector<double>;
  using Call = Numbers (*)(const gsl_Point* p, gsl_Point* out); // six points in, up to two out
  const Call calls[] = {
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        return {p[0].GetDistance(gsl_Segment(p[1], p[2]), out[0])};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        double t = 0;
        const bool within = p[0].ProjectOn(gsl_Segment(p[1], p[2]), 0.5, out[0], t);
        return {double(within), t};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        double w[3] = {};
        const bool inside = p[0].ProjectOn(p[1], p[2], p[3], out[0], w);
        return {double(inside), w[0], w[1], w[2]};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        return {double(p[0].RayIntersect(Toward(p), gsl_Plane(p[3], gsl_Vector(p[4], p[5])), out[0]))};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        double w[2] = {};
        const bool met = p[0].RayIntersect(p[1], p[2], Toward(p), out[0], w);
        return {double(met), w[0], w[1]};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        gsl_Vector n;
        const bool round = gsl_ComputeCircumCircle(p[0], p[1], p[2], out[0], n);
        return {double(round), n[0], n[1], n[2]};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        gsl_Vector x, y, z;
        gsl_Transcribe3PointsIntoOriginAndAxes(false, p[0], p[1], p[2], out[0], x, y, z);
        return {x[0], y[1], z[2]};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        gsl_Vector x, y, z;
        gsl_Transcribe3PointsIntoOriginAndAxes(true, p[0], p[1], p[2], out[0], x, y, z);
        return {x[0], y[1], z[2]};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        double d = 1e9;
        const bool met = gsl_InPlaneSegSegMinDirectionalDist(Toward(p), p[0], p[3], p[1], p[2], 1, out, d);
        return {double(met), d};
      },
      [](const gsl_Point* p, gsl_Point* out) -> Numbers {
        double d = 1e9;
        const bool flip[2] = {true, true};
        const bool met =
            gsl_TriTriMinDirectionalDist(Toward(p), p[0], p[3], p[4], p[1], p[2], p[5], flip, 1e-6, out, d);
        return {double(met), d};
      },
  };
  RandomGeometry random(41);
  for (int trial = 0; trial < 60; ++trial) {
    gsl_Point given[6];
    for (gsl_Point& p : given) {
      p = random.Point();
      if (trial % 3 == 0) p[1] = 0; // all in one plane
    }
    for (std::size_t call = 0; call < std::size(calls); ++call)
      for (std::size_t place = 0; place < 5; ++place) {
        gsl_Point in[6], apart[2];
        for (std::size_t i = 0; i < 6; ++i) in[i] = given[i];
        for (std::size_t i = 0; i < 2; ++i) apart[i] = given[place + i]; // what is not written stays
        const Numbers expected = calls[call](given, apart);
        EXPECT_EQ(calls[call](in, &in[place]), expected) << call << " at " << place;
        for (std::size_t i = 0; i < 2; ++i)
          for (unsigned axis = 0; axis < 3; ++axis)
            EXPECT_EQ(in[place + i][axis], apart[i][axis]) << call << " at " << place;
      }
    const gsl_Segment a(given[0], given[1]), b(given[2], given[3]);
    gsl_Segment apart, asFirst = a, asSecond = b;
    const double distance = a.GetDistance(b, apart);
    EXPECT_EQ(asFirst.GetDistance(b, asFirst), distance);
    EXPECT_EQ(a.GetDistance(asSecond, asSecond), distance);
    for (const gsl_Segment& found : {asFirst, asSecond})
      for (unsigned axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(found.Point1()[axis], apart.Point1()[axis]);
        EXPECT_EQ(found.Point2()[axis], apart.Point2()[axis]);
      }
    gsl_Triangle triangle(given[0], given[1], given[2]), projected;
    const gsl_Plane plane(given[3], gsl_Vector(given[4], given[5]));
    const gsl_Vector direction = random.Vector();
    ASSERT_TRUE(triangle.Project(plane, direction, projected)
                && triangle.Project(plane, direction, triangle));
    for (unsigned i = 0; i < 9; ++i) EXPECT_EQ(triangle.Vertex(i / 3)[i % 3], projected.Vertex(i / 3)[i % 3]);
  }
}

TEST(gsl_Degenerate, LargeAndSmallNumbersKeepTheirMeaning) {
  const gsl_Point far(1e300, 0, 0), origin;
  EXPECT_EQ(far.GetDistance(origin), 1e300);
  EXPECT_FALSE(far == origin);
  EXPECT_DOUBLE_EQ(gsl_Vector(1e300, 1e300, 0).UnitCopy()[0], std::sqrt(0.5));
  EXPECT_EQ(gsl_Vector(1e-310, 0, 0).UnitCopy()[0], 1);
  EXPECT_FALSE(gsl_Point(std::nan(""), 0, 0) == origin);
  EXPECT_FALSE(gsl_Point(std::nan(""), 0, 0).IsOn(origin));
  // what a NaN does not fail
  EXPECT_TRUE(gsl_Point(std::nan(""), 0, 0) >= origin && origin >= gsl_Point(std::nan(""), 0, 0));
  gsl_Vector none(std::nan(""), 0, 0);
  EXPECT_TRUE(none.Normalize() && none.Magnitude() == 1);
  for (const double leg : {1e-70, 1.0, 1e76}) { // the range of the projection onto a triangle
    gsl_Point foot;
    double w[3];
    EXPECT_TRUE(gsl_Point(leg / 4, leg / 2, leg)
                    .ProjectOn(origin, gsl_Point(leg, 0, 0), gsl_Point(0, leg, 0), foot, w));
    EXPECT_NEAR(w[1], 0.25, 1e-12) << leg;
  }
  gsl_Segment nearest;
  const gsl_Segment wide(gsl_Point(-1e300, 0, 0), gsl_Point(1e300, 0, 0));
  EXPECT_EQ(wide.GetDistance(gsl_Segment(gsl_Point(0, 3, 0), gsl_Point(0, 4, 0)), nearest), 3);
}

// Arithmetic and square roots only: these are the same bits on every compiler and library.
TEST(gsl_Degenerate, ResultsAreTheStoredBits) {
  RandomGeometry random(31);
  std::ostringstream dump;
  const auto put = [&](const char* name, const auto&... values) {
    dump << name << std::hexfloat;
    ((dump << ' ' << values), ...);
    dump << '\n';
  };
  const auto putTriple = [&](const char* name, const auto& v) { put(name, v[0], v[1], v[2]); };
  for (int i = 0; i < 8; ++i) {
    const gsl_Point p = random.Point(), a = random.Point(), b = random.Point(), c = random.Point();
    const gsl_Vector u = random.Vector(), v = random.Vector();
    const gsl_Plane plane(a, u);
    const gsl_StLine line(a, u);
    gsl_Point out;
    gsl_Vector n, x, y, z;
    double t, weights[3];
    put("distances", p.GetDistance(a), p.GetDistance(line), p.GetSignedDistance(plane),
        p.GetDistance(a, b, c), p.GetDistance(plane, v), line.GetDistance(gsl_StLine(b, v)));
    putTriple("on plane", p.ProjectOn(plane));
    putTriple("on line", p.ProjectOn(line, t));
    p.ProjectOn(a, b, c, out, weights);
    putTriple("weights", weights);
    gsl_ComputeCircumCircle(a, b, c, out, n);
    putTriple("centre", out);
    putTriple("normal", n);
    gsl_Transcribe3PointsIntoOriginAndAxes(false, a, b, c, out, x, y, z);
    gsl_Matrix m;
    m.SetRotationVectors(x, y, z);
    m.SetTranslation(v);
    m.Concatenate(m.InverseRigidTransform());
    m.Concatenate(m);
    putTriple("axis", m.NewXAxis());
    float xyz[6] = {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]), 1, 2, 3};
    m.SetTranslation(u);
    m.Transform(std::span(xyz));
    putTriple("moved", xyz);
    gsl_Segment nearest;
    put("segments", gsl_Segment(a, b).GetDistance(gsl_Segment(c, p), nearest));
    const double r0[2] = {u[0], u[1]}, r1[2] = {v[0], v[1]}, *const rows[2] = {r0, r1};
    double solved[2] = {p[0], p[1]};
    gsl_LinearEqnLUDSolver solver;
    solver.SetMatrix(rows, 2);
    solver.Solve(solved, solved);
    put("solved", solved[0], solved[1]);
  }
  std::ifstream stored(TEST_FILES "/gsl_results.txt");
  std::stringstream expected;
  expected << stored.rdbuf();
  const std::string found = testing::TempDir() + "gsl_results.txt";
  if (dump.str() != expected.str()) std::ofstream(found) << dump.str();
  EXPECT_EQ(dump.str(), expected.str()) << "the results of this run are in " << found;
}
