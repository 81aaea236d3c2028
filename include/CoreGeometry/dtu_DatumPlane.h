// dtu_DatumPlane.h: datum plane
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CoreGeometry/dtu_Datum.h>
#include <CoreGeometry/gsl_PersistentVector.h>

/// A plane as a datum, with the corners of its drawn rectangle.
///
/// Units      model length.
/// Empty      the default is the xy plane. Without an outline nothing is drawn.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  the fields of dtu_Datum, _pnt, _normal, cornerPoints
class CORE_GEOMETRY_API dtu_DatumPlane : public dtu_Datum {
public:
  static unsigned TypeId() noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_DatumPlane();
  dtu_DatumPlane(unsigned id, unsigned secondId, const gsl_Point& point, const gsl_Vector& normal);
  dtu_DatumPlane(unsigned id, unsigned secondId, const gsl_Point& point, const gsl_Vector& normal,
                 const gsl_Matrix& matrix);
  explicit dtu_DatumPlane(const cls_ReadVisitor& visitor);
  dtu_Datum* Copy() const override;
  using dtu_Datum::Copy;

  // ask
  void Print(aio_ostream& out) const override;
  gsl_Point Point() const override;
  unsigned DynTypeId() const noexcept override;
  void DBWrite(const cls_WriteVisitor& visitor) const override;
  gsl_BBox GetBBox() const override;
  void Geometry(gsl_Point& point, gsl_Vector& normal) const;
  void DisplayGeometry(gsl_Point& point, gsl_Vector& normal) const; ///< the same
  /// The four corners of the outline, in order around it; returns how many points were written, 0 without an
  /// outline.
  int GetDiscreteRep(gsl_Point* corners) const;

  // change
  void TransformData(const gsl_Matrix& matrix) override;
  /// The rectangle that covers the box's corners projected onto the plane, with one side as close to a
  /// coordinate axis as the plane allows; none for an empty box or a plane without a normal.
  void UpdateOutline(const gsl_BBox& box) override;

protected:
  static constexpr auto StoredFields();
  bool IsSame(const dtu_Datum& other) const override;

private:
  gsl_Point point_;
  gsl_PersistentVector normal_;
  cls_xoList<gsl_Point> cornerPoints_;
};
