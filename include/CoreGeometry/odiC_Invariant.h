// odiC_Invariant.h: one number that does not depend on the axes, for each row of a variable
#pragma once

#include <CoreGeometry/odiC_Variable.h>
#include <memory>
#include <span>

struct odiC_RowForm;

/// The invariants that a variable has: of tensors and symmetric matrices all but the magnitude, those in the plane of
/// the stored axes for planar and surface types only; of vectors and numbers the magnitude; of others none.
CORE_GEOMETRY_API std::vector<res_InvariantEnm> odiC_InvariantsOf(const odiC_Variable& variable);
/// By its text in any case ("mises"). odiC_Exception for one that the variable does not have, with those it has.
CORE_GEOMETRY_API res_InvariantEnm odiC_FindInvariant(const odiC_Variable& variable, const cow_String& text);

/// An invariant of the rows of one variable, whose components stand side by side. With s the tensor and d = s - tr(s)/3:
///
///   MISES          sqrt(1/2 [(xx-yy)^2 + (yy-zz)^2 + (zz-xx)^2] + 3 (xy^2 + xz^2 + yz^2))
///   TRESCA         MAX_PRINCIPAL - MIN_PRINCIPAL
///   PRESS          -(xx + yy + zz) / 3
///   INV3           cube root of 27/2 det d: the stress of a bar in tension
///   MAXIMUM_IN-PLANE_PRINCIPAL, MINIMUM_... (xx + yy)/2 +- sqrt(((xx - yy)/2)^2 + xy^2)
///   OUT-OF-PLANE_PRINCIPAL zz
///   MAGNITUDE      sqrt(x^2 + y^2 + z^2) of a vector, the absolute value of a number
///
/// Components that a type does not have are 0; engineering shears are halved.
/// Empty      a row with a number that is not finite gives not a number.
/// Accuracy   computed in double, rounded once; the same bits on every processor.
/// Errors     odiC_Exception for an invariant that the variable does not have, with those it has;
///            nex_AssertionException when numbers and rows do not fit.
class CORE_GEOMETRY_API odiC_Invariant {
public:
  odiC_Invariant(const odiC_Variable& variable, res_InvariantEnm invariant);

  /// One number for each row.
  void Apply(std::span<const float> rows, std::span<float> values) const;
  void Apply(std::span<const double> rows, std::span<double> values) const;

private:
  template<class T> void ApplyTo(std::span<const T> rows, std::span<T> values) const;

  std::shared_ptr<const odiC_RowForm> form_;
  int work_, which_;
};

/// Eigenvalues of tensors (xx, yy, zz, xy, xz, yz each), descending, three for each.
///
/// Accuracy   2e-15 of the largest component.
/// Errors     as odiC_Invariant; a tensor with a component that is not finite has three that are not numbers.
CORE_GEOMETRY_API void odiC_PrincipalValues(std::span<const double> tensors, std::span<double> values);
/// With their unit vectors, nine numbers for each tensor: three rows in the order of the values, right-handed.
CORE_GEOMETRY_API void odiC_PrincipalAxes(std::span<const double> tensors, std::span<double> values,
                                          std::span<double> axes);
