#include "gsl_FlatArrays.h"

#include "gsl_TestGeometry.h"
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_Plane.h>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kSpecial[] = {
    0.0, -0.0, 1e-45, 1e38, -1e38, 1e-310, kInfinity, -kInfinity, std::numeric_limits<double>::quiet_NaN()};

template<class T> std::vector<T> Coordinates(std::size_t n, bool special, unsigned seed) {
  RandomGeometry random(seed);
  std::vector<T> xyz(3 * n);
  for (std::size_t i = 0; i < xyz.size(); ++i)
    xyz[i] = static_cast<T>(special && random.Real(0, 1) < 0.3
                                ? kSpecial[static_cast<std::size_t>(random.Real(0, std::size(kSpecial)))]
                                : random.Real(-1000, 1000));
  return xyz;
}

/// Bits, all NaN alike: the sign of a NaN that arithmetic makes is the compiler's choice of operand order.
template<class T> auto Bits(T value) {
  if constexpr (sizeof(T) == 4)
    return std::isnan(value) ? 0x7fc00000U : std::bit_cast<std::uint32_t>(value);
  else
    return std::isnan(value) ? 0x7ff8000000000000ULL : std::bit_cast<std::uint64_t>(value);
}

std::vector<gsl_Body> Bodies() {
  std::vector<gsl_Body> bodies;
  for (int body = 0; body <= static_cast<int>(gsl_BestBody()); ++body)
    bodies.push_back(static_cast<gsl_Body>(body));
  return bodies;
}

template<class T> void MovesLikePoints(std::size_t n, bool special) {
  const std::vector<T> xyz = Coordinates<T>(n, special, 20);
  const gsl_Matrix m = RandomGeometry(21).Rigid();
  double elements[4][4];
  m.AsArray(elements);
  std::vector<T> whole = xyz;
  m.Transform(std::span(whole));
  for (const gsl_Body body : Bodies()) {
    std::vector<T> moved = xyz;
    gsl_MoveTriples(body, elements, moved.data(), n);
    for (std::size_t i = 0; i < n; ++i) {
      gsl_Point p(xyz[3 * i], xyz[3 * i + 1], xyz[3 * i + 2]);
      p.Transform(m);
      for (unsigned k = 0; k < 3; ++k) {
        ASSERT_EQ(Bits(moved[3 * i + k]), Bits(static_cast<T>(p[k])));
        ASSERT_EQ(Bits(whole[3 * i + k]), Bits(static_cast<T>(p[k])));
      }
    }
  }
}

template<class T> void BoxesLikePoints(std::size_t n, bool special, unsigned seed) {
  const std::vector<T> xyz = Coordinates<T>(n, special, seed);
  for (const bool started : {false, true}) {
    gsl_BBox one, all;
    if (started) one.Add(gsl_Point(-0.0, 5000, 0.1)), all.Add(gsl_Point(-0.0, 5000, 0.1));
    for (std::size_t i = 0; i < n; ++i) one.Add(gsl_Point(xyz[3 * i], xyz[3 * i + 1], xyz[3 * i + 2]));
    all.Add(std::span<const T>(xyz));
    for (unsigned k = 0; k < 3; ++k) {
      ASSERT_EQ(Bits(all.Min()[k]), Bits(one.Min()[k]));
      ASSERT_EQ(Bits(all.Max()[k]), Bits(one.Max()[k]));
    }
  }
  for (const gsl_Body body : Bodies()) {
    T min[3] = {1, 1, 1}, max[3] = {1, 1, 1}, min0[3] = {1, 1, 1}, max0[3] = {1, 1, 1};
    gsl_WidenRange(gsl_Body::Plain, xyz.data(), n, min0, max0);
    gsl_WidenRange(body, xyz.data(), n, min, max);
    for (unsigned k = 0; k < 3; ++k) ASSERT_TRUE(min[k] == min0[k] && max[k] == max0[k]);
  }
}

template<class T> void MeasuresLikePoints(std::size_t n, bool special) {
  const std::vector<T> xyz = Coordinates<T>(n, special, 23);
  const gsl_Plane plane(RandomGeometry(24).Point(), RandomGeometry(25).Vector());
  std::vector<double> distances(n + 1, 7.0);
  plane.GetSignedDistances(std::span<const T>(xyz), distances);
  EXPECT_EQ(distances[n], 7.0);
  std::vector<double> plain(n);
  const gsl_Point& p = plane.PointOn();
  const gsl_Vector& v = plane.Direction();
  gsl_PlaneDistances(gsl_Body::Plain, {p[0], p[1], p[2]}, {v[0], v[1], v[2]}, v.Magnitude(), xyz.data(), n,
                     plain.data());
  for (std::size_t i = 0; i < n; ++i) {
    const double expected = gsl_Point(xyz[3 * i], xyz[3 * i + 1], xyz[3 * i + 2]).GetSignedDistance(plane);
    ASSERT_EQ(Bits(distances[i]), Bits(expected));
    ASSERT_EQ(Bits(plain[i]), Bits(expected));
  }
}
} // namespace

TEST(gsl_FlatArrays, GiveTheBitsOfThePointForms) {
  for (const bool special : {false, true})
    for (const std::size_t n : {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33, 1000}) {
      MovesLikePoints<float>(n, special);
      MovesLikePoints<double>(n, special);
      for (unsigned seed = 100; seed < 110; ++seed) {
        BoxesLikePoints<float>(n, special, seed);
        BoxesLikePoints<double>(n, special, seed);
      }
      MeasuresLikePoints<float>(n, special);
      MeasuresLikePoints<double>(n, special);
    }
}

// A float hides most of what another order of the operations does; where all cancels it shows.
TEST(gsl_FlatArrays, AddInTheOrderOfThePointForms) {
  RandomGeometry random(26);
  for (int trial = 0; trial < 20; ++trial) {
    double m[4][4] = {{}, {}, {}, {0, 0, 0, 1}};
    const gsl_Point turned = random.Point();
    float c[3];
    for (unsigned i = 0; i < 3; ++i) c[i] = static_cast<float>(turned[i]);
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) m[i][j] = random.Real(-1, 1);
      m[i][3] = -(m[i][0] * c[0] + m[i][1] * c[1] + m[i][2] * c[2]);
    }
    for (const gsl_Body body : Bodies()) {
      float xyz[3 * 17];
      for (int i = 0; i < 3 * 17; ++i) xyz[i] = c[i % 3];
      gsl_MoveTriples(body, m, xyz, 17);
      for (const float x : xyz) ASSERT_EQ(x, 0.0F);
    }
  }
}

TEST(gsl_FlatArrays, LeaveARestAloneAndSkipTheIdentity) {
  std::vector<float> xyz = {1, 2, 3, 4, 5};
  gsl_Matrix shift;
  shift.SetTranslation({10, 0, 0});
  shift.Transform(std::span(xyz));
  EXPECT_EQ(xyz, (std::vector<float>{11, 2, 3, 4, 5}));
  gsl_BBox box;
  box.Add(std::span<const float>(xyz));
  EXPECT_EQ(box.Size(), 0);
  std::vector<double> zeros = {-0.0, -0.0, -0.0};
  gsl_Matrix().Transform(std::span(zeros));
  EXPECT_TRUE(std::signbit(zeros[0])); // as a point would: nothing is computed
  double distance[1];
  gsl_Plane().GetSignedDistances(std::vector<double>{1, 2, 3, 4, 5, 6}, distance); // room for one
  EXPECT_EQ(distance[0], 3);
}
