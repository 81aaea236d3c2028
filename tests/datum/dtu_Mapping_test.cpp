#include <CoreGeometry/dtu_Mapping.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <cmath>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace {
constexpr double kPi = 3.141592653589793;

dtu_DatumCsys Global(int kind) {
  return {0, 0, {}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, static_cast<dtu_DatumCsysType>(kind)};
}

double Number(double bound) { return *rc::gen::inRange(-1000000, 1000001) * (bound / 1e6); }

/// An orthonormal system anywhere, of a kind.
dtu_DatumCsys Anywhere(int kind) {
  gsl_Matrix turn;
  turn.AxisRotation({}, {Number(1), Number(1), 1 + Number(0.5)}, Number(3));
  turn.SetTranslation({Number(10), Number(10), Number(10)});
  dtu_DatumCsys csys = Global(kind);
  csys.TransformData(turn);
  return csys;
}

void ExpectNear(const gsl_Point& p, double x, double y, double z) {
  EXPECT_NEAR(p[0], x, 1e-12);
  EXPECT_NEAR(p[1], y, 1e-12);
  EXPECT_NEAR(p[2], z, 1e-12);
}
} // namespace

TEST(dtu_Mapping, TreatsTheAxisAndTheOriginAsStated) {
  const dtu_DatumCsys cylinder = Global(2), sphere = Global(3), other = Global(0);
  ExpectNear(dtu_MapGlobalIntoLocal({0, 0, -3}, &cylinder, true), 3, 0, -3);
  ExpectNear(dtu_MapGlobalIntoLocal({1e-5, -1e-5, -3}, &cylinder, true), 3, 0, -3); // inclusive
  ExpectNear(dtu_MapGlobalIntoLocal({0, 2, 0}, &cylinder, true), 2, 90, 0);
  ExpectNear(dtu_MapGlobalIntoLocal({0, -2, 1}, &cylinder, false), 2, -kPi / 2, 1);
  ExpectNear(dtu_MapGlobalIntoLocal({1e-6, 2, 0}, &cylinder, true), 2, 90, 0); // snapped
  ExpectNear(dtu_MapGlobalIntoLocal({-2, 0, 4}, &cylinder, true), 2, 180, 4);
  ExpectNear(dtu_MapGlobalIntoLocal({}, &sphere, true), 0, 0, 0);
  ExpectNear(dtu_MapGlobalIntoLocal({0, 0, 5}, &sphere, true), 5, 0, 0);
  ExpectNear(dtu_MapGlobalIntoLocal({0, 0, -5}, &sphere, true), 5, 0, 180);
  EXPECT_EQ(dtu_MapGlobalIntoLocal({3, 4, 1e-5}, &sphere, true)[2], 90.0);
  ExpectNear(dtu_MapGlobalIntoLocal({0, -3, 0}, &sphere, false), 3, -kPi / 2, kPi / 2);
  // on the axis the radius is the axial coordinate, not the length
  EXPECT_EQ(dtu_MapGlobalIntoLocal({1e-5, 0, 2e-5}, &sphere, true)[0], 2e-5);
  ExpectNear(dtu_MapGlobalIntoLocal({1, 2, 3}, &other, true), 0, 0, 0);
  ExpectNear(dtu_MapLocalIntoGlobal({1, 90, 0}, &cylinder), 0, 1, 0);
  ExpectNear(dtu_MapLocalIntoGlobal({2, 90, 90}, &sphere), 0, 2, 0);
  ExpectNear(dtu_MapLocalIntoGlobal({1, 2, 3}, &other), 0, 0, 0);
}

TEST(dtu_Mapping, UsesAxesAsStoredSoOnlyOrthonormalOnesGoBackAndForth) {
  const dtu_DatumCsys twice(0, 0, {1, 1, 1}, {2, 0, 0}, {0, 2, 0}, {0, 0, 2}, dtu_CARTESIAN);
  const gsl_Point global = dtu_MapLocalIntoGlobal({1, 2, 3}, &twice);
  ExpectNear(global, 3, 5, 7);
  ExpectNear(dtu_MapGlobalIntoLocal(global, &twice, true), 4, 8, 12);
}

