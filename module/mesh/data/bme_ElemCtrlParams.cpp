#include <CoreGeometry/bme_ElemCtrlParams.h>

#include "bme_Component.h"

#include <cls_Fields.h>
#include <cmath>

constexpr auto bme_ElemCtrlParams::StoredFields() {
  using P = bme_ElemCtrlParams;
  return cls_Fields{cls_Field{"elemLib", &P::elemLib_},
                    cls_Field{"hrGlsStiffness", &P::hrGlsStiffness_},
                    cls_Field{"bendingHrGls", &P::bendingHrGls_},
                    cls_Field{"drillingHrGls", &P::drillingHrGls_},
                    cls_Field{"kineSplit", &P::kineSplit_},
                    cls_Field{"hrGlsControl", &P::hrGlsControl_},
                    cls_Field{"weightFactor", &P::weightFactor_},
                    cls_Field{"stressRate", &P::stressRate_},
                    cls_Field{"displHrGls", &P::displHrGls_},
                    cls_Field{"rotHrGls", &P::rotHrGls_},
                    cls_Field{"OOPDispHrGls", &P::oopDispHrGls_},
                    cls_Field{"soAccuracy", &P::soAccuracy_},
                    cls_Field{"distortionCtrl", &P::distortionCtrl_},
                    cls_Field{"lengthRatio", &P::lengthRatio_},
                    cls_Field{"elemDeletion", &P::elemDeletion_},
                    cls_Field{"maxDegradation", &P::maxDegradation_},
                    cls_Field{"viscosity", &P::viscosity_},
                    cls_Field{"linearBulkVisk", &P::linearBulkVisk_},
                    cls_Field{"quadraticBulkVisk", &P::quadraticBulkVisk_}};
}

unsigned bme_ElemCtrlParams::TypeId() noexcept { return bme_TypeId(9); }
unsigned bme_ElemCtrlParams::DynTypeId() const noexcept { return TypeId(); }
void* bme_ElemCtrlParams::Ctor(cls_ReadVisitor& visitor) { return new bme_ElemCtrlParams(visitor); }
void bme_ElemCtrlParams::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bme_ElemCtrlParams>(registrar, "bme_ElemCtrlParams", 868, StoredFields());
}

bme_ElemCtrlParams::bme_ElemCtrlParams() : uid_(cls_Uid::AllocateUid()) {}
bme_ElemCtrlParams::bme_ElemCtrlParams(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}
bme_ElemCtrlParams::~bme_ElemCtrlParams() = default;

void bme_ElemCtrlParams::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool bme_ElemCtrlParams::operator==(const bme_ElemCtrlParams& other) const noexcept {
  return cls_SameFields(*this, other, StoredFields());
}

namespace {
const bme_ElemCtrlParams& Defaults() {
  static const bme_ElemCtrlParams defaults;
  return defaults;
}

constexpr double kTolerance = 1e-6;
bool IsNear(double value, double wanted) noexcept { return std::fabs(value - wanted) < kTolerance; }

/// The reals that a section control may change.
constexpr double (bme_ElemCtrlParams::*kSectionReals[])() const noexcept = {
    &bme_ElemCtrlParams::WeightFactor,     &bme_ElemCtrlParams::DisplHrGls,
    &bme_ElemCtrlParams::RotHrGls,         &bme_ElemCtrlParams::OOPDispHrGls,
    &bme_ElemCtrlParams::LengthRatio,      &bme_ElemCtrlParams::MaxDegradation,
    &bme_ElemCtrlParams::Viscosity,        &bme_ElemCtrlParams::LinearBulkVisk,
    &bme_ElemCtrlParams::QuadraticBulkVisk};
} // namespace

bool bme_ElemCtrlParams::HasDefaultSectionControls(bme_ElemLibrary library) const noexcept {
  // explicit elements with controls of the standard library are judged as standard ones: the same test
  if (library == bme_EXPLICIT && elemLib_ == bme_STANDARD && HasDefaultSectionControls(bme_STANDARD))
    return true;
  const bme_ElemCtrlParams& defaults = Defaults();
  if (kineSplit_ != defaults.kineSplit_ || stressRate_ != defaults.stressRate_
      || elemDeletion_ != defaults.elemDeletion_ || hrGlsControl_ != bme_DEFAULT_HOURGLASS)
    return false;
  if (soAccuracy_ != defaults.soAccuracy_ && soAccuracy_ != bme_ACCURACY_UNKNOWN) return false;
  if (distortionCtrl_ != defaults.distortionCtrl_ && distortionCtrl_ != bme_DISTORTION_UNKNOWN) return false;
  for (const auto real : kSectionReals)
    if (!IsNear((this->*real)(), (defaults.*real)())) return false;
  return true;
}

bool bme_ElemCtrlParams::IsDefault(bme_ElemLibrary library) const noexcept {
  return HasDefaultSectionControls(library) && IsNear(hrGlsStiffness_, 0.0) && IsNear(bendingHrGls_, 0.0)
         && IsNear(drillingHrGls_, 0.0);
}
