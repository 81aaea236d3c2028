// dst_Model.h: a split model that is worked on through an exchange
#pragma once

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/dst_Exchange.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <memory>
#include <optional>

/// The mesh of a split model: N parts on the ranks of an exchange.
///
/// Numbering  nodes and elements of the whole mesh, as in one mesh; parts have local indices.
/// Errors     a part that is asked for and cannot be opened: nex_TextException, in the work of that part.
/// Cost       the part that was asked for last is kept, so a rank with one part opens it once.
/// Threads    as dst_Exchange, to which it refers.
class CORE_GEOMETRY_DISTRIBUTED_API dst_Mesh {
public:
  using Opener = std::function<dst_OpenPart(unsigned part)>;

  dst_Mesh(dst_Exchange& exchange, const dst_Index& index, Opener open);

  // ask
  const dst_Index& Index() const noexcept { return *index_; }
  unsigned NumParts() const noexcept { return index_->NumParts(); }
  std::uint64_t NumNodes() const noexcept { return index_->NumNodes(); }
  std::uint64_t NumElements() const noexcept { return index_->NumElements(); }
  dst_Exchange& Exchange() const; ///< with the parts of this mesh
  /// An own part, opened unless it was asked for last; valid until another one is.
  const dst_OpenPart& Part(unsigned part) const;
  /// User label of an element of a part in the whole mesh: its number + 1 when labels are implicit there.
  int ElementLabel(const dst_OpenPart& part, unsigned element) const;

private:
  struct Kept {
    unsigned number = 0;
    std::optional<dst_OpenPart> part;
  };
  dst_Exchange* exchange_;
  std::shared_ptr<const dst_Index> index_;
  Opener open_;
  std::shared_ptr<Kept> kept_;
};

/// A folder with a split model, for all ranks. The exchange, to which it refers, gets as many parts.
///
/// Cost       the first rank reads the index and broadcasts it; the others open no more than their own parts.
/// Errors     those of dst_SplitFolder, on all ranks; a mesh of another name: nex_TextException.
class CORE_GEOMETRY_DISTRIBUTED_API dst_Model {
public:
  dst_Model(const cow_String& folder, dst_Exchange& exchange);

  const dst_SplitFolder& Folder() const noexcept { return *folder_; }
  const dst_Index& Index() const noexcept { return folder_->Index(); }
  dst_Mesh Mesh() const; ///< the one that is split
  dst_Mesh Mesh(const cow_String& name) const;

private:
  void ShareIndex(const cow_String& folder);

  dst_Exchange* exchange_;
  std::shared_ptr<const dst_SplitFolder> folder_;
};

/// Which elements of each part are meant.
class CORE_GEOMETRY_DISTRIBUTED_API dst_Elements {
public:
  using Choice = std::function<bme_FEMElemList(const dst_OpenPart&)>;

  explicit dst_Elements(Choice choice) : choice_(std::move(choice)) {}
  static dst_Elements All();
  static dst_Elements
  OfClass(unsigned classIndex); ///< nex_OutOfRangeException in every part that has no such class
  /// Of a stored set by its root, as "sets/Wing/skin": elements, and those of faces and edges.
  static dst_Elements OfSet(const cow_String& root);

  bme_FEMElemList In(const dst_OpenPart& part) const { return choice_(part); }

private:
  Choice choice_;
};
