// dtmC_DatumRef.h: reference to a datum of a part instance
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <CoreGeometry/CoreGeometryExport.h>

/// Refers to a datum, or to an axis of a datum coordinate system, by the names of its owners or by the part
/// instance.
///
/// Empty      a null reference has the datum identifier 0; the axis 0 means the datum itself.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _ownerNames, _datumId, _instanceId, _axisId
class CORE_GEOMETRY_API dtmC_DatumRef {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtmC_DatumRef() = default;
  dtmC_DatumRef(int datumId, int instanceId, const cow_String& ownerName, int axisId);
  dtmC_DatumRef(int datumId, int instanceId, const cow_List<cow_String>& ownerNames, int axisId);
  explicit dtmC_DatumRef(const cls_ReadVisitor& visitor);
  dtmC_DatumRef(const dtmC_DatumRef&) = default;
  dtmC_DatumRef& operator=(const dtmC_DatumRef&) = default;
  virtual ~dtmC_DatumRef() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  bool IsNullRef() const noexcept { return datumId_ == 0; } ///< whatever its other fields are
  const cow_List<cow_String>& OwnerNames() const noexcept { return ownerNames_.List(); } ///< outermost first
  int DatumId() const noexcept { return datumId_; }
  int InstanceId() const noexcept { return instanceId_; }
  int AxisId() const noexcept { return axisId_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// Same datum and axis, and the same owner names or the same instance: a reference by instance matches one
  /// by names. Not transitive; two references without owner names are equal whatever their instances.
  bool operator==(const dtmC_DatumRef& other) const;

private:
  static constexpr auto StoredFields();

  cls_xpListString ownerNames_;
  int datumId_ = 0;
  int instanceId_ = 0;
  int axisId_ = 0;
  cls_OwnUid uid_;
};
