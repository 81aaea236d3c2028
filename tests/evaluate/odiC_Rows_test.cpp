#include "odiC_RowKernels.h"

#include "ThrownBy.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dtu_Mapping.h>
#include <CoreGeometry/odiC_Complex.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Invariant.h>
#include <CoreGeometry/odiC_Rotation.h>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <set>
#include <sstream>

namespace {
constexpr double kNone = std::numeric_limits<double>::quiet_NaN(),
                 kInfinity = std::numeric_limits<double>::infinity(), kPi = 3.14159265358979323846;

using Tensor = std::array<double, 6>; // xx yy zz xy xz yz
using Matrix = std::array<double, 9>;

class Random {
public:
  double Real(double low = -1, double high = 1) { return low + (high - low) * engine_() / 4294967296.0; }
  std::array<double, 4> Quaternion() {
    std::array<double, 4> q{Real(), Real(), Real(), Real(0.1, 1)};
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& x : q) x /= length;
    return q;
  }

private:
  std::mt19937 engine_{7};
};

/// Eigenvalues, descending, by Jacobi's rotations in extended precision.
std::array<long double, 3> Jacobi(const Tensor& s) {
  long double a[3][3] = {{s[0], s[3], s[4]}, {s[3], s[1], s[5]}, {s[4], s[5], s[2]}};
  for (int sweep = 0; sweep < 30; ++sweep)
    for (const auto& [p, q] : {std::pair{0, 1}, {0, 2}, {1, 2}}) {
      if (a[p][q] == 0) continue;
      const long double theta = (a[q][q] - a[p][p]) / (2 * a[p][q]);
      const long double t = (theta < 0 ? -1 : 1) / (std::abs(theta) + std::sqrt(theta * theta + 1)),
                        c = 1 / std::sqrt(t * t + 1), sine = t * c;
      for (int k = 0; k < 3; ++k) {
        const long double kp = a[k][p], kq = a[k][q];
        a[k][p] = c * kp - sine * kq;
        a[k][q] = sine * kp + c * kq;
      }
      for (int k = 0; k < 3; ++k) {
        const long double pk = a[p][k], qk = a[q][k];
        a[p][k] = c * pk - sine * qk;
        a[q][k] = sine * pk + c * qk;
      }
    }
  std::array<long double, 3> values{a[0][0], a[1][1], a[2][2]};
  std::ranges::sort(values, std::greater());
  return values;
}

/// Tensors with the given principal values in random axes.
Tensor Turned(Random& random, const std::array<double, 3>& values) {
  const odiC_Rotation rotation(odiC_Variable("S", res_TENSOR));
  const Tensor diagonal{values[0], values[1], values[2], 0, 0, 0};
  Tensor turned;
  rotation.FromLocal(random.Quaternion(), diagonal, turned);
  return turned;
}

std::vector<Tensor> HardTensors() {
  Random random;
  std::vector<Tensor> tensors = {{},
                                 {1, 1, 1, 0, 0, 0},
                                 {3, 2, 1, 0, 0, 0},
                                 {0, 0, 0, 1, 0, 0},
                                 {0, 0, 0, 1, 1, 1},
                                 {1, 1, 1, 1e-17, 0, 0},
                                 {5e-324, 0, 0, 0, 5e-324, 0},
                                 {8e307, -8e307, 0, 0, 8e307, 0}};
  for (int k = 0; k < 200; ++k) {
    const double a = random.Real(), b = random.Real(), c = random.Real(), tiny = 1e-9 * random.Real();
    for (const std::array<double, 3>& values : {std::array{a, b, c},
                                                {a, a, b},
                                                {a, a, a},
                                                {a, 0., 0.},
                                                {a, a + tiny, b},
                                                {a, a + tiny, a - 2 * tiny}})
      for (const double scale : {1., 1e30, 1e-30, 1e200, 1e-200})
        tensors.push_back(Turned(random, {scale * values[0], scale * values[1], scale * values[2]}));
    tensors.push_back({a, b, c, random.Real(), random.Real(), random.Real()});
  }
  return tensors;
}

