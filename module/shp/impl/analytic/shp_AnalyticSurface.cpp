#include <CoreGeometry/shp_AnalyticSurface.h>

#include "shp_Component.h"
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Vector.h>
#include <cls_Fields.h>

constexpr auto shp_AnalyticSurfaceSegment::StoredFields() {
  return cls_Fields{cls_Field{"type", &shp_AnalyticSurfaceSegment::type_},
                    cls_Field{"data", &shp_AnalyticSurfaceSegment::data_}};
}

unsigned shp_AnalyticSurfaceSegment::TypeId() noexcept { return shp_kAnalyticSurfaceSegment; }
unsigned shp_AnalyticSurfaceSegment::DynTypeId() const noexcept { return TypeId(); }
void* shp_AnalyticSurfaceSegment::Ctor(cls_ReadVisitor& visitor) {
  return new shp_AnalyticSurfaceSegment(visitor);
}
void shp_AnalyticSurfaceSegment::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<shp_AnalyticSurfaceSegment>(registrar, "shp_AnalyticSurfaceSegment", shp_kVersion,
                                                StoredFields());
}

shp_AnalyticSurfaceSegment::shp_AnalyticSurfaceSegment(TypeEnm type, cow_List<g3d_Point> data)
    : type_(type), data_(std::move(data)) {}

shp_AnalyticSurfaceSegment::shp_AnalyticSurfaceSegment(const cls_ReadVisitor& visitor)
    : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

shp_AnalyticSurfaceSegment::~shp_AnalyticSurfaceSegment() = default;

void shp_AnalyticSurfaceSegment::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

shp_AnalyticSurfaceSegment* shp_AnalyticSurfaceSegment::Copy() const {
  return new shp_AnalyticSurfaceSegment(*this);
}

int shp_AnalyticSurfaceSegment::NumPoints(TypeEnm type) noexcept {
  switch (type) {
  case START:
  case LINE: return 1;
  case CIRCLE:
  case PARABOLA: return 2;
  }
  return 0;
}

void shp_AnalyticSurfaceSegment::AssertValid() const {
  const int points = NumPoints(type_);
  if (points == 0)
    throw nex_AssertionException("an analytic surface segment has the unknown type " + std::to_string(type_));
  if (data_.Size() != points)
    throw nex_AssertionException(
        cow_String("an analytic surface segment ") + omu_FindText(omu_EnumTable<TypeEnm>::entries, type_)
        + " has " + std::to_string(data_.Size()) + " points instead of " + std::to_string(points));
}

bool shp_AnalyticSurfaceSegment::operator==(const shp_AnalyticSurfaceSegment& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

constexpr auto shp_AnalyticSurface::StoredFields() {
  return cls_Fields{cls_Field{"type", &shp_AnalyticSurface::type_},
                    cls_Field{"filletRadius", &shp_AnalyticSurface::filletRadius_},
                    cls_Field{"profile", &shp_AnalyticSurface::profile_},
                    cls_Field{"localCoordData", &shp_AnalyticSurface::localCoordData_},
                    cls_Field{"name", &shp_AnalyticSurface::name_}};
}

unsigned shp_AnalyticSurface::TypeId() noexcept { return shp_kAnalyticSurface; }
unsigned shp_AnalyticSurface::DynTypeId() const noexcept { return TypeId(); }
void* shp_AnalyticSurface::Ctor(cls_ReadVisitor& visitor) { return new shp_AnalyticSurface(visitor); }
void shp_AnalyticSurface::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<shp_AnalyticSurface>(registrar, "shp_AnalyticSurface", shp_kVersion, StoredFields())
      .AddAlias("analyticSurfaceProfile", "profile");
}

shp_AnalyticSurface::shp_AnalyticSurface(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

shp_AnalyticSurface::~shp_AnalyticSurface() = default;

void shp_AnalyticSurface::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

shp_AnalyticSurface* shp_AnalyticSurface::Copy() const { return new shp_AnalyticSurface(*this); }

void shp_AnalyticSurface::AssertValid() const {
  if (!omu_FindText(omu_EnumTable<TypeEnm>::entries, type_))
    throw nex_AssertionException("analytic surface \"" + name_ + "\" has the unknown type "
                                 + std::to_string(type_));
  for (const shp_AnalyticSurfaceSegment& segment : profile_.List()) segment.AssertValid();
}

bool shp_AnalyticSurface::operator==(const shp_AnalyticSurface& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

void shp_AnalyticSurface::SetTransform(const gsl_Matrix& matrix) {
  for (int i = 0; i < localCoordData_.Size(); ++i) {
    g3d_Vector& vector = localCoordData_.ListToModify().Get(i);
    gsl_Vector turned(vector[0], vector[1], vector[2]);
    turned.RotateAndTransform(matrix);
    for (unsigned k = 0; k < 3; ++k) vector[k] = static_cast<float>(turned[k]);
  }
}
