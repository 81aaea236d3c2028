#include "exo_Read.h"

#include "exo_MeshReader.h"
#include "exo_Notes.h"
#include "fmt_Coordinates.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/fmt_Ranges.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <numeric>

namespace {
class Ranges : public fmt_Ranges {
public:
  Ranges(const cow_String& fileName, const fmt_ReadOptions& options)
      : reader_(fileName, options.types), file_(reader_.File()), rounder_(fileName, options),
        meshId_(options.meshId) {
    numNodes_ = static_cast<std::uint64_t>(file_.NumNodes());
    hasNodeLabels_ = numNodes_ > 0;
    FindWhole();
    RoundCoordinates();
    CheckNodeLabels();
    MakeShell();
    CheckElementLabels();
    shell_.title = file_.Title();
    shell_.ledger = exo_ListNotCarried(file_);
    CountCurvedPyramids();
    bme_MeshNotes notes;
    exo_ReadNotes(file_, reader_.Places(), *shell_.mesh, notes, shell_.ledger);
    exo_ReadSetsInTurn(file_, reader_.Places(), static_cast<int>(meshId_), notes, shell_.ledger,
                       [this](const bme_NamedSet& set) { AddSet(set); });
  }

  void ReadExactly(std::uint64_t firstNode, std::span<double> xyz) const override {
    reader_.ReadCoordinates(static_cast<std::int64_t>(firstNode), xyz);
    for (std::size_t i = 0; i < xyz.size(); ++i) xyz[i] -= rounder_.Offset()[i % 3];
  }
  void ReadNodeLabels(std::uint64_t firstNode, std::span<int> labels) const override {
    reader_.ReadNodeLabels(static_cast<std::int64_t>(firstNode), labels);
  }
  void ReadElementLabels(unsigned classIndex, std::uint64_t first, std::span<int> labels) const override {
    reader_.ReadElementLabels(classIndex, static_cast<std::int64_t>(first), labels);
  }
  void ReadUserNodeLabels(std::uint64_t firstNode, std::span<int> labels) const override {
    reader_.ReadUserNodeLabels(static_cast<std::int64_t>(firstNode), labels);
  }
  void ReadUserElementLabels(unsigned classIndex, std::uint64_t first, std::span<int> labels) const override {
    reader_.ReadUserElementLabels(classIndex, static_cast<std::int64_t>(first), labels);
  }
  void ReadRows(unsigned classIndex, std::uint64_t first, std::span<int> nodes) const override {
    reader_.ReadRows(classIndex, static_cast<std::int64_t>(first), nodes);
  }
  void ReadEntries(unsigned set, unsigned subset, std::uint64_t first, std::span<int> numbers,
                   std::span<int> facets) const override {
    if (set < classes_.size()) { // of a block
      std::iota(numbers.begin(), numbers.end(), reader_.PlaceOf(set).firstInMesh + static_cast<int>(first));
      return;
    }
    if (openSet_ != set) {
      open_ = exo_ReadSet(file_, reader_.Places(), static_cast<int>(meshId_),
                          file_.Sets()[set - classes_.size()]);
      openSet_ = set;
    }
    const rgnC_SubsetData& entries = open_.SubSet(static_cast<int>(subset));
    std::ranges::copy(entries.IdArray().subspan(first, numbers.size()), numbers.begin());
    if (!facets.empty())
      std::ranges::copy(entries.FacetIdArray().subspan(first, facets.size()), facets.begin());
  }
  bme_MeshNotes ReadNotes() const override {
    bme_MeshNotes notes;
    fmt_Ledger known;
    exo_ReadNotes(file_, reader_.Places(), *shell_.mesh, notes, known);
    exo_ReadSetsInTurn(file_, reader_.Places(), static_cast<int>(meshId_), notes, known,
                       [](const bme_NamedSet&) {});
    return notes;
  }

private:
  static constexpr auto kSlice = static_cast<std::uint64_t>(exo_MeshReader::kSlice);

  void FindWhole() {
    const auto parts = file_.CountOf("num_processors"), nodes = file_.CountOf("num_nodes_global"),
               elements = file_.CountOf("num_elems_global");
    if (parts && nodes && elements)
      whole_ = {static_cast<std::uint64_t>(*parts), static_cast<std::uint64_t>(*nodes),
                static_cast<std::uint64_t>(*elements), reader_.HasUserLabels(true),
                reader_.HasUserLabels(false)};
  }