TEST(odiC_Rows, EigenvaluesAreThoseOfJacobiAndVectorsSpanTheTensor) {
  const std::vector<Tensor> tensors = HardTensors();
  std::vector<double> flat, values(3 * tensors.size()), alone(values.size()), axes(9 * tensors.size());
  for (const Tensor& s : tensors) flat.insert(flat.end(), s.begin(), s.end());
  odiC_PrincipalAxes(flat, values, axes);
  odiC_PrincipalValues(flat, alone);
  EXPECT_EQ(values, alone);
  for (std::size_t i = 0; i < tensors.size(); ++i) {
    const Tensor& s = tensors[i];
    const std::array<long double, 3> wanted = Jacobi(s);
    long double largest = 0;
    for (const double c : s) largest = std::max<long double>(largest, std::fabs(c));
    const double *v = &values[3 * i], *e = &axes[9 * i];
    const long double rounding = std::max<long double>(4e-15L * largest, 5e-324L);
    for (std::size_t k = 0; k < 3; ++k) {
      ASSERT_LE(std::abs(v[k] - wanted[k]), rounding) << i << ", value " << k;
      for (std::size_t j = 0; j < 3; ++j) {
        const double dot = e[3 * k] * e[3 * j] + e[3 * k + 1] * e[3 * j + 1] + e[3 * k + 2] * e[3 * j + 2];
        ASSERT_NEAR(dot, k == j ? 1 : 0, 1e-14) << i;
        const long double across[] = {(long double){s[0]} * e[3 * k] + (long double){s[3]} * e[3 * k + 1]
                                          + (long double){s[4]} * e[3 * k + 2],
                                      (long double){s[3]} * e[3 * k] + (long double){s[1]} * e[3 * k + 1]
                                          + (long double){s[5]} * e[3 * k + 2],
                                      (long double){s[4]} * e[3 * k] + (long double){s[5]} * e[3 * k + 1]
                                          + (long double){s[2]} * e[3 * k + 2]};
        ASSERT_LE(std::abs(across[j] - (long double){v[k]} * e[3 * k + j]), 3 * rounding) << i;
      }
    }
    const double determinant = e[0] * (e[4] * e[8] - e[5] * e[7]) - e[1] * (e[3] * e[8] - e[5] * e[6])
                               + e[2] * (e[3] * e[7] - e[4] * e[6]);
    ASSERT_NEAR(determinant, 1, 1e-14) << i;
  }
}

/// From the definitions, by the eigenvalues of Jacobi.
double Wanted(res_InvariantEnm invariant, const Tensor& s) {
  const auto [a, b, c] = Jacobi(s);
  const long double mean = (a + b + c) / 3, half = (s[0] + s[1]) / 2,
                    radius = std::hypot((s[0] - s[1]) / 2, s[3]);
  switch (invariant) {
  case res_MISES:
    return static_cast<double>(std::sqrt(((a - b) * (a - b) + (b - c) * (b - c) + (c - a) * (c - a)) / 2));
  case res_TRESCA: return static_cast<double>(a - c);
  case res_PRESS: return static_cast<double>(-mean);
  case res_INV3: return static_cast<double>(std::cbrt(13.5L * (a - mean) * (b - mean) * (c - mean)));
  case res_MAX_PRINCIPAL: return static_cast<double>(a);
  case res_MID_PRINCIPAL: return static_cast<double>(b);
  case res_MIN_PRINCIPAL: return static_cast<double>(c);
  case res_MAXIMUM_IN_PLANE_PRINCIPAL: return static_cast<double>(half + radius);
  case res_MINIMUM_IN_PLANE_PRINCIPAL: return static_cast<double>(half - radius);
  case res_OUT_OF_PLANE_PRINCIPAL: return s[2];
  case res_MAGNITUDE: return std::sqrt(s[0] * s[0] + s[1] * s[1] + s[2] * s[2]);
  }
  return kNone;
}

