// odiC_Exception.h: a failure of the output database that can be stored
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <CoreGeometry/CoreGeometryExport.h>

/// Failure in reading or writing results. It is thrown, or kept with the results it concerns.
///
/// Empty      the default has an empty message.
/// Stored as  message
class CORE_GEOMETRY_API odiC_Exception : public nex_Exception {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  explicit odiC_Exception(cow_String message = {});
  explicit odiC_Exception(const cls_ReadVisitor& visitor);
  odiC_Exception(const odiC_Exception&) = default;
  odiC_Exception& operator=(const odiC_Exception&) = default;
  ~odiC_Exception() override;

  // ask
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  const cls_Uid& Uid() const noexcept { return uid_; }

private:
  static constexpr auto StoredFields();

  cow_String message_; ///< what the base class says, in the form that is stored
  cls_Uid uid_;
};
