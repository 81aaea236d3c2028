// bme_ElemCtrlParams.h: element formulation controls
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/CoreGeometryExport.h>

enum bme_ElemLibrary : int { bme_LIBRARY_UNKNOWN = 0, bme_STANDARD = 1, bme_EXPLICIT = 2 };
template<> struct omu_EnumTable<bme_ElemLibrary> {
  static constexpr const char* name = "bme_ElemLibrary";
  static constexpr omu_EnumEntry entries[] = {
      {bme_LIBRARY_UNKNOWN, "Unknown"}, {bme_STANDARD, "Standard"}, {bme_EXPLICIT, "Explicit"}};
};

enum bme_KinematicSplit : int { bme_AVERAGE_STRAIN = 1, bme_ORTHOGONAL = 2, bme_CENTROID = 3 };
template<> struct omu_EnumTable<bme_KinematicSplit> {
  static constexpr const char* name = "bme_KinematicSplit";
  static constexpr omu_EnumEntry entries[] = {
      {bme_AVERAGE_STRAIN, "Average strain"}, {bme_ORTHOGONAL, "Orthogonal"}, {bme_CENTROID, "Centroid"}};
};

enum bme_HourglassControl : int {
  bme_RELAX_STIFFNESS = 1,
  bme_STIFFNESS = 2,
  bme_VISCOUS = 3,
  bme_COMBINED = 4,
  bme_ENHANCED = 5,
  bme_DEFAULT_HOURGLASS = 6
};
template<> struct omu_EnumTable<bme_HourglassControl> {
  static constexpr const char* name = "bme_HourglassControl";
  static constexpr omu_EnumEntry entries[] = {{bme_RELAX_STIFFNESS, "Relax stiffness"},
                                              {bme_STIFFNESS, "Stiffness"},
                                              {bme_VISCOUS, "Viscous"},
                                              {bme_COMBINED, "Combined"},
                                              {bme_ENHANCED, "Enhanced"},
                                              {bme_DEFAULT_HOURGLASS, "Default Hourglass Control"}};
};

enum bme_StressRate : int { bme_POLAR = 1, bme_SPIN = 2 };
template<> struct omu_EnumTable<bme_StressRate> {
  static constexpr const char* name = "bme_StressRate";
  static constexpr omu_EnumEntry entries[] = {{bme_POLAR, "Polar"}, {bme_SPIN, "Spin"}};
};

enum bme_SoAccuracy : int { bme_ACCURACY_UNKNOWN = 0, bme_ACCURACY_ON = 1, bme_ACCURACY_OFF = 2 };
template<> struct omu_EnumTable<bme_SoAccuracy> {
  static constexpr const char* name = "bme_SoAccuracy";
  static constexpr omu_EnumEntry entries[] = {{bme_ACCURACY_UNKNOWN, "Accuracy unknown"},
                                              {bme_ACCURACY_ON, "Accuracy on"},
                                              {bme_ACCURACY_OFF, "Accuracy off"}};
};

enum bme_DistortionControl : int {
  bme_DISTORTION_UNKNOWN = 0,
  bme_DISTORTION_ON = 1,
  bme_DISTORTION_OFF = 2,
  bme_DISTORTION_DEFAULT = 3
};
template<> struct omu_EnumTable<bme_DistortionControl> {
  static constexpr const char* name = "bme_DistortionControl";
  static constexpr omu_EnumEntry entries[] = {{bme_DISTORTION_UNKNOWN, "Unknown Distortion Control"},
                                              {bme_DISTORTION_ON, "Distortion Control ON"},
                                              {bme_DISTORTION_OFF, "Distortion Control OFF"},
                                              {bme_DISTORTION_DEFAULT, "Default Distortion Control"}};
};

enum bme_ElemDeletion : int {
  bme_DELETION_UNKNOWN = 0,
  bme_DELETION_ON = 1,
  bme_DELETION_OFF = 2,
  bme_DELETION_DEFAULT = 3
};
template<> struct omu_EnumTable<bme_ElemDeletion> {
  static constexpr const char* name = "bme_ElemDeletion";
  static constexpr omu_EnumEntry entries[] = {{bme_DELETION_UNKNOWN, "Unknown Element Deletion"},
                                              {bme_DELETION_ON, "Element Deletion ON"},
                                              {bme_DELETION_OFF, "Element Deletion OFF"},
                                              {bme_DELETION_DEFAULT, "Default Element Deletion"}};
};

/// Formulation controls shared by all elements of one element class.
///
/// Tolerance  a real number is at its default when the difference is less than 1e-6; == compares every field
///            exactly.
/// Errors     values outside an enumeration's table are refused on writing, not before.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  19 fields, elemLib to quadraticBulkVisk (module/mesh/data/bme_ElemCtrlParams.cpp, StoredFields);
///            versions 203, 204 and 508 stay readable.
class CORE_GEOMETRY_API bme_ElemCtrlParams {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  bme_ElemCtrlParams(); ///< the defaults, with a fresh uid
  explicit bme_ElemCtrlParams(const cls_ReadVisitor& visitor);
  bme_ElemCtrlParams(const bme_ElemCtrlParams&) = default;
  bme_ElemCtrlParams& operator=(const bme_ElemCtrlParams&) = default;
  virtual ~bme_ElemCtrlParams();