/// Every type with its number of invariants.
const std::pair<res_DataTypeEnm, std::size_t> kTypes[] = {{res_ENUMERATION, 0},
                                                          {res_BOOLEAN, 0},
                                                          {res_INTEGER, 1},
                                                          {res_SCALAR, 1},
                                                          {res_VECTOR, 1},
                                                          {res_MATRIX, 0},
                                                          {res_QUATERNION_2D, 0},
                                                          {res_QUATERNION_3D, 0},
                                                          {res_TENSOR, 7},
                                                          {res_TENSOR_3D_FULL, 7},
                                                          {res_TENSOR_3D_PLANAR, 10},
                                                          {res_TENSOR_3D_SURFACE, 10},
                                                          {res_TENSOR_2D_PLANAR, 10},
                                                          {res_TENSOR_2D_SURFACE, 10}};

/// Random rows of a variable, and the same as full tensors with tensor shears.
template<class T>
void MakeRows(const odiC_Variable& variable, std::size_t n, std::vector<T>& rows, std::vector<Tensor>& full) {
  Random random;
  const std::size_t width = variable.components.size();
  rows.resize(n * width);
  full.assign(n, {});
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const res_ComponentEnm component = variable.components[i % width];
    const bool isShear = component >= res_XY_COMPONENT && component <= res_YZ_COMPONENT;
    rows[i] = static_cast<T>(random.Real(-100, 100));
    if (component <= res_YZ_COMPONENT)
      full[i / width][component] = rows[i] * (isShear && variable.isEngineeringShear ? 0.5 : 1);
    else if (width == 1)
      full[i][0] = rows[i];
  }
}

template<class T> void InvariantsFollowTheirDefinition() {
  constexpr double kAccuracy = sizeof(T) == 4 ? 2e-5 : 2e-12;
  std::set<res_InvariantEnm> tried;
  for (const auto& [type, count] : kTypes)
    for (const bool isEngineering : {false, true}) {
      odiC_Variable variable("S", type);
      variable.isEngineeringShear = isEngineering;
      const std::vector<res_InvariantEnm> invariants = odiC_InvariantsOf(variable);
      EXPECT_EQ(invariants.size(), count) << type;
      for (const omu_EnumEntry& entry : omu_EnumTable<res_InvariantEnm>::entries) {
        const auto invariant = static_cast<res_InvariantEnm>(entry.value);
        if (std::ranges::find(invariants, invariant) == invariants.end()) {
          EXPECT_THROW(odiC_Invariant(variable, invariant), odiC_Exception) << type << entry.text;
          continue;
        }
        EXPECT_EQ(odiC_FindInvariant(variable, entry.text), invariant);
        tried.insert(invariant);
        const odiC_Invariant of(variable, invariant);
        for (const std::size_t n : {0, 1, 2, 3, 4, 5, 11}) {
          std::vector<T> rows, values(n);
          std::vector<Tensor> full;
          MakeRows(variable, n, rows, full);
          of.Apply(std::span<const T>(rows), values);
          for (std::size_t i = 0; i < n; ++i)
            ASSERT_NEAR(values[i], Wanted(invariant, full[i]), kAccuracy) << type << " " << entry.text;
          for (std::size_t i = 0; i < rows.size(); ++i) // one number that is not finite
            for (const double bad : {kNone, kInfinity, -kInfinity}) {
              std::vector<T> spoilt = rows, others(n);
              spoilt[i] = static_cast<T>(bad);
              of.Apply(std::span<const T>(spoilt), others);
              for (std::size_t k = 0; k < n; ++k)
                ASSERT_TRUE(k == i * n / rows.size() ? std::isnan(others[k]) : others[k] == values[k])
                    << entry.text;
            }
        }
      }
    }
  EXPECT_EQ(tried.size(), std::size(omu_EnumTable<res_InvariantEnm>::entries)) << "no type has one of them";
}
TEST(odiC_Rows, InvariantsFollowTheirDefinitionInEveryType) {
  InvariantsFollowTheirDefinition<float>();
  InvariantsFollowTheirDefinition<double>();
}

