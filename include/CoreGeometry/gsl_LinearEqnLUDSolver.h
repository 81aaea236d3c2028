// gsl_LinearEqnLUDSolver.h: dense linear systems
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <vector>

/// Solves A x = b by LU factorisation with partial pivoting. Rows may differ in magnitude: they are scaled
/// first.
///
/// Tolerance  singular: closer to a singular matrix than the rounding error of the factorisation, which is 8
///            n times 2.2e-16 times the growth of the elements in it; or not finite.
/// Errors     none: Solve returns false for a singular matrix, and while no matrix is set.
/// Cost       the first Solve after SetMatrix factorises, O(n cubed); each one substitutes, O(n squared).
/// Threads    a value; the first Solve changes it.
class CORE_GEOMETRY_API gsl_LinearEqnLUDSolver {
public:
  /// Copies the n x n matrix, given by pointers to its rows, in place of the previous one. After a null
  /// pointer or n = 0 there is no matrix.
  void SetMatrix(const double* const* a, unsigned n);

  /// b is not changed; x may be b. x is untouched when the result is false.
  bool Solve(const double* b, double* x);

private:
  enum class State { NoMatrix, Matrix, Factorised, Singular };

  bool ScaleRows();
  bool Factorise();
  bool IsNearSingular() const;
  void Substitute(double* x) const;
  double& At(unsigned row, unsigned column) { return lu_[std::size_t{row} * size_ + column]; }
  double At(unsigned row, unsigned column) const { return lu_[std::size_t{row} * size_ + column]; }

  std::vector<double> lu_;     ///< L below the diagonal (its own is 1), U on and above it
  std::vector<unsigned> swap_; ///< row exchanged with row i at step i
  std::vector<int> rowScale_;  ///< exponents of the powers of two that the rows were divided by
  unsigned size_ = 0;
  State state_ = State::NoMatrix;
};