  void RoundCoordinates() {
    std::vector<double> xyz;
    std::vector<float> rounded;
    for (std::uint64_t first = 0; first < numNodes_; first += kSlice) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      xyz.resize(3 * std::min(kSlice, numNodes_ - first));
      rounded.resize(xyz.size());
      reader_.ReadCoordinates(static_cast<std::int64_t>(first), xyz);
      rounder_.Round(first, std::span<const double>(xyz), std::span<float>(rounded));
    }
  }

  void CheckNodeLabels() {
    const auto twice = FindDuplicate(
        numNodes_, [this](std::uint64_t first, std::span<int> labels) { ReadNodeLabels(first, labels); });
    if (twice) reader_.FailAtNodeLabel(*twice);
    int label = 0;
    if (numNodes_ > 0) ReadNodeLabels(rounder_.ChangedNode(), {&label, 1});
    shell_.rounding = rounder_.Rounding(label);
  }

  void MakeShell() {
    std::vector<bme_ElementClass*> classes;
    for (std::size_t i = 0; i < reader_.NumClasses(); ++i) {
      classes.push_back(reader_.MakeClass(i, meshId_, {}).release());
      shell_.blocks.push_back(reader_.Describe(i));
      const auto count = static_cast<std::uint64_t>(reader_.PlaceOf(i).block->numElements);
      const shp_Shape* shape = classes.back()->Shape();
      classes_.push_back(
          {count, count == 0 && shape ? shape->NumNodes() : static_cast<int>(reader_.NumColumns(i))});
    }
    shell_.mesh = std::make_unique<bme_Mesh>(
        meshId_, new bme_NodeData(uti_CoordCont3D(), static_cast<unsigned>(file_.NumDims())),
        new bme_ElementData(classes.data(), static_cast<unsigned>(classes.size())), bme_ORPHAN_MESH,
        rounder_.Transform());
  }

  /// All classes one after the other.
  void ReadAnyLabels(std::uint64_t first, std::span<int> labels) const {
    for (unsigned i = 0; i < classes_.size() && !labels.empty(); ++i) {
      const std::uint64_t count = classes_[i].numElements;
      if (first >= count) {
        first -= count;
        continue;
      }
      const std::span<int> own = labels.first(std::min<std::uint64_t>(labels.size(), count - first));
      ReadElementLabels(i, first, own);
      labels = labels.subspan(own.size());
      first = 0;
    }
  }

  void CheckElementLabels() {
    std::uint64_t count = 0;
    for (const Class& one : classes_) count += one.numElements;
    const auto twice = FindDuplicate(count, [&](std::uint64_t first, std::span<int> labels) {
      ReadAnyLabels(first, labels);
      for (std::size_t i = 0; i < labels.size() && !hasElementLabels_; ++i)
        hasElementLabels_ = static_cast<std::uint64_t>(labels[i]) != first + i + 1;
    });
    if (twice) reader_.FailAtElementLabel(*twice);
  }

  void CountCurvedPyramids() {
    long long count = 0;
    for (unsigned i = 0; i < classes_.size(); ++i)
      if (reader_.ArePyramids(i) && reader_.PlaceOf(i).block->nodesPerElement == 13)
        LookAtClass(i, [&](const bme_Mesh& window, std::span<const double>) {
          count += exo_CountCurvedPyramids(window);
        });
    exo_NoteCurvedPyramids(count, shell_.ledger);
  }

  /// Without its entries.
  void AddSet(const bme_NamedSet& set) {
    const std::size_t number = shell_.sets.size();
    bme_NamedSet made{set.name, set.kind, set.data.WithoutSubsets(), set.root};
    std::vector<Subset>& subsets = subsets_.emplace_back();
    for (int i = 0; i < set.data.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set.data.SubSet(i);
      made.data.AppendSubset(subset.WithItems({}, {}));
      subsets.push_back({number < classes_.size() ? classes_[number].numElements
                                                  : static_cast<std::uint64_t>(subset.NumItems()),
                         !subset.FacetIdArray().empty()});
    }
    shell_.sets.push_back(std::move(made));
  }

  exo_MeshReader reader_;
  const exo_File& file_;
  fmt_Rounder rounder_;
  unsigned meshId_;
  mutable rgnC_SetData open_;
  mutable unsigned openSet_ = static_cast<unsigned>(-1);
};
} // namespace

std::unique_ptr<fmt_Ranges> exo_Ranges(const cow_String& fileName, const fmt_ReadOptions& options) {
  return std::make_unique<Ranges>(fileName, options);
}
