// gsl_ObjectArray.h: growable arrays of dots, planes and lines
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CoreGeometry/gsl_Dot.h>
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_StLine.h>

/// A growable array of dots, planes or lines, stored with its elements.
///
/// Copies share their elements until one of them changes.
///
/// Errors     nex_OutOfRangeException for an index outside [0, Size()).
/// Cost       copy O(1); Append O(1). The growth factor is only kept and stored: the memory grows by blocks,
///            whatever the factor is.
/// Threads    a value; copies may be used on several threads.
/// Stored as  growthRatio_, data_
template<class T> class gsl_ObjectArray {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept { return TypeId(); }
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  gsl_ObjectArray() = default;
  explicit gsl_ObjectArray(const cls_ReadVisitor& visitor);
  gsl_ObjectArray(const gsl_ObjectArray&) = default;
  gsl_ObjectArray& operator=(const gsl_ObjectArray&) = default;
  virtual ~gsl_ObjectArray() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  int Size() const noexcept { return data_.Size(); }
  const T& ConstGet(int i) const { return data_.ConstGet(i); }
  double GrowthRatio() const noexcept { return growthRatio_; }
  const cls_Uid& Uid() const noexcept { return uid_; }

  // change
  void Append(const T& element) { data_.ListToModify().Append(element); }
  void Put(int i, const T& element) { data_.ListToModify().Put(i, element); }
  void Remove(int i) { data_.ListToModify().RemoveIndex(i); }
  void SetGrowthRatio(double ratio) noexcept { growthRatio_ = ratio; }

private:
  static constexpr auto StoredFields();

  double growthRatio_ = 2.0;
  cls_xoList<T> data_;
  cls_OwnUid uid_;
};

using gsl_DotArray = gsl_ObjectArray<gsl_Dot>;
using gsl_PlaneArray = gsl_ObjectArray<gsl_Plane>;
using gsl_LineArray = gsl_ObjectArray<gsl_StLine>;

extern template class CORE_GEOMETRY_API gsl_ObjectArray<gsl_Dot>;
extern template class CORE_GEOMETRY_API gsl_ObjectArray<gsl_Plane>;
extern template class CORE_GEOMETRY_API gsl_ObjectArray<gsl_StLine>;
