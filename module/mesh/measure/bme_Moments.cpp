#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <algorithm>
#include <cmath>

namespace {
using Vector = std::array<double, 3>;

constexpr std::size_t kPlaceOf[3][3] = {{0, 3, 4}, {3, 1, 5}, {4, 5, 2}}; // in xx, yy, zz, xy, xz, yz

/// The trace less the second moments.
bme_Tensor InertiaOf(const bme_Tensor& second) {
  const double trace = second[0][0] + second[1][1] + second[2][2];
  bme_Tensor inertia;
  for (std::size_t a = 0; a < 3; ++a)
    for (std::size_t b = 0; b < 3; ++b) inertia[a][b] = (a == b ? trace : 0) - second[a][b];
  return inertia;
}

/// Eigenvalues on the diagonal and eigenvectors in the columns, by cyclic Jacobi rotations (G. H. Golub,
/// C. F. Van Loan, Matrix Computations, section 8.5).
void Diagonalise(bme_Tensor& m, bme_Tensor& vectors) {
  vectors = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  for (int sweep = 0; sweep < 30; ++sweep) {
    double largest = 0, off = 0;
    for (std::size_t a = 0; a < 3; ++a)
      for (std::size_t b = 0; b < 3; ++b)
        (a == b ? largest : off) = std::max(a == b ? largest : off, std::abs(m[a][b]));
    if (off <= 1e-16 * largest) return;
    for (const auto& [p, q] : {std::array<std::size_t, 2>{0, 1}, {0, 2}, {1, 2}}) {
      if (m[p][q] == 0) continue;
      const double theta = (m[q][q] - m[p][p]) / (2 * m[p][q]);
      const double t = (theta < 0 ? -1 : 1) / (std::abs(theta) + std::hypot(theta, 1, 0));
      const double c = 1 / std::hypot(t, 1, 0), s = t * c;
      for (bme_Tensor* matrix : {&m, &vectors})
        for (Vector& row : *matrix) {
          const double x = row[p], y = row[q];
          row[p] = c * x - s * y;
          row[q] = s * x + c * y;
        }
      for (std::size_t k = 0; k < 3; ++k) {
        const double x = m[p][k], y = m[q][k];
        m[p][k] = c * x - s * y;
        m[q][k] = s * x + c * y;
      }
      m[p][q] = m[q][p] = 0;
    }
  }
}
} // namespace

void bme_Moments::Add(const shp_Moments& moments, double factor, double thickness) noexcept {
  signedTotal_.Add(moments.measure * factor);
  const double f = moments.measure < 0 ? -factor : factor;
  const double across = thickness * thickness / 12;
  total_.Add(moments.measure * f);
  for (std::size_t a = 0; a < 3; ++a) first_[a].Add(moments.first[a] * f);
  for (std::size_t k = 0; k < 6; ++k) second_[k].Add((moments.second[k] + across * moments.normals[k]) * f);
}

void bme_Moments::Add(const bme_Moments& others) noexcept {
  total_.Add(others.total_);
  signedTotal_.Add(others.signedTotal_);
  for (std::size_t a = 0; a < 3; ++a) first_[a].Add(others.first_[a]);
  for (std::size_t k = 0; k < 6; ++k) second_[k].Add(others.second_[k]);
}

template<class Moments, class Visit> void bme_Moments::ForEachSum(Moments& moments, Visit visit) {
  visit(moments.total_);
  visit(moments.signedTotal_);
  for (auto& sum : moments.first_) visit(sum);
  for (auto& sum : moments.second_) visit(sum);
}

void bme_Moments::GetWords(std::span<std::int64_t, kNumWords> words) const noexcept {
  auto* next = words.data();
  ForEachSum(*this, [&](const gsl_ExactSum& sum) { next = std::ranges::copy(sum.Words(), next).out; });
}

