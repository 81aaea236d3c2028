// gsl_PersistentVector.h: a vector with a uid, as objects store it
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <CoreGeometry/gsl_Vector.h>

/// A vector that is stored: wraps a gsl_Vector and a uid.
///
/// Every constructor allocates a fresh uid; assignment from another persistent vector takes over its uid,
/// assignment from a plain vector keeps this one's.
///
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _x, _y, _z
class CORE_GEOMETRY_API gsl_PersistentVector {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_PersistentVector() noexcept = default; ///< (0, 0, 1)
  gsl_PersistentVector(const gsl_Vector& vector) noexcept : vector_(vector) {}
  gsl_PersistentVector(const gsl_PersistentVector&) noexcept = default;
  gsl_PersistentVector& operator=(const gsl_PersistentVector&) noexcept = default;
  gsl_PersistentVector& operator=(const gsl_Vector& vector) noexcept {
    vector_ = vector;
    return *this;
  }
  explicit gsl_PersistentVector(const cls_ReadVisitor& visitor);
  virtual ~gsl_PersistentVector() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const gsl_Vector& Vector() const noexcept { return vector_; }
  operator const gsl_Vector&() const noexcept { return vector_; }
  const cls_Uid& Uid() const noexcept { return uid_; }

  // change
  gsl_Vector& Vector() noexcept { return vector_; }

private:
  gsl_Vector vector_;
  cls_OwnUid uid_;
};
