#include "odiC_TurnVariable.h"

#include <CoreGeometry/odiC_Exception.h>
#include <algorithm>
#include <cmath>

namespace {
constexpr double kRounding = 1e-12;

double Determinant(const std::array<double, 9>& m) {
  return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6])
         + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

bool IsIdentity(const std::array<double, 9>& m) {
  for (std::size_t i = 0; i < 9; ++i)
    if (std::abs(m[i] - (i % 4 == 0 ? 1 : 0)) > kRounding) return false;
  return true;
}

/// Only changes signs.
bool IsOfSigns(const std::array<double, 9>& m) {
  for (std::size_t i = 0; i < 9; ++i)
    if (std::abs(std::abs(m[i]) - (i % 4 == 0 ? 1 : 0)) > kRounding) return false;
  return true;
}

/// x, y, z, w of a rotation, by the largest of its four squares (S. W. Shepperd, 1978).
std::array<double, 4> QuaternionOf(const std::array<double, 9>& m) {
  const double trace = m[0] + m[4] + m[8];
  const std::array<double, 4> squares{m[0], m[4], m[8], trace};
  const auto largest = static_cast<std::size_t>(std::ranges::max_element(squares) - squares.begin());
  const std::array<double, 3> differences{m[7] - m[5], m[2] - m[6], m[3] - m[1]};
  std::array<double, 4> q{};
  if (largest == 3) {
    q = {differences[0], differences[1], differences[2], 1 + trace};
  } else {
    const std::size_t i = largest, j = (i + 1) % 3, k = (i + 2) % 3;
    q[i] = 1 + 2 * m[4 * i] - trace;
    q[j] = m[3 * i + j] + m[3 * j + i];
    q[k] = m[3 * i + k] + m[3 * k + i];
    q[3] = differences[i];
  }
  const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
  for (double& part : q) part /= length;
  return q;
}

std::array<double, 4> Product(const std::array<double, 4>& a, const std::array<double, 4>& b) {
  return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
          a[3] * b[1] + a[1] * b[3] + a[2] * b[0] - a[0] * b[2],
          a[3] * b[2] + a[2] * b[3] + a[0] * b[1] - a[1] * b[0],
          a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}
} // namespace

odiC_TurnVariable::odiC_TurnVariable(const odiC_Variable& variable, std::span<const odiC_Image> images)
    : result_(variable) {
  const auto axes = images[0].axes.find(variable.axes);
  const bool isOfMesh = axes != images[0].axes.end();
  if (variable.coordSystem == res_USER_SPECIFIED && isOfMesh) result_.axes = axes->second;
  std::vector<Work> works;
  bool turns = false, mirrors = false;
  for (const odiC_Image& image : images) {
    Work work{image.turn, {}, Determinant(image.turn) < 0};
    std::array<double, 9> proper = image.turn;
    for (double& element : proper) element *= work.isMirror ? -1 : 1;
    work.quaternion = QuaternionOf(proper);
    turns |= !IsIdentity(image.turn);
    mirrors |= work.isMirror;
    works.push_back(work);
  }
  if (!turns) return;
  const bool isQuaternion = variable.dataType == res_QUATERNION_3D || variable.dataType == res_QUATERNION_2D;
  if (variable.dataType == res_QUATERNION_2D) {
    whyNot_ = "plane axes do not follow a turn";
  } else if (variable.coordSystem == res_USER_SPECIFIED) {
    if (mirrors || !isOfMesh)
      whyNot_ =
          "its axes " + variable.axes + (mirrors ? " cannot be mirrored" : " do not turn with the mesh");
  } else if (isQuaternion) {
    works_ = std::move(works);
  } else if (variable.coordSystem == res_LOCAL && mirrors) {
    std::vector<odiC_Image> flips(images.begin(), images.end());
    for (odiC_Image& image : flips)
      image.turn = {1, 0, 0, 0, 1, 0, 0, 0, Determinant(image.turn) < 0 ? -1.0 : 1.0};
    works_ = std::move(works);
    TakeSigns(flips);
  } else if (variable.coordSystem == res_GLOBAL
             && (variable.dataType == res_VECTOR || variable.dataType == res_MATRIX || variable.IsTensor())) {
    works_ = std::move(works);
    if (std::ranges::all_of(images, [](const odiC_Image& image) { return IsOfSigns(image.turn); })) {
      TakeSigns(images);
    } else {
      rotation_.emplace(variable);
      result_ = rotation_->Result();
    }
  }
}

bool odiC_TurnVariable::IsMirrored() const noexcept { return std::ranges::any_of(works_, &Work::isMirror); }

/// A component changes its sign as often as its axes do.
void odiC_TurnVariable::TakeSigns(std::span<const odiC_Image> images) {
  odiC_Variable plain = result_;
  plain.componentNames.clear();
  bool changes = false;
  for (const odiC_Image& image : images) {
    std::vector<double> signs;
    for (int k = 0; k < plain.NumComponents(); ++k) {
      double sign = 1;
      for (const char axis : plain.ComponentName(k))
        if (axis >= 'x' && axis <= 'z' && image.turn[4 * static_cast<std::size_t>(axis - 'x')] < 0)
          sign = -sign;
      signs.push_back(sign);
      changes |= sign < 0;
    }
    signs_.push_back(std::move(signs));
  }
  if (!changes) works_.clear();
}

template<class T> void odiC_TurnVariable::Turn(int image, std::span<const T> rows, std::span<T> out) const {
  const auto at = static_cast<std::size_t>(image);
  if (!signs_.empty()) {
    const std::vector<double>& signs = signs_[at];
    for (std::size_t i = 0; i < rows.size(); ++i) out[i] = signs[i % signs.size()] < 0 ? -rows[i] : rows[i];
  } else if (rotation_) {
    rotation_->ByMatrix(works_[at].matrix, rows, out);
  } else {
    const std::array<double, 4> halfTurnAboutThird{0, 0, 1, 0};
    for (std::size_t i = 0; i + 4 <= rows.size(); i += 4) {
      std::array<double, 4> q{};
      for (std::size_t k = 0; k < 4; ++k) q[k] = static_cast<double>(rows[i + k]);
      q = Product(works_[at].quaternion, q);
      if (works_[at].isMirror) q = Product(q, halfTurnAboutThird);
      for (std::size_t k = 0; k < 4; ++k) out[i + k] = static_cast<T>(q[k]);
    }
  }
}

template void odiC_TurnVariable::Turn(int, std::span<const float>, std::span<float>) const;
template void odiC_TurnVariable::Turn(int, std::span<const double>, std::span<double>) const;
