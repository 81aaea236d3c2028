#include <CoreGeometry/gsl_utils.h>

#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Util.h>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
} // namespace

TEST(gsl_utils, ComparesInclusiveAtTheBoundAndTakesNanForEqual) {
  EXPECT_TRUE(gsl_RealEqual(0.0, 0.5, 0.5));
  EXPECT_TRUE(gsl_RealEqual(0.5, 0.0, 0.5));
  EXPECT_FALSE(gsl_RealEqual(0.0, std::nextafter(0.5, 1.0), 0.5));
  EXPECT_TRUE(gsl_RealEqual(kNan, 1.0, 0.0));
  EXPECT_TRUE(gsl_RealEqual(kInf, kInf, 0.0));
  EXPECT_FALSE(gsl_RealEqual(0.0, kInf, 1.0));
  EXPECT_FALSE(gsl_RealEqual(1.0, 1.0, -1e-9)); // outside [1e-9, -1e-9]
}

TEST(gsl_utils, RelativeToleranceIsThatOfTheFirstArgument) {
  EXPECT_TRUE(gsl_RealRelEqual(0.0, 1e-11, 1e-10));
  EXPECT_TRUE(gsl_RealRelEqual(1e6, 1e6 + 1e-5, 1e-10));
  EXPECT_TRUE(gsl_RealRelEqual(10.0, 15.0, 0.5));
  EXPECT_TRUE(gsl_RealRelEqual(0.5, 1.0, 0.5)); // the floor
  EXPECT_TRUE(gsl_RealRelEqual(-4.0, -2.0, 0.5));
  EXPECT_FALSE(gsl_RealRelEqual(2.0, 4.0, 0.5));
}

TEST(gsl_utils, ArraysHaveAFloorOnlyAtZero) {
  const double a[] = {1e-3, 0.0}, near[] = {1e-3 + 1e-12, 1e-10}, far[] = {1e-3, 2e-10};
  EXPECT_FALSE(gsl_RealArrRelEqual(2, a, near, 1e-10)); // gsl_RealRelEqual would accept 1e-12
  EXPECT_TRUE(gsl_RealRelEqual(a[0], near[0], 1e-10));
  EXPECT_TRUE(gsl_RealArrRelEqual(1, a + 1, near + 1, 1e-10));
  EXPECT_FALSE(gsl_RealArrRelEqual(2, a, far, 1e-10));
  EXPECT_TRUE(gsl_RealArrEqual(2, a, near, 1e-9));
  EXPECT_FALSE(gsl_RealArrEqual(2, a, near, 1e-11));
  EXPECT_TRUE(gsl_RealArrEqual(0, nullptr, nullptr, 0));
  EXPECT_TRUE(gsl_RealArrRelEqual(-1, nullptr, nullptr, 0));
}

TEST(gsl_utils, SignificantDigitsIgnoreThePowerOfTen) {
  EXPECT_TRUE(gsl_RealEqualDig(1.0, 10.0, 2));
  EXPECT_TRUE(gsl_RealEqualDig(123.4, 123.0, 3));
  EXPECT_FALSE(gsl_RealEqualDig(123.5, 123.0, 3));
  EXPECT_FALSE(gsl_RealEqualDig(1.0, -1.0, 2));
  EXPECT_FALSE(gsl_RealEqualDig(9.996, 10.0, 3)); // rounding carries to 1000, 10 gives 100
  EXPECT_FALSE(gsl_RealEqualDig(1.0, 1.0 + 1e-15, 16));
  EXPECT_TRUE(gsl_RealEqualDig(1.0, 1.0, 16));
  EXPECT_FALSE(gsl_RealEqualDig(0.0, 1e-300, 3));
  for (const double x : {5e-324, kInf, kNan}) EXPECT_FALSE(gsl_RealEqualDig(1.0, x, 15));
}

TEST(gsl_utils, RoundsSignificantDigitsAwayFromZero) {
  EXPECT_EQ(gsl_RoundFloat(123.456, 2), 120);
  EXPECT_EQ(gsl_RoundFloat(-0.0456, 2), -0.046);
  EXPECT_EQ(gsl_RoundFloat(-2.5, 1), -3);
  EXPECT_EQ(gsl_RoundFloat(9.96, 2), 10);
  EXPECT_EQ(gsl_RoundFloat(123.456, 0), 0);
  EXPECT_EQ(gsl_RoundFloat(0.1234567890123456, 16), 0.1234567890123456);
  EXPECT_DOUBLE_EQ(gsl_RoundFloat(1.2e308, 1), 1e308);
  for (const double x : {0.0, kInf, -kInf, 5e-324}) EXPECT_EQ(gsl_RoundFloat(x, 15), x);
}

TEST(gsl_utils, TruncateRoundsHalfUpAlsoBelowZero) {
  EXPECT_EQ(gsl_Truncate(1.25, 1), 1.3);
  EXPECT_EQ(gsl_Truncate(-1.25, 1), -1.2);
  EXPECT_EQ(gsl_Truncate(2.999, 2), 3.0);
  EXPECT_EQ(gsl_Truncate(1e12 + 0.25, 1), 1e12 + 0.3);
  for (const double x : {kInf, -kInf, 1e300}) EXPECT_EQ(gsl_Truncate(x, 400), x);
  for (const int places : {0, -3}) {
    try {
      gsl_Truncate(1.5, places);
      FAIL();
    } catch (const nex_AssertionException& failure) {
      EXPECT_EQ(failure.Message(), "places > 0");
      EXPECT_EQ(failure.Source(), "generated/module/gsl/impl/gsl_utils");
      EXPECT_EQ(failure.Line(), 1007);
    }
  }
}

TEST(gsl_Util, ChangingAToleranceChangesTheModule) {
  auto& util = omi_Singleton<gsl_Util>::Instance();
  const gsl_Point a, b(0.5, 0, 0);
  EXPECT_FALSE(a.IsOn(b));
  util.SetTolerance(1.0);
  EXPECT_TRUE(a.IsOn(b));
  EXPECT_FALSE(a == b); // the squared tolerance is a value of its own
  util.SetTolSquared(0.25);
  EXPECT_TRUE(a == b);
  EXPECT_EQ(util.DisplayFactor(2), 11.25);
  util.SetOldDisplayFactor(true);
  EXPECT_EQ(util.DisplayFactor(2), 15.0);
  EXPECT_GT(util.StartTime(), 1e9);
  omi_Singleton<gsl_Util>::Release();
  const auto& fresh = omi_Singleton<gsl_Util>::Instance();
  EXPECT_EQ(fresh.Tolerance(), 1e-6);
  EXPECT_EQ(fresh.TolSquared(), 1e-12);
  EXPECT_EQ(fresh.RelTolerance(), 1e-10);
  EXPECT_EQ(fresh.CoarseTolerance(), 1e-4);
  EXPECT_EQ(fresh.DisplayFactor(2), 11.25);
}
