#include <CoreGeometry/dtu_Datum.h>

#include "dtu_Component.h"
#include "dtu_StoredFields.h"

unsigned dtu_Datum::TypeId() noexcept { return dtu_kDatum; }
unsigned dtu_Datum::DynTypeId() const noexcept { return TypeId(); }
void* dtu_Datum::Ctor(cls_ReadVisitor& visitor) { return new dtu_Datum(visitor); }
void dtu_Datum::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<dtu_Datum>(registrar, "dtu_Datum", dtu_kVersion, StoredFields());
}

dtu_Datum::dtu_Datum(unsigned featId, unsigned instFeatId, dtu_DatumType type)
    : datumType_(type), featId_(featId), instFeatId_(instFeatId) {}

dtu_Datum::dtu_Datum(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

dtu_Datum::~dtu_Datum() = default;

void dtu_Datum::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

dtu_Datum* dtu_Datum::Copy() const { return new dtu_Datum(*this); }

void dtu_Datum::Copy(dtu_Datum*& copy, int sameUid) const {
  copy = Copy();
  if (sameUid != 0) copy->uid_ = uid_;
}

void dtu_Datum::TransformData(const gsl_Matrix&) {}
void dtu_Datum::Print(aio_ostream& out) const { PrintId(out); }
void dtu_Datum::UpdateOutline(const gsl_BBox&) {}
gsl_Point dtu_Datum::Point() const { return {}; }

gsl_BBox dtu_Datum::GetBBox() const {
  gsl_BBox box;
  if (DynTypeId() != TypeId()) box.Add(Point());
  return box;
}

bool dtu_Datum::operator==(const dtu_Datum& other) const {
  return DynTypeId() == other.DynTypeId() && cls_SameFields(*this, other, StoredFields()) && IsSame(other);
}

bool dtu_Datum::IsSame(const dtu_Datum&) const { return true; }

void dtu_Datum::PrintId(aio_ostream& out) const { out << "Datum ID : " << featId_ << std::endl; }
