// dst_Part.h: how one part of a split model fits to the others
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <CoreGeometry/DistributedExport.h>
#include <cstdint>
#include <vector>

/// The part that owns a node, of all parts that hold it (ascending, at least one). The same for everybody, and balanced.
CORE_GEOMETRY_DISTRIBUTED_API unsigned dst_OwnerOf(std::uint64_t node, std::span<const unsigned> holders);

/// Numbers in the whole mesh of a part's nodes and elements, and which of its nodes other parts hold, too. It is
/// stored as "split/part" beside the mesh.
///
/// Numbering  the index that node or element has in the whole mesh; local indices are those of the part's mesh. Both
///            ascend together.
/// Errors     damage when stored numbers do not ascend or do not fit to each other.
/// Stored as  identity, part, numParts, nodeNumbers, elementNumbers, sharedNodes, holderStarts, holders,
///            positionSubsets, positionStarts, positions
class CORE_GEOMETRY_DISTRIBUTED_API dst_Part {
public:
  /// Everything that a part is made of.
  struct Arrays {
    cow_ArrayCOW<unsigned> nodeNumbers, elementNumbers; ///< ascending
    cow_ArrayCOW<unsigned> sharedNodes;                 ///< local indices, ascending
    cow_ArrayCOW<unsigned> holderStarts;                ///< one for each shared node, and the end
    cow_ArrayCOW<unsigned> holders;                     ///< other parts, ascending for each shared node
    cow_ArrayCOW<unsigned> positionSubsets{};           ///< subsets whose order is not that of the numbers
    cow_ArrayCOW<unsigned> positionStarts{};            ///< one for each of them, and the end
    cow_ArrayCOW<unsigned> positions{};                 ///< of each entry in the whole subset
  };

  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dst_Part();
  dst_Part(cow_String identity, unsigned part, unsigned numParts, Arrays arrays);
  explicit dst_Part(const cls_ReadVisitor& visitor);
  dst_Part(const dst_Part&) = default;
  dst_Part& operator=(const dst_Part&) = default;
  virtual ~dst_Part();
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const cow_String& Identity() const noexcept { return identity_; } ///< of the split
  unsigned Number() const noexcept { return part_; }
  unsigned NumParts() const noexcept { return numParts_; }
  unsigned NumNodes() const noexcept { return static_cast<unsigned>(nodeNumbers_.Size()); }
  unsigned NumElements() const noexcept { return static_cast<unsigned>(elementNumbers_.Size()); }
  std::uint64_t NodeNumber(unsigned node) const noexcept { return NodeNumbers()[node]; }
  std::uint64_t ElementNumber(unsigned element) const noexcept { return ElementNumbers()[element]; }
  std::span<const unsigned> NodeNumbers() const noexcept { return nodeNumbers_.Const(); }
  std::span<const unsigned> ElementNumbers() const noexcept { return elementNumbers_.Const(); }
  /// Local index of a number, bme_kNotFound when this part does not hold it. O(log n)
  unsigned FindNode(std::uint64_t number) const noexcept;
  unsigned FindElement(std::uint64_t number) const noexcept;

  // shared nodes
  unsigned NumShared() const noexcept { return static_cast<unsigned>(sharedNodes_.Size()); }
  std::span<const unsigned> SharedNodes() const noexcept {
    return sharedNodes_.Const();
  } ///< local indices, ascending
  /// Position of a local node in SharedNodes(), bme_kNotFound when only this part holds it. O(log n)
  unsigned FindShared(unsigned node) const noexcept;
  std::span<const unsigned>
  OtherHolders(unsigned shared) const noexcept;  ///< of a position in SharedNodes(); ascending
  unsigned OwnerOfShared(unsigned shared) const; ///< part that owns it
  unsigned OwnerOfNode(unsigned node) const;     ///< of a local node, this part for most
  std::vector<unsigned> Neighbours() const;      ///< parts that share a node with this one, ascending

  /// Where the entries of a subset stand in the whole; empty when they ascend by number there. Subsets are counted
  /// through all sets of the index.
  std::span<const unsigned> PositionsOf(unsigned subset) const noexcept;
  bool operator==(const dst_Part& other) const;

private:
  static constexpr auto StoredFields();
  cow_String WhatIsWrong() const;

  cow_String identity_;
  unsigned part_ = 0, numParts_ = 0;
  cls_xp1DArrayListUint nodeNumbers_, elementNumbers_, sharedNodes_, holderStarts_, holders_,
      positionSubsets_, positionStarts_, positions_;
  cls_Uid uid_;
};
