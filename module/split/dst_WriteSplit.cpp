#include <CoreGeometry/dst_WriteSplit.h>

#include "dst_Buckets.h"
#include "dst_Hash.h"
#include "dst_Numbers.h"
#include "dst_PartWriter.h"
#include "dst_Runs.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/uti_SyncFolder.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <algorithm>
#include <array>
#include <bit>
#include <filesystem>
#include <optional>
#include <system_error>

namespace fs = std::filesystem;

namespace {
constexpr std::size_t kWindow = std::size_t{1} << 16; // elements, or entries, that are read at once

/// The parts of single elements, which mostly ascend.
class PartOf {
public:
  PartOf(const dst_Assignment& assignment, std::uint64_t numElements)
      : assignment_(assignment), numElements_(numElements) {}
  unsigned operator()(std::uint64_t element) {
    if (window_.empty() || element < first_ || element - first_ >= window_.size()) {
      first_ = element / kWindow * kWindow;
      window_.resize(std::min<std::uint64_t>(kWindow, numElements_ - first_));
      assignment_(first_, window_);
    }
    return window_[element - first_];
  }

private:
  const dst_Assignment& assignment_;
  std::uint64_t numElements_, first_ = 0;
  std::vector<unsigned> window_;
};

/// The steps of a split: elements to parts, nodes to ranges, from there to parts, and the parts.
class Writer {
public:
  Writer(const dst_Source& source, const dst_Assignment& assignment, unsigned numParts, cow_String folder,
         const dst_WriteOptions& options)
      : source_(source), facts_(source.Facts()), assignment_(assignment), numParts_(numParts),
        folder_(std::move(folder)), work_((fs::path(folder_) / ".work").string()),
        index_(options.origin, facts_.numNodes, facts_.hasNodeLabels, facts_.classes), options_(options),
        elementsOf_(numParts), memory_(options.memory),
        nodesPerRange_(std::max<std::size_t>(64, options.memory / 256)),
        elements_(WorkFile("elements"), numParts, memory_ / 3),
        nodes_(WorkFile("nodes"), numParts, memory_ / 3),
        entries_(WorkFile("entries"), numParts, memory_ / 16),
        holders_(WorkFile("holders"), NumRanges(), memory_ / 8),
        nodeEntries_(WorkFile("nodeEntries"), NumRanges(), memory_ / 16) {}

  dst_Index Run() {
    fs::create_directories(work_);
    fs::remove(dst_SplitFolder::IndexFile(folder_)); // without it the folder is not taken for finished
    SendElements();
    SendEntries();
    for (std::size_t range = 0; range < NumRanges(); ++range) SendNodes(range);
    if (box_) index_.SetBox(std::span<const float, 6>(*box_));
    WriteParts();
    Sync(fs::path(folder_)
         / "parts"); // each file and its own folder are there; the folders in folders not yet
    Sync(folder_);
    WriteIndex(); // which syncs its folder
    Sync(fs::absolute(folder_ + "/.").parent_path().parent_path());
    fs::remove_all(work_);
    return index_;
  }

private:
  cow_String WorkFile(const char* name) const { return (fs::path(work_) / name).string(); }
  std::size_t NumRanges() const {
    return std::max<std::size_t>(1, (facts_.numNodes + nodesPerRange_ - 1) / nodesPerRange_);
  }
  static void CheckCancelled() { thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled(); }

  static void Sync(const fs::path& folder) {
    if (const int reason = uti_SyncFolder(folder.string()))
      throw nex_TextException(
          folder.string() + ": cannot be brought to the disk: " + std::generic_category().message(reason));
  }

  /// Each element to its part, and each of its nodes with that part to the range of the node.
  void SendElements() {
    for (unsigned index = 0; index < facts_.classes.size(); ++index) {
      const std::uint64_t count = facts_.classes[index].NumElements();
      for (std::uint64_t first = 0; first < count; first += kWindow)
        SendWindow(index, first, std::min<std::size_t>(kWindow, count - first));
    }
    if (const auto empty = std::ranges::find(elementsOf_, 0U); empty != elementsOf_.end())
      throw nex_TextException("part " + std::to_string(empty - elementsOf_.begin()) + " of "
                              + std::to_string(numParts_) + " gets no element");
  }

