// gsl_Matrix.h: rigid-body transform
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <span>

class gsl_Point;
class gsl_Vector;

/// Transform of model space: a 4 x 4 matrix whose upper left block rotates and whose fourth column
/// translates. A cached flag lets functions skip a known identity.
///
/// Units      model length; angles in radians.
/// Tolerance  none but where stated.
/// Errors     none.
/// Cost       the span forms move whole arrays at memory speed and give the bits of the point form.
/// Threads    a value; IsIdentity() changes it.
class CORE_GEOMETRY_API gsl_Matrix {
public:
  gsl_Matrix() noexcept = default; ///< identity
  /// From sixteen elements, row by row.
  explicit gsl_Matrix(const double (*elements)[4]) noexcept;

  // ask
  double Element(unsigned row, unsigned column) const noexcept { return m_[row & 3][column & 3]; }
  void AsArray(double (*elements)[4]) const noexcept;
  void GetTranslation(gsl_Vector& translation) const noexcept;
  gsl_Point NewOrigin() const noexcept; ///< the translation as a point
  gsl_Vector NewXAxis() const noexcept; ///< first column of the rotation
  gsl_Vector NewYAxis() const noexcept;
  gsl_Vector NewZAxis() const noexcept;
  /// Angles about x, y and z with R = Rz Ry Rx, y in [-pi/2, pi/2]; when y is a right angle, x is 0.
  void GetRotationAngles(double& x, double& y, double& z) const noexcept;
  /// Rotation as an angle in [0, 2 pi) about a unit axis, by a quaternion in single precision, and the
  /// translation as the point (which need not lie on the axis). Below rtol the axis is the zero vector.
  void GetAxisRotation(gsl_Point& point, gsl_Vector& axis, double& angle) const noexcept;
  /// Transpose of the rotation and the translation that undoes this one: the inverse of a rigid transform
  /// only.
  gsl_Matrix InverseRigidTransform() const noexcept;
  /// All sixteen elements differ by at most 0.001: coarse and absolute, also for translations.
  bool operator==(const gsl_Matrix& other) const noexcept;

  void Transform(gsl_Point& p) const noexcept;
  void Transform(gsl_Vector& v) const noexcept; ///< rotation only
  /// Moves points in place, three coordinates each; one or two left-over numbers are ignored. Single
  /// precision is computed in double and rounded once.
  void Transform(std::span<float> xyz) const noexcept;
  void Transform(std::span<double> xyz) const noexcept;

  // change: elements
  void FillIdentity() noexcept;
  void SetTranslation(const gsl_Vector& translation) noexcept;
  void SetRow(unsigned i, const gsl_Vector& v) noexcept;    ///< columns 0 to 2 as they are; i in 0..3
  void SetColumn(unsigned i, const gsl_Vector& v) noexcept; ///< rows 0 to 2 as they are; i in 0..3
  /// Columns 0 to 2 become the unit vectors (a zero vector stays zero); they are not made orthogonal.
  void SetRotationVectors(const gsl_Vector& x, const gsl_Vector& y, const gsl_Vector& z) noexcept;

  // change: compose
  void Concatenate(const gsl_Matrix& next) noexcept; ///< this becomes next * this: next is applied after
  /// Becomes the rotation about the axis through p; the identity when the axis is shorter than gsl_Util's
  /// linear tolerance.
  void AxisRotation(const gsl_Point& p, const gsl_Vector& axis, double angle) noexcept;
  /// True for a matrix that is known to be the identity, or whose first three rows are within 1e-8 of it; all
  /// sixteen elements are then set to it. The result is cached until an element changes.
  bool IsIdentity() noexcept;

private:
  enum : int { kNotIdentity = 0, kIdentity = 1, kUnknown = -1 };

  gsl_Vector Column(unsigned i) const noexcept;

  double m_[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
  int identity_ = kIdentity;
};
