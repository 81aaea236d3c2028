#include "dst_PartFiles.h"
#include "dst_PartSets.h"
#include "dst_Unpacked.h"
#include "dst_WorkFolder.h"

#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_Placement.h>
#include <algorithm>
#include <bit>
#include <filesystem>
#include <sstream>

namespace {
constexpr std::uint64_t kSlice = 1 << 17; ///< nodes, or nodes of elements, that are read at a time
constexpr unsigned kNoFile = 4294967295U;

/// Text about numbers, which count from 1 in files.
cow_String Counted(const char* what, std::uint64_t number) {
  return what + (" " + std::to_string(number + 1));
}

/// What every file of a part says about itself and its neighbours is no contents of the mesh.
void RemovePartFacts(fmt_Ledger& ledger, const fmt_Ranges::Whole& whole) {
  static constexpr std::string_view kStems[] = {"el_blk_ids_global",  "el_blk_cnt_global", "ns_ids_global",
                                                "ns_node_cnt_global", "ns_df_cnt_global",  "ss_ids_global",
                                                "ss_side_cnt_global", "ss_df_cnt_global",  "nem_ftype",
                                                "int_n_stat",         "bor_n_stat",        "ext_n_stat",
                                                "int_e_stat",         "bor_e_stat",        "node_mapi",
                                                "node_mapb",          "node_mape",         "elem_mapi",
                                                "elem_mapb",          "n_comm_",           "e_comm_"};
  for (fmt_LedgerEntry& entry : ledger) {
    if (entry.what == "further node number maps" && whole.hasNodeLabels) entry.count -= 2;
    if (entry.what == "further element number maps" && whole.hasElementLabels) entry.count -= 2;
    if (entry.what != "other variables of the file") continue;
    std::string kept;
    entry.count = 0;
    std::istringstream names(entry.detail);
    for (std::string name; names >> name;) {
      if (name.back() == ',') name.pop_back();
      if (std::ranges::any_of(kStems, [&](std::string_view stem) { return name.starts_with(stem); }))
        continue;
      kept += (kept.empty() ? "" : ", ") + name;
      ++entry.count;
    }
    entry.detail = kept;
  }
  std::erase_if(ledger, [](const fmt_LedgerEntry& entry) { return entry.count == 0; });
}

/// Nodes and elements of the files, unpacked in the order of the whole.
class PartFilesSource : public dst_Source {
public:
  PartFilesSource(const dst_PartFiles& files, const fmt_Format& format, fmt_ReadOptions reading,
                  const cow_String& mesh, const cow_String& workFolder)
      : files_(files), folder_(workFolder), coordinates_(folder_.File("coordinates"), 3),
        nodeLabels_(folder_.File("labels"), 1), elementLabels_(folder_.File("element_labels"), 1) {
    facts_.file = files_.File(0);
    facts_.mesh = mesh;
    for (part_ = 0; part_ < files_.count; ++part_) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      const auto ranges = fmt_OpenRanges(files_.File(part_), format, reading);
      if (part_ == 0) Begin(*ranges, reading);
      CheckCounts(*ranges);
      CheckBlocks(ranges->Shell());
      TakeNodes(*ranges);
      TakeElements(*ranges);
      sets_.Take(*ranges, nodeNumbers_, elementNumbers_, part_, files_.File(part_));
      TakeNotes(ranges->ReadNotes());
      TakeLedger(ranges->Shell());
      numFrames_ = std::max<long long>(
          numFrames_, format.readResults
                          ? format.readResults(files_.File(part_), ranges->Shell(), nullptr, {}).numFrames
                          : 0);
    }
    CheckAllAreThere();
    AddClasses();
    CheckLabels();
    nodeHolders_ = elementHolders_ = {};
    sets_.Finish(facts_, files_.count > 1);
    Report();
  }

