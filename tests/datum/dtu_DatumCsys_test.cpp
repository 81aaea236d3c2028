#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/gsl_Dot.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_StLine.h>
#include <StoredTest.h>
#include <memory>
#include <sstream>

namespace {
class dtu_Csys : public StoredTest {};

const gsl_Vector kX(1, 0, 0), kY(0, 1, 0), kZ(0, 0, 1);

void ExpectAxes(const dtu_DatumCsys& csys, const gsl_Vector& x, const gsl_Vector& y, const gsl_Vector& z) {
  EXPECT_TRUE(csys.Xaxis() == x && csys.Yaxis() == y && csys.Zaxis() == z)
      << csys.Xaxis()[0] << " " << csys.Xaxis()[1] << " " << csys.Xaxis()[2] << ", " << csys.Yaxis()[0] << " "
      << csys.Yaxis()[1] << " " << csys.Yaxis()[2] << ", " << csys.Zaxis()[0] << " " << csys.Zaxis()[1] << " "
      << csys.Zaxis()[2];
}

dtu_DatumCsys Made(const gsl_Dot* d0, const gsl_Dot* d1, const gsl_Dot* d2, const gsl_StLine* l0,
                   const gsl_StLine* l1, char named) {
  gsl_Dot* dots[] = {const_cast<gsl_Dot*>(d0), const_cast<gsl_Dot*>(d1), const_cast<gsl_Dot*>(d2)};
  gsl_StLine* lines[] = {const_cast<gsl_StLine*>(l0), const_cast<gsl_StLine*>(l1)};
  return dtu_CreateCsys(dots, lines, named == 'x', named == 'y', named == 'z');
}
} // namespace

TEST_F(dtu_Csys, KeepsItsAxesAsGivenAndItsKindWhateverItIs) {
  dtu_DatumCsys csys(7, 8, {1, 2, 3}, {2, 0, 0}, {1, 1, 0}, {0, 0, -5}, dtu_CYLINDRICAL);
  ExpectAxes(csys, {2, 0, 0}, {1, 1, 0}, {0, 0, -5});
  EXPECT_EQ(csys.GetDatumType(), dtu_CSYS);
  EXPECT_EQ(csys.GetOwnerFeatID(), 7U);
  EXPECT_EQ(csys.GetInstFeatID(), 8U);
  const char* const labels[] = {"123", "XYZ", "RTZ", "RTP", "123"};
  for (int kind = 0; kind < 5; ++kind) {
    csys.SetCsysType(static_cast<dtu_DatumCsysType>(kind));
    EXPECT_EQ(csys.GetLabels(), cow_String(labels[kind]) + "\\@triad labels");
  }
  EXPECT_THROW(RoundTrip(csys), omu_ValueErrorException) << "kind 4 cannot be stored";
  csys.CsysType() = dtu_SPHERICAL;
  const auto read = RoundTrip(csys);
  EXPECT_TRUE(*read == csys);
  EXPECT_EQ(read->Uid(), csys.Uid());
  EXPECT_EQ(read->GetCsysType(), dtu_SPHERICAL);
  ExpectAxes(dtu_DatumCsys(), kX, kY, kZ);
}

TEST_F(dtu_Csys, PrintsItsFrame) {
  std::ostringstream out;
  dtu_DatumCsys(7, 8, {1, 2, 3.5}, {0, 2, 0}, kY, kZ, dtu_CARTESIAN).Print(out);
  EXPECT_EQ(out.str(), "DATUM CSYS \nDatum ID : 7\nCoordinates of Origin :\nx:\t1\ty:\t2\tz:\t3.5\n"
                       "X-Axis :\nmagnitude:\t2\nx:\t0\ty:\t2\tz:\t0\n"
                       "Y-Axis :\nmagnitude:\t1\nx:\t0\ty:\t1\tz:\t0\n"
                       "Z-Axis :\nmagnitude:\t1\nx:\t0\ty:\t0\tz:\t1\n");
}

