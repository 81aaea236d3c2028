#include <CoreGeometry/gsl_LinearEqnLUDSolver.h>

#include <algorithm>
#include <cmath>

namespace {
constexpr double kSmallestPivot = 1e-14;
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

bool gsl_LinearEqnLUDSolver::Factorise() {
  std::vector<double> smallest(size_, 0.0); // pivot of each column that still counts
  for (unsigned i = 0; i < size_; ++i)
    for (unsigned j = 0; j < size_; ++j)
      smallest[j] = std::max(smallest[j], std::fabs(At(i, j)) * kSmallestPivot);
  swap_.resize(size_);
  for (unsigned k = 0; k < size_; ++k) {
    unsigned pivot = k;
    for (unsigned i = k + 1; i < size_; ++i)
      if (std::fabs(At(i, k)) > std::fabs(At(pivot, k))) pivot = i;
    const double largest = std::fabs(At(pivot, k));
    if (largest == 0 || !(largest >= smallest[k]) || !std::isfinite(largest)) return false;
    swap_[k] = pivot;
    if (pivot != k) std::swap_ranges(&At(k, 0), &At(k, 0) + size_, &At(pivot, 0));
    for (unsigned i = k + 1; i < size_; ++i) {
      const double factor = At(i, k) /= At(k, k);
      for (unsigned j = k + 1; j < size_; ++j) At(i, j) -= factor * At(k, j);
    }
  }
  return true;
}

bool gsl_LinearEqnLUDSolver::Solve(const double* b, double* x) {
  if (state_ == State::Matrix) state_ = Factorise() ? State::Factorised : State::Singular;
  if (state_ != State::Factorised) return false;
  if (x != b) std::copy_n(b, size_, x);
  for (unsigned i = 0; i < size_; ++i) std::swap(x[i], x[swap_[i]]);
  for (unsigned i = 0; i < size_; ++i)
    for (unsigned j = 0; j < i; ++j) x[i] -= At(i, j) * x[j];
  for (unsigned i = size_; i-- > 0;) {
    for (unsigned j = i + 1; j < size_; ++j) x[i] -= At(i, j) * x[j];
    x[i] /= At(i, i);
  }
  return true;
}
