#include <CoreGeometry/gsl_ExactSum.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

namespace {
double Sum(const std::vector<double>& terms) {
  gsl_ExactSum sum;
  for (const double term : terms) sum.Add(term);
  return sum.Value();
}
/// Any bits: zeros, denormal and largest numbers, but finite.
double AnyFinite() {
  const auto value = std::bit_cast<double>(*rc::gen::arbitrary<std::uint64_t>());
  return std::isfinite(value) ? value : 0.0;
}

// the sum of two numbers is rounded correctly by the processor
RC_GTEST_PROP(gsl_ExactSum, TwoTermsGiveTheRoundedSum, ()) {
  const double a = AnyFinite();
  const double b = *rc::gen::arbitrary<bool>() ? AnyFinite() : std::ldexp(-a, *rc::gen::inRange(-60, 60));
  if (!std::isfinite(b)) return;
  RC_ASSERT(Sum({a, b}) == a + b);
}

RC_GTEST_PROP(gsl_ExactSum, OrderAndPartialSumsDoNotMatter, ()) {
  std::vector<double> terms(*rc::gen::inRange<std::size_t>(1, 50));
  for (double& term : terms) term = AnyFinite() / 64;
  const double last = AnyFinite();
  const double wanted = Sum(terms);
  gsl_ExactSum parts[3];
  for (std::size_t i = terms.size(); i-- > 0;) parts[i * 7 % 3].Add(terms[i]);
  parts[1].Add(last);
  parts[0].Add(parts[2]);
  parts[1].Add(parts[0]);
  parts[1].Add(-last);
  RC_ASSERT(parts[1].Value() == wanted);
}

TEST(gsl_ExactSum, KeepsWhatDoublesLoseAndWhatIsNoNumber) {
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Sum({}), 0);
  EXPECT_EQ(Sum({1e300, 1, -1e300}), 1);
  EXPECT_EQ(Sum({1, std::ldexp(1, -53), std::ldexp(1, -1074)}), 1 + std::ldexp(1, -52)); // just above a tie
  EXPECT_EQ(Sum({1e308, 1e308, -1e308}), 1e308);
  EXPECT_EQ(Sum({1e308, 1e308}), inf);
  EXPECT_EQ(Sum({1, -inf}), -inf);
  EXPECT_TRUE(std::isnan(Sum({inf, -inf})));
}
} // namespace
