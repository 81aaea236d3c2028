// odiC_Stored.h: what every stored description of results has in common
#pragma once

#include <BasicUtils/cls_Uid.h>
#include <BasicUtils/cls_Visitors.h>
#include <CoreGeometry/CoreGeometryExport.h>

class cls_ClassRegistrar;

/// The functions of a persistent class whose members are its stored fields. Self has kName, kOrdinal and the list
/// of its fields.
template<class Self> class CORE_GEOMETRY_API odiC_Stored {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  const cls_Uid& Uid() const noexcept { return uid_; }

protected:
  odiC_Stored();
  explicit odiC_Stored(const cls_ReadVisitor& visitor);
  odiC_Stored(const odiC_Stored&) = default;
  odiC_Stored& operator=(const odiC_Stored&) = default;
  virtual ~odiC_Stored();
  void ReadFields(const cls_ReadVisitor& visitor);

private:
  cls_Uid uid_;
};
