// gsl_PersistentMatrix.h: a transform with a uid, as objects store it
#pragma once

#include <BasicUtils/cls_Uid.h>
#include <BasicUtils/cls_Visitors.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <optional>

/// A transform that is stored and may be null: no transform was given, which is not the same as a given
/// identity.
///
/// Every constructor allocates a fresh uid; assignment from another persistent matrix takes over its uid,
/// assignment from a plain matrix keeps this one's.
///
/// Empty      a null transform stands for the identity.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _matrix: 16 numbers row by row, none when null
class CORE_GEOMETRY_API gsl_PersistentMatrix {
public:
  gsl_PersistentMatrix() noexcept = default; ///< null
  gsl_PersistentMatrix(const gsl_Matrix& matrix) noexcept : matrix_(matrix) {}
  gsl_PersistentMatrix& operator=(const gsl_Matrix& matrix) noexcept {
    matrix_ = matrix;
    return *this;
  }

  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);
  explicit gsl_PersistentMatrix(const cls_ReadVisitor& visitor);
  gsl_PersistentMatrix(const gsl_PersistentMatrix&) noexcept = default;
  gsl_PersistentMatrix& operator=(const gsl_PersistentMatrix&) noexcept = default;
  virtual ~gsl_PersistentMatrix();
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const gsl_Matrix* Matrix() const noexcept { return matrix_ ? &*matrix_ : nullptr; } ///< null when none
  const cls_Uid& Uid() const noexcept { return uid_; }

  // change
  gsl_Matrix* Matrix() noexcept { return matrix_ ? &*matrix_ : nullptr; }
  void SetNull() noexcept { matrix_.reset(); }

private:
  std::optional<gsl_Matrix> matrix_;
  cls_OwnUid uid_;
};
