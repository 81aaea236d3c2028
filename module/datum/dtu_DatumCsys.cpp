#include <CoreGeometry/dtu_DatumCsys.h>

#include "dtu_Component.h"
#include "dtu_StoredFields.h"
#include <CoreGeometry/gsl_Dot.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_StLine.h>
#include <CoreGeometry/gsl_Util.h>
#include <cmath>

unsigned dtu_DatumCsys::TypeId() noexcept { return dtu_kDatumCsys; }
unsigned dtu_DatumCsys::DynTypeId() const noexcept { return TypeId(); }
void* dtu_DatumCsys::Ctor(cls_ReadVisitor& visitor) { return new dtu_DatumCsys(visitor); }
void dtu_DatumCsys::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeBase<dtu_DatumCsys, dtu_Datum>(
      cls_DescribeClass<dtu_DatumCsys>(registrar, "dtu_DatumCsys", dtu_kVersion, StoredFields()));
}

dtu_DatumCsys::dtu_DatumCsys() : dtu_DatumCsys(0, 0, {}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, dtu_CARTESIAN) {}

dtu_DatumCsys::dtu_DatumCsys(unsigned id, unsigned secondId, const gsl_Point& origin, const gsl_Vector& x,
                             const gsl_Vector& y, const gsl_Vector& z, dtu_DatumCsysType csysType)
    : dtu_Datum(id, secondId, dtu_CSYS), origin_(origin), xAxis_(x), yAxis_(y), zAxis_(z),
      csysType_(csysType) {}

dtu_DatumCsys::dtu_DatumCsys(unsigned id, unsigned secondId, const gsl_Point& origin, const gsl_Vector& x,
                             const gsl_Vector& y, const gsl_Vector& z, dtu_DatumCsysType csysType,
                             const gsl_Matrix& matrix)
    : dtu_DatumCsys(id, secondId, origin, x, y, z, csysType) {
  dtu_DatumCsys::TransformData(matrix);
}

dtu_DatumCsys::dtu_DatumCsys(const cls_ReadVisitor& visitor) {
  uid_ = visitor.GetUid();
  cls_ReadFields(visitor, *this, StoredFields());
}

dtu_DatumCsys::~dtu_DatumCsys() = default;

void dtu_DatumCsys::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

dtu_Datum* dtu_DatumCsys::Copy() const { return new dtu_DatumCsys(*this); }

void dtu_DatumCsys::TransformData(const gsl_Matrix& matrix) {
  origin_.Transform(matrix);
  for (gsl_PersistentVector* axis : {&xAxis_, &yAxis_, &zAxis_}) axis->Vector().RotateAndTransform(matrix);
}

void dtu_DatumCsys::Print(aio_ostream& out) const {
  out << "DATUM CSYS " << std::endl;
  PrintId(out);
  out << "Coordinates of Origin :" << std::endl;
  origin_.Print(out, 0);
  const auto axis = [&](const char* title, const gsl_Vector& vector) {
    out << title << std::endl;
    vector.Print(out, 0);
  };
  axis("X-Axis :", xAxis_);
  axis("Y-Axis :", yAxis_);
  axis("Z-Axis :", zAxis_);
}

void dtu_DatumCsys::UpdateOutline(const gsl_BBox&) {}
gsl_Point dtu_DatumCsys::Point() const { return origin_; }
dtu_DatumCsys* dtu_DatumCsys::GetDisplayCoordSystem() const { return new dtu_DatumCsys(*this); }

void dtu_DatumCsys::DisplayGeometry(gsl_Point& origin, gsl_Vector& x, gsl_Vector& y, gsl_Vector& z) const {
  Geometry(origin, x, y, z);
}

cow_String dtu_DatumCsys::GetLabels() const {
  switch (csysType_) {
  case dtu_CARTESIAN: return "XYZ\\@triad labels";
  case dtu_CYLINDRICAL: return "RTZ\\@triad labels";
  case dtu_SPHERICAL: return "RTP\\@triad labels";
  }
  return "123\\@triad labels";
}

void dtu_DatumCsys::Geometry(gsl_Point& origin, gsl_Vector& x, gsl_Vector& y, gsl_Vector& z) const {
  origin = origin_;
  x = xAxis_;
  y = yAxis_;
  z = zAxis_;
}

