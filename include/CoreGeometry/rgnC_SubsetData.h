// rgnC_SubsetData.h: the part of a set that lies in one element class of one mesh
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/res_SetType.h>
#include <CoreUtils/omi_LabelTable.h>

/// Items of one kind in one element class of one mesh: ids, and for facets which side of each.
///
/// Ids are mesh indices of nodes or elements, counted from 0 over the whole mesh; rgnC_Facet.h explains facet
/// ids. The mesh index is the identifier of the mesh.
///
/// Empty      the default is a node set without items, not constructed.
/// Errors     nex_TextException as stated; a stored subset with a different number of facet ids than ids is
///            refused.
/// Cost       copy O(1): ids and the look-up table are shared.
/// Threads    a value; the first LookupIndex of an object builds its table, so it must not be called from two
///            threads at once.
/// Stored as  setIndex, subsetIndex, idArray, facetIdArray, subsetType, unsorted, meshIndex, classIndex,
///            constructionOk
class CORE_GEOMETRY_API rgnC_SubsetData {
public:
  using Ids = cls_xp1DArrayListInt;
  static constexpr int kNotFound = 2147483647;
  static constexpr int kNoClass = -1; ///< class index of node sets: nodes belong to no element class

  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  rgnC_SubsetData() = default;
  /// Raises "Error - wrong facet ids array length." unless there are no facet ids or one for each id.
  rgnC_SubsetData(int meshIndex, int classIndex, int subsetIndex, int setIndex, res_SetTypeEnm subsetType,
                  bool unsorted, Ids idArray, Ids facetIdArray);
  explicit rgnC_SubsetData(const cls_ReadVisitor& visitor);
  rgnC_SubsetData(const rgnC_SubsetData&) = default;
  rgnC_SubsetData& operator=(const rgnC_SubsetData&) = default;
  virtual ~rgnC_SubsetData() = default;
  virtual rgnC_SubsetData* Copy() const;                          ///< owned by the caller
  rgnC_SubsetData WithItems(Ids idArray, Ids facetIdArray) const; ///< the same subset of other items
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  int GetSetIndex() const noexcept { return setIndex_; }
  int SubsetIndex() const noexcept { return subsetIndex_; }
  int NumItems() const noexcept { return static_cast<int>(idArray_.Size()); }
  std::span<const int> IdArray() const noexcept { return idArray_.Const(); }
  std::span<const int> FacetIdArray() const noexcept { return facetIdArray_.Const(); } ///< may be empty
  res_SetTypeEnm SubsetType() const noexcept { return subsetType_; }
  bool IsUnsorted() const noexcept { return unsorted_; }
  int MeshIndex() const noexcept { return meshIndex_; }
  int ClassIndex() const noexcept { return classIndex_; }
  bool IsConstructionOk() const noexcept { return constructionOk_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// Position of an id, the first one if there are several; kNotFound when it is missing.
  int LookupIndex(int id) const;
  /// Same mesh, class and kind, same ids and facet ids in the same order.
  bool operator==(const rgnC_SubsetData& other) const;
  /// To the debug print stream, at debug level 3 of component 596 or more. Raises "Error - set not loaded."
  /// without items, whatever the level.
  void Print() const;

private:
  static constexpr auto StoredFields();

  int setIndex_ = 0, subsetIndex_ = 0;
  Ids idArray_, facetIdArray_;
  res_SetTypeEnm subsetType_ = res_NODE_SET;
  bool unsorted_ = false;
  int meshIndex_ = 0, classIndex_ = 0;
  bool constructionOk_ = false;
  cls_OwnUid uid_;
  mutable std::shared_ptr<const omi_LabelTable> positions_; ///< never stored
};
