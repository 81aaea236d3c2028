// gsl_ModelSegment.h: segment between two dots
#pragma once

#include <BasicUtils/cow_COW.h>
#include <CoreGeometry/gsl_Dot.h>
#include <CoreGeometry/gsl_Vector.h>

/// A segment between two dots, either of which may be missing.
///
/// Units      model length.
/// Empty      the default segment has neither dot.
/// Cost       copies share the dots; Regenerate copies shared dots first.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  point1, point2
class CORE_GEOMETRY_API gsl_ModelSegment {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_ModelSegment() noexcept = default;
  gsl_ModelSegment(const gsl_Dot& dot1, const gsl_Dot& dot2); ///< holds copies, of the same dynamic class
  explicit gsl_ModelSegment(const cls_ReadVisitor& visitor);
  gsl_ModelSegment(const gsl_ModelSegment&) = default;
  gsl_ModelSegment& operator=(const gsl_ModelSegment&) = default;
  virtual ~gsl_ModelSegment() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const gsl_Dot* Point1() const noexcept { return point1_.IsNull() ? nullptr : &*point1_; } ///< null: missing
  const gsl_Dot* Point2() const noexcept { return point2_.IsNull() ? nullptr : &*point2_; }
  gsl_Vector Direction() const noexcept; ///< (0, 0, 1) when a dot is missing
  double Length() const noexcept;        ///< 0 when a dot is missing
  const cls_Uid& Uid() const noexcept { return uid_; }

  // change
  /// Regenerates each dot that exists; true when all of them succeed.
  bool Regenerate(const ftr_FeatureList* features);

private:
  static constexpr auto StoredFields();
  bool IsComplete() const noexcept { return !point1_.IsNull() && !point2_.IsNull(); }

  cow_COW<gsl_Dot, cow_Virtual<gsl_Dot>> point1_, point2_;
  cls_OwnUid uid_;
};
