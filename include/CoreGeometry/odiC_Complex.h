// odiC_Complex.h: real numbers of complex values
#pragma once

#include <CoreGeometry/odiC_Variable.h>
#include <memory>
#include <span>

struct odiC_RowForm;

/// What is shown of the values of a complex variable, R + i I, number by number. Magnitudes m and phases p (degrees) are
/// R = m cos p, I = m sin p, exact at multiples of 90 degrees.
///
///   REAL                   R
///   IMAGINARY              I
///   COMPLEX_MAGNITUDE      sqrt(R^2 + I^2)
///   COMPLEX_PHASE          the angle of (R, I) in degrees, above -180 up to 180; 0 for 0
///   COMPLEX_VAL_AT_ANGLE   R cos a - I sin a, for a time factor e^(iwt)
///
/// Units      the angle a is in radians.
/// Aliasing   the result may be either of the two.
/// Errors     odiC_Exception for a variable that is not complex; nex_AssertionException for spans of other lengths.
class CORE_GEOMETRY_API odiC_ComplexDisplay {
public:
  explicit odiC_ComplexDisplay(const odiC_Variable& variable,
                               res_ComplexDisplayEnm display = res_COMPLEX_VAL_AT_ANGLE, double angle = 0);

  /// Whether what is shown is again a vector or tensor. Magnitudes and phases of components are not: they have neither
  /// invariants nor other axes.
  bool KeepsType() const noexcept {
    return display_ != res_COMPLEX_MAGNITUDE && display_ != res_COMPLEX_PHASE;
  }
  /// The first and the second numbers of the same rows.
  void Apply(std::span<const float> first, std::span<const float> second, std::span<float> shown) const;
  void Apply(std::span<const double> first, std::span<const double> second, std::span<double> shown) const;

private:
  template<class T>
  void ApplyTo(std::span<const T> first, std::span<const T> second, std::span<T> shown) const;

  res_PairEnm pair_;
  res_ComplexDisplayEnm display_;
  double cos_, sin_;
};

/// Largest value over the cycle of MISES of a complex tensor, or MAGNITUDE of a complex vector or number. With q the
/// square as a form of two arguments, A = q(R, R), B = q(I, I) and C = q(R, I):
/// sqrt((A + B)/2 + sqrt(((A - B)/2)^2 + C^2)), at the angle 1/2 atan2(-2C, A - B).
///
/// Units      angles in radians.
/// Empty      a row with a number that is not finite gives not a number.
/// Errors     odiC_Exception for another invariant, or one that the variable does not have; else as odiC_ComplexDisplay.
class CORE_GEOMETRY_API odiC_Peak {
public:
  odiC_Peak(const odiC_Variable& variable, res_InvariantEnm invariant);

  /// One number for each row, and the angle at which it is reached when asked for.
  void Apply(std::span<const float> first, std::span<const float> second, std::span<float> peaks,
             std::span<float> angles = {}) const;
  void Apply(std::span<const double> first, std::span<const double> second, std::span<double> peaks,
             std::span<double> angles = {}) const;

private:
  template<class T>
  void ApplyTo(std::span<const T> first, std::span<const T> second, std::span<T> peaks,
               std::span<T> angles) const;

  std::shared_ptr<const odiC_RowForm> form_;
  res_PairEnm pair_;
  bool isMises_;
};