  void ReadCoordinates(std::uint64_t firstNode, std::span<float> xyz) const override {
    coordinates_.Read(firstNode, xyz);
  }
  void ReadNodeLabels(std::uint64_t firstNode, std::span<int> labels) const override {
    nodeLabels_.Read(firstNode, labels);
  }
  void ReadConnectivity(unsigned classIndex, std::uint64_t firstElement,
                        std::span<unsigned> nodes) const override {
    if (!nodes.empty()) classes_[classIndex].rows->Read(FirstOf(classIndex) + firstElement, nodes);
  }
  void ReadElementLabels(unsigned classIndex, std::uint64_t firstElement,
                         std::span<int> labels) const override {
    elementLabels_.Read(FirstOf(classIndex) + firstElement, labels);
  }
  void ReadEntries(unsigned set, unsigned subset, std::uint64_t first, std::span<unsigned> numbers,
                   std::span<int> facets) const override {
    sets_.Read(set, subset, first, numbers, facets);
  }
  void PutBeside(cls_WritePass& index) const override {
    PutRegions(index);
    if (!notes_.IsEmpty()) index.Put(bme_kNotesFolder + facts_.mesh, notes_);
  }
  void PutRegions(cls_WritePass& part) const override {
    for (const bme_NamedSet& set : sets_.All()) dst_PutRegion(part, facts_.mesh, set);
  }

private:
  /// A block of the whole.
  struct Class {
    std::int64_t block = 0;
    cow_String label;                                   ///< of its elements; any as long as there are none
    unsigned from = 0;                                  ///< the first file that has any
    std::uint64_t numElements = 0, least = 0, most = 0; ///< numbers of its elements
    std::unique_ptr<dst_Unpacked<int>> rows;
  };

  std::uint64_t FirstOf(unsigned classIndex) const { return facts_.classes[classIndex].FirstElement(); }
  [[noreturn]] void Fail(const cow_String& why, unsigned part) const {
    throw nex_TextException(files_.File(part) + ": " + why);
  }

  void Begin(const fmt_Ranges& ranges, fmt_ReadOptions& reading) {
    const fmt_Import& import = ranges.Shell();
    facts_.shell = bme_Mesh(static_cast<unsigned>(import.mesh->Id()),
                            new bme_NodeData(uti_CoordCont3D(), import.mesh->NodeData().Dimension()), nullptr,
                            import.mesh->MeshType(), import.mesh->Transform());
    all_.title = import.title;
    if (reading.chooseOffset) { // the same for all
      const std::array<float, 3> zero{};
      std::array<double, 3> offset{};
      bme_Placement(*import.mesh).Place(zero, offset);
      reading.chooseOffset = false;
      reading.offset = offset;
    }
    if (!ranges.OfWhole())
      Fail("does not tell of how many parts it is one, nor the numbers of nodes and elements of the whole",
           0);
    whole_ = *ranges.OfWhole();
    facts_.numNodes = whole_.numNodes;
    facts_.hasNodeLabels = whole_.hasNodeLabels;
    if (std::max(whole_.numNodes, whole_.numElements) > 2147483647)
      Fail("the whole has " + std::to_string(std::max(whole_.numNodes, whole_.numElements))
               + " nodes or elements, more than 2147483647",
           0);
    std::uintmax_t bytes = 0;
    for (unsigned part = 0; part < files_.count; ++part) {
      std::error_code isMissing; // which is an error when its turn comes
      const std::uintmax_t size =
          std::filesystem::file_size(std::filesystem::path(files_.File(part)), isMissing);
      if (!isMissing) bytes += size;
    }
    constexpr std::uint64_t kBestCompression = 1032; // of one byte or more a number
    if (std::max(whole_.numNodes, whole_.numElements) / kBestCompression > bytes)
      Fail("the whole has " + std::to_string(std::max(whole_.numNodes, whole_.numElements))
               + " nodes or elements, more than the " + std::to_string(bytes)
               + " bytes of all files can hold",
           0);
    nodeHolders_.assign(whole_.numNodes, kNoFile);
    elementHolders_.assign(whole_.numElements, kNoFile);
    for (std::size_t i = 0; i < import.blocks.size(); ++i) {
      Class& made = classes_.emplace_back();
      made.block = import.blocks[i].id;
      facts_.classes.emplace_back(import.mesh->ElementData().GetClass(static_cast<unsigned>(i)))
          .SetNodesPerElement(ranges.Classes()[i].nodesPerElement);
    }
    notes_ = ranges.ReadNotes();
    classNotes_.resize(classes_.size());
  }