  void SendWindow(unsigned classIndex, std::uint64_t first, std::size_t count) {
    CheckCancelled();
    const dst_ClassRange& range = facts_.classes[classIndex];
    const auto width = static_cast<std::size_t>(range.NodesPerElement());
    std::vector<unsigned> parts(count), rows(count * width), record(width + 2);
    std::vector<int> labels(count);
    assignment_(range.FirstElement() + first, parts);
    source_.ReadConnectivity(classIndex, first, rows);
    const bool hasLabels = facts_.HasElementLabels();
    if (hasLabels) source_.ReadElementLabels(classIndex, first, labels);
    pairs_.clear();
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint64_t number = range.FirstElement() + first + i;
      if (parts[i] >= numParts_)
        throw nex_TextException("element " + std::to_string(number) + " is assigned to part "
                                + std::to_string(parts[i]) + " of " + std::to_string(numParts_));
      record[0] = static_cast<unsigned>(number);
      record[1] = hasLabels ? static_cast<unsigned>(labels[i]) : record[0] + 1;
      const auto row = std::span(rows).subspan(i * width, width);
      std::ranges::copy(row, record.begin() + 2);
      elements_.Add(parts[i], record);
      ++elementsOf_[parts[i]];
      for (const unsigned node : row)
        if (node < facts_.numNodes)
          pairs_.push_back(std::uint64_t{node} << 32 | parts[i]);
        else if (node != dst_Source::kNoNode)
          throw nex_TextException("element " + std::to_string(number) + " of class "
                                  + std::to_string(classIndex) + " (" + range.ElemTypeLabel() + ") has node "
                                  + std::to_string(node) + " of " + std::to_string(facts_.numNodes));
    }
    std::ranges::sort(pairs_);
    pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
    for (const std::uint64_t pair : pairs_) {
      const std::array<unsigned, 2> words{static_cast<unsigned>(pair >> 32), static_cast<unsigned>(pair)};
      holders_.Add(words[0] / nodesPerRange_, words);
    }
  }

  /// Entries of elements to the parts of these; those of nodes to the ranges of these.
  void SendEntries() {
    PartOf partOf(assignment_, facts_.NumElements());
    for (unsigned set = 0; set < facts_.sets.size(); ++set) {
      std::vector<std::uint64_t> counts;
      for (unsigned i = 0; i < facts_.sets[set].subsets.size(); ++i) {
        SendSubset(set, i, partOf);
        counts.push_back(facts_.sets[set].subsets[i].numEntries);
      }
      index_.AddSet(facts_.sets[set].root, counts);
    }
  }