RC_GTEST_PROP(dtu_MappingProperties, GoesBackAndForth, ()) {
  for (int kind = 1; kind <= 3; ++kind) {
    const dtu_DatumCsys csys = Anywhere(kind);
    const gsl_Point p(Number(50), Number(50), Number(50));
    const gsl_Point back = dtu_MapLocalIntoGlobal(dtu_MapGlobalIntoLocal(p, &csys, true), &csys);
    const gsl_Point axial = dtu_MapGlobalIntoLocal(p, &csys, false);
    if (kind == 2 && axial[1] == 0) continue; // a point on the axis does not come back
    RC_ASSERT(p.GetDistance(back) < 1e-4);    // an angle near 90 degrees was snapped by up to 1e-6
  }
}

RC_GTEST_PROP(dtu_MappingProperties, GivesTheSameBitsForManyPoints, ()) {
  const dtu_DatumCsys csys = Anywhere(*rc::gen::inRange(1, 4));
  std::vector<double> xyz(31); // the last number is no point
  for (double& x : xyz) x = Number(5);
  auto local = xyz, global = xyz;
  std::vector<float> single(xyz.begin(), xyz.end()), start = single;
  dtu_MapGlobalIntoLocal(local, csys, true);
  dtu_MapLocalIntoGlobal(global, csys);
  dtu_MapGlobalIntoLocal(std::span<float>(single), csys, false);
  for (std::size_t i = 0; i < 30; i += 3) {
    const gsl_Point p(xyz[i], xyz[i + 1], xyz[i + 2]), s(start[i], start[i + 1], start[i + 2]);
    const gsl_Point l = dtu_MapGlobalIntoLocal(p, &csys, true), g = dtu_MapLocalIntoGlobal(p, &csys),
                    f = dtu_MapGlobalIntoLocal(s, &csys, false);
    for (unsigned k = 0; k < 3; ++k)
      RC_ASSERT(local[i + k] == l[k] && global[i + k] == g[k] && single[i + k] == static_cast<float>(f[k]));
  }
  RC_ASSERT(local[30] == xyz[30] && global[30] == xyz[30]);
}

RC_GTEST_PROP(dtu_MappingProperties, LocalDirectionsAreThoseInWhichTheLocalCoordinatesGrow, ()) {
  for (int kind = 1; kind <= 3; ++kind) {
    const dtu_DatumCsys csys = Anywhere(kind);
    // local coordinates well away from the axis
    const gsl_Point local(2 + Number(1), 40 + Number(30), 60 + Number(30));
    const gsl_Point at = dtu_MapLocalIntoGlobal(local, &csys);
    double directions[3][3];
    RC_ASSERT(dtu_LocalDirections(at, csys, directions));
    for (unsigned i = 0; i < 3; ++i) {
      gsl_Point ahead = local, behind = local;
      const double step = 1e-4;
      ahead[i] += step;
      behind[i] -= step;
      const gsl_Vector growth(dtu_MapLocalIntoGlobal(behind, &csys), dtu_MapLocalIntoGlobal(ahead, &csys));
      const gsl_Vector unit = growth.UnitCopy();
      for (unsigned k = 0; k < 3; ++k) RC_ASSERT(std::fabs(unit[k] - directions[i][k]) < 1e-6);
    }
    const gsl_Vector r(directions[0][0], directions[0][1], directions[0][2]),
        s(directions[1][0], directions[1][1], directions[1][2]),
        t(directions[2][0], directions[2][1], directions[2][2]);
    RC_ASSERT(std::fabs(r.CrossProduct(s).DotProduct(t) - (kind == 3 ? -1 : 1)) < 1e-12);
  }
}