void dtu_DatumCsys::TransformPoint(gsl_Point& p) const {
  gsl_Matrix matrix;
  matrix.SetTranslation({origin_[0], origin_[1], origin_[2]});
  matrix.SetRotationVectors(xAxis_, yAxis_, zAxis_);
  p.Transform(matrix);
}

void dtu_DatumCsys::RelativeTranslation(const dtu_DatumCsys& other, g3d_Vector& t) const {
  for (unsigned i = 0; i < 3; ++i) t[i] = static_cast<float>(origin_[i] - other.origin_[i]);
}

gsl_Matrix dtu_DatumCsys::RotationFrom(const dtu_DatumCsys& other) const {
  gsl_Matrix mine, others;
  mine.SetRotationVectors(xAxis_, yAxis_, zAxis_);
  others.SetRotationVectors(other.xAxis_, other.yAxis_, other.zAxis_);
  gsl_Matrix relative = others.InverseRigidTransform();
  relative.Concatenate(mine);
  return relative;
}

void dtu_DatumCsys::RelativeRotation(const dtu_DatumCsys& other, gsl_Vector& axis, double& angle) const {
  gsl_Point unused;
  RotationFrom(other).GetAxisRotation(unused, axis, angle);
}

void dtu_DatumCsys::RelativeTransform(const dtu_DatumCsys& other, g3d_XForm& xf) const {
  double elements[4][4];
  RotationFrom(other).AsArray(elements);
  float single[4][4];
  for (unsigned i = 0; i < 4; ++i)
    for (unsigned j = 0; j < 4; ++j) single[i][j] = static_cast<float>(elements[i][j]);
  xf.SetM(single);
  for (unsigned i = 0; i < 3; ++i) xf(i, 3) = static_cast<float>(origin_[i] - other.origin_[i]);
}

void dtu_DatumCsys::RelativeRotationQuaternion(const dtu_DatumCsys& other, float q[4]) const {
  gsl_Vector axis;
  double angle;
  RelativeRotation(other, axis, angle);
  if (std::fabs(angle) < omi_Singleton<gsl_Util>::Instance().RelTolerance()) {
    q[0] = q[1] = q[2] = 0;
    q[3] = 1;
    return;
  }
  const double length = axis.Magnitude(), sine = std::sin(angle / 2);
  for (unsigned i = 0; i < 3; ++i) q[i] = length == 0 ? 0.0F : static_cast<float>(axis[i] / length * sine);
  q[3] = static_cast<float>(std::cos(angle / 2));
}

bool dtu_DatumCsys::IsSame(const dtu_Datum& other) const {
  const auto& csys = static_cast<const dtu_DatumCsys&>(other);
  return origin_ == csys.origin_ && Xaxis() == csys.Xaxis() && Yaxis() == csys.Yaxis()
         && Zaxis() == csys.Zaxis() && csysType_ == csys.csysType_;
}

dtu_DatumCsys dtu_CreateCsys(gsl_Dot** dots, gsl_StLine** lines, bool xFirst, bool yFirst, bool zFirst) {
  const gsl_Point origin = dots[0] ? dots[0]->GetPoint() : gsl_Point();
  if (!xFirst && !yFirst && !zFirst) return {0, 0, origin, {}, {}, {}, dtu_CARTESIAN};

  // the named axis and the two that follow it
  const unsigned named = xFirst ? 0 : yFirst ? 1 : 2;
  const gsl_Vector units[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const auto direction = [&](const gsl_Dot* dot, const gsl_StLine* line, const gsl_Vector& otherwise) {
    return dot ? gsl_Vector(origin, dot->GetPoint()) : line ? line->Direction() : otherwise;
  };
  const gsl_Vector first = direction(dots[1], lines[0], units[named]);
  const gsl_Vector& next = units[(named + 1) % 3];
  const gsl_Vector& candidate = first.IsOn(next) ? units[(named + 2) % 3] : next;
  const gsl_Vector second = direction(dots[2], lines[1], candidate.ProjectOn(gsl_Plane(origin, first)));

  gsl_Vector axes[3];
  axes[named] = first;
  axes[(named + 2) % 3] = first.CrossProduct(second);
  axes[(named + 1) % 3] = axes[(named + 2) % 3].CrossProduct(first);
  return {0, 0, origin, axes[0], axes[1], axes[2], dtu_CARTESIAN};
}