  void SendSubset(unsigned set, unsigned subset, PartOf& partOf) {
    const dst_SetFacts& facts = facts_.sets[set];
    const bool isOfNodes = dst_SetFacts::IsOfNodes(facts.shell.SubSet(static_cast<int>(subset)));
    const std::uint64_t limit = isOfNodes ? facts_.numNodes : facts_.NumElements();
    const std::uint64_t count = facts.subsets[subset].numEntries;
    dst_Stored(count, "set entrie");
    const auto flat = static_cast<unsigned>(isDisordered_.size());
    isDisordered_.push_back(false);
    unsigned last = 0;
    for (std::uint64_t first = 0; first < count; first += kWindow) {
      CheckCancelled();
      std::vector<unsigned> numbers(std::min<std::size_t>(kWindow, count - first));
      std::vector<int> facets(facts.subsets[subset].hasFacets ? numbers.size() : 0);
      source_.ReadEntries(set, subset, first, numbers, facets);
      for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] >= limit)
          throw nex_TextException("set \"" + facts.root + "\", subset " + std::to_string(subset) + ": "
                                  + (isOfNodes ? "node " : "element ")
                                  + std::to_string(static_cast<int>(numbers[i])) + " is outside 0.."
                                  + std::to_string(limit) + "; check the model first");
        if (numbers[i] < last) isDisordered_.back() = true;
        last = numbers[i];
        const std::array<unsigned, dst_kEntryWords> record{flat, static_cast<unsigned>(first + i), last,
                                                           facets.empty() ? 0
                                                                          : static_cast<unsigned>(facets[i])};
        if (isOfNodes)
          nodeEntries_.Add(last / nodesPerRange_, record);
        else
          entries_.Add(partOf(last), record);
      }
    }
  }

  /// The nodes of a range to all parts that hold them, with their set entries.
  void SendNodes(std::size_t range) {
    CheckCancelled();
    const std::uint64_t first = range * nodesPerRange_;
    const std::size_t count = std::min<std::uint64_t>(nodesPerRange_, facts_.numNodes - first);
    const std::vector<unsigned> words = holders_.Take(range);
    pairs_.clear();
    for (std::size_t i = 0; i < words.size(); i += 2)
      pairs_.push_back(std::uint64_t{words[i]} << 32 | words[i + 1]);
    std::ranges::sort(pairs_);
    pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
    std::vector<float> xyz(3 * count);
    std::vector<int> labels(facts_.hasNodeLabels ? count : 0);
    source_.ReadCoordinates(first, xyz);
    if (facts_.hasNodeLabels) source_.ReadNodeLabels(first, labels);
    Widen(xyz);
    std::vector<std::array<unsigned, dst_kEntryWords>> entries = EntriesOf(range);
    std::span<const std::array<unsigned, dst_kEntryWords>> leftEntries = entries;
    std::span<const std::uint64_t> left = pairs_;
    std::vector<unsigned> record, parts;
    for (std::size_t i = 0; i < count; ++i) {
      const auto number = static_cast<unsigned>(first + i);
      parts.clear();
      for (; !left.empty() && left.front() >> 32 == number; left = left.subspan(1))
        parts.push_back(static_cast<unsigned>(left.front()));
      if (parts.empty()) parts.push_back(static_cast<unsigned>((first + i) * numParts_ / facts_.numNodes));
      record = {number, std::bit_cast<unsigned>(xyz[3 * i]), std::bit_cast<unsigned>(xyz[3 * i + 1]),
                std::bit_cast<unsigned>(xyz[3 * i + 2]),
                facts_.hasNodeLabels ? static_cast<unsigned>(labels[i]) : number + 1};
      SendNode(record, parts);
      for (; !leftEntries.empty() && leftEntries.front()[2] == number; leftEntries = leftEntries.subspan(1))
        for (const unsigned part : parts) entries_.Add(part, leftEntries.front());
    }
  }

  void SendNode(std::vector<unsigned>& record, std::span<const unsigned> parts) {
    const std::size_t size = record.size();
    for (const unsigned part : parts) {
      record.resize(size);
      record.push_back(static_cast<unsigned>(parts.size() - 1));
      for (const unsigned other : parts)
        if (other != part) record.push_back(other);
      nodes_.Add(part, record);
    }
  }

  std::vector<std::array<unsigned, dst_kEntryWords>> EntriesOf(std::size_t range) {
    const std::vector<unsigned> words = nodeEntries_.Take(range);
    std::vector<std::array<unsigned, dst_kEntryWords>> entries(words.size() / dst_kEntryWords);
    for (std::size_t i = 0; i < words.size(); ++i)
      entries[i / dst_kEntryWords][i % dst_kEntryWords] = words[i];
    std::ranges::stable_sort(entries, {}, [](const auto& entry) { return entry[2]; });
    return entries;
  }

  void Widen(std::span<const float> xyz) {
    if (xyz.empty()) return;
    gsl_BBox box;
    if (box_) box = whole_;
    box.Add(xyz);
    whole_ = box;
    box_.emplace();
    for (int axis = 0; axis < 3; ++axis) {
      (*box_)[static_cast<std::size_t>(axis)] = static_cast<float>(box.Min()[axis]);
      (*box_)[static_cast<std::size_t>(axis) + 3] = static_cast<float>(box.Max()[axis]);
    }
  }

  void WriteParts() {
    const dst_PartFrame frame{source_, index_, numParts_, isDisordered_};
    dst_Index whole = index_;
    for (unsigned part = 0; part < numParts_; ++part) {
      CheckCancelled();
      const dst_MadePart made =
          dst_MakePart(frame, part, {elements_.Take(part), nodes_.Take(part), entries_.Take(part)});
      whole.AddPart(dst_FactsOf(made.mesh, made.part));
      const cow_String file = dst_SplitFolder::PartFile(folder_, part, numParts_);
      const bool isKept = options_.doContinue && IsThere(file, whole.Part(part).hash, made);
      if (!isKept) {
        fs::remove(file);
        dst_WritePart(frame, made, file);
      }
      if (options_.onPart) options_.onPart(part, isKept);
    }
    index_ = whole;
  }

  /// True for the file of a part as it was made, sets included.
  bool IsThere(const cow_String& file, const cow_String& hash, const dst_MadePart& made) const {
    if (!fs::exists(file)) return false;
    try {
      const cls_Database model = cls_Database::Open(file);
      const auto part = model.Get<dst_Part>(dst_kPartRoot);
      if (!(*part == made.part)
          || dst_HashOf(*model.Get<bme_Mesh>(bme_kMeshFolder + facts_.mesh), *part) != hash)
        return false;
      for (std::size_t i = 0; i < made.sets.size(); ++i)
        if (!(*model.Get<rgnC_SetData>(facts_.sets[i].root) == made.sets[i])) return false;
      return std::ranges::all_of(source_.Runs(), [&](const odiC_Run& run) { return model.Has(run.Root()); });
    } catch (const nex_TextException&) { // damaged: it is written again
      return false;
    }
  }

  void WriteIndex() {
    cls_CreateModel(dst_SplitFolder::IndexFile(folder_), {.isDurable = false},
                    [&](const cls_Database&, cls_WritePass& pass) {
                      pass.Put(dst_kIndexRoot, index_);
                      for (const dst_SetFacts& set :
                           facts_.sets) { // what regions refer to; the parts have the entries
                        const rgnC_SetData shell = set.shell.WithoutSubsets();
                        pass.Put(set.root, shell);
                      }
                      source_.PutBeside(pass);
                      for (const odiC_Run& run : source_.Runs()) dst_PutRunBeside(run, pass);
                    });
  }

  const dst_Source& source_;
  const dst_SourceFacts& facts_;
  const dst_Assignment& assignment_;
  unsigned numParts_;
  cow_String folder_, work_;
  dst_Index index_;
  const dst_WriteOptions& options_;
  std::vector<unsigned> elementsOf_; ///< number of elements of each part
  std::size_t memory_, nodesPerRange_;
  dst_Buckets elements_, nodes_, entries_; ///< of a part
  dst_Buckets holders_, nodeEntries_;      ///< of a range of nodes: (node, part) pairs, and set entries
  std::vector<bool> isDisordered_;         ///< subsets, through all sets
  std::vector<std::uint64_t> pairs_;
  gsl_BBox whole_;
  std::optional<std::array<float, 6>> box_;
};
} // namespace