RC_GTEST_PROP(dtu_MappingProperties, TurningKeepsLengthsAndInvariants, ()) {
  dtu_DatumCsys csys = Anywhere(*rc::gen::inRange(1, 4));
  csys.Xaxis() = csys.Xaxis() * 3; // neither normalised nor orthogonal
  csys.Yaxis() = csys.Yaxis() + csys.Xaxis() * 0.3;
  const std::vector<float> points{static_cast<float>(Number(9)), static_cast<float>(Number(9)), 3.5F};
  std::vector<double> v{Number(1), Number(1), Number(1)}, s(6);
  for (double& x : s) x = Number(1);
  const auto length = [](const std::vector<double>& u) { return std::hypot(u[0], u[1], u[2]); };
  const auto determinant = [](const std::vector<double>& a) {
    return a[0] * (a[1] * a[2] - a[5] * a[5]) - a[3] * (a[3] * a[2] - a[5] * a[4])
           + a[4] * (a[3] * a[5] - a[1] * a[4]);
  };
  const auto squares = [](const std::vector<double>& a) {
    return a[0] * a[0] + a[1] * a[1] + a[2] * a[2] + 2 * (a[3] * a[3] + a[4] * a[4] + a[5] * a[5]);
  };
  const auto v0 = v, s0 = s;
  RC_ASSERT(dtu_RotateVectorsIntoLocal(points, csys, std::span<double>(v)));
  RC_ASSERT(dtu_RotateTensorsIntoLocal(points, csys, std::span<double>(s)));
  RC_ASSERT(std::fabs(length(v) - length(v0)) < 1e-12);
  RC_ASSERT(std::fabs(s[0] + s[1] + s[2] - s0[0] - s0[1] - s0[2]) < 1e-12);
  RC_ASSERT(std::fabs(squares(s) - squares(s0)) < 1e-12);
  RC_ASSERT(std::fabs(determinant(s) - determinant(s0)) < 1e-12);
}

TEST(dtu_Mapping, TurnsComponentsIntoTheLocalOnes) {
  const std::vector<float> points{0, 2, 0, 0, 0, 5, 0, 0, 0}; // beside the axis, on it, at the origin
  std::vector<float> v{1, 2, 3, 1, 2, 3, 1, 2, 3};
  EXPECT_TRUE(dtu_RotateVectorsIntoLocal(points, Global(2), std::span<float>(v)));
  EXPECT_EQ(v, (std::vector<float>{2, -1, 3, 1, 2, 3, 1, 2, 3}));
  v = {1, 2, 3, 1, 2, 3, 1, 2, 3};
  EXPECT_TRUE(dtu_RotateVectorsIntoLocal(points, Global(3), std::span<float>(v)));
  EXPECT_EQ(v, (std::vector<float>{2, -1, -3, 3, 2, 1, 3, 2, 1}));
  std::vector<float> s{1, 2, 3, 4, 5, 6};
  EXPECT_TRUE(dtu_RotateTensorsIntoLocal(std::span(points).first(3), Global(2), std::span<float>(s)));
  EXPECT_EQ(s, (std::vector<float>{2, 1, 3, -4, 6, -5}));

  // what cannot be turned stays
  EXPECT_FALSE(dtu_RotateTensorsIntoLocal(std::span(points).first(3), Global(0), std::span<float>(s)));
  dtu_DatumCsys flat = Global(2);
  flat.Yaxis() = flat.Xaxis() * -2;
  EXPECT_FALSE(dtu_RotateTensorsIntoLocal(std::span(points).first(3), flat, std::span<float>(s)));
  EXPECT_EQ(s, (std::vector<float>{2, 1, 3, -4, 6, -5}));
  EXPECT_THROW(dtu_RotateVectorsIntoLocal(points, Global(2), std::span<float>(s)), nex_AssertionException);
}
