// dst_Index.h: what is known about a whole split model without opening its parts
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CoreGeometry/dst_ClassRange.h>
#include <CoreGeometry/gsl_BBox.h>
#include <vector>

/// What the index says about a part.
struct dst_PartFacts {
  std::uint64_t numElements = 0, numNodes = 0, numOwned = 0, numShared = 0;
  float box[6] = {0, 0, 0, -1, -1, -1}; ///< of the curved elements and all nodes: minimum, maximum
  int nodeLabels[2] = {1, 0}; ///< smallest and largest; the first is the larger one when there are none
  int elementLabels[2] = {1, 0};
  std::vector<unsigned> neighbours{}; ///< parts that share a node with it, ascending
  cow_String hash{};                  ///< of its mesh and split arrays

  gsl_BBox Box() const;
  friend bool operator==(const dst_PartFacts&, const dst_PartFacts&) = default;
};

/// Where a split comes from and how it was made.
struct dst_Origin {
  cow_String identity{};    ///< of the split: the same for the same source and options
  cow_String source{};      ///< name of the file
  cow_String fingerprint{}; ///< of what was read from it
  cow_String mesh{};        ///< name of the mesh: "Wing" of "meshes/Wing"
  cow_String method{};      ///< "auto", "metis", "curve", "given"
  int seed = 0;
};

/// Whole model of a split: totals, element classes, parts, sets. Stored as "split/index" in index.cgdb.
///
/// Range      4294967295 nodes and elements each.
/// Errors     nex_TextException for numbers beyond that; damage when what is stored does not fit.
/// Stored as  24 fields, identity to subsetEntries (module/split/dst_Index.cpp, StoredFields)
class CORE_GEOMETRY_DISTRIBUTED_API dst_Index {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dst_Index();
  /// Gives the classes their numbers, one after the other.
  dst_Index(const dst_Origin& origin, std::uint64_t numNodes, bool hasNodeLabels,
            std::span<const dst_ClassRange> classes);
  explicit dst_Index(const cls_ReadVisitor& visitor);
  dst_Index(const dst_Index&) = default;
  dst_Index& operator=(const dst_Index&) = default;
  virtual ~dst_Index();
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  dst_Origin Origin() const;
  const cow_String& Identity() const noexcept { return identity_; }
  const cow_String& MeshName() const noexcept { return mesh_; }
  unsigned NumParts() const noexcept { return static_cast<unsigned>(partElements_.Size()); }
  std::uint64_t NumNodes() const noexcept { return numNodes_; }
  std::uint64_t NumElements() const noexcept { return numElements_; }
  bool HasNodeLabels() const noexcept { return hasNodeLabels_; } ///< the whole has; parts always have
  bool HasElementLabels() const noexcept; ///< false: they are implicit, 1 to NumElements()
  gsl_BBox Box() const;                   ///< of the nodes, as bme_Mesh::GetBBox() of the whole
  unsigned NumClasses() const noexcept { return static_cast<unsigned>(classes_.Size()); }
  const dst_ClassRange& Class(unsigned classIndex) const {
    return classes_.ConstGet(static_cast<int>(classIndex));
  }
  unsigned ClassOf(std::uint64_t element) const; ///< class index of an element's number
  dst_PartFacts Part(unsigned part) const;
  unsigned NumSets() const noexcept { return static_cast<unsigned>(setRoots_.List().Size()); }
  const cow_String& SetRoot(unsigned set) const { return setRoots_.List().ConstGet(static_cast<int>(set)); }
  unsigned FirstSubset(unsigned set) const {
    return subsetStarts_.Const()[set];
  } ///< counted through all sets
  unsigned NumSubsets(unsigned set) const { return FirstSubset(set + 1) - FirstSubset(set); }
  /// Number of entries in the whole; shared nodes count once.
  std::uint64_t NumEntries(unsigned set, unsigned subset) const;
  bool operator==(const dst_Index& other) const;

  // change
  void AddPart(const dst_PartFacts& facts);
  void AddSet(const cow_String& root, std::span<const std::uint64_t> entriesOfSubsets);
  void SetBox(std::span<const float, 6> box); ///< minimum, maximum

private:
  static constexpr auto StoredFields();
  cow_String WhatIsWrong() const;

  cow_String identity_, source_, fingerprint_, mesh_, method_;
  int seed_ = 0;
  unsigned numNodes_ = 0, numElements_ = 0;
  bool hasNodeLabels_ = false;
  cls_xp1DArrayList<float> box_;
  cls_xo1DArrayList<dst_ClassRange> classes_;
  cls_xp1DArrayListUint partElements_, partNodes_, partOwned_, partShared_;
  cls_xp1DArrayList<float> partBoxes_;
  cls_xp1DArrayListInt nodeLabelRanges_, elementLabelRanges_;
  cls_xp1DArrayListUint neighbourStarts_, neighbours_;
  cls_xpListString partHashes_, setRoots_;
  cls_xp1DArrayListUint subsetStarts_;
  cls_xp1DArrayList<double> subsetEntries_; ///< whole numbers: there can be more than 32 bits hold
  cls_Uid uid_;
};