TEST_F(dtu_Csys, MovesWithAMatrixAndMovesPoints) {
  gsl_Matrix quarter;
  quarter.AxisRotation({}, kZ, 1.5707963267948966);
  quarter.SetTranslation({10, 0, 0});
  const dtu_DatumCsys csys(1, 2, {1, 0, 0}, {3, 0, 0}, kY, kZ, dtu_CARTESIAN, quarter);
  EXPECT_TRUE(csys.Origin() == gsl_Point(10, 1, 0));
  ExpectAxes(csys, {0, 3, 0}, {-1, 0, 0}, kZ);
  gsl_Point p(2, 1, 0);
  csys.TransformPoint(p); // the length 3 of x does not count
  EXPECT_TRUE(p == gsl_Point(9, 3, 0));

  gsl_Point origin;
  gsl_Vector x, y, z;
  csys.Geometry(origin, x, y, z);
  EXPECT_TRUE(origin == csys.Point() && x == csys.Xaxis() && y == csys.Yaxis() && z == csys.Zaxis());
  const std::unique_ptr<dtu_DatumCsys> shown(csys.GetDisplayCoordSystem());
  EXPECT_TRUE(*shown == csys);
}

TEST_F(dtu_Csys, RelativeTransformsLeadFromTheOtherSystem) {
  const dtu_DatumCsys other(0, 0, {1, 1, 1}, {2, 0, 0}, kY, kZ, dtu_CARTESIAN);
  const dtu_DatumCsys turned(0, 0, {4, 3, 2}, kY, {-1, 0, 0}, kZ, dtu_CARTESIAN); // by 90 degrees about z
  g3d_Vector t;
  turned.RelativeTranslation(other, t);
  EXPECT_TRUE(t == (g3d_Vector{{3, 2, 1}}));
  gsl_Vector axis;
  double angle;
  turned.RelativeRotation(other, axis, angle);
  EXPECT_NEAR(angle, 1.5707963267948966, 1e-6);
  EXPECT_TRUE(axis == kZ);
  g3d_XForm xf;
  turned.RelativeTransform(other, xf);
  EXPECT_NEAR(xf(0, 1), -1, 1e-6);
  EXPECT_NEAR(xf(1, 0), 1, 1e-6);
  EXPECT_EQ(xf(0, 3), 3.F);
  EXPECT_EQ(xf(2, 3), 1.F);
  EXPECT_EQ(xf(3, 3), 1.F);
  float q[4];
  turned.RelativeRotationQuaternion(other, q);
  const float expected[] = {0, 0, 0.70710678F, 0.70710678F};
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(q[i], expected[i], 1e-6F);
  turned.RelativeRotationQuaternion(turned, q);
  EXPECT_TRUE(q[0] == 0 && q[1] == 0 && q[2] == 0 && q[3] == 1);
}

TEST_F(dtu_Csys, IsCreatedOfDotsAndLines) {
  const gsl_Dot o(1, 1, 1), p(3, 1, 1), q(1, 4, 1), same(1, 1, 1);
  const gsl_StLine alongZ(gsl_Point(9, 9, 9), kZ), alongY(gsl_Point(9, 9, 9), gsl_Vector(0, 5, 0));
  ExpectAxes(Made(nullptr, nullptr, nullptr, nullptr, nullptr, 'x'), kX, kY, kZ);
  ExpectAxes(Made(nullptr, nullptr, nullptr, nullptr, nullptr, 'y'), kX, kY, kZ);
  ExpectAxes(Made(nullptr, nullptr, nullptr, nullptr, nullptr, 'z'), kX, kY, kZ);
  // the axes grow with the products: 2 and 3 give 6, and 6 and 2 give 12
  const dtu_DatumCsys grown = Made(&o, &p, &q, &alongZ, nullptr, 'x');
  EXPECT_TRUE(grown.Origin() == gsl_Point(1, 1, 1));
  ExpectAxes(grown, {2, 0, 0}, {0, 12, 0}, {0, 0, 6});
  ExpectAxes(Made(&o, nullptr, nullptr, &alongY, &alongZ, 'x'), {0, 5, 0}, {0, 0, 25}, {5, 0, 0});
  // a first direction along the candidate takes the next one
  ExpectAxes(Made(nullptr, nullptr, nullptr, &alongY, nullptr, 'x'), {0, 5, 0}, {0, 0, 25}, {5, 0, 0});
  ExpectAxes(Made(nullptr, nullptr, nullptr, &alongZ, nullptr, 'y'), kY, kZ, kX);
  ExpectAxes(Made(&o, &p, nullptr, nullptr, nullptr, 'z'), {0, 4, 0}, {0, 0, 2}, {2, 0, 0});
  const gsl_Vector zero(0, 0, 0);
  ExpectAxes(Made(&o, &same, &q, nullptr, nullptr, 'x'), zero, zero, zero);
  const dtu_DatumCsys nameless = Made(&p, &o, &q, nullptr, nullptr, '-');
  ExpectAxes(nameless, kZ, kZ, kZ);
  EXPECT_TRUE(nameless.Origin() == gsl_Point(3, 1, 1));
}
