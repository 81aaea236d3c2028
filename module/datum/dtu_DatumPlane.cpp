#include <CoreGeometry/dtu_DatumPlane.h>

#include "dtu_Component.h"
#include "dtu_Outline.h"
#include "dtu_StoredFields.h"
#include <algorithm>

constexpr auto dtu_DatumPlane::StoredFields() {
  return dtu_Datum::StoredFields()
         + cls_Fields{cls_Field{"_pnt", &dtu_DatumPlane::point_},
                      cls_Field{"_normal", &dtu_DatumPlane::normal_},
                      cls_Field{"cornerPoints", &dtu_DatumPlane::cornerPoints_}};
}

unsigned dtu_DatumPlane::TypeId() noexcept { return dtu_kDatumPlane; }
unsigned dtu_DatumPlane::DynTypeId() const noexcept { return TypeId(); }
void* dtu_DatumPlane::Ctor(cls_ReadVisitor& visitor) { return new dtu_DatumPlane(visitor); }
void dtu_DatumPlane::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeBase<dtu_DatumPlane, dtu_Datum>(
      cls_DescribeClass<dtu_DatumPlane>(registrar, "dtu_DatumPlane", dtu_kVersion, StoredFields()));
}

dtu_DatumPlane::dtu_DatumPlane(const cls_ReadVisitor& visitor) {
  uid_ = visitor.GetUid();
  cls_ReadFields(visitor, *this, StoredFields());
}

void dtu_DatumPlane::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

dtu_Datum* dtu_DatumPlane::Copy() const { return new dtu_DatumPlane(*this); }

dtu_DatumPlane::dtu_DatumPlane() : dtu_DatumPlane(0, 0, {}, {0, 0, 1}) {}

dtu_DatumPlane::dtu_DatumPlane(unsigned id, unsigned secondId, const gsl_Point& point,
                               const gsl_Vector& normal)
    : dtu_Datum(id, secondId, dtu_PLANE), point_(point), normal_(normal) {}

dtu_DatumPlane::dtu_DatumPlane(unsigned id, unsigned secondId, const gsl_Point& point,
                               const gsl_Vector& normal, const gsl_Matrix& matrix)
    : dtu_DatumPlane(id, secondId, point, normal) {
  dtu_DatumPlane::TransformData(matrix);
}

void dtu_DatumPlane::TransformData(const gsl_Matrix& matrix) {
  point_.Transform(matrix);
  normal_.Vector().RotateAndTransform(matrix);
  dtu_MoveOutline(cornerPoints_, matrix);
}

void dtu_DatumPlane::Print(aio_ostream& out) const {
  out << "DATUM PLANE" << std::endl;
  PrintId(out);
  out << "Coordinates of Point on Datum Plane :" << std::endl;
  point_.Print(out, 0);
  out << "Normal to Datum Plane :" << std::endl;
  normal_.Vector().Print(out, 0);
  dtu_PrintOutline(out, cornerPoints_);
}

gsl_Point dtu_DatumPlane::Point() const { return point_; }
gsl_BBox dtu_DatumPlane::GetBBox() const { return dtu_OutlineBox(cornerPoints_, point_); }

void dtu_DatumPlane::Geometry(gsl_Point& point, gsl_Vector& normal) const {
  point = point_;
  normal = normal_;
}

void dtu_DatumPlane::DisplayGeometry(gsl_Point& point, gsl_Vector& normal) const { Geometry(point, normal); }

int dtu_DatumPlane::GetDiscreteRep(gsl_Point* corners) const {
  return dtu_CopyOutline(cornerPoints_, corners);
}

void dtu_DatumPlane::UpdateOutline(const gsl_BBox& box) {
  cornerPoints_.ListToModify() = {};
  gsl_Vector normal = normal_;
  if (box.IsEmpty() || !dtu_HasDirection(normal)) return;
  const gsl_Vector u = normal.BestAlignedOrthogonalUnit().UnitCopy(), v = normal.CrossProduct(u);
  double low[2] = {0, 0}, high[2] = {0, 0};
  bool isFirst = true;
  for (const gsl_Point& corner : dtu_BoxCorners(box)) {
    const gsl_Vector offset(point_, corner);
    const double along[] = {offset.DotProduct(u), offset.DotProduct(v)};
    for (unsigned i = 0; i < 2; ++i) {
      low[i] = isFirst ? along[i] : std::min(low[i], along[i]);
      high[i] = isFirst ? along[i] : std::max(high[i], along[i]);
    }
    isFirst = false;
  }
  const auto corner = [&](double along, double across) { return point_ + (u * along + v * across); };
  cornerPoints_.ListToModify()
      .Append(corner(low[0], low[1]))
      .Append(corner(high[0], low[1]))
      .Append(corner(high[0], high[1]))
      .Append(corner(low[0], high[1]));
}

bool dtu_DatumPlane::IsSame(const dtu_Datum& other) const {
  const auto& plane = static_cast<const dtu_DatumPlane&>(other);
  return point_ == plane.point_ && normal_.Vector() == plane.normal_.Vector()
         && cornerPoints_ == plane.cornerPoints_;
}
