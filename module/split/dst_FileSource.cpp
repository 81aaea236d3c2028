#include <CoreGeometry/dst_FileSource.h>

#include "dst_PartFiles.h"
#include "dst_WorkFolder.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/fmt_Ranges.h>
#include <CoreGeometry/fmt_Results.h>
#include <algorithm>
#include <filesystem>
#include <numeric>
#include <optional>

namespace fs = std::filesystem;

namespace {
/// A model in a work folder with the run that an import makes; none when the file has no results.
struct Results {
  explicit Results(const cow_String& workFolder) : folder(workFolder) {}
  dst_WorkFolder folder;
  std::optional<cls_Database> model;
  std::vector<odiC_Run> runs;
  fmt_Ledger ledger; ///< of the import, and of the results
};

std::shared_ptr<Results> ReadResults(const cow_String& file, const fmt_Format& format,
                                     const fmt_Import& import, const odiC_MeshSizes& sizes,
                                     const cow_String& mesh, const cow_String& workFolder) {
  auto results = std::make_shared<Results>(workFolder);
  results->ledger = import.ledger;
  if (!format.readResults) return results;
  const fmt_ResultsOptions options;
  fmt_ResultsSummary summary = format.readResults(file, import, nullptr, options);
  if (summary.numFrames > 0) {
    const cow_String store = results->folder.File("results.cgdb"),
                     root = odiC_Run::RootOf(bme_kMeshFolder + mesh, mesh);
    fs::remove(fs::path(store));
    results->model.emplace(cls_Database::Create(store, {.isDurable = false}));
    odiC_RunWriter run(*results->model, root, sizes);
    run.HeaderToDescribe().description = import.title;
    summary = format.readResults(file, import, &run, options);
    results->runs.push_back(odiC_Run::Open(*results->model, root));
  }
  fmt_RemoveCarried(results->ledger);
  results->ledger.insert(results->ledger.end(), summary.ledger.begin(), summary.ledger.end());
  return results;
}

/// The order in which sets stand in a model: that of their roots.
void SortByRoot(std::vector<bme_NamedSet>& sets) {
  std::ranges::stable_sort(sets,
                           [](const bme_NamedSet& a, const bme_NamedSet& b) { return a.Root() < b.Root(); });
}

/// A file that is read in ranges.
class RangesSource : public dst_Source {
public:
  RangesSource(const cow_String& file, const fmt_Format& format, const fmt_ReadOptions& reading,
               const cow_String& mesh, const cow_String& workFolder)
      : ranges_(fmt_OpenRanges(file, format, reading)) {
    const fmt_Import& import = ranges_->Shell();
    facts_.file = file;
    facts_.mesh = mesh;
    facts_.shell = *import.mesh;
    facts_.numNodes = ranges_->NumNodes();
    facts_.hasNodeLabels = ranges_->HasNodeLabels();
    AddClasses();
    AddSets();
    results_ = ReadResults(file, format, import, Sizes(), mesh, workFolder);
    runs_ = results_->runs;
    dst_Tell(import, results_->ledger, facts_);
    if (ranges_->OfWhole() && ranges_->OfWhole()->numParts > 1)
      facts_.warnings.push_back(file + " is one of " + std::to_string(ranges_->OfWhole()->numParts)
                                + " parts of a mesh, and not named NAME.N.RANK: it is taken alone");
  }

  void ReadCoordinates(std::uint64_t firstNode, std::span<float> xyz) const override {
    ranges_->ReadCoordinates(firstNode, xyz);
  }
  void ReadNodeLabels(std::uint64_t firstNode, std::span<int> labels) const override {
    ranges_->ReadNodeLabels(firstNode, labels);
  }
  void ReadConnectivity(unsigned classIndex, std::uint64_t firstElement,
                        std::span<unsigned> nodes) const override {
    ranges_->ReadRows(classIndex, firstElement, AsInts(nodes));
  }
  void ReadElementLabels(unsigned classIndex, std::uint64_t firstElement,
                         std::span<int> labels) const override {
    ranges_->ReadElementLabels(classIndex, firstElement, labels);
  }
  void ReadEntries(unsigned set, unsigned subset, std::uint64_t first, std::span<unsigned> numbers,
                   std::span<int> facets) const override {
    ranges_->ReadEntries(inFile_[set], subset, first, AsInts(numbers), facets);
  }
  void PutBeside(cls_WritePass& index) const override {
    PutRegions(index);
    const bme_MeshNotes notes = ranges_->ReadNotes();
    if (!notes.IsEmpty()) index.Put(bme_kNotesFolder + facts_.mesh, notes);
  }
  void PutRegions(cls_WritePass& part) const override {
    for (const bme_NamedSet& set : ranges_->Shell().sets) dst_PutRegion(part, facts_.mesh, set);
  }

private:
  static std::span<int> AsInts(std::span<unsigned> numbers) { // none is above the largest int
    return {reinterpret_cast<int*>(numbers.data()), numbers.size()};
  }

