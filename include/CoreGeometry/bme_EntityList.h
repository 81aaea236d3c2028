// bme_EntityList.h: what lists of nodes, elements, faces and edges have in common
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/bme_LastingMesh.h>
#include <CoreUtils/cow_String.h>
#include <algorithm>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

enum class bme_SetOperation { Union, Intersection, Difference, SymmetricDifference };

/// What to do with labels and indices that are not in the mesh.
enum class bme_Unknown {
  Refuse, ///< nex_TextException naming the first twenty and their number
  Skip
};

/// Which nodes of an element, a face or an edge are meant.
enum class bme_NodesOf { All, Corners };

/// Whether an entity is included when any of its nodes is selected, or only when all are.
enum class bme_Touching { AnyNode, AllNodes };

/// Labels as "1:100:2,205": three or more labels with a constant step become first:last or first:last:step.
CORE_GEOMETRY_API cow_String bme_CompactLabels(std::span<const int> labels);

/// The labels that such a text names, in its order: numbers and ranges between commas, with optional spaces.
/// nex_TextException names the part and its position when the part is no number or range, when a step is 0 or
/// leads away from the end, and when there are more than a hundred million labels.
CORE_GEOMETRY_API std::vector<int> bme_LabelsOfText(std::string_view text);

/// Combines two lists of words, both in mesh order; nex_TextException when they belong to different meshes.
CORE_GEOMETRY_API std::vector<unsigned> bme_CombineWords(bme_SetOperation operation, const bme_Mesh& meshA,
                                                         std::span<const unsigned> a, const bme_Mesh& meshB,
                                                         std::span<const unsigned> b, bool areAddresses);

/// Entities of one mesh, each once, in mesh order: node or element indices, or words of faces or edges.
///
/// The list refers to its mesh, which must outlive it and must not move; it is not told when the mesh
/// changes.
///
/// Errors     nex_TextException when lists of different meshes are combined.
/// Cost       set operations are linear in the lengths of the two lists; Contains is a binary search.
/// Threads    a value: concurrent reads are safe, and copies are independent.
template<class List> class bme_EntityList {
public:
  // ask
  const bme_Mesh& Mesh() const noexcept { return *mesh_; }
  std::size_t Count() const noexcept { return words_.size(); }
  bool IsEmpty() const noexcept { return words_.empty(); }
  std::span<const unsigned> Words() const noexcept { return words_; }
  unsigned operator[](std::size_t i) const noexcept { return words_[i]; }
  auto begin() const noexcept { return words_.begin(); }
  auto end() const noexcept { return words_.end(); }
  bool Contains(unsigned word) const noexcept {
    return List::kAreAddresses ? std::ranges::binary_search(words_, bme_MeshOrder(word), {}, bme_MeshOrder)
                               : std::ranges::binary_search(words_, word);
  }
  bool operator==(const bme_EntityList& other) const noexcept {
    return mesh_ == other.mesh_ && words_ == other.words_;
  }

  // make
  List Union(const List& other) const { return Combine(bme_SetOperation::Union, other); }
  List Intersection(const List& other) const { return Combine(bme_SetOperation::Intersection, other); }
  List Difference(const List& other) const { return Combine(bme_SetOperation::Difference, other); }
  List SymmetricDifference(const List& other) const {
    return Combine(bme_SetOperation::SymmetricDifference, other);
  }
  List Complement() const { return List::All(Mesh()).Difference(static_cast<const List&>(*this)); }

protected:
  explicit bme_EntityList(bme_LastingMesh mesh) : mesh_(&*mesh) {}
  /// Words in any order, with or without repetitions.
  bme_EntityList(bme_LastingMesh mesh, std::vector<unsigned> words)
      : mesh_(&*mesh), words_(std::move(words)) {
    const auto arrange = [&](auto order) {
      if (!std::ranges::is_sorted(words_, {}, order)) std::ranges::sort(words_, {}, order);
    };
    if constexpr (List::kAreAddresses)
      arrange(bme_MeshOrder);
    else
      arrange(std::identity());
    words_.erase(std::unique(words_.begin(), words_.end()), words_.end());
  }

private:
  List Combine(bme_SetOperation operation, const List& other) const {
    return List(Mesh(), bme_CombineWords(operation, Mesh(), Words(), other.Mesh(), other.Words(),
                                         List::kAreAddresses));
  }

  const bme_Mesh* mesh_;
  std::vector<unsigned> words_;
};