  // ask
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  bool operator==(const bme_ElemCtrlParams& other) const noexcept;
  bool IsDefault() const noexcept { return IsDefault(elemLib_); }
  /// True for default section controls and no hourglass stiffness of any kind.
  bool IsDefault(bme_ElemLibrary library) const noexcept;
  bool HasDefaultSectionControls(bme_ElemLibrary library) const noexcept;

  bme_ElemLibrary ElemLib() const noexcept { return elemLib_; }
  double HrGlsStiffness() const noexcept { return hrGlsStiffness_; }
  double BendingHrGls() const noexcept { return bendingHrGls_; }
  double DrillingHrGls() const noexcept { return drillingHrGls_; }
  bme_KinematicSplit KineSplit() const noexcept { return kineSplit_; }
  bme_HourglassControl HrGlsControl() const noexcept { return hrGlsControl_; }
  double WeightFactor() const noexcept { return weightFactor_; }
  bme_StressRate StressRate() const noexcept { return stressRate_; }
  double DisplHrGls() const noexcept { return displHrGls_; }
  double RotHrGls() const noexcept { return rotHrGls_; }
  double OOPDispHrGls() const noexcept { return oopDispHrGls_; }
  bme_SoAccuracy SoAccuracy() const noexcept { return soAccuracy_; }
  bme_DistortionControl DistortionCtrl() const noexcept { return distortionCtrl_; }
  double LengthRatio() const noexcept { return lengthRatio_; }
  bme_ElemDeletion ElemDeletion() const noexcept { return elemDeletion_; }
  double MaxDegradation() const noexcept { return maxDegradation_; }
  double Viscosity() const noexcept { return viscosity_; }
  double LinearBulkVisk() const noexcept { return linearBulkVisk_; }
  double QuadraticBulkVisk() const noexcept { return quadraticBulkVisk_; }

  // change
  void SetElemLib(bme_ElemLibrary value) noexcept { elemLib_ = value; }
  void SetHrGlsStiffness(double value) noexcept { hrGlsStiffness_ = value; }
  void SetBendingHrGls(double value) noexcept { bendingHrGls_ = value; }
  void SetDrillingHrGls(double value) noexcept { drillingHrGls_ = value; }
  void SetKineSplit(bme_KinematicSplit value) noexcept { kineSplit_ = value; }
  void SetHrGlsControl(bme_HourglassControl value) noexcept { hrGlsControl_ = value; }
  void SetWeightFactor(double value) noexcept { weightFactor_ = value; }
  void SetStressRate(bme_StressRate value) noexcept { stressRate_ = value; }
  void SetDisplHrGls(double value) noexcept { displHrGls_ = value; }
  void SetRotHrGls(double value) noexcept { rotHrGls_ = value; }
  void SetOOPDispHrGls(double value) noexcept { oopDispHrGls_ = value; }
  void SetSoAccuracy(bme_SoAccuracy value) noexcept { soAccuracy_ = value; }
  void SetDistortionCtrl(bme_DistortionControl value) noexcept { distortionCtrl_ = value; }
  void SetLengthRatio(double value) noexcept { lengthRatio_ = value; }
  void SetElemDeletion(bme_ElemDeletion value) noexcept { elemDeletion_ = value; }
  void SetMaxDegradation(double value) noexcept { maxDegradation_ = value; }
  void SetViscosity(double value) noexcept { viscosity_ = value; }
  void SetLinearBulkVisk(double value) noexcept { linearBulkVisk_ = value; }
  void SetQuadraticBulkVisk(double value) noexcept { quadraticBulkVisk_ = value; }

private:
  static constexpr auto StoredFields();

  bme_ElemLibrary elemLib_ = bme_LIBRARY_UNKNOWN;
  double hrGlsStiffness_ = 0.0;
  double bendingHrGls_ = 0.0;
  double drillingHrGls_ = 0.0;
  bme_KinematicSplit kineSplit_ = bme_AVERAGE_STRAIN;
  bme_HourglassControl hrGlsControl_ = bme_DEFAULT_HOURGLASS;
  double weightFactor_ = 0.5;
  bme_StressRate stressRate_ = bme_POLAR;
  double displHrGls_ = 1.0;
  double rotHrGls_ = 1.0;
  double oopDispHrGls_ = 1.0;
  bme_SoAccuracy soAccuracy_ = bme_ACCURACY_OFF;
  bme_DistortionControl distortionCtrl_ = bme_DISTORTION_DEFAULT;
  double lengthRatio_ = 0.1;
  bme_ElemDeletion elemDeletion_ = bme_DELETION_DEFAULT;
  double maxDegradation_ = 0.0;
  double viscosity_ = 0.0;
  double linearBulkVisk_ = 1.0;
  double quadraticBulkVisk_ = 1.0;
  cls_Uid uid_;
};