void bme_Moments::SetWords(std::span<const std::int64_t, kNumWords> words) noexcept {
  std::size_t next = 0;
  ForEachSum(*this, [&](gsl_ExactSum& sum) {
    constexpr std::size_t kWords = gsl_ExactSum::kNumWords;
    sum = gsl_ExactSum::FromWords(std::span<const std::int64_t, kWords>(words.data() + next, kWords));
    next += kWords;
  });
}

bool bme_Moments::GetCentre(gsl_Point& centre) const noexcept {
  const double total = Total();
  if (total == 0) return false;
  centre = gsl_Point(reference_[0] + first_[0].Value() / total, reference_[1] + first_[1].Value() / total,
                     reference_[2] + first_[2].Value() / total);
  return true;
}

bme_Tensor bme_Moments::InertiaAbout(const gsl_Point& point) const noexcept {
  bme_Tensor second;
  Vector d;
  for (unsigned a = 0; a < 3; ++a) d[a] = reference_[a] - point[a];
  for (std::size_t a = 0; a < 3; ++a)
    for (std::size_t b = 0; b < 3; ++b)
      second[a][b] = second_[kPlaceOf[a][b]].Value() + first_[a].Value() * d[b] + first_[b].Value() * d[a]
                     + Total() * d[a] * d[b];
  return InertiaOf(second);
}

bool bme_Moments::GetInertiaAboutCentre(bme_Tensor& inertia) const noexcept {
  const double total = Total();
  if (total == 0) return false;
  bme_Tensor second;
  for (std::size_t a = 0; a < 3; ++a)
    for (std::size_t b = 0; b < 3; ++b)
      second[a][b] = second_[kPlaceOf[a][b]].Value() - first_[a].Value() * first_[b].Value() / total;
  inertia = InertiaOf(second);
  return true;
}

bool bme_Moments::GetPrincipal(std::array<double, 3>& moments,
                               std::array<gsl_Vector, 3>& axes) const noexcept {
  bme_Tensor inertia, vectors;
  if (!GetInertiaAboutCentre(inertia)) return false;
  Diagonalise(inertia, vectors);
  std::array<std::size_t, 3> order = {0, 1, 2};
  std::ranges::stable_sort(order, {}, [&](std::size_t k) { return inertia[k][k]; });
  for (std::size_t k = 0; k < 3; ++k) {
    moments[k] = inertia[order[k]][order[k]];
    Vector v;
    for (std::size_t a = 0; a < 3; ++a) v[a] = vectors[a][order[k]];
    const double largest = *std::ranges::max_element(v, {}, [](double x) { return std::abs(x); });
    const double sign = largest < 0 ? -1 : 1;
    axes[k] = gsl_Vector(sign * v[0], sign * v[1], sign * v[2]);
  }
  axes[2] = axes[0].CrossProduct(axes[1]);
  return true;
}

bme_Moments bme_Moments::In(const gsl_Matrix& frame) const noexcept {
  // rows of the inverse rotation are the columns of the rotation
  const auto turn = [&](const auto& value) {
    Vector turned{};
    for (unsigned row = 0; row < 3; ++row)
      for (unsigned k = 0; k < 3; ++k) turned[row] += frame.Element(k, row) * value(k);
    return turned;
  };
  bme_Moments result(turn([&](unsigned k) { return reference_[k] - frame.Element(k, 3); }));
  result.total_ = total_;
  result.signedTotal_ = signedTotal_;
  const Vector first = turn([&](unsigned k) { return first_[k].Value(); });
  bme_Tensor half; // the second moments with one index turned
  for (std::size_t a = 0; a < 3; ++a)
    half[a] = turn([&](unsigned k) { return second_[kPlaceOf[a][k]].Value(); });
  for (std::size_t b = 0; b < 3; ++b) {
    result.first_[b].Add(first[b]);
    const Vector column = turn([&](unsigned k) { return half[k][b]; });
    for (std::size_t a = 0; a <= b; ++a) result.second_[kPlaceOf[a][b]].Add(column[a]);
  }
  return result;
}