TEST(odiC_Rows, PrincipalValuesGiveTheInvariantsOfTheirTensor) {
  odiC_Variable variable("S", res_TENSOR_3D_FULL);
  const odiC_Variable whole = variable;
  variable.coordSystem = res_PRINCIPAL;
  variable.components = {res_ZZ_COMPONENT, res_XX_COMPONENT, res_YY_COMPONENT};
  Random random;
  for (int k = 0; k < 50; ++k) {
    const std::array<double, 3> values{random.Real(), random.Real(), random.Real()};
    const Tensor s = Turned(random, values);
    for (const res_InvariantEnm invariant : odiC_InvariantsOf(variable)) {
      double ofValues = 0, ofTensor = 0;
      odiC_Invariant(variable, invariant).Apply(values, std::span(&ofValues, 1));
      odiC_Invariant(whole, invariant).Apply(s, std::span(&ofTensor, 1));
      EXPECT_NEAR(ofValues, ofTensor, 1e-13) << invariant;
      if (invariant == res_MID_PRINCIPAL) {
        EXPECT_EQ(ofValues, std::max(std::min(values[0], values[1]),
                                     std::min(std::max(values[0], values[1]), values[2])));
      }
    }
  }
}

TEST(odiC_Rows, EveryProcessorGivesTheSameBits) {
  std::vector<double> numbers;
  for (const Tensor& s : HardTensors()) numbers.insert(numbers.end(), s.begin(), s.end());
  for (const double special : {kNone, kInfinity, -0.0, 1e-310, 3e38})
    numbers.insert(numbers.end(), 7, special);
  numbers.resize(numbers.size() / 36 * 36);
  const std::vector<float> narrow(numbers.begin(), numbers.end());
  const auto compare = [](const auto& call, std::size_t count, auto zero) {
    std::vector results(2, std::vector<decltype(zero)>(count));
    call(odiC_RowBody::Plain, results[0].data());
    call(odiC_BestRowBody(), results[1].data());
    for (std::size_t i = 0; i < count; ++i)
      if (!std::isnan(results[0][i]) || !std::isnan(results[1][i])) {
        ASSERT_EQ(std::memcmp(&results[0][i], &results[1][i], sizeof zero), 0) << i;
      }
  };
  const Matrix q{0.36, 0.48, -0.8, -0.8, 0.6, 0, 0.48, 0.64, 0.6};
  for (const res_DataTypeEnm type : {res_TENSOR, res_TENSOR_3D_PLANAR, res_VECTOR}) {
    const odiC_RowForm form{odiC_Variable("S", type)};
    const std::size_t n = numbers.size() / form.width;
    const auto all = [&](const auto& rows) {
      for (int work = 0; work <= static_cast<int>(odiC_RowWork::Magnitude); ++work)
        compare(
            [&](odiC_RowBody body, auto* out) {
              odiC_ReduceRows(body, static_cast<odiC_RowWork>(work), work % 2, form, rows.data(), n, out);
            },
            n, rows[0]);
      compare(
          [&](odiC_RowBody body, auto* out) {
            if (type == res_VECTOR) return odiC_TurnVectors(body, form, q.data(), 0, rows.data(), n, out);
            odiC_TurnTensors(body, form, q.data(), 0, rows.data(), n, out);
          },
          6 * n, rows[0]);
    };
    all(numbers);
    all(narrow);
  }
  compare(
      [&](odiC_RowBody body, double* out) {
        odiC_SolveRows(body, numbers.data(), numbers.size() / 6, out, out + numbers.size() / 2);
      },
      2 * numbers.size(), 0.0);
}

