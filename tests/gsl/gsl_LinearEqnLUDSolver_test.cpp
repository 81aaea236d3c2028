#include <CoreGeometry/gsl_LinearEqnLUDSolver.h>

#include "gsl_TestGeometry.h"
#include <gtest/gtest.h>
#include <vector>

namespace {
struct System {
  explicit System(unsigned n) : a(n, std::vector<double>(n)), b(n), x(n) {
    for (auto& row : a) rows.push_back(row.data());
  }
  /// Largest element of A x - b, relative to abs(A) abs(x) + abs(b).
  double Residual() const {
    double worst = 0;
    for (std::size_t i = 0; i < b.size(); ++i) {
      double sum = -b[i], size = std::fabs(b[i]);
      for (std::size_t j = 0; j < b.size(); ++j) {
        sum += a[i][j] * x[j];
        size += std::fabs(a[i][j] * x[j]);
      }
      if (size > 0) worst = std::max(worst, std::fabs(sum) / size);
    }
    return worst;
  }
  std::vector<std::vector<double>> a;
  std::vector<double*> rows;
  std::vector<double> b, x;
};
} // namespace

TEST(gsl_LinearEqnLUDSolver, SolvesRandomAndNearlySingularSystems) {
  RandomGeometry random(11);
  for (unsigned trial = 0; trial < 200; ++trial) {
    const unsigned n = 1 + trial % 30;
    System s(n);
    for (auto& row : s.a)
      for (double& element : row) element = random.Real(-1, 1);
    if (trial % 3 == 1 && n > 1) // the last row nearly repeats the first
      for (unsigned j = 0; j < n; ++j) s.a[n - 1][j] = s.a[0][j] + random.Real(-1e-9, 1e-9);
    if (trial % 3 == 2) // rows of very different size
      for (unsigned i = 0; i < n; ++i)
        for (double& element : s.a[i]) element *= std::pow(10.0, static_cast<int>(i % 7) - 3);
    for (double& element : s.b) element = random.Real(-1, 1);
    gsl_LinearEqnLUDSolver solver;
    solver.SetMatrix(s.rows.data(), n);
    ASSERT_TRUE(solver.Solve(s.b.data(), s.x.data()));
    EXPECT_LT(s.Residual(), 1e-12);
    std::vector<double> inPlace = s.b;
    ASSERT_TRUE(solver.Solve(inPlace.data(), inPlace.data()));
    EXPECT_EQ(inPlace, s.x);
  }
}

TEST(gsl_LinearEqnLUDSolver, TellsSingularMatricesFromRegularOnesOfAnyScale) {
  RandomGeometry random(13);
  const auto isRegular = [](System& s) {
    gsl_LinearEqnLUDSolver solver;
    solver.SetMatrix(s.rows.data(), static_cast<unsigned>(s.rows.size()));
    return solver.Solve(s.b.data(), s.x.data());
  };
  const double judged[4][4] = {{-3, -1, 4, 3}, {-1, -4, 4, -3}, {-1, 3, -1, -3}, {-5, -2, 7, -3}};
  System sum(4); // the last row is the sum of the others
  for (unsigned i = 0; i < 4; ++i) std::copy_n(judged[i], 4, sum.rows[i]);
  EXPECT_FALSE(isRegular(sum));
  for (const unsigned n : {2U, 3U, 5U, 7U, 20U, 50U, 120U, 200U})
    for (unsigned trial = 0; trial < 12 + 2000 / n; ++trial) {
      System singular(n), regular(n);
      for (unsigned i = 0; i < n; ++i)
        for (unsigned j = 0; j < n; ++j) {
          const double element = std::floor(random.Real(-5, 6));
          singular.a[i][j] = i + 1 < n ? element : 0;
          regular.a[i][j] = random.Real(-1, 1);
        }
      for (unsigned i = 0; i + 1 < n; ++i) {
        const double weight = trial % 2 == 0 ? 1 : std::floor(random.Real(-2, 3));
        for (unsigned j = 0; j < n; ++j) singular.a[n - 1][j] += weight * singular.a[i][j];
      }
      for (unsigned i = 0; i < n; ++i) { // exact factors, then any
        const int power = static_cast<int>(random.Real(-40, 41));
        for (unsigned j = 0; j < n; ++j) {
          singular.a[i][j] = std::ldexp(singular.a[i][j], trial % 3 == 0 ? power : 0);
          regular.a[i][j] *= std::pow(10, (trial % 3 == 0   ? static_cast<int>(i % 3) - 1
                                           : trial % 3 == 1 ? static_cast<int>(j % 3) - 1
                                                            : 0)
                                              * 12);
        }
      }
      EXPECT_FALSE(isRegular(singular)) << n << ' ' << trial;
      ASSERT_TRUE(isRegular(regular)) << n << ' ' << trial;
    }
  // growth as large as it can be, sizes at the ends of the range
  System growth(30), small(3);
  for (unsigned i = 0; i < 30; ++i)
    for (unsigned j = 0; j < 30; ++j) growth.a[i][j] = j == 29 || i == j ? 1 : i > j ? -1 : 0;
  EXPECT_TRUE(isRegular(growth));
  small.a = {{1e-300, 2e-300, 0}, {0, 3, 1}, {1e300, 0, 1e300}};
  for (unsigned i = 0; i < 3; ++i) small.rows[i] = small.a[i].data();
  small.b = {3e-300, 4, 2e300};
  ASSERT_TRUE(isRegular(small));
  for (const double x : small.x) EXPECT_DOUBLE_EQ(x, 1);
}

TEST(gsl_LinearEqnLUDSolver, ReportsSingularMatricesAndNoMatrix) {
  gsl_LinearEqnLUDSolver solver;
  double b[3] = {1, 2, 3}, x[3] = {7, 7, 7};
  EXPECT_FALSE(solver.Solve(b, x));
  System s(3);
  s.a = {{1, 2, 3}, {2, 4, 6}, {0, 1, 1}};
  for (unsigned i = 0; i < 3; ++i) s.rows[i] = s.a[i].data();
  solver.SetMatrix(s.rows.data(), 3);
  EXPECT_FALSE(solver.Solve(b, x));
  EXPECT_EQ(x[0], 7);
  s.a[1][1] = std::nan("");
  solver.SetMatrix(s.rows.data(), 3);
  EXPECT_FALSE(solver.Solve(b, x));
  s.a = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}}; // needs exchanges
  for (unsigned i = 0; i < 3; ++i) s.rows[i] = s.a[i].data();
  solver.SetMatrix(s.rows.data(), 3);
  s.a[0][2] = 5; // a copy was taken
  EXPECT_TRUE(solver.Solve(b, x));
  EXPECT_EQ(x[0], 3);
  EXPECT_EQ(x[2], 1);
  solver.SetMatrix(nullptr, 3);
  EXPECT_FALSE(solver.Solve(b, x));
  solver.SetMatrix(s.rows.data(), 0);
  EXPECT_FALSE(solver.Solve(b, x));
}
