#include <CoreGeometry/dst_Check.h>

#include "dst_Buckets.h"
#include "dst_CheckRuns.h"
#include "dst_PartWriter.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <CoreGeometry/odiC_CheckModel.h>
#include <algorithm>
#include <bit>
#include <filesystem>
#include <map>
#include <optional>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
constexpr std::size_t kNodeWords = 7, kMemberWords = 3;
constexpr const char* kAgain = "split again";

unsigned HashOf(std::span<const unsigned> holders) {
  std::uint64_t hash = holders.size();
  for (const unsigned part : holders) hash = (hash ^ part) * 0x9e3779b97f4a7c15ULL + (hash >> 29);
  return static_cast<unsigned>(hash >> 32);
}

cow_String Joined(std::initializer_list<std::string_view> words) {
  cow_String text;
  for (const std::string_view word : words) text += word;
  return text;
}

cow_String PartText(unsigned part) { return "part " + std::to_string(part); }

class Checker {
public:
  Checker(const dst_SplitFolder& split, std::size_t memory, std::vector<dst_Finding>& findings)
      : split_(split), index_(split.Index()), findings_(findings), memory_(memory),
        nodesPerRange_(std::max<std::size_t>(1024, memory / 256)),
        nodes_(Temporary("nodes"), NumRanges(), memory / 2),
        members_(Temporary("sets"), NumRanges(), memory / 8), isSeen_(index_.NumElements()) {
    for (unsigned set = 0; set < index_.NumSets(); ++set)
      for (unsigned i = 0; i < index_.NumSubsets(set); ++i) entries_.push_back(0);
  }

  void Run() {
    for (unsigned part = 0; part < split_.NumParts(); ++part) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      try {
        CheckPart(part);
      } catch (const nex_TextException& failure) {
        Add(part, failure.Message(), kAgain);
        isComplete_ = false;
      }
    }
    if (!isComplete_) return; // what is missing would be reported for every node of it
    CheckElements();
    for (std::size_t range = 0; range < NumRanges(); ++range) CheckNodes(range);
    CheckSets();
    dst_CheckRuns(split_, Temporary("results"), memory_,
                  [&](unsigned part, const cow_String& what) { AddOf("results", part, what); });
    for (const auto& [kind, count] : kinds_)
      if (count > kMost)
        Add(kNoPart, std::to_string(count - kMost) + " more faults of this kind: " + kind, kAgain);
  }

