// bdo_EOReference.h: reference to an entity object by type and name
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <BasicUtils/cow_List.h>
#include <CoreGeometry/CoreGeometryExport.h>

/// Names an entity object of the model by its type and its name.
///
/// Empty      both texts are empty.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  eoType, eoName
class CORE_GEOMETRY_API bdo_EOReference {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  bdo_EOReference() = default;
  bdo_EOReference(cow_String eoType, cow_String eoName);
  explicit bdo_EOReference(const cls_ReadVisitor& visitor);
  bdo_EOReference(const bdo_EOReference&) = default;
  bdo_EOReference& operator=(const bdo_EOReference&) = default;
  virtual ~bdo_EOReference() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const cow_String& EoType() const noexcept { return eoType_; }
  const cow_String& EoName() const noexcept { return eoName_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  bool operator==(const bdo_EOReference& other) const; ///< same type and name
  /// True when the list holds a reference of exactly that type, whatever its name.
  static bool Contains(const cow_List<bdo_EOReference>& list, const cow_String& type);

  // change
  /// Removes every reference of exactly that type and name. A list without one is not touched, so that it
  /// stays shared.
  static void Delete(cow_List<bdo_EOReference>& list, const cow_String& type, const cow_String& name);

private:
  static constexpr auto StoredFields();

  cow_String eoType_, eoName_;
  cls_OwnUid uid_;
};
