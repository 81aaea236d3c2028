// dtu_DatumPoint.h: datum point
#pragma once

#include <CoreGeometry/dtu_Datum.h>

/// A point as a datum.
///
/// Units      model length.
/// Empty      the default is the origin.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  the fields of dtu_Datum, _pnt
class CORE_GEOMETRY_API dtu_DatumPoint : public dtu_Datum {
public:
  static unsigned TypeId() noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_DatumPoint();
  dtu_DatumPoint(unsigned id, unsigned secondId, const gsl_Point& point);
  dtu_DatumPoint(unsigned id, unsigned secondId, const gsl_Point& point, const gsl_Matrix& matrix);
  explicit dtu_DatumPoint(const cls_ReadVisitor& visitor);
  dtu_Datum* Copy() const override;
  using dtu_Datum::Copy;

  // ask
  void Print(aio_ostream& out) const override;
  gsl_Point Point() const override;
  unsigned DynTypeId() const noexcept override;
  void DBWrite(const cls_WriteVisitor& visitor) const override;
  void Geometry(gsl_Point& point) const;
  int GetDiscreteRep(gsl_Point& point) const; ///< what is drawn: 1 point

  // change
  void TransformData(const gsl_Matrix& matrix) override;

protected:
  static constexpr auto StoredFields();
  bool IsSame(const dtu_Datum& other) const override;

private:
  gsl_Point point_;
};