/// Rows by each way of turning them: matrix, matrices, quaternions and there and back.
TEST(odiC_Rows, RotationKeepsInvariantsAndComesBack) {
  const DDB_CoreGeometry library;
  Random random;
  const dtu_DatumCsys systems[] = {
      {1, 0, {0.5, 0.1, -0.2}, {1, 2, 0}, {-2, 1, 0}, {0, 0, 1}, dtu_CARTESIAN},
      {2, 0, {0.5, 0.1, -0.2}, {1, 2, 0}, {-2, 1, 0}, {0, 0, 1}, dtu_CYLINDRICAL},
      {3, 0, {0.5, 0.1, -0.2}, {1, 2, 0}, {-2, 1, 0}, {0, 0, 1}, dtu_SPHERICAL}};
  for (const auto& [type, count] : kTypes)
    for (const bool isEngineering : {false, true}) {
      odiC_Variable variable("S", type);
      variable.isEngineeringShear = isEngineering;
      if (type != res_VECTOR && type != res_MATRIX && type < res_TENSOR) {
        EXPECT_THROW(odiC_Rotation{variable}, odiC_Exception);
        continue;
      }
      const odiC_Rotation rotation(variable), further(rotation.Result());
      EXPECT_EQ(rotation.Result().NumComponents(), rotation.NumComponents());
      constexpr std::size_t n = 301; // more than the matrices that are made at a time
      const auto width = static_cast<std::size_t>(rotation.NumComponents());
      std::vector<double> rows;
      std::vector<Tensor> full;
      MakeRows(variable, n, rows, full);
      std::vector<double> quaternions, matrices;
      std::vector<float> points;
      for (std::size_t i = 0; i < n; ++i) {
        const auto q = random.Quaternion();
        quaternions.insert(quaternions.end(), q.begin(), q.end());
        for (int k = 0; k < 3; ++k) points.push_back(static_cast<float>(random.Real()));
      }
      const Matrix identity{1, 0, 0, 0, 1, 0, 0, 0, 1};
      std::vector<double> space(n * width), turned(n * width), back(n * width);
      rotation.ByMatrix(identity, rows, space);
      const auto expectSame = [&, type = type](const std::vector<double>& there, const char* by) {
        for (std::size_t i = 0; i < n * width; ++i) ASSERT_NEAR(back[i], space[i], 1e-11) << type << by;
        for (const res_InvariantEnm invariant : odiC_InvariantsOf(rotation.Result())) {
          std::vector<double> values(n);
          odiC_Invariant(rotation.Result(), invariant).Apply(there, values);
          for (std::size_t i = 0; i < n; ++i)
            ASSERT_NEAR(values[i], Wanted(invariant, full[i]), invariant == res_INV3 ? 1e-10 : 3e-12)
                << type << by << invariant;
        }
      };
      rotation.FromLocal(quaternions, rows, turned);
      further.IntoLocal(quaternions, turned, back);
      expectSame(turned, "quaternion");
      const auto [x, y, z, w] = std::array{quaternions[0], quaternions[1], quaternions[2], quaternions[3]};
      const Matrix first{1 - 2 * (y * y + z * z), 2 * (x * y - z * w),     2 * (x * z + y * w),
                         2 * (x * y + z * w),     1 - 2 * (x * x + z * z), 2 * (y * z - x * w),
                         2 * (x * z - y * w),     2 * (y * z + x * w),     1 - 2 * (x * x + y * y)};
      for (std::size_t i = 0; i < n; ++i) matrices.insert(matrices.end(), first.begin(), first.end());
      std::vector<double> one(n * width), each(n * width);
      rotation.ByMatrix(first, rows, one);
      rotation.ByMatrices(matrices, rows, each);
      EXPECT_EQ(one, each);
      for (std::size_t k = 0; k < width; ++k) EXPECT_NEAR(one[k], turned[k], 1e-12) << type;
      for (const dtu_DatumCsys& csys : systems) {
        rotation.IntoDatum(csys, points, rows, turned);
        further.FromDatum(csys, points, turned, back);
        expectSame(turned, "datum");
        double q[3][3];
        dtu_LocalDirections({points[0], points[1], points[2]}, csys, q);
        std::vector<double> alone(width);
        rotation.ByMatrix(
            Matrix{q[0][0], q[0][1], q[0][2], q[1][0], q[1][1], q[1][2], q[2][0], q[2][1], q[2][2]},
            std::span(rows).first(rows.size() / n), alone);
        for (std::size_t k = 0; k < width; ++k) EXPECT_NEAR(alone[k], turned[k], 1e-12) << type;
      }
      std::vector<float> narrow(rows.begin(), rows.end()), narrowTurned(n * width);
      rotation.FromLocal(quaternions, narrow, narrowTurned);
      quaternions[4 * 300] = 1.5;
      rotation.FromLocal(quaternions, rows, turned);
      for (std::size_t i = 0; i < n * width; ++i)
        if (i / width == 300)
          EXPECT_TRUE(std::isnan(turned[i]));
        else
          ASSERT_NEAR(narrowTurned[i], turned[i], 4e-5);
    }
}

