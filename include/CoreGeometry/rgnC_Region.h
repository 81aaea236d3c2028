// rgnC_Region.h: named set or surface of the model
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CaeUtils/mdl_PropAttr.h>
#include <CaeUtils/omu_Prim.h>
#include <CoreGeometry/rgnC_Shortcuts.h>

/// Kind of a region. Registered for users of regions; no stored field of this module has this type.
enum rgnC_SetType : int {
  rgnC_GEOMETRY_SET = 0,
  rgnC_NODE_SET = 1,
  rgnC_ELEMENT_SET = 2,
  rgnC_GEOMETRY_SURFACE = 3,
  rgnC_MESH_SURFACE = 4,
  rgnC_NONE = 5
};
template<> struct omu_EnumTable<rgnC_SetType> {
  static constexpr const char* name = "rgnC_SetType";
  static constexpr omu_EnumEntry entries[] = {
      {rgnC_GEOMETRY_SET, "Geometry set"}, {rgnC_NODE_SET, "Node set"},
      {rgnC_ELEMENT_SET, "Element set"},   {rgnC_GEOMETRY_SURFACE, "Geometry surface"},
      {rgnC_MESH_SURFACE, "Mesh surface"}, {rgnC_NONE, "None"}};
};

/// What one side of a pair stands for. Registered for users of regions, too.
enum rgnC_GroundEnum : int { rgnC_ATTACH_TO_REGION = 0, rgnC_GROUND = 1 };
template<> struct omu_EnumTable<rgnC_GroundEnum> {
  static constexpr const char* name = "rgnC_GroundEnum";
  static constexpr omu_EnumEntry entries[] = {{rgnC_ATTACH_TO_REGION, "ATTACH_TO_REGION"},
                                              {rgnC_GROUND, "GROUND"}};
};

/// Names a set or surface by its name and by its owners, and refers to its contents by path.
///
/// The root assembly is called "Assembly"; the older name "rootAssembly" is replaced whenever a region is
/// read.
///
/// Empty      the default has no name, no owners, and refers to nothing.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  name, internal, _ownerNames, _space, _setTypeBits, setData
class CORE_GEOMETRY_API rgnC_Region {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  rgnC_Region() = default;
  explicit rgnC_Region(const cls_ReadVisitor& visitor);
  rgnC_Region(const rgnC_Region&) = default;
  rgnC_Region& operator=(const rgnC_Region&) = default;
  virtual ~rgnC_Region() = default;
  virtual rgnC_Region* Copy() const; ///< owned by the caller
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const cow_String& Name() const noexcept { return name_; }
  bool IsInternal() const noexcept { return internal_; }
  const cow_List<cow_String>& OwnerNames() const noexcept { return ownerNames_.List(); } ///< outermost first
  int Space() const noexcept { return space_; }
  int GetSetTypeBits() const noexcept { return setTypeBits_; }
  const rgnC_SetDataShortcut& GetSetData() const noexcept { return setData_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// The contents, read from the thread's database (ddr_DatabaseRoot). Raises "Cannot retrieve set - shortcut
  /// is undefined", or the error of the database for a path without an object.
  rgnC_SetData ConstSet() const;
  /// True for the same name, space, type bits and internal flag, and the same owners. Two regions with one
  /// owner each, both of which have "Assembly" in their names, have the same owner. The reference to the
  /// contents is not compared.
  bool operator==(const rgnC_Region& other) const;

  // change
  void SetName(cow_String name) { name_ = std::move(name); }
  void SetInternal(bool internal) noexcept { internal_ = internal; }
  void SetOwnerNames(cow_List<cow_String> names) { ownerNames_ = cls_xpListString(std::move(names)); }
  void SetSpace(int space) noexcept { space_ = space; }
  void SetSetTypeBits(int bits) noexcept { setTypeBits_ = bits; }
  void SetSetData(rgnC_SetDataShortcut setData) { setData_ = std::move(setData); }

private:
  static constexpr auto StoredFields();

  cow_String name_;
  bool internal_ = false;
  cls_xpListString ownerNames_;
  int space_ = 0;
  int setTypeBits_ = 0;
  rgnC_SetDataShortcut setData_;
  cls_OwnUid uid_;
};

/// (name, internal, owner names, space, type bits, path of the contents or empty).
CORE_GEOMETRY_API omu_Prim omu_ReturnPrim(const rgnC_Region& region);
/// The inverse; omu_ValueErrorException for a value of another form, which leaves the region unchanged.
CORE_GEOMETRY_API void omu_Get(const omu_Prim& prim, rgnC_Region& region);

/// Regions that a model passes on to objects that are derived from it.
using rgnC_RegionList = cls_xoList<rgnC_Region>;
using rgnC_RegionListPropAttr = mdl_PropAttr<rgnC_RegionList>;
template<> struct mdl_StoredPropAttr<rgnC_RegionList> {
  static constexpr unsigned typeId = 39059459;
  static constexpr const char* name = "mdl_PropAttr";
};
