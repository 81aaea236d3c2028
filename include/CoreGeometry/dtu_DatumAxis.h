// dtu_DatumAxis.h: datum axis
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CoreGeometry/dtu_Datum.h>
#include <CoreGeometry/gsl_PersistentVector.h>

/// A straight line as a datum, with the end points of its drawn part.
///
/// Units      model length.
/// Empty      the default runs from the origin along z. Without an outline nothing is drawn.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  the fields of dtu_Datum, _pnt, _direction, cornerPoints
class CORE_GEOMETRY_API dtu_DatumAxis : public dtu_Datum {
public:
  static unsigned TypeId() noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_DatumAxis();
  dtu_DatumAxis(unsigned id, unsigned secondId, const gsl_Point& point, const gsl_Vector& direction);
  dtu_DatumAxis(unsigned id, unsigned secondId, const gsl_Point& point, const gsl_Vector& direction,
                const gsl_Matrix& matrix);
  explicit dtu_DatumAxis(const cls_ReadVisitor& visitor);
  dtu_Datum* Copy() const override;
  using dtu_Datum::Copy;

  // ask
  void Print(aio_ostream& out) const override;
  gsl_Point Point() const override;
  unsigned DynTypeId() const noexcept override;
  void DBWrite(const cls_WriteVisitor& visitor) const override;
  gsl_BBox GetBBox() const override;
  void Geometry(gsl_Point& point, gsl_Vector& direction) const;
  /// The two ends of the outline; returns how many points were written, 0 without an outline.
  int GetDiscreteRep(gsl_Point* ends) const;

  // change
  void TransformData(const gsl_Matrix& matrix) override;
  /// The part that covers the box's corners projected onto the axis; none for an empty box.
  void UpdateOutline(const gsl_BBox& box) override; ///< none when the axis has no direction

protected:
  static constexpr auto StoredFields();
  bool IsSame(const dtu_Datum& other) const override;

private:
  gsl_Point point_;
  gsl_PersistentVector direction_;
  cls_xoList<gsl_Point> cornerPoints_;
};