  void CheckCounts(const fmt_Ranges& ranges) const {
    if (!ranges.OfWhole()) Fail("does not tell of how many parts it is one", part_);
    const fmt_Ranges::Whole& own = *ranges.OfWhole();
    const auto expect = [&](std::uint64_t found, std::uint64_t wanted, const char* what,
                            const cow_String& as) {
      if (found != wanted)
        Fail("tells of " + std::to_string(found) + what + ", not of the " + std::to_string(wanted) + as,
             part_);
    };
    expect(own.numParts, files_.count, " parts", " of its name");
    const cow_String as = " of " + files_.File(0);
    expect(own.numNodes, whole_.numNodes, " nodes of the whole", as);
    expect(own.numElements, whole_.numElements, " elements of the whole", as);
    expect(own.hasNodeLabels, whole_.hasNodeLabels, " maps user_label of nodes", as);
    expect(own.hasElementLabels, whole_.hasElementLabels, " maps user_label of elements", as);
  }

  void CheckBlocks(const fmt_Import& import) {
    if (import.blocks.size() != classes_.size())
      Fail("has " + std::to_string(import.blocks.size()) + " blocks, " + files_.File(0) + " has "
               + std::to_string(classes_.size()),
           part_);
    for (std::size_t i = 0; i < classes_.size(); ++i)
      if (import.blocks[i].id != classes_[i].block)
        Fail(Counted("block", i) + " has the id " + std::to_string(import.blocks[i].id) + ", in "
                 + files_.File(0) + " " + std::to_string(classes_[i].block),
             part_);
  }

  /// Numbers in the whole of labels, which must be among those.
  void Number(std::span<const int> labels, std::size_t total, const char* what,
              std::vector<unsigned>& numbers) const {
    for (const int label : labels) {
      if (label < 1 || static_cast<std::size_t>(label) > total)
        Fail(what + (" number " + std::to_string(label)) + " is outside 1.." + std::to_string(total)
                 + " of the whole",
             part_);
      numbers.push_back(static_cast<unsigned>(label) - 1);
    }
  }

  void TakeNodes(const fmt_Ranges& ranges) {
    std::vector<int> labels;
    std::vector<float> xyz;
    nodeNumbers_.clear();
    for (std::uint64_t first = 0; first < ranges.NumNodes(); first += kSlice) {
      labels.resize(std::min(kSlice, ranges.NumNodes() - first));
      ranges.ReadNodeLabels(first, labels);
      Number(labels, nodeHolders_.size(), "node", nodeNumbers_);
      const auto numbers = std::span<const unsigned>(nodeNumbers_).subspan(first);
      xyz.resize(3 * labels.size());
      ranges.ReadCoordinates(first, xyz);
      if (whole_.hasNodeLabels) ranges.ReadUserNodeLabels(first, labels);
      for (std::size_t i = 0; i < numbers.size(); ++i) {
        unsigned& holder = nodeHolders_[numbers[i]];
        if (holder == kNoFile)
          holder = part_;
        else
          CheckCopy(numbers[i], holder, std::span<const float>(xyz).subspan(3 * i).first<3>(), labels[i]);
      }
      coordinates_.Write(numbers, 0, xyz);
      if (whole_.hasNodeLabels) nodeLabels_.Write(numbers, 0, labels);
    }
  }

  void CheckCopy(unsigned number, unsigned holder, std::span<const float, 3> xyz, int label) const {
    const auto differs = [&](const char* in) {
      Fail(Counted("node", number) + " of the whole has " + in + " than in " + files_.File(holder), part_);
    };
    std::array<float, 3> before{};
    coordinates_.Read(number, std::span<float>(before));
    const auto areSame = [](float a, float b) {
      return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
    };
    if (!std::ranges::equal(before, xyz, areSame)) differs("other coordinates");
    int labelBefore = label;
    if (whole_.hasNodeLabels) nodeLabels_.Read(number, std::span(&labelBefore, 1));
    if (labelBefore != label) differs("another user label");
  }

  void TakeElements(const fmt_Ranges& ranges) {
    elementNumbers_.clear();
    for (unsigned i = 0; i < classes_.size(); ++i) {
      const fmt_Ranges::Class& own = ranges.Classes()[i];
      if (own.numElements == 0) continue;
      const auto columns = static_cast<std::uint64_t>(own.nodesPerElement);
      TakeType(i, ranges);
      const std::uint64_t rows = std::max<std::uint64_t>(1, kSlice / columns);
      for (std::uint64_t first = 0; first < own.numElements; first += rows)
        TakeRows(ranges, i, first, std::min(rows, own.numElements - first));
    }
  }