private:
  static constexpr unsigned kNoPart = ~0U;
  static constexpr long long kMost = 20; // findings of a kind

  static cow_String Temporary(const char* name) {
    return (fs::temp_directory_path() / ("split_check_" + std::to_string(getpid()) + "_" + name)).string();
  }
  std::size_t NumRanges() const { return (index_.NumNodes() + nodesPerRange_) / nodesPerRange_; }

  void Add(unsigned part, const cow_String& what, const cow_String& advice) {
    dst_Finding finding;
    finding.file = part == kNoPart ? cow_String() : split_.PartFile(part);
    finding.root = part == kNoPart ? split_.Folder() : finding.file;
    finding.className = "dst_Part";
    finding.what = what;
    finding.advice = advice;
    findings_.push_back(std::move(finding));
  }
  /// One of possibly many.
  void AddOf(const cow_String& kind, unsigned part, const cow_String& what) {
    if (++kinds_[kind] <= kMost) Add(part, what, kAgain);
  }

  void CheckPart(unsigned number) {
    const dst_OpenPart open = split_.OpenPart(number);
    const dst_Part& part = *open.part;
    const dst_PartFacts facts = dst_FactsOf(*open.mesh, part), stored = index_.Part(number);
    const auto compare = [&](bool isEqual, const cow_String& what) {
      if (!isEqual) AddOf("facts", number, PartText(number) + ": " + what + " not what the index says");
    };
    compare(facts.numElements == stored.numElements && facts.numNodes == stored.numNodes,
            std::to_string(facts.numNodes) + " nodes and " + std::to_string(facts.numElements)
                + " elements are");
    compare(facts.numOwned == stored.numOwned && facts.numShared == stored.numShared,
            "its numbers of shared nodes are");
    compare(std::ranges::equal(facts.box, stored.box), "its box is");
    compare(std::ranges::equal(facts.nodeLabels, stored.nodeLabels)
                && std::ranges::equal(facts.elementLabels, stored.elementLabels),
            "its range of labels is");
    compare(facts.neighbours == stored.neighbours, "its neighbours are");
    compare(facts.hash == stored.hash, "its contents are");
    if (part.NumElements() == 0) Add(number, PartText(number) + " has no elements", kAgain);
    SendElements(open, number);
    SendNodes(open, number);
    SendMembers(open, number);
  }

  void SendElements(const dst_OpenPart& open, unsigned number) {
    unsigned element = 0;
    for (unsigned i = 0; i < index_.NumClasses(); ++i) {
      const dst_ClassRange& range = index_.Class(i);
      for (int k = 0; k < open.mesh->ElementData().GetClass(i).NumElements(); ++k, ++element) {
        const std::uint64_t whole = open.part->ElementNumber(element);
        const cow_String name = "element " + std::to_string(whole);
        if (whole < range.FirstElement() || whole >= range.EndElement()) {
          AddOf("classes", number,
                name + " of " + PartText(number) + " is not of class " + std::to_string(i));
        } else {
          if (isSeen_[whole])
            AddOf("elements", number, name + " is in " + PartText(number) + " and in one before it");
          isSeen_[whole] = true;
        }
      }
    }
  }

  void SendNodes(const dst_OpenPart& open, unsigned number) {
    const dst_Part& part = *open.part;
    const std::span<const float> xyz = open.mesh->NodeData().Coordinates().Const();
    const std::span<const int> labels = open.mesh->NodeData().UserNodeLabels().Const();
    if (labels.size() != part.NumNodes()) Add(number, PartText(number) + " has no node labels", kAgain);
    std::vector<unsigned> holders;
    unsigned shared = 0;
    for (unsigned i = 0; i < part.NumNodes(); ++i) {
      holders = {number};
      if (shared < part.NumShared() && part.SharedNodes()[shared] == i) {
        const auto others = part.OtherHolders(shared++);
        holders.insert(holders.end(), others.begin(), others.end());
        std::ranges::sort(holders);
      }
      const std::uint64_t whole = part.NodeNumber(i);
      if (whole >= index_.NumNodes()) {
        AddOf("nodes", number,
              "node " + std::to_string(whole) + " of " + PartText(number) + " is beyond "
                  + std::to_string(index_.NumNodes()));
        continue;
      }
      const std::array<unsigned, kNodeWords> record{static_cast<unsigned>(whole),
                                                    number,
                                                    std::bit_cast<unsigned>(xyz[std::size_t{3} * i]),
                                                    std::bit_cast<unsigned>(xyz[std::size_t{3} * i + 1]),
                                                    std::bit_cast<unsigned>(xyz[std::size_t{3} * i + 2]),
                                                    i < labels.size() ? static_cast<unsigned>(labels[i]) : 0,
                                                    HashOf(holders)};
      nodes_.Add(whole / nodesPerRange_, record);
    }
  }

  void SendMembers(const dst_OpenPart& open, unsigned number) {
    const dst_Part& part = *open.part;
    for (unsigned set = 0; set < index_.NumSets(); ++set) {
      const auto data = open.model.Get<rgnC_SetData>(index_.SetRoot(set));
      for (unsigned i = 0; i < index_.NumSubsets(set); ++i) {
        const rgnC_SubsetData& subset = data->SubSet(static_cast<int>(i));
        const unsigned flat = index_.FirstSubset(set) + i;
        const bool isOfNodes = dst_SetFacts::IsOfNodes(subset);
        if (!isOfNodes) entries_[flat] += subset.IdArray().size();
        for (const int id : subset.IdArray()) {
          if (static_cast<unsigned>(id) >= (isOfNodes ? part.NumNodes() : part.NumElements())) {
            AddOf("entries", number,
                  PartText(number) + ": the set \"" + index_.SetRoot(set) + "\" has entry "
                      + std::to_string(id) + ", which the part does not have");
          } else if (isOfNodes) {
            const unsigned node = part.NodeNumbers()[static_cast<std::size_t>(id)];
            members_.Add(node / nodesPerRange_, std::array<unsigned, kMemberWords>{node, flat, number});
            entries_[flat] += part.OwnerOfNode(static_cast<unsigned>(id)) == number ? 1 : 0;
          }
        }
      }
    }
  }

  void CheckElements() {
    for (std::uint64_t element = 0; element < isSeen_.size(); ++element)
      if (!isSeen_[element])
        AddOf("missing elements", kNoPart, "element " + std::to_string(element) + " is in no part");
  }

  template<std::size_t width>
  static std::vector<std::array<unsigned, width>> Sorted(const std::vector<unsigned>& words) {
    std::vector<std::array<unsigned, width>> rows(words.size() / width);
    for (std::size_t i = 0; i < words.size(); ++i) rows[i / width][i % width] = words[i];
    std::ranges::sort(rows);
    return rows;
  }

  /// Of a range of nodes: all copies of each.
  void CheckNodes(std::size_t range) {
    const auto rows = Sorted<kNodeWords>(nodes_.Take(range));
    const auto members = Sorted<kMemberWords>(members_.Take(range));
    std::uint64_t expected = range * nodesPerRange_;
    const std::uint64_t end = std::min<std::uint64_t>(expected + nodesPerRange_, index_.NumNodes());
    std::span<const std::array<unsigned, kMemberWords>> leftMembers = members;
    for (std::size_t first = 0, last = 0; first < rows.size(); first = last) {
      const unsigned node = rows[first][0];
      for (; expected < node; ++expected) AddMissing(expected);
      expected = node + std::uint64_t{1};
      std::vector<unsigned> holders;
      for (; last < rows.size() && rows[last][0] == node; ++last) holders.push_back(rows[last][1]);
      CheckCopies(std::span(rows).subspan(first, last - first), holders);
      std::size_t count = 0;
      while (count < leftMembers.size() && leftMembers[count][0] == node) ++count;
      CheckMembers(leftMembers.first(count), holders);
      leftMembers = leftMembers.subspan(count);
    }
    for (; expected < end; ++expected) AddMissing(expected);
  }

  void AddMissing(std::uint64_t node) {
    AddOf("missing nodes", kNoPart, "node " + std::to_string(node) + " is in no part");
  }

  void CheckCopies(std::span<const std::array<unsigned, kNodeWords>> copies,
                   std::span<const unsigned> holders) {
    const unsigned hash = HashOf(holders);
    const auto& one = copies.front();
    const cow_String node = "node " + std::to_string(one[0]);
    for (const auto& other : copies) {
      const cow_String where = Joined({" in ", PartText(one[1]), " than in ", PartText(other[1])});
      if (!std::equal(one.begin() + 2, one.begin() + 5, other.begin() + 2))
        AddOf("coordinates", other[1], Joined({node, " has other coordinates", where}));
      if (one[5] != other[5])
        AddOf("labels", other[1],
              Joined({node, " has another label", where, " (", std::to_string(static_cast<int>(one[5])), ", ",
                      std::to_string(static_cast<int>(other[5])), ")"}));
      if (other[6] != hash) {
        cow_String list;
        for (const unsigned part : holders) {
          list += list.empty() ? "" : ", ";
          list += std::to_string(part);
        }
        AddOf("holders", other[1],
              Joined({node, " is held by the parts ", list, ", but ", PartText(other[1]), " names others"}));
      }
    }
  }

  /// A node that is in a set as often in each of its parts.
  void CheckMembers(std::span<const std::array<unsigned, kMemberWords>> members,
                    std::span<const unsigned> holders) {
    while (!members.empty()) {
      const auto [node, flat, first] = members.front();
      std::map<unsigned, std::size_t> times;
      for (; !members.empty() && members.front()[1] == flat; members = members.subspan(1))
        ++times[members.front()[2]];
      for (const unsigned part : holders)
        if (times[part] != times[first])
          AddOf("shared entries", part,
                "node " + std::to_string(node) + " is " + std::to_string(times[first])
                    + " times in the set \"" + RootOf(flat) + "\" of " + PartText(first) + ", "
                    + std::to_string(times[part]) + " times in that of " + PartText(part));
    }
  }

  cow_String RootOf(unsigned flat) const {
    unsigned set = 0;
    while (index_.FirstSubset(set + 1) <= flat) ++set;
    return index_.SetRoot(set);
  }

  void CheckSets() {
    for (unsigned set = 0; set < index_.NumSets(); ++set)
      for (unsigned i = 0; i < index_.NumSubsets(set); ++i)
        if (const std::uint64_t found = entries_[index_.FirstSubset(set) + i];
            found != index_.NumEntries(set, i))
          Add(kNoPart,
              "the set \"" + index_.SetRoot(set) + "\" has " + std::to_string(found)
                  + " entries in all parts, " + std::to_string(index_.NumEntries(set, i)) + " in the index",
              kAgain);
  }

  const dst_SplitFolder& split_;
  const dst_Index& index_;
  std::vector<dst_Finding>& findings_;
  std::size_t memory_, nodesPerRange_;
  dst_Buckets nodes_, members_;
  std::vector<bool> isSeen_;           ///< elements
  std::vector<std::uint64_t> entries_; ///< of each subset
  std::map<cow_String, long long> kinds_;
  bool isComplete_ = true;
};

/// The file as a model of its own.
void CheckFile(const cow_String& file, std::vector<dst_Finding>& findings) {
  std::vector<chk_Finding> own;
  try {
    cls_Database model = cls_Database::Open(file);
    own = odiC_CheckModel(model);
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    own = {odiC_Unreadable(failure.Message())};
  }
  for (chk_Finding& one : own) {
    dst_Finding& finding = findings.emplace_back();
    static_cast<chk_Finding&>(finding) = std::move(one);
    finding.file = file;
  }
}
} // namespace

std::vector<dst_Finding> dst_Check(const cow_String& folder, std::size_t memory) {
  std::vector<dst_Finding> findings;
  std::optional<dst_SplitFolder> split;
  try {
    split.emplace(folder);
  } catch (const nex_TextException& failure) {
    static_cast<chk_Finding&>(findings.emplace_back()) = odiC_Unreadable(failure.Message());
    return findings;
  }
  CheckFile(split->IndexFile(), findings);
  for (unsigned part = 0; part < split->NumParts(); ++part)
    if (fs::exists(split->PartFile(part))) CheckFile(split->PartFile(part), findings);
  Checker(*split, memory, findings).Run();
  return findings;
}
