#include <CoreGeometry/gsl_Matrix.h>

#include "gsl_FlatArrays.h"
#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>
#include <cmath>
#include <cstring>

namespace {
constexpr double kSameElement = 0.001;
constexpr double kIdentityLow = 0.99999999, kIdentityHigh = 1.00000001, kIdentityZero = 1e-8;
} // namespace

gsl_Matrix::gsl_Matrix(const double (*elements)[4]) noexcept : identity_(kUnknown) {
  std::memcpy(m_, elements, sizeof m_);
}

void gsl_Matrix::AsArray(double (*elements)[4]) const noexcept { std::memcpy(elements, m_, sizeof m_); }

gsl_Vector gsl_Matrix::Column(unsigned i) const noexcept { return {m_[0][i], m_[1][i], m_[2][i]}; }

void gsl_Matrix::GetTranslation(gsl_Vector& translation) const noexcept { translation = Column(3); }
gsl_Point gsl_Matrix::NewOrigin() const noexcept { return {m_[0][3], m_[1][3], m_[2][3]}; }
gsl_Vector gsl_Matrix::NewXAxis() const noexcept { return Column(0); }
gsl_Vector gsl_Matrix::NewYAxis() const noexcept { return Column(1); }
gsl_Vector gsl_Matrix::NewZAxis() const noexcept { return Column(2); }

void gsl_Matrix::GetRotationAngles(double& x, double& y, double& z) const noexcept {
  const double cosine = std::hypot(m_[0][0], m_[1][0], 0);
  y = std::atan2(-m_[2][0], cosine);
  // at a right angle only z - x or z + x is known
  const bool locked = cosine < gsl_RelTol();
  x = locked ? 0.0 : std::atan2(m_[2][1], m_[2][2]);
  z = locked ? std::atan2(-m_[0][1], m_[1][1]) : std::atan2(m_[1][0], m_[0][0]);
}

void gsl_Matrix::GetAxisRotation(gsl_Point& point, gsl_Vector& axis, double& angle) const noexcept {
  float q[3], w; // single precision, deliberately
  const double trace = m_[0][0] + m_[1][1] + m_[2][2];
  if (trace >= 0) {
    const double r = std::sqrt(trace + m_[3][3]), half = 0.5 / r;
    w = static_cast<float>(r / 2);
    q[0] = static_cast<float>((m_[2][1] - m_[1][2]) * half);
    q[1] = static_cast<float>((m_[0][2] - m_[2][0]) * half);
    q[2] = static_cast<float>((m_[1][0] - m_[0][1]) * half);
  } else {
    unsigned i = m_[1][1] > m_[0][0] ? 1 : 0;
    if (m_[2][2] > m_[i][i]) i = 2;
    const unsigned j = (i + 1) % 3, k = (i + 2) % 3;
    const double r = std::sqrt(m_[i][i] - (m_[j][j] + m_[k][k]) + m_[3][3]), half = 0.5 / r;
    q[i] = static_cast<float>(r / 2);
    q[j] = static_cast<float>((m_[i][j] + m_[j][i]) * half);
    q[k] = static_cast<float>((m_[i][k] + m_[k][i]) * half);
    w = static_cast<float>((m_[k][j] - m_[j][k]) * half);
  }
  if (m_[3][3] != 1) {
    const auto scale = static_cast<float>(1 / std::sqrt(m_[3][3]));
    for (float& component : q) component *= scale;
    w *= scale;
  }
  const float n = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2]);
  angle = 2 * std::atan2(static_cast<double>(n), static_cast<double>(w));
  axis = gsl_Vector(0, 0, 0);
  if (angle > gsl_RelTol()) axis = gsl_Vector(q[0], q[1], q[2]) * (1.0 / n);
  point = NewOrigin();
}

gsl_Matrix gsl_Matrix::InverseRigidTransform() const noexcept {
  gsl_Matrix inverse;
  if (identity_ == kIdentity) return inverse;
  for (unsigned i = 0; i < 3; ++i) {
    for (unsigned j = 0; j < 3; ++j) inverse.m_[i][j] = m_[j][i];
    inverse.m_[i][3] = 0.0 - (m_[0][i] * m_[0][3] + m_[1][i] * m_[1][3] + m_[2][i] * m_[2][3]);
  }
  inverse.identity_ = kUnknown;
  return inverse;
}

