#include <CoreGeometry/dtu_DatumPoint.h>

#include "dtu_Component.h"
#include "dtu_StoredFields.h"

constexpr auto dtu_DatumPoint::StoredFields() {
  return dtu_Datum::StoredFields() + cls_Fields{cls_Field{"_pnt", &dtu_DatumPoint::point_}};
}

unsigned dtu_DatumPoint::TypeId() noexcept { return dtu_kDatumPoint; }
unsigned dtu_DatumPoint::DynTypeId() const noexcept { return TypeId(); }
void* dtu_DatumPoint::Ctor(cls_ReadVisitor& visitor) { return new dtu_DatumPoint(visitor); }
void dtu_DatumPoint::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeBase<dtu_DatumPoint, dtu_Datum>(
      cls_DescribeClass<dtu_DatumPoint>(registrar, "dtu_DatumPoint", dtu_kVersion, StoredFields()));
}

dtu_DatumPoint::dtu_DatumPoint(const cls_ReadVisitor& visitor) {
  uid_ = visitor.GetUid();
  cls_ReadFields(visitor, *this, StoredFields());
}

void dtu_DatumPoint::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

dtu_Datum* dtu_DatumPoint::Copy() const { return new dtu_DatumPoint(*this); }

dtu_DatumPoint::dtu_DatumPoint() : dtu_DatumPoint(0, 0, {}) {}

dtu_DatumPoint::dtu_DatumPoint(unsigned id, unsigned secondId, const gsl_Point& point)
    : dtu_Datum(id, secondId, dtu_POINT), point_(point) {}

dtu_DatumPoint::dtu_DatumPoint(unsigned id, unsigned secondId, const gsl_Point& point,
                               const gsl_Matrix& matrix)
    : dtu_DatumPoint(id, secondId, point) {
  point_.Transform(matrix);
}

void dtu_DatumPoint::TransformData(const gsl_Matrix& matrix) { point_.Transform(matrix); }

void dtu_DatumPoint::Print(aio_ostream& out) const {
  out << "DATUM POINT" << std::endl;
  PrintId(out);
  out << "Coordinates of Datum Point :" << std::endl;
  point_.Print(out, 0);
}

gsl_Point dtu_DatumPoint::Point() const { return point_; }
void dtu_DatumPoint::Geometry(gsl_Point& point) const { point = point_; }

int dtu_DatumPoint::GetDiscreteRep(gsl_Point& point) const {
  point = point_;
  return 1;
}

bool dtu_DatumPoint::IsSame(const dtu_Datum& other) const {
  return point_ == static_cast<const dtu_DatumPoint&>(other).point_;
}
