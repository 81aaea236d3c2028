// dtu_DatumContainer.h: the datums of one part
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <BasicUtils/cow_Map.h>
#include <CaeUtils/mdl_MapInt2ObjCow.h>
#include <CoreGeometry/dtu_Datum.h>
#include <vector>

class dtmC_DatumRef;
struct dtu_6dofNodeCoord;
struct dtu_NodesCoordPackage;

/// Names by identifier and identifiers by name. Stored as texts in the order of the identifiers; after
/// reading, the identifiers are the positions 0, 1, ... .
class CORE_GEOMETRY_API dtu_DatumNames {
public:
  static constexpr cls_AttributeType kStoredAs = cls_AttributeType::StringList;

  dtu_DatumNames() = default;
  explicit dtu_DatumNames(const cls_ReadVisitor& visitor);
  void DBWrite(const cls_WriteVisitor& visitor) const;

  int Count() const noexcept { return static_cast<int>(names_.Size()); }
  const cow_String* Find(int id) const { return names_.Find(id); } ///< null when there is none
  const int* Find(const cow_String& name) const { return ids_.Find(name); }
  void Set(int id, const cow_String& name); ///< in place of an earlier name
  void Erase(int id);
  bool operator==(const dtu_DatumNames& other) const { return names_ == other.names_; }

private:
  cow_Map<int, cow_String> names_;
  cow_Map<cow_String, int> ids_;
};

/// The datums of one part, by identifier from 1 to 2147483647, each with a unique name. The identifier of a
/// datum is its key in the container (dtu_Datum::GetOwnerFeatID).
///
/// By convention a model stores the datums of the mesh "meshes/<mesh>" as "datums/<mesh>", in the coordinates
/// of that mesh.
///
/// Empty      the default has no datums and no owners. A null reference finds nothing.
/// Errors     nex_TextException naming identifier or name: used already, not there, or of another kind than
///            the call needs. A call that throws changes nothing.
/// Cost       copy O(1): the datums are shared, and a change copies the table of handles and the datums that
///            it changes. Look-up O(log n).
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  _ownerNames, _datums, _names, _next_feat_id
class CORE_GEOMETRY_API dtu_DatumContainer {
public:
  using Datums = mdl_MapInt2ObjCow<dtu_Datum, cow_Virtual<dtu_Datum>>;

  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_DatumContainer() = default;
  explicit dtu_DatumContainer(const cls_ReadVisitor& visitor);
  dtu_DatumContainer(const dtu_DatumContainer&) = default;
  dtu_DatumContainer& operator=(const dtu_DatumContainer&) = default;
  virtual ~dtu_DatumContainer() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  int Count() const noexcept { return datums_.Count(); }
  auto begin() const noexcept {
    return datums_.begin();
  } ///< (identifier, handle) pairs, identifiers ascending
  auto end() const noexcept { return datums_.end(); }
  const cow_List<cow_String>& OwnerNames() const noexcept { return ownerNames_.List(); } ///< outermost first
  const dtu_Datum* Find(int id) const; ///< null when there is none, as for every Find
  const dtu_Datum* Find(const cow_String& name) const;
  /// The datum that the reference equals (dtmC_DatumRef): by the owner names of the container, or by the
  /// datum's instance (dtu_Datum::GetInstFeatID). A reference to an axis finds coordinate systems only.
  const dtu_Datum* Find(const dtmC_DatumRef& reference) const;
  std::vector<int> OfKind(dtu_DatumType kind) const; ///< identifiers, ascending
  const dtu_Datum& Get(int id) const;                ///< raises when there is none
  const cow_String& NameOf(int id) const;            ///< raises when there is no such datum
  int IdOf(const cow_String& name) const;            ///< raises when there is no such datum
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// True for equal owners and for equal datums with the same names.
  bool operator==(const dtu_DatumContainer& other) const;

  // change
  void SetOwnerNames(cow_List<cow_String> names) { ownerNames_ = cls_xpListString(std::move(names)); }
  /// Stores a copy of the datum and returns its identifier: the datum's own, or when that is 0 the next free
  /// one, which is above every identifier that was ever in use.
  int Add(const dtu_Datum& datum, const cow_String& name);
  /// Replaces a datum by a copy of another one of any class, which gets its identifier and name.
  void Replace(int id, const dtu_Datum& datum);
  void Rename(int id, const cow_String& name);
  void Remove(int id);
  void TransformData(const gsl_Matrix& matrix); ///< moves the geometry of all
  void UpdateOutlines(const gsl_BBox& box);     ///< of axes and planes
  /// For a system that follows three nodes; false, and its frame is kept, when they are colinear.
  bool Regenerate(int id, const dtu_NodesCoordPackage& coords, bool display);
  /// For a system that follows one node.
  void Regenerate(int id, const dtu_6dofNodeCoord& coords, bool display);

private:
  static constexpr auto StoredFields();
  void ExpectFreeName(const cow_String& name) const;
  template<class Csys> Csys& ToRegenerate(int id, const char* kind);

  cls_xpListString ownerNames_;
  Datums datums_;
  dtu_DatumNames names_;
  unsigned nextId_ = 1;
  cls_OwnUid uid_;
};