bool gsl_Matrix::operator==(const gsl_Matrix& other) const noexcept {
  if (this == &other) return true;
  for (unsigned i = 0; i < 4; ++i)
    for (unsigned j = 0; j < 4; ++j)
      if (!(std::fabs(m_[i][j] - other.m_[i][j]) <= kSameElement)) return false;
  return true;
}

void gsl_Matrix::Transform(gsl_Point& p) const noexcept {
  if (identity_ == kIdentity) return;
  const double x = p[0], y = p[1], z = p[2];
  for (unsigned i = 0; i < 3; ++i) p[i] = m_[i][0] * x + m_[i][1] * y + m_[i][2] * z + m_[i][3];
}

void gsl_Matrix::Transform(std::span<float> xyz) const noexcept {
  if (identity_ != kIdentity) gsl_MoveTriples(gsl_BestBody(), m_, xyz.data(), xyz.size() / 3);
}

void gsl_Matrix::Transform(std::span<double> xyz) const noexcept {
  if (identity_ != kIdentity) gsl_MoveTriples(gsl_BestBody(), m_, xyz.data(), xyz.size() / 3);
}

void gsl_Matrix::Transform(gsl_Vector& v) const noexcept {
  if (identity_ == kIdentity) return;
  const auto row = [&](unsigned i) { return m_[i][0] * v[0] + m_[i][1] * v[1] + m_[i][2] * v[2]; };
  v = gsl_Vector(row(0), row(1), row(2));
}

void gsl_Matrix::FillIdentity() noexcept { *this = gsl_Matrix(); }

void gsl_Matrix::SetTranslation(const gsl_Vector& translation) noexcept { SetColumn(3, translation); }

void gsl_Matrix::SetRow(unsigned i, const gsl_Vector& v) noexcept {
  for (unsigned j = 0; j < 3; ++j) m_[i & 3][j] = v[j];
  identity_ = kUnknown;
}

void gsl_Matrix::SetColumn(unsigned i, const gsl_Vector& v) noexcept {
  for (unsigned j = 0; j < 3; ++j) m_[j][i & 3] = v[j];
  identity_ = kUnknown;
}

void gsl_Matrix::SetRotationVectors(const gsl_Vector& x, const gsl_Vector& y, const gsl_Vector& z) noexcept {
  SetColumn(0, x.UnitCopy());
  SetColumn(1, y.UnitCopy());
  SetColumn(2, z.UnitCopy());
}

void gsl_Matrix::Concatenate(const gsl_Matrix& next) noexcept {
  double product[4][4] = {};
  for (unsigned i = 0; i < 4; ++i)
    for (unsigned j = 0; j < 4; ++j)
      for (unsigned k = 0; k < 4; ++k) product[i][j] += next.m_[i][k] * m_[k][j];
  *this = gsl_Matrix(product);
}

void gsl_Matrix::AxisRotation(const gsl_Point& p, const gsl_Vector& axis, double angle) noexcept {
  FillIdentity();
  gsl_Vector unit = axis;
  if (!unit.Normalize()) return;
  const double x = unit[0], y = unit[1], z = unit[2];
  const double c = std::cos(angle), s = std::sin(angle), d = 1 - c;
  gsl_Matrix rotation, back;
  rotation.SetRow(0, {(1 - x * x) * c + x * x, x * y * d - z * s, x * z * d + y * s});
  rotation.SetRow(1, {x * y * d + z * s, (1 - y * y) * c + y * y, y * z * d - x * s});
  rotation.SetRow(2, {x * z * d - y * s, y * z * d + x * s, (1 - z * z) * c + z * z});
  back.SetTranslation({p[0], p[1], p[2]});
  SetTranslation({-p[0], -p[1], -p[2]});
  Concatenate(rotation);
  Concatenate(back);
}

bool gsl_Matrix::IsIdentity() noexcept {
  if (identity_ != kUnknown) return identity_ == kIdentity;
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 4; ++j) {
      const double element = m_[i][j];
      const bool within = i == j ? element >= kIdentityLow && element <= kIdentityHigh
                                 : element >= -kIdentityZero && element <= kIdentityZero;
      if (!within) {
        identity_ = kNotIdentity;
        return false;
      }
    }
  FillIdentity(); // the fourth row with it
  return true;
}
