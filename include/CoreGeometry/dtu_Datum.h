// dtu_Datum.h: what all datums have in common
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/gsl_BBox.h>

/// Kind of a datum. There is no zero.
enum dtu_DatumType : int { dtu_POINT = 1, dtu_AXIS = 2, dtu_PLANE = 3, dtu_CSYS = 4 };
template<> struct omu_EnumTable<dtu_DatumType> {
  static constexpr const char* name = "dtu_DatumType";
  static constexpr omu_EnumEntry entries[] = {
      {dtu_POINT, "POINT"}, {dtu_AXIS, "AXIS"}, {dtu_PLANE, "PLANE"}, {dtu_CSYS, "CSYS"}};
};

/// Base class of datums: reference geometry that a model keeps beside its parts.
///
/// Every constructor allocates a fresh uid, the copying one too; assignment takes over the source's.
///
/// Empty      a datum of the base class itself has no geometry.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _datum_type, _feat_id, _inst_feat_id
class CORE_GEOMETRY_API dtu_Datum {
public:
  static unsigned TypeId() noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_Datum() = default; ///< a point without a feature
  dtu_Datum(unsigned featId, unsigned instFeatId, dtu_DatumType type);
  explicit dtu_Datum(const cls_ReadVisitor& visitor);
  dtu_Datum(const dtu_Datum&) = default;
  dtu_Datum& operator=(const dtu_Datum&) = default;
  virtual ~dtu_Datum();
  /// A copy of the same dynamic class, with a fresh uid, owned by the caller.
  virtual dtu_Datum* Copy() const;
  /// Makes the same copy in `copy`; unless sameUid is 0 it has this object's uid.
  virtual void Copy(dtu_Datum*& copy, int sameUid) const;

  // change
  virtual void TransformData(const gsl_Matrix& matrix); ///< moves the geometry

  // ask
  virtual void Print(aio_ostream& out) const;
  /// Adapts the drawn outline to the bounding box of the model: axes and planes compute new outlines, other
  /// datums have none.
  virtual void UpdateOutline(const gsl_BBox& box);
  virtual gsl_Point Point() const; ///< a point of the datum
  virtual unsigned DynTypeId() const noexcept;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  virtual gsl_BBox GetBBox() const; ///< of its point, or of its outline when it has one
  dtu_DatumType GetDatumType() const noexcept { return datumType_; }
  unsigned GetOwnerFeatID() const noexcept { return featId_; } ///< the datum's identifier
  unsigned GetInstFeatID() const noexcept { return instFeatId_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// Same dynamic class and identifiers, and the geometry agrees within gsl_Util's linear tolerance.
  bool operator==(const dtu_Datum& other) const;

protected:
  static constexpr auto StoredFields();
  /// Compares the fields that a class adds; `other` has the same dynamic class.
  virtual bool IsSame(const dtu_Datum& other) const;
  void PrintId(aio_ostream& out) const;

  dtu_DatumType datumType_ = dtu_POINT;
  unsigned featId_ = 0;
  unsigned instFeatId_ = 0;
  cls_OwnUid uid_;

private:
  friend class dtu_DatumContainer; ///< gives its datums their identifiers
};
