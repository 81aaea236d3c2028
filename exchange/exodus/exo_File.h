// exo_File.h: an Exodus II file opened for reading
#pragma once

#include <BasicUtils/cow_ArrayCOW.h>
#include <CoreGeometry/fmt_Ledger.h>
#include <CoreUtils/cow_String.h>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// One element block as the file describes it.
struct exo_Block {
  std::int64_t id = 0;
  cow_String type; ///< as spelled in the file, without blanks around it
  cow_String name; ///< empty when the file gives none
  std::int64_t numElements = 0;
  std::int64_t nodesPerElement = 0;
  std::int64_t numAttributes = 0;
  std::int64_t position = 0; ///< among the blocks, from 1
  bool isRagged = false;     ///< polygons or polyhedra: rows of different length
};

/// What the entries of a set are.
enum class exo_SetKind { Nodes, Sides, Elements };

/// One set as the file describes it.
struct exo_Set {
  exo_SetKind kind = exo_SetKind::Nodes;
  std::int64_t id = 0;
  cow_String name; ///< empty when the file gives none
  std::int64_t numEntries = 0;
  std::int64_t position = 0;   ///< among those of its kind, from 1
  std::int64_t numFactors = 0; ///< of distribution
};

/// A number with a name for every block, or every set of a kind.
struct exo_Property {
  cow_String name;
  std::vector<long long> values;
};

/// Thin reader over the Exodus II library: counts, texts and ranges of arrays, every failure an exception.
///
/// Numbering  starts are positions from 0; the numbers in the file count from 1.
/// Errors     nex_TextException naming the file and what was read: not an Exodus II file, cut short, texts
///            longer than the format allows.
/// Threads    one thread: the Exodus II library has process-wide state.
class exo_File {
public:
  explicit exo_File(const cow_String& name);
  ~exo_File();
  exo_File(const exo_File&) = delete;
  exo_File& operator=(const exo_File&) = delete;

  // ask
  const cow_String& Name() const noexcept { return name_; }
  const cow_String& Title() const noexcept { return title_; }
  int NumDims() const noexcept { return numDims_; }
  std::int64_t NumNodes() const noexcept { return numNodes_; }
  std::int64_t NumElements() const noexcept { return numElements_; }
  const std::vector<exo_Block>& Blocks() const noexcept { return blocks_; }
  const std::vector<exo_Set>& Sets() const noexcept { return sets_; } ///< node, side, element sets
  bool HasWideNumbers() const noexcept; ///< node numbers of elements are stored with 64 bits
  bool HasDoubleCoordinates() const noexcept { return hasDoubles_; }
  int Id() const noexcept { return id_; } ///< handle of the Exodus II and NetCDF libraries

  // read
  /// Each span as long as the number of nodes wanted; those beyond the dimensions may be empty.
  void ReadCoordinates(std::int64_t first, std::span<double> x, std::span<double> y,
                       std::span<double> z) const;
  /// Whole rows of node numbers. The int form is for files without wide numbers only.
  void ReadConnectivity(const exo_Block& block, std::int64_t first, std::int64_t count, int* nodes) const;
  void ReadConnectivity(const exo_Block& block, std::int64_t first, std::int64_t count,
                        std::int64_t* nodes) const;
  void ReadNodeLabels(std::int64_t first, std::span<std::int64_t> labels) const;
  void ReadElementLabels(std::int64_t first, std::span<std::int64_t> labels) const;
  /// Of a further number map: the first one that has the name, counted from 1; 0 when there is none.
  int FindMap(bool isOfNodes, std::string_view name) const;
  void ReadMap(bool isOfNodes, int map, std::int64_t first, std::span<long long> numbers) const;
  std::optional<std::int64_t> CountOf(const cow_String& dimension) const; ///< as NetCDF has it
  /// Numbers of nodes or elements; the sides of a side set, as many, beside them.
  void ReadSet(const exo_Set& set, std::vector<long long>& entries, std::vector<long long>& sides) const;
  cow_ArrayCOW<double> ReadFactors(const exo_Set& set) const;
  cow_ArrayCOW<double> ReadAttributes(const exo_Block& block) const;    ///< a row for each element
  std::vector<cow_String> AttributeNames(const exo_Block& block) const; ///< may be empty, as texts may
  std::vector<cow_String> CoordinateNames() const;                      ///< the same
  std::vector<cow_String> Programs() const;    ///< four texts for each: name, version, date, time
  std::vector<cow_String> Information() const; ///< lines, without blanks at their ends
  /// But for the first, which is the id.
  std::vector<exo_Property> BlockProperties() const { return Properties("eb_prop", blocks_.size()); }
  std::vector<exo_Property> SetProperties(exo_SetKind kind) const;

private:
  class Handle {
  public:
    explicit Handle(const cow_String& file);
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    int id = -1;
    int storedRealSize = 0;
    cow_String damage; ///< why the file was not even tried
  };
  void Check(int status, std::string_view what) const;
  [[noreturn]] void Fail(const cow_String& why) const;
  void CheckTexts() const;
  void CheckCoordinates() const;
  void CheckIds(std::span<const std::int64_t> ids, const cow_String& what) const;
  void CheckStored(const cow_String& variable, std::int64_t wanted) const;
  void ReadTitle();
  void ReadBlocks();
  void ReadSets();
  void UseWideNumbers(bool wide) const;
  void ReadNumbers(const cow_String& variable, std::span<long long> numbers, std::size_t first = 0) const;
  cow_ArrayCOW<double> ReadWhole(const cow_String& variable, std::int64_t count) const;
  std::vector<cow_String> ReadTexts(const cow_String& variable) const;
  std::vector<exo_Property> Properties(const cow_String& stem, std::size_t count) const;
  cow_String NameOf(int type, std::int64_t id) const;
  std::int64_t Inquire(int what, std::string_view name) const;

  cow_String name_;
  Handle handle_;
  int id_;
  cow_String title_;
  int numDims_ = 0;
  std::int64_t numNodes_ = 0, numElements_ = 0;
  bool hasDoubles_ = true;
  std::vector<exo_Block> blocks_;
  std::vector<exo_Set> sets_;
};

cow_String exo_WhyFailed(); ///< the last failure of the Exodus II library

/// Everything in the file but nodes, element blocks, their number maps, node, side and element sets.
/// Variables of the file that the Exodus II format does not know are listed by name.
fmt_Ledger exo_ListNotCarried(const exo_File& file);
