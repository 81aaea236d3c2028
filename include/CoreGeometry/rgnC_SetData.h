// rgnC_SetData.h: the contents of a set or surface
#pragma once

#include <CaeUtils/mdl_MapInt2ObjCow.h>
#include <CoreGeometry/rgnC_SubsetData.h>

/// A set, given by its subsets.
///
/// Empty      the default is a node set without subsets, not constructed.
/// Errors     nex_TextException as stated.
/// Cost       copy O(1): the subsets are shared.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  setIndex, setLabel, subsetList, numSubset, setType, internalSet, unsorted, constructionOk
class CORE_GEOMETRY_API rgnC_SetData {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  rgnC_SetData() = default;
  explicit rgnC_SetData(const cls_ReadVisitor& visitor);
  rgnC_SetData(const rgnC_SetData&) = default;
  rgnC_SetData& operator=(const rgnC_SetData&) = default;
  virtual ~rgnC_SetData() = default;
  virtual rgnC_SetData* Copy() const;  ///< owned by the caller
  rgnC_SetData WithoutSubsets() const; ///< the same set, into which subsets can be appended
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  int GetSetIndex() const noexcept { return setIndex_; }
  const cow_String& GetSetLabel() const noexcept { return setLabel_; }
  int NumSubset() const noexcept { return numSubset_; }
  res_SetTypeEnm GetSetType() const noexcept { return setType_; }
  bool IsInternal() const noexcept { return internalSet_; }
  bool IsUnsorted() const noexcept { return unsorted_; }
  bool IsConstructionOk() const noexcept { return constructionOk_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// Raises "Set data index outside range ..." for a position that has no subset.
  const rgnC_SubsetData& SubSet(int position) const;
  /// The first subset, by position, of that mesh, class and kind; SURFACE_SET also finds facets, but not the
  /// other way round. Raises "No set matching ..." when there is none.
  const rgnC_SubsetData& SubSet(int meshIndex, int classIndex, res_SetTypeEnm type) const;
  /// Same type and equal subsets; labels, index and flags are not compared.
  bool IsEqual(const rgnC_SetData& other) const;
  bool operator==(const rgnC_SetData& other) const { return IsEqual(other); }
  /// Prints to the debug stream: its own lines, then those of each subset.
  void Print() const;

  // change
  void SetIndex(int index) noexcept { setIndex_ = index; }
  void SetLabel(cow_String label) { setLabel_ = std::move(label); }
  void SetType(res_SetTypeEnm type) noexcept { setType_ = type; }
  void SetInternal(bool internal) noexcept { internalSet_ = internal; }
  void SetUnsorted(bool unsorted) noexcept { unsorted_ = unsorted; }
  void SetConstructionOk(bool ok) noexcept { constructionOk_ = ok; }
  void AppendSubset(cow_COW<rgnC_SubsetData> subset); ///< at position NumSubset(); it must not be null
  void AppendSubset(const rgnC_SubsetData& subset);   ///< a copy of it

private:
  static constexpr auto StoredFields();

  int setIndex_ = 0;
  cow_String setLabel_;
  mdl_MapInt2ObjCow<rgnC_SubsetData> subsetList_;
  int numSubset_ = 0;
  res_SetTypeEnm setType_ = res_NODE_SET;
  bool internalSet_ = false;
  bool unsorted_ = false;
  bool constructionOk_ = false;
  cls_OwnUid uid_;
};