  /// The first file with elements of a block tells what they are.
  void TakeType(unsigned classIndex, const fmt_Ranges& ranges) {
    Class& made = classes_[classIndex];
    const int columns = ranges.Classes()[classIndex].nodesPerElement;
    const bme_ElementClass& own = ranges.Shell().mesh->ElementData().GetClass(classIndex);
    if (!made.rows) {
      made.label = own.ElemTypeLabel();
      made.from = part_;
      made.rows = std::make_unique<dst_Unpacked<int>>(folder_.File("rows" + std::to_string(classIndex)),
                                                      static_cast<std::size_t>(columns));
      made.least = elementHolders_.size();
      facts_.classes[classIndex] = dst_ClassRange(own);
      facts_.classes[classIndex].SetNodesPerElement(columns);
    }
    if (own.ElemTypeLabel() != made.label || columns != facts_.classes[classIndex].NodesPerElement())
      Fail("block " + std::to_string(made.block) + " has elements " + own.ElemTypeLabel() + " of "
               + std::to_string(columns) + " nodes, in other files " + made.label + " of "
               + std::to_string(facts_.classes[classIndex].NodesPerElement()),
           part_);
  }

  void TakeRows(const fmt_Ranges& ranges, unsigned classIndex, std::uint64_t first, std::uint64_t count) {
    Class& made = classes_[classIndex];
    labels_.resize(count);
    ranges.ReadElementLabels(classIndex, first, labels_);
    const std::size_t begin = elementNumbers_.size();
    Number(labels_, elementHolders_.size(), "element", elementNumbers_);
    const auto numbers = std::span<const unsigned>(elementNumbers_).subspan(begin);
    for (const unsigned number : numbers) {
      unsigned& holder = elementHolders_[number];
      if (holder != kNoFile)
        Fail(Counted("element", number) + " of the whole is in " + files_.File(holder) + ", too", part_);
      holder = part_;
      made.least = std::min<std::uint64_t>(made.least, number);
      made.most = std::max<std::uint64_t>(made.most, number);
    }
    made.numElements += count;
    rows_.resize(count * static_cast<std::size_t>(ranges.Classes()[classIndex].nodesPerElement));
    ranges.ReadRows(classIndex, first, rows_);
    for (int& node : rows_) node = static_cast<int>(nodeNumbers_[static_cast<std::size_t>(node)]);
    made.rows->Write(numbers, 0, rows_);
    if (!whole_.hasElementLabels) return;
    ranges.ReadUserElementLabels(classIndex, first, labels_);
    for (std::size_t i = 0; i < labels_.size(); ++i)
      hasElementLabels_ |= static_cast<std::int64_t>(labels_[i]) != std::int64_t{numbers[i]} + 1;
    elementLabels_.Write(numbers, 0, labels_);
  }

  void CheckAllAreThere() const {
    const auto check = [&](const std::vector<unsigned>& holders, const char* what) {
      const auto at = std::ranges::find(holders, kNoFile);
      if (at != holders.end())
        throw nex_TextException(
            files_.File(0) + ", ...: " + Counted(what, static_cast<std::uint64_t>(at - holders.begin()))
            + " of the whole is in none of the " + std::to_string(files_.count) + " files");
    };
    check(nodeHolders_, "node");
    check(elementHolders_, "element");
  }

  void AddClasses() {
    std::uint64_t first = 0;
    for (unsigned i = 0; i < classes_.size(); ++i) {
      const Class& made = classes_[i];
      const std::uint64_t end = first + made.numElements;
      if (made.numElements > 0 && (made.least < first || made.most >= end)) {
        const std::uint64_t wrong = made.least < first ? made.least : made.most;
        Fail(Counted("element", wrong) + " of the whole is in block " + std::to_string(made.block)
                 + ", whose place among the blocks has the numbers " + std::to_string(first + 1) + ".."
                 + std::to_string(end),
             elementHolders_[wrong]);
      }
      facts_.classes[i].SetNumbers(first, made.numElements);
      facts_.classes[i].SetHasLabels(hasElementLabels_ && made.numElements > 0);
      first = end;
    }
  }

  void CheckLabels() const {
    const auto check = [&](const dst_Unpacked<int>& labels, const std::vector<unsigned>& holders,
                           const char* what) {
      const auto twice = fmt_Ranges::FindDuplicate(
          holders.size(), [&](std::uint64_t first, std::span<int> some) { labels.Read(first, some); });
      if (twice)
        Fail("user label " + std::to_string(twice->label) + " of " + Counted(what, twice->second)
                 + " of the whole is that of " + Counted(what, twice->first) + " in "
                 + files_.File(holders[twice->first]) + ", too",
             holders[twice->second]);
    };
    if (facts_.hasNodeLabels) check(nodeLabels_, nodeHolders_, "node");
    if (hasElementLabels_) check(elementLabels_, elementHolders_, "element");
  }

