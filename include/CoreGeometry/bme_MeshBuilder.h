// bme_MeshBuilder.h: a mesh from arrays, by value
#pragma once

#include <CoreGeometry/bme_Mesh.h>
#include <initializer_list>

/// An array as an argument: a span is copied once, a cow_ArrayCOW is shared or moved without copying.
template<class T> class bme_Numbers {
public:
  bme_Numbers() = default;
  bme_Numbers(cow_ArrayCOW<T> values) : owned_(std::move(values)), values_(owned_.Const()), isOwned_(true) {}
  bme_Numbers(std::initializer_list<T> values) : values_(values.begin(), values.size()) {}
  template<class Range>
  requires std::convertible_to<const Range&, std::span<const T>> bme_Numbers(const Range& values)
      : values_(values) {}

  std::span<const T> Values() const noexcept { return values_; }
  bool IsOwned() const noexcept { return isOwned_; }
  cow_ArrayCOW<T> Take() && noexcept { return std::move(owned_); }

private:
  cow_ArrayCOW<T> owned_;
  std::span<const T> values_; ///< of owned_, or of the caller
  bool isOwned_ = false;
};

/// Elements of one type for bme_MeshBuilder.
struct bme_Block {
  cow_String type;               ///< type label, such as C3D8R
  bme_Numbers<int> connectivity; ///< node indices from 0, row after row
  bme_Numbers<int> labels{};     ///< one per element; either no block has any, or all that have elements
  cow_String category{};
  int nodesPerElement = 0; ///< needed only for a type without a shape
};

/// Makes a mesh of nodes and blocks of elements. Block i becomes element class i.
///
/// Use bme_NodeData and bme_ElementData to change a mesh that exists already.
///
/// Errors     nex_TextException naming block, element and value, all counted from 0, as "block 3 (C3D20),
///            element 118: node 90210 is outside 0..4711": coordinates that are not three for each node or
///            not finite, rows that are not whole, labels that are negative, given twice or not one for each.
///            A call that throws leaves the builder as it was.
/// Cost       one pass over the input, in which spans are copied; arrays are moved. Labels that are not
///            ascending take one more pass.
/// Threads    a value: concurrent reads are safe, and copies are independent.
class CORE_GEOMETRY_API bme_MeshBuilder {
public:
  /// Flat x0 y0 z0 x1 ..., three for each node whatever the dimension; one label for each node, or none.
  explicit bme_MeshBuilder(bme_Numbers<float> coordinates, bme_Numbers<int> labels = {},
                           unsigned dimension = 3);

  bme_MeshBuilder& Add(bme_Block block);
  /// Moves the contents into a mesh and leaves the builder without nodes. nex_TextException, and the builder
  /// keeps its contents, when some blocks have labels and others do not.
  bme_Mesh Build(unsigned id = 0, bme_MeshType type = bme_NATIVE_MESH, const gsl_Matrix* transform = nullptr);

private:
  void CheckLabels() const;

  bme_NodeData nodes_;
  std::vector<bme_ElementClass> classes_;
  bool doLabelsGrow_ = true; ///< element labels are ascending over all blocks
  int lastLabel_ = -1;
};
