#include <CoreGeometry/gsl_ObjectArray.h>

#include "gsl_Component.h"
#include <cls_Fields.h>

namespace {
/// What the arrays differ by.
struct ArrayClass {
  const char* name;
  unsigned typeId;
};
template<class T> constexpr ArrayClass kClass{};
template<> constexpr ArrayClass kClass<gsl_Dot>{"gsl_DotArray", gsl_kDotArray};
template<> constexpr ArrayClass kClass<gsl_Plane>{"gsl_PlaneArray", gsl_kPlaneArray};
template<> constexpr ArrayClass kClass<gsl_StLine>{"gsl_LineArray", gsl_kLineArray};
} // namespace

template<class T> constexpr auto gsl_ObjectArray<T>::StoredFields() {
  return cls_Fields{cls_Field{"growthRatio_", &gsl_ObjectArray::growthRatio_},
                    cls_Field{"data_", &gsl_ObjectArray::data_}};
}

template<class T> unsigned gsl_ObjectArray<T>::TypeId() noexcept { return kClass<T>.typeId; }

template<class T> void* gsl_ObjectArray<T>::Ctor(cls_ReadVisitor& visitor) {
  return new gsl_ObjectArray(visitor);
}

template<class T> void gsl_ObjectArray<T>::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_ObjectArray>(registrar, kClass<T>.name, gsl_kVersion, StoredFields());
}

template<class T>
gsl_ObjectArray<T>::gsl_ObjectArray(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

template<class T> void gsl_ObjectArray<T>::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

template class gsl_ObjectArray<gsl_Dot>;
template class gsl_ObjectArray<gsl_Plane>;
template class gsl_ObjectArray<gsl_StLine>;