  /// Texts and properties; the numbers of each element and entry are counted.
  void TakeNotes(const bme_MeshNotes& own) {
    const auto find = [&](std::size_t classIndex) -> std::optional<bme_Annotation> {
      for (const bme_Annotation& one : own.annotations.List())
        if (one.noted == bme_CLASS_NOTED && one.number == static_cast<int>(classIndex)) return one;
      return std::nullopt;
    };
    for (std::size_t i = 0; i < classes_.size(); ++i)
      if (classes_[i].rows ? classes_[i].from == part_ : part_ == 0) classNotes_[i] = find(i);
    if (files_.count > 1)
      for (const bme_Annotation& one : own.annotations.List())
        numLost_ += static_cast<long long>(one.values.Const().size());
  }

  void TakeLedger(const fmt_Import& import) {
    fmt_Ledger own = import.ledger;
    fmt_RemoveCarried(own);
    RemovePartFacts(own, whole_);
    for (const fmt_LedgerEntry& entry : own) {
      const auto known = std::ranges::find(all_.ledger, entry.what, &fmt_LedgerEntry::what);
      if (known == all_.ledger.end())
        all_.ledger.push_back(entry);
      else
        known->count = known->count < 0 || entry.count < 0 ? -1 : known->count + entry.count;
    }
    const fmt_Rounding& rounding = import.rounding;
    const auto add = [](std::vector<int>& to, const std::vector<int>& labels) {
      to.insert(to.end(), labels.begin(), labels.end());
      std::ranges::sort(to);
      to.erase(std::unique(to.begin(), to.end()), to.end());
    };
    add(all_.rounding.coarseNodes, rounding.coarseNodes);
    add(all_.rounding.damagedElements, rounding.damagedElements);
  }

  void Report() {
    std::vector<bme_Annotation> kept;
    for (const std::optional<bme_Annotation>& one : classNotes_)
      if (one) kept.push_back(*one);
    for (const bme_Annotation& one : notes_.annotations.List())
      if (one.noted != bme_CLASS_NOTED) kept.push_back(one);
    notes_.annotations = {};
    for (bme_Annotation& one : kept) {
      if (files_.count > 1) {
        one.columns = {};
        one.values = {};
        one.counts = {};
        one.order = {};
      }
      if (!one.IsEmpty()) notes_.annotations.ListToModify().Append(one);
    }
    if (numLost_ > 0)
      all_.ledger.push_back({"attributes of elements and factors of sets", numLost_, "of files of parts"});
    if (numFrames_ > 0) {
      all_.ledger.push_back({"frames of results", numFrames_, "of files of parts"});
      facts_.warnings.push_back("the results in " + files_.File(0)
                                + ", ... are not taken over: " + std::to_string(numFrames_) + " frames");
    }
    dst_Tell(all_, all_.ledger, facts_);
  }

  dst_PartFiles files_;
  unsigned part_ = 0; ///< whose file is read
  dst_WorkFolder folder_;
  dst_Unpacked<float> coordinates_;
  dst_Unpacked<int> nodeLabels_, elementLabels_;
  fmt_Ranges::Whole whole_;
  std::vector<Class> classes_;
  std::vector<unsigned> nodeHolders_,
      elementHolders_; ///< the first file that has each one, while they are read
  std::vector<unsigned> nodeNumbers_, elementNumbers_; ///< in the whole, of the file that is read
  std::vector<int> labels_, rows_;                     ///< of the elements that are read
  bool hasElementLabels_ = false;
  dst_PartSets sets_;
  bme_MeshNotes notes_;
  std::vector<std::optional<bme_Annotation>> classNotes_;
  fmt_Import all_; ///< ledger and rounding of all files
  long long numFrames_ = 0, numLost_ = 0;
};
} // namespace

std::unique_ptr<dst_Source> dst_PartFilesSource(const dst_PartFiles& files, const fmt_Format& format,
                                                fmt_ReadOptions reading, const cow_String& mesh,
                                                const cow_String& workFolder) {
  return std::make_unique<PartFilesSource>(files, format, std::move(reading), mesh, workFolder);
}
