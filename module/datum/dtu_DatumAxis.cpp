#include <CoreGeometry/dtu_DatumAxis.h>

#include "dtu_Component.h"
#include "dtu_Outline.h"
#include "dtu_StoredFields.h"
#include <algorithm>

constexpr auto dtu_DatumAxis::StoredFields() {
  return dtu_Datum::StoredFields()
         + cls_Fields{cls_Field{"_pnt", &dtu_DatumAxis::point_},
                      cls_Field{"_direction", &dtu_DatumAxis::direction_},
                      cls_Field{"cornerPoints", &dtu_DatumAxis::cornerPoints_}};
}

unsigned dtu_DatumAxis::TypeId() noexcept { return dtu_kDatumAxis; }
unsigned dtu_DatumAxis::DynTypeId() const noexcept { return TypeId(); }
void* dtu_DatumAxis::Ctor(cls_ReadVisitor& visitor) { return new dtu_DatumAxis(visitor); }
void dtu_DatumAxis::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeBase<dtu_DatumAxis, dtu_Datum>(
      cls_DescribeClass<dtu_DatumAxis>(registrar, "dtu_DatumAxis", dtu_kVersion, StoredFields()));
}

dtu_DatumAxis::dtu_DatumAxis(const cls_ReadVisitor& visitor) {
  uid_ = visitor.GetUid();
  cls_ReadFields(visitor, *this, StoredFields());
}

void dtu_DatumAxis::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

dtu_Datum* dtu_DatumAxis::Copy() const { return new dtu_DatumAxis(*this); }

dtu_DatumAxis::dtu_DatumAxis() : dtu_DatumAxis(0, 0, {}, {0, 0, 1}) {}

dtu_DatumAxis::dtu_DatumAxis(unsigned id, unsigned secondId, const gsl_Point& point,
                             const gsl_Vector& direction)
    : dtu_Datum(id, secondId, dtu_AXIS), point_(point), direction_(direction) {}

dtu_DatumAxis::dtu_DatumAxis(unsigned id, unsigned secondId, const gsl_Point& point,
                             const gsl_Vector& direction, const gsl_Matrix& matrix)
    : dtu_DatumAxis(id, secondId, point, direction) {
  dtu_DatumAxis::TransformData(matrix);
}

void dtu_DatumAxis::TransformData(const gsl_Matrix& matrix) {
  point_.Transform(matrix);
  direction_.Vector().RotateAndTransform(matrix);
  dtu_MoveOutline(cornerPoints_, matrix);
}

void dtu_DatumAxis::Print(aio_ostream& out) const {
  PrintId(out);
  out << "Coordinates of Point on Datum Axis :" << std::endl;
  point_.Print(out, 0);
  out << "Direction of Datum Axis :" << std::endl;
  direction_.Vector().Print(out, 0);
  dtu_PrintOutline(out, cornerPoints_);
}

gsl_Point dtu_DatumAxis::Point() const { return point_; }
gsl_BBox dtu_DatumAxis::GetBBox() const { return dtu_OutlineBox(cornerPoints_, point_); }

void dtu_DatumAxis::Geometry(gsl_Point& point, gsl_Vector& direction) const {
  point = point_;
  direction = direction_;
}

int dtu_DatumAxis::GetDiscreteRep(gsl_Point* ends) const { return dtu_CopyOutline(cornerPoints_, ends); }

void dtu_DatumAxis::UpdateOutline(const gsl_BBox& box) {
  cornerPoints_.ListToModify() = {};
  gsl_Vector unit = direction_;
  if (box.IsEmpty() || !dtu_HasDirection(unit)) return;
  double low = 0, high = 0;
  bool isFirst = true;
  for (const gsl_Point& corner : dtu_BoxCorners(box)) {
    const double along = gsl_Vector(point_, corner).DotProduct(unit);
    low = isFirst ? along : std::min(low, along);
    high = isFirst ? along : std::max(high, along);
    isFirst = false;
  }
  cornerPoints_.ListToModify().Append(point_ + unit * low).Append(point_ + unit * high);
}

bool dtu_DatumAxis::IsSame(const dtu_Datum& other) const {
  const auto& axis = static_cast<const dtu_DatumAxis&>(other);
  return point_ == axis.point_ && direction_.Vector() == axis.direction_.Vector()
         && cornerPoints_ == axis.cornerPoints_;
}
