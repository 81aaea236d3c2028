// fmt_Ranges.h: a mesh file that is read in ranges
#pragma once

#include <CoreGeometry/fmt_Format.h>
#include <CoreUtils/omi_Duplicates.h>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

/// What fmt_ReadMesh makes of a file, read in ranges by the same rules: nobody needs to hold all of it.
///
/// Numbering  nodes, elements of a class, and entries of a subset from 0.
/// Errors     as fmt_ReadMesh; what lies outside is a caller's mistake.
/// Threads    one at a time.
class CORE_GEOMETRY_EXCHANGE_API fmt_Ranges {
public:
  struct Class {
    std::uint64_t numElements = 0;
    int nodesPerElement = 0; ///< also of a class without elements, when its type has a shape
  };
  struct Subset {
    std::uint64_t numEntries = 0;
    bool hasFacets = false;
  };

  /// What a file knows that is one of several parts of a mesh: its labels are numbers in the whole, from 1.
  struct Whole {
    std::uint64_t numParts = 0, numNodes = 0, numElements = 0;
    bool hasNodeLabels = false, hasElementLabels = false; ///< user labels, beside the numbers
  };

  virtual ~fmt_Ranges();

  // ask
  /// Everything but nodes, elements, entries of sets and notes: the classes and subsets are empty.
  const fmt_Import& Shell() const noexcept { return shell_; }
  std::uint64_t NumNodes() const noexcept { return numNodes_; }
  bool HasNodeLabels() const noexcept { return hasNodeLabels_; }
  bool HasElementLabels() const noexcept { return hasElementLabels_; } ///< false: they are implicit
  std::span<const Class> Classes() const noexcept { return classes_; }
  const std::optional<Whole>& OfWhole() const noexcept { return whole_; } ///< none for a mesh of its own
  std::span<const Subset> SubsetsOf(std::size_t set) const { return subsets_[set]; } ///< of Shell().sets

  // read
  /// Three for each node, in single precision.
  void ReadCoordinates(std::uint64_t firstNode, std::span<float> xyz) const;
  /// The same as they are in the file, less the offset of the mesh.
  virtual void ReadExactly(std::uint64_t firstNode, std::span<double> xyz) const = 0;
  virtual void ReadNodeLabels(std::uint64_t firstNode, std::span<int> labels) const = 0;
  virtual void ReadElementLabels(unsigned classIndex, std::uint64_t first, std::span<int> labels) const = 0;
  virtual void ReadUserNodeLabels(std::uint64_t firstNode, std::span<int> labels) const = 0; ///< see Whole
  virtual void ReadUserElementLabels(unsigned classIndex, std::uint64_t first,
                                     std::span<int> labels) const = 0;
  virtual void ReadRows(unsigned classIndex, std::uint64_t first, std::span<int> nodes) const = 0;
  /// One set at a time is read whole.
  virtual void ReadEntries(unsigned set, unsigned subset, std::uint64_t first, std::span<int> numbers,
                           std::span<int> facets) const = 0;
  virtual bme_MeshNotes ReadNotes() const = 0; ///< whole, with attributes and factors

  /// The smallest second position of a label among `count`, which are read in ranges. One pass for labels that ascend;
  /// for others one more for each 64 million labels that there may be between the least and the largest one.
  static std::optional<omi_Duplicate>
  FindDuplicate(std::uint64_t count, const std::function<void(std::uint64_t first, std::span<int>)>& read);

protected:
  /// Some elements of a class with their nodes alone, as a mesh, and the nodes' coordinates as they are in the file.
  using Look = std::function<void(const bme_Mesh& window, std::span<const double> exact)>;
  void LookAtClass(unsigned classIndex, const Look& look) const;

  fmt_Ranges() = default;
  fmt_Ranges(const fmt_Ranges&) = delete;
  fmt_Ranges& operator=(const fmt_Ranges&) = delete;

  fmt_Import shell_;
  std::uint64_t numNodes_ = 0;
  bool hasNodeLabels_ = false, hasElementLabels_ = false;
  std::optional<Whole> whole_;
  std::vector<Class> classes_;
  std::vector<std::vector<Subset>> subsets_;

private:
  friend std::unique_ptr<fmt_Ranges> fmt_OpenRanges(const cow_String&, const fmt_Format&,
                                                    const fmt_ReadOptions&);
  void CheckPrecision();
};

/// Opens a file of a format that is read in ranges, see fmt_Format::openRanges.
///
/// Errors     as fmt_ReadMesh.
/// Cost       some passes over the file, in which labels and what rounding does to the elements are checked.
CORE_GEOMETRY_EXCHANGE_API std::unique_ptr<fmt_Ranges>
fmt_OpenRanges(const cow_String& file, const fmt_Format& format, const fmt_ReadOptions& options = {});
