// gsl_Vector.h: direction with a cached length
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/aio_ostream.h>
#include <cmath>

class gsl_Matrix;
class gsl_Plane;
class gsl_Point;

/// Direction in model space that carries its own length.
///
/// Units      model length; angles in radians.
/// Empty      the default is the unit z vector, not the zero vector.
/// Tolerance  tol and rtol stand for gsl_Util's linear and relative tolerance.
/// Errors     none: a vector shorter than tol cannot be normalised, which the result tells. The length is
///            right for every finite vector whose length is finite; products of components beyond 1e154 may
///            overflow to infinity or NaN. With a NaN component SameDirection and IsParallel are decided by
///            the other components, Normalize and AngleBetween are true and give NaN, AngleWith is NaN; every
///            other test is false.
/// Threads    a value: concurrent reads are safe, and copies are independent.
class CORE_GEOMETRY_API gsl_Vector {
public:
  gsl_Vector() noexcept = default;
  gsl_Vector(double x, double y, double z) noexcept : x_(x), y_(y), z_(z), magnitude_(Length(x, y, z)) {}
  gsl_Vector(const gsl_Point& from, const gsl_Point& to) noexcept;
  /// Unit normal of three points, right-handed in their order; the zero vector when they are colinear:
  /// abs(e1) * rtol * abs(e2) >= abs(e1 x e2). A relative test, so points 1e-8 apart may have a normal.
  gsl_Vector(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3) noexcept;

  // ask
  /// 0 gives x, 1 gives y, anything else z.
  double operator[](unsigned i) const noexcept { return i == 0 ? x_ : i == 1 ? y_ : z_; }
  double Magnitude() const noexcept { return magnitude_; }
  double DotProduct(const gsl_Vector& b) const noexcept { return x_ * b.x_ + y_ * b.y_ + z_ * b.z_; }
  gsl_Vector CrossProduct(const gsl_Vector& b) const noexcept {
    return {y_ * b.z_ - z_ * b.y_, z_ * b.x_ - x_ * b.z_, x_ * b.y_ - y_ * b.x_};
  }
  gsl_Vector operator+(const gsl_Vector& b) const noexcept { return {x_ + b.x_, y_ + b.y_, z_ + b.z_}; }
  gsl_Vector operator-(const gsl_Vector& b) const noexcept { return {x_ - b.x_, y_ - b.y_, z_ - b.z_}; }
  gsl_Vector operator*(double s) const noexcept { return {x_ * s, y_ * s, z_ * s}; }
  gsl_Vector ScaledCopy(double s) const noexcept { return *this * s; }
  /// The zero vector when shorter than tol.
  gsl_Vector NormalizedCopy() const noexcept;
  /// Components over the magnitude however short the vector is; the zero vector when the magnitude is 0.
  gsl_Vector UnitCopy() const noexcept;

  /// abs(this - b) < tol.
  bool operator==(const gsl_Vector& b) const noexcept;
  /// The unit components agree within tol. Two zero vectors agree.
  bool SameDirection(const gsl_Vector& b, double tol) const noexcept;
  /// SameDirection with b or with its opposite.
  bool IsParallel(const gsl_Vector& b, double tol) const noexcept;
  /// abs(this . b) < rtol * abs(this) * abs(b); a zero vector is orthogonal to nothing.
  bool IsOrthogonal(const gsl_Vector& b) const noexcept;
  /// The parallel test of lines and planes: abs(this x b) < rtol * abs(this) * abs(b); a zero vector is
  /// parallel to nothing.
  bool IsOn(const gsl_Vector& b) const noexcept;

  gsl_Vector AnyOrthogonalUnit() const noexcept;
  /// Component of the coordinate axis that lies closest to the plane normal to this vector, within that
  /// plane; scaled by abs(this) squared and by the projected axis's length. Ties take the earlier axis.
  gsl_Vector BestAlignedOrthogonalUnit() const noexcept;
  /// this minus its component along the plane's normal; unchanged when the normal is shorter than tol.
  gsl_Vector ProjectOn(const gsl_Plane& plane) const noexcept;

  /// Signed angle in (-pi, pi] from a to b about this axis. False when a or b is shorter than tol, or when
  /// they do not make the same angle with the axis (their components along it differ by more than tol).
  /// The axis is not tested: about a short one, and for a vector along it, the angle is 0 or pi.
  bool AngleBetween(gsl_Vector a, gsl_Vector b, double& angle) const noexcept;
  /// Angle in [0, pi]; pi/2 when either vector is not longer than tol. unitVectors says that both are unit
  /// vectors already: the raw dot product then counts.
  double AngleWith(const gsl_Vector& b, bool unitVectors) const noexcept;
  /// Full-turn angle in [0, 2 pi): the complement to 2 pi when (this x b) points against the reference.
  double AngleWith(const gsl_Vector& b, bool unitVectors, const gsl_Vector& reference) const noexcept;

  /// "magnitude:" line, then a line of the components in the form of gsl_Point::Print.
  void Print(aio_ostream& out, int indent) const;

  // change
  /// Writing a component leaves the magnitude stale, and every later test uses it: rebuild the vector.
  double& operator[](unsigned i) noexcept { return i == 0 ? x_ : i == 1 ? y_ : z_; }
  void Negate() noexcept {
    x_ = -x_;
    y_ = -y_;
    z_ = -z_;
  }
  /// The magnitude stays non-negative; Scale(0) leaves -0.0.
  void Scale(double s) noexcept;
  /// False and unchanged when shorter than tol; else the magnitude is exactly 1.
  bool Normalize() noexcept;
  /// Rotates by the matrix; its translation does not matter.
  void RotateAndTransform(const gsl_Matrix& matrix) noexcept;

private:
  static double Length(double x, double y, double z) noexcept {
    const double squared = x * x + y * y + z * z;
    return squared > 1e-280 && squared < 1e300 ? std::sqrt(squared) : ScaledLength(x, y, z);
  }
  static double ScaledLength(double x, double y, double z) noexcept;

  double x_ = 0, y_ = 0, z_ = 1, magnitude_ = 1;
};