TEST(odiC_Rows, ComplexValuesAreShownByTheirDefinition) {
  struct Case {
    res_PairEnm pair;
    double first, second;
    double shown[5]; // real, imaginary, magnitude, phase, at 60 degrees
  };
  const double s3 = std::sqrt(3.0);
  const Case cases[] = {
      {res_REAL_AND_IMAGINARY, 3, 4, {3, 4, 5, std::atan2(4, 3) * 180 / kPi, 1.5 - 2 * s3}},
      {res_REAL_AND_IMAGINARY, -0.0, -0.0, {0, 0, 0, 0, 0}},
      {res_REAL_AND_IMAGINARY, -2, -0.0, {-2, 0, 2, 180, -1}},
      {res_REAL_AND_IMAGINARY,
       3e200,
       4e200,
       {3e200, 4e200, 5e200, std::atan2(4, 3) * 180 / kPi, 1.5e200 - 2e200 * s3}},
      {res_REAL_AND_IMAGINARY, kNone, 1, {kNone, 1, kNone, kNone, kNone}},
      {res_MAGNITUDE_AND_PHASE, 2, 90, {0, 2, 2, 90, -s3}},
      {res_MAGNITUDE_AND_PHASE, 2, -270, {0, 2, 2, 90, -s3}},
      {res_MAGNITUDE_AND_PHASE, 2, 540, {-2, 0, 2, 180, -1}},
      {res_MAGNITUDE_AND_PHASE, -2, 0, {-2, 0, 2, 180, -1}},
      {res_MAGNITUDE_AND_PHASE, 2, 30, {s3, 1, 2, 30, 0}},
      {res_MAGNITUDE_AND_PHASE, 0, 30, {0, 0, 0, 0, 0}},
  };
  odiC_Variable variable("U", res_VECTOR);
  EXPECT_THROW(odiC_ComplexDisplay{variable}, odiC_Exception);
  for (const Case& one : cases) {
    variable.pair = one.pair;
    for (int display = 0; display < 5; ++display) {
      const double wanted = one.shown[display];
      double shown = 0;
      odiC_ComplexDisplay(variable, static_cast<res_ComplexDisplayEnm>(display), kPi / 3)
          .Apply(std::span(&one.first, 1), std::span(&one.second, 1), std::span(&shown, 1));
      const bool isExact = display < 4 && std::fabs(wanted) < 1000 && wanted == std::round(wanted)
                           && one.second != 30; // at multiples of 90 degrees
      EXPECT_TRUE(std::isnan(wanted) ? std::isnan(shown)
                  : isExact          ? shown == wanted
                                     : std::fabs(shown - wanted) <= 1e-15 * std::fabs(one.first) + 2e-14)
          << one.first << " " << one.second << " " << display << ": " << shown;
    }
  }
}