dst_Index dst_WriteSplit(const dst_Source& source, const dst_Assignment& assignment, unsigned numParts,
                         const cow_String& folder, const dst_WriteOptions& options) {
  const dst_SourceFacts& facts = source.Facts();
  if (numParts < 1 || numParts > facts.NumElements())
    throw nex_TextException(std::to_string(numParts) + " parts: the mesh \"" + facts.mesh + "\" has only "
                            + std::to_string(facts.NumElements()) + " elements");
  if (!options.doContinue && dst_SplitFolder::IsOne(folder))
    throw nex_TextException(folder + ": exists already");
  dst_WriteOptions complete = options;
  complete.origin.mesh = facts.mesh;
  complete.origin.source = fs::path(facts.file).filename().string();
  if (complete.origin.method.empty()) complete.origin.method = "given";
  return Writer(source, assignment, numParts, folder, complete).Run();
}

dst_Index dst_WriteSplit(const dst_Source& source, std::span<const unsigned> partOf, unsigned numParts,
                         const cow_String& folder, const dst_WriteOptions& options) {
  if (partOf.size() != source.Facts().NumElements())
    throw nex_TextException(std::to_string(partOf.size()) + " part numbers for "
                            + std::to_string(source.Facts().NumElements()) + " elements");
  dst_WriteOptions complete = options;
  if (complete.origin.identity.empty()) {
    dst_Hash hash;
    hash.Add(partOf);
    hash.Add(numParts);
    complete.origin.identity = hash.Text();
  }
  return dst_WriteSplit(
      source,
      [partOf](std::uint64_t first, std::span<unsigned> parts) {
        std::ranges::copy(partOf.subspan(first, parts.size()), parts.begin());
      },
      numParts, folder, complete);
}
