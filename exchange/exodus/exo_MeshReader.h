// exo_MeshReader.h: nodes and elements of an Exodus II file by the rules of the import, in ranges
#pragma once

#include "exo_Sets.h"

#include <CoreGeometry/bme_ElementClass.h>
#include <CoreGeometry/exo_Types.h>
#include <CoreGeometry/fmt_Import.h>
#include <CoreUtils/omi_Duplicates.h>

/// Reads slices of a file as what a mesh has in their place.
///
/// Errors     nex_TextException naming file, block, element and node.
class exo_MeshReader {
public:
  static constexpr std::int64_t kSlice = 1 << 17; ///< numbers read at a time: they stay in the cache

  exo_MeshReader(const cow_String& fileName, const exo_TypeMap& types);

  // ask
  const exo_File& File() const noexcept { return file_; }
  std::span<const exo_BlockPlace> Places() const noexcept { return places_; } ///< with their sides
  std::size_t NumClasses() const noexcept { return types_.size(); }
  const exo_BlockPlace& PlaceOf(std::size_t classIndex) const { return places_[placeOfClass_[classIndex]]; }
  bool ArePyramids(std::size_t classIndex) const { return types_[classIndex].arePyramids; }
  /// Nodes of each of our elements; 0 for a class without elements.
  std::int64_t NumColumns(std::size_t classIndex) const;
  std::int64_t RowsPerSlice(std::size_t classIndex) const;
  /// A class of these rows, which may be none of the file's, without labels.
  std::unique_ptr<bme_ElementClass> MakeClass(std::size_t classIndex, unsigned meshId,
                                              cow_ArrayCOW<int> rows) const;
  fmt_ImportedBlock Describe(std::size_t classIndex) const;

  // read; what is first counts from 0
  void ReadCoordinates(std::int64_t first, std::span<double> xyz) const; ///< three for each node
  void ReadNodeLabels(std::int64_t first, std::span<int> labels) const;
  void ReadElementLabels(std::size_t classIndex, std::int64_t first, std::span<int> labels) const;
  /// From the maps of the name "user_label".
  bool HasUserLabels(bool ofNodes) const noexcept { return (ofNodes ? nodeMap_ : elementMap_) > 0; }
  void ReadUserNodeLabels(std::int64_t first, std::span<int> labels) const;
  void ReadUserElementLabels(std::size_t classIndex, std::int64_t first, std::span<int> labels) const;
  void ReadRows(std::size_t classIndex, std::int64_t first, std::span<int> nodes) const; ///< whole rows

  // refuse
  [[noreturn]] void FailAtNodeLabel(const omi_Duplicate& twice) const;
  [[noreturn]] void FailAtElementLabel(const omi_Duplicate& twice) const; ///< positions through all classes

private:
  [[noreturn]] void Fail(const cow_String& why) const;
  static cow_String TextOf(const exo_Block& block);
  cow_String CategoryOf(const exo_Block& block, bool arePyramids) const;
  template<class Int>
  void ReadSlices(std::size_t classIndex, std::int64_t first, std::span<int> nodes,
                  std::vector<Int>& buffer) const;

  void ReadUserLabels(bool isOfNodes, std::int64_t first, std::span<int> labels) const;

  exo_File file_;
  int nodeMap_, elementMap_; ///< of user labels; 0 without
  std::vector<exo_BlockPlace> places_;
  std::vector<exo_ElementType> types_;    ///< of each class
  std::vector<std::size_t> placeOfClass_; ///< position in places_
  mutable std::vector<double> axes_[3];
  mutable std::vector<std::int64_t> wide_; ///< labels, or node numbers of 64 bits
  mutable std::vector<int> narrow_;
};

/// Pyramids of 13 nodes whose base has a curved edge, among the elements of a mesh. A collapsed quadratic face is the
/// six-node triangle unless the edge across from the apex is curved: the two differ by a bubble that is as large as that
/// edge's bend (R. E. Newton, 1974).
long long exo_CountCurvedPyramids(const bme_Mesh& mesh);
/// Lists them, if there are any.
void exo_NoteCurvedPyramids(long long count, fmt_Ledger& ledger);