TEST(odiC_Rows, PeaksOverTheCycleAreNeverExceeded) {
  for (const auto& [type, count] : kTypes)
    for (const res_PairEnm pair : {res_REAL_AND_IMAGINARY, res_MAGNITUDE_AND_PHASE}) {
      odiC_Variable variable("S", type);
      variable.pair = pair;
      variable.isEngineeringShear = true;
      for (const res_InvariantEnm invariant : odiC_InvariantsOf(variable)) {
        if (invariant != res_MISES && invariant != res_MAGNITUDE) {
          EXPECT_THROW(odiC_Peak(variable, invariant), odiC_Exception);
          continue;
        }
        constexpr std::size_t n = 20;
        std::vector<double> rows, first, second, peaks(n), angles(n), values(n);
        std::vector<Tensor> full;
        MakeRows(variable, 2 * n, rows, full);
        first.assign(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(rows.size() / 2));
        second.assign(rows.begin() + static_cast<std::ptrdiff_t>(rows.size() / 2), rows.end());
        odiC_Peak(variable, invariant).Apply(first, second, peaks, angles);
        const odiC_Invariant of(variable, invariant);
        std::vector<double> shown(first.size());
        for (std::size_t i = 0; i < n; ++i) {
          odiC_ComplexDisplay(variable, res_COMPLEX_VAL_AT_ANGLE, angles[i]).Apply(first, second, shown);
          of.Apply(shown, values);
          EXPECT_NEAR(values[i], peaks[i], 1e-12 * peaks[i]) << type;
        }
        for (int step = 0; step < 180; ++step) {
          odiC_ComplexDisplay(variable, res_COMPLEX_VAL_AT_ANGLE, step * kPi / 180)
              .Apply(first, second, shown);
          of.Apply(shown, values);
          for (std::size_t i = 0; i < n; ++i) EXPECT_LE(values[i], peaks[i] * (1 + 1e-14));
        }
      }
    }
}

TEST(odiC_Rows, ComponentsAreFoundByNameAndErrorsListWhatThereIs) {
  odiC_Variable s("S", res_TENSOR_3D_PLANAR), u("U", res_VECTOR), own("E", res_TENSOR), t("T", res_SCALAR),
      q("Q", res_QUATERNION_3D), principal("P", res_TENSOR);
  own.componentNames = {"E11", "E22", "E33", "E12", "E13", "E23"};
  principal.coordSystem = res_PRINCIPAL;
  const std::tuple<const odiC_Variable*, const char*, int> found[] = {
      {&s, "XY", 3},   {&s, "yx", 3}, {&u, "Z", 2}, {&own, "e12", 3},
      {&own, "yz", 5}, {&t, "", 0},   {&q, "W", 3}};
  for (const auto& [variable, name, index] : found)
    EXPECT_EQ(odiC_FindComponent(*variable, name), index) << name;
  const std::pair<std::function<void()>, const char*> refused[] = {
      {[&] { odiC_FindComponent(s, "xz"); }, "S has no component \"xz\"; did you mean xx, zz, xy?"},
      {[&] { odiC_FindComponent(u, "r"); }, "U has no component \"r\"; there is x, y, z"},
      {[&] { odiC_FindComponent(t, "x"); }, "T has one component, without a name"},
      {[&] { odiC_FindInvariant(u, "mises"); }, "U has no invariant \"mises\"; there is MAGNITUDE"},
      {[&] { odiC_FindInvariant(s, "misses"); }, "S has no invariant \"misses\"; did you mean MISES?"},
      {[&] { odiC_Invariant(q, res_MISES); }, "Q has no invariant \"MISES\"; there is none"},
      {[&] { odiC_Rotation{principal}; }, "P holds principal values, which cannot be rotated"},
      {[&] { odiC_Rotation{t}; }, "T is no vector or tensor: it has no other axes"},
  };
  for (const auto& [call, told] : refused) EXPECT_EQ(ThrownBy<odiC_Exception>(call), told);
  const std::pair<dtu_DatumCsysType, const char*> names[] = {{dtu_CARTESIAN, "xx yy zz xy xz yz x y z "},
                                                             {dtu_CYLINDRICAL, "rr tt zz rt rz tz r t z "},
                                                             {dtu_SPHERICAL, "rr tt pp rt rp tp r t p "}};
  for (const auto& [kind, wanted] : names) {
    std::ostringstream all;
    for (const odiC_Variable& variable : {odiC_Rotation(s).Result(kind), odiC_Rotation(u).Result(kind)})
      for (int k = 0; k < variable.NumComponents(); ++k) all << variable.ComponentName(k) << ' ';
    EXPECT_EQ(all.str(), wanted);
  }
  std::vector<double> rows(7), values(2);
  EXPECT_THROW(odiC_Invariant(s, res_MISES).Apply(rows, values), nex_AssertionException);
}
} // namespace
