#include <CoreGeometry/gsl_LinearEqnLUDSolver.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace {
constexpr double kNoise = 8; ///< times n eps: what rounding may make of a singular matrix
}

void gsl_LinearEqnLUDSolver::SetMatrix(const double* const* a, unsigned n) {
  lu_.clear();
  swap_.clear();
  size_ = 0;
  state_ = State::NoMatrix;
  if (!a || n == 0 || std::find(a, a + n, nullptr) != a + n) return;
  lu_.reserve(std::size_t{n} * n);
  for (unsigned i = 0; i < n; ++i) lu_.insert(lu_.end(), a[i], a[i] + n);
  size_ = n;
  state_ = State::Matrix;
}

// By powers of two, which are exact: the largest element of each row becomes 1 to 2.
bool gsl_LinearEqnLUDSolver::ScaleRows() {
  rowScale_.assign(size_, 0);
  for (unsigned i = 0; i < size_; ++i) {
    const std::span row(&At(i, 0), size_);
    double largest = 0;
    for (const double element : row) {
      if (!std::isfinite(element)) return false;
      largest = std::max(largest, std::fabs(element));
    }
    if (largest == 0) return false;
    rowScale_[i] = std::ilogb(largest);
    for (double& element : row) element = std::scalbn(element, -rowScale_[i]);
  }
  return true;
}

bool gsl_LinearEqnLUDSolver::Factorise() {
  if (!ScaleRows()) return false;
  swap_.resize(size_);
  for (unsigned k = 0; k < size_; ++k) {
    unsigned pivot = k;
    for (unsigned i = k + 1; i < size_; ++i)
      if (std::fabs(At(i, k)) > std::fabs(At(pivot, k))) pivot = i;
    const double largest = std::fabs(At(pivot, k));
    if (largest == 0 || !std::isfinite(largest)) return false;
    swap_[k] = pivot;
    if (pivot != k) std::swap_ranges(&At(k, 0), &At(k, 0) + size_, &At(pivot, 0));
    for (unsigned i = k + 1; i < size_; ++i) {
      const double factor = At(i, k) /= At(k, k);
      for (unsigned j = k + 1; j < size_; ++j) At(i, j) -= factor * At(k, j);
    }
  }
  return !IsNearSingular();
}

void gsl_LinearEqnLUDSolver::Substitute(double* x) const {
  for (unsigned i = 0; i < size_; ++i)
    for (unsigned j = 0; j < i; ++j) x[i] -= At(i, j) * x[j];
  for (unsigned i = size_; i-- > 0;) {
    for (unsigned j = i + 1; j < size_; ++j) x[i] -= At(i, j) * x[j];
    x[i] /= At(i, i);
  }
}

// The factors are those of a matrix that differs in each column by a few eps of the column's largest element
// in U (Higham, "Accuracy and Stability of Numerical Algorithms", theorem 9.3: the multipliers are at most
// 1). With these columns made equal the inverse of a singular matrix has a norm of 1 / (n eps) or more. Two
// steps of inverse iteration find it.
bool gsl_LinearEqnLUDSolver::IsNearSingular() const {
  std::vector<double> column(size_, 0.0), x(size_);
  for (unsigned j = 0; j < size_; ++j)
    for (unsigned i = 0; i <= j; ++i) column[j] = std::max(column[j], std::fabs(At(i, j)));
  const auto length = [&x] {
    double squared = 0;
    for (const double value : x) squared += value * value;
    return std::sqrt(squared);
  };
  for (unsigned i = 0; i < size_; ++i) // at right angles to nothing simple
    x[i] = (i % 2 == 0 ? 1 : -1) * (1 + std::fmod(0.6180339887 * (i + 1), 1.0));
  Substitute(x.data());
  for (unsigned j = 0; j < size_; ++j) x[j] *= column[j];
  const double first = length();
  for (unsigned j = 0; j < size_; ++j) x[j] *= column[j] / first;
  for (unsigned i = 0; i < size_; ++i) { // the transposed factors
    for (unsigned j = 0; j < i; ++j) x[i] -= At(j, i) * x[j];
    x[i] /= At(i, i);
  }
  for (unsigned i = size_; i-- > 0;)
    for (unsigned j = i + 1; j < size_; ++j) x[i] -= At(j, i) * x[j];
  return !(length() * kNoise * size_ * std::numeric_limits<double>::epsilon() < 1);
}

bool gsl_LinearEqnLUDSolver::Solve(const double* b, double* x) {
  if (state_ == State::Matrix) state_ = Factorise() ? State::Factorised : State::Singular;
  if (state_ != State::Factorised) return false;
  for (unsigned i = 0; i < size_; ++i) x[i] = std::scalbn(b[i], -rowScale_[i]);
  for (unsigned i = 0; i < size_; ++i) std::swap(x[i], x[swap_[i]]);
  Substitute(x);
  return true;
}