  void AddClasses() {
    const bme_ElementData& classes = ranges_->Shell().mesh->ElementData();
    std::uint64_t first = 0;
    for (unsigned i = 0; i < classes.NumClasses(); ++i) {
      const fmt_Ranges::Class& sizes = ranges_->Classes()[i];
      dst_ClassRange& range = facts_.classes.emplace_back(classes.GetClass(i));
      range.SetNodesPerElement(sizes.nodesPerElement);
      range.SetNumbers(first, sizes.numElements);
      range.SetHasLabels(ranges_->HasElementLabels() && sizes.numElements > 0);
      first = range.EndElement();
    }
  }

  void AddSets() {
    const std::vector<bme_NamedSet>& sets = ranges_->Shell().sets;
    inFile_.resize(sets.size());
    std::iota(inFile_.begin(), inFile_.end(), 0U);
    std::ranges::stable_sort(inFile_,
                             [&](unsigned a, unsigned b) { return sets[a].Root() < sets[b].Root(); });
    for (const unsigned i : inFile_) {
      dst_SetFacts facts{bme_kSetFolder + facts_.mesh + "/" + sets[i].Root(), sets[i].data, {}};
      for (const fmt_Ranges::Subset& subset : ranges_->SubsetsOf(i))
        facts.subsets.push_back({subset.numEntries, subset.hasFacets});
      facts_.sets.push_back(std::move(facts));
    }
  }

  odiC_MeshSizes Sizes() const {
    odiC_MeshSizes sizes = *ranges_->Shell().mesh;
    sizes.numNodes = static_cast<int>(facts_.numNodes);
    for (std::size_t i = 0; i < sizes.classes.size(); ++i) {
      sizes.classes[i].numElements = static_cast<int>(facts_.classes[i].NumElements());
      sizes.classes[i].nodesPerElement = facts_.classes[i].NodesPerElement();
    }
    return sizes;
  }

  std::unique_ptr<fmt_Ranges> ranges_;
  std::vector<unsigned> inFile_; ///< number in the file of each set
  std::shared_ptr<Results> results_;
};

std::unique_ptr<dst_Source> WholeSource(const cow_String& file, const fmt_Format& format,
                                        const fmt_ReadOptions& reading, const cow_String& mesh,
                                        const cow_String& workFolder) {
  fmt_Import import = fmt_ReadMesh(file, format, reading);
  const auto results = ReadResults(file, format, import, *import.mesh, mesh, workFolder);
  dst_SourceFacts told;
  dst_Tell(import, results->ledger, told);
  SortByRoot(import.sets);
  dst_MeshBeside beside;
  beside.file = file;
  beside.put = [mesh, notes = import.notes, results](cls_WritePass& pass) {
    if (!notes.IsEmpty()) pass.Put(bme_kNotesFolder + mesh, notes);
  };
  beside.runs = results->runs;
  beside.leftOut = told.leftOut;
  beside.warnings = told.warnings;
  return dst_MeshSource(mesh, *import.mesh, std::move(import.sets), beside);
}
} // namespace

void dst_Tell(const fmt_Import& import, const fmt_Ledger& ledger, dst_SourceFacts& facts) {
  for (const fmt_LedgerEntry& entry : ledger)
    facts.leftOut.push_back(entry.what + ": "
                            + (entry.count < 0 ? cow_String("unknown count") : std::to_string(entry.count))
                            + (entry.detail.empty() ? cow_String() : " (" + entry.detail + ")"));
  const auto warn = [&](const std::vector<int>& labels, const char* what) {
    constexpr std::size_t kMost = 20;
    if (labels.empty()) return;
    facts.warnings.push_back("single precision is too coarse here: " + std::to_string(labels.size()) + what
                             + bme_CompactLabels(std::span(labels).first(std::min(kMost, labels.size())))
                             + (labels.size() > kMost ? ", ..." : ""));
  };
  warn(import.rounding.coarseNodes, " nodes moved by more than a thousandth of an element's edge: ");
  warn(import.rounding.damagedElements, " elements collapsed or turned inside out: ");
}

void dst_PutRegion(cls_WritePass& pass, const cow_String& mesh, const bme_NamedSet& set) {
  const rgnC_Region region = bme_RegionOf(mesh, set);
  pass.Put(bme_kRegionFolder + mesh + "/" + set.Root(), region);
}

std::unique_ptr<dst_Source> dst_FileSource(const cow_String& file, const dst_FileOptions& options) {
  const fmt_Format& format = fmt_Recognise(file);
  fmt_ReadOptions reading;
  reading.acceptDamage = options.acceptDamage;
  reading.offset = options.offset;
  reading.chooseOffset = options.chooseOffset;
  const std::optional<dst_PartFiles> parts = dst_FindPartFiles(file);
  // another file may have such a name
  const bool isOfParts = parts && format.openRanges && fmt_OpenRanges(file, format, reading)->OfWhole();
  const cow_String mesh =
      !options.mesh.empty() ? options.mesh : fs::path(isOfParts ? parts->name : file).stem().string();
  if (isOfParts) return dst_PartFilesSource(*parts, format, reading, mesh, options.workFolder);
  if (!format.openRanges) return WholeSource(file, format, reading, mesh, options.workFolder);
  return std::make_unique<RangesSource>(file, format, reading, mesh, options.workFolder);
}
