#include <CoreGeometry/dst_Check.h>

#include "dst_CheckRuns.h"
#include "dst_FindingList.h"
#include "dst_PartWriter.h"
#include "dst_Referees.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/dst_Model.h>
#include <CoreGeometry/dst_SerialExchange.h>
#include <CoreGeometry/odiC_CheckModel.h>
#include <algorithm>
#include <bit>
#include <filesystem>
#include <optional>

namespace fs = std::filesystem;

namespace {
constexpr const char* kAgain = "split again";
constexpr unsigned kNoPart = ~0U;

/// In the order of one process. Sections of a part's own findings: facts, elements, the rest.
enum Stage : unsigned { kFileOfIndex, kFiles, kParts, kMissing, kNodes, kSets, kRuns, kValues };
enum Section : unsigned { kFacts, kElements, kRest };

/// What parts send to the referee of a range of numbers.
struct ElementRecord {
  unsigned number, part, local;
  auto operator<=>(const ElementRecord&) const = default;
};
struct NodeRecord {
  unsigned number, part;
  std::array<unsigned, 3> xyz; ///< bits
  int label;
  unsigned holders; ///< hash
  auto operator<=>(const NodeRecord&) const = default;
};
struct MemberRecord {
  unsigned number, subset, part;
  auto operator<=>(const MemberRecord&) const = default;
};

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
  Checker(const dst_SplitFolder& split, dst_Exchange& exchange)
      : split_(split), index_(split.Index()),
        exchange_(exchange), elementReferees_{index_.NumElements(), index_.NumParts()},
        nodeReferees_{index_.NumNodes(), index_.NumParts()}, found_(exchange.MyParts().Count()) {
    for (unsigned set = 0; set < index_.NumSets(); ++set)
      entries_.resize(entries_.size() + index_.NumSubsets(set));
  }

  std::vector<dst_Finding> Run() {
    exchange_.ForEachPart([&](unsigned part) { CheckFiles(part); });
    std::int64_t numBroken = 0;
    exchange_.ForEachPart([&](unsigned part) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      Outbox outbox(index_.NumParts());
      try {
        CheckPart(part, outbox);
      } catch (const nex_TextException& failure) {
        Add({kParts, part, kRest, next_++}, part, failure.Message());
        ++numBroken;
      }
      outbox.Send(exchange_, part);
    });
    exchange_.Sum({&numBroken, 1});
    const bool isComplete = numBroken == 0; // what is missing would be reported for every node of it
    exchange_.Deliver();
    exchange_.ForEachPart([&](unsigned referee) { Judge(referee, isComplete); });
    if (isComplete) {
      exchange_.Sum(entries_);
      exchange_.ForEachPart([&](unsigned part) {
        if (part == 0) CheckSets();
      });
      dst_CheckRuns(split_, exchange_, nodeReferees_,
                    [&](unsigned checker, unsigned part, bool isOfValues, const cow_String& what) {
                      AddOf("results", {isOfValues ? kValues : kRuns, checker, 0, next_++}, part, what);
                    });
    }
    return Gathered(isComplete);
  }

private:
  /// What a part sends to each referee, in one message.
  struct Outbox {
    explicit Outbox(unsigned numParts) : elements(numParts), nodes(numParts), members(numParts) {}
    void Send(dst_Exchange& exchange, unsigned from) const {
      for (unsigned to = 0; to < elements.size(); ++to)
        dst_SendLists(exchange, from, to, elements[to], nodes[to], members[to]);
    }
    std::vector<std::vector<ElementRecord>> elements;
    std::vector<std::vector<NodeRecord>> nodes;
    std::vector<std::vector<MemberRecord>> members;
  };

  dst_Finding Finding(unsigned part, const cow_String& what) const {
    dst_Finding finding;
    finding.file = part == kNoPart ? cow_String() : split_.PartFile(part);
    finding.root = part == kNoPart ? split_.Folder() : finding.file;
    finding.className = "dst_Part";
    finding.what = what;
    finding.advice = kAgain;
    return finding;
  }
  dst_FindingList& Of(unsigned part) { return found_[part - exchange_.MyParts().first]; }
  /// A finding about a part, or all of them, by the one that its place names.
  void Add(const dst_FindingPlace& place, unsigned part, const cow_String& what) {
    Of(place.part).Add(place, Finding(part, what));
  }
  /// One of possibly many.
  void AddOf(const cow_String& kind, const dst_FindingPlace& place, unsigned part, const cow_String& what) {
    Of(place.part).AddOf(kind, place, Finding(part, what));
  }

  void CheckFiles(unsigned part) {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    if (part == 0) CheckFile(split_.IndexFile(), {kFileOfIndex, 0});
    if (fs::exists(split_.PartFile(part))) CheckFile(split_.PartFile(part), {kFiles, part});
  }

  /// The file as a model of its own.
  void CheckFile(const cow_String& file, dst_FindingPlace place) {
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
      dst_Finding finding;
      static_cast<chk_Finding&>(finding) = std::move(one);
      finding.file = file;
      Of(place.part).Add(place, std::move(finding));
      ++place.item;
    }
  }

  void CheckPart(unsigned number, Outbox& outbox) {
    const dst_OpenPart open = split_.OpenPart(number);
    const dst_Part& part = *open.part;
    const dst_PartFacts facts = dst_FactsOf(*open.mesh, part), stored = index_.Part(number);
    const auto compare = [&](bool isEqual, const cow_String& what) {
      if (!isEqual)
        AddOf("facts", {kParts, number, kFacts, next_++}, number,
              PartText(number) + ": " + what + " not what the index says");
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
    if (part.NumElements() == 0)
      Add({kParts, number, kFacts, next_++}, number, PartText(number) + " has no elements");
    SendElements(open, number, outbox);
    SendNodes(open, number, outbox);
    SendMembers(open, number, outbox);
  }

  void SendElements(const dst_OpenPart& open, unsigned number, Outbox& outbox) {
    unsigned element = 0;
    for (unsigned i = 0; i < index_.NumClasses(); ++i) {
      const dst_ClassRange& range = index_.Class(i);
      for (int k = 0; k < open.mesh->ElementData().GetClass(i).NumElements(); ++k, ++element) {
        const std::uint64_t whole = open.part->ElementNumber(element);
        if (whole < range.FirstElement() || whole >= range.EndElement())
          AddOf("classes", {kParts, number, kElements, element}, number,
                "element " + std::to_string(whole) + " of " + PartText(number) + " is not of class "
                    + std::to_string(i));
        else
          outbox.elements[elementReferees_.Of(whole)].push_back(
              {static_cast<unsigned>(whole), number, element});
      }
    }
  }

  void SendNodes(const dst_OpenPart& open, unsigned number, Outbox& outbox) {
    const dst_Part& part = *open.part;
    const std::span<const float> xyz = open.mesh->NodeData().Coordinates().Const();
    const std::span<const int> labels = open.mesh->NodeData().UserNodeLabels().Const();
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
        AddOf("nodes", {kParts, number, kRest, next_++}, number,
              "node " + std::to_string(whole) + " of " + PartText(number) + " is beyond "
                  + std::to_string(index_.NumNodes()));
        continue;
      }
      const auto bits = [&](std::size_t axis) {
        return std::bit_cast<unsigned>(xyz[std::size_t{3} * i + axis]);
      };
      outbox.nodes[nodeReferees_.Of(whole)].push_back(
          {static_cast<unsigned>(whole), number, {bits(0), bits(1), bits(2)}, labels[i], HashOf(holders)});
    }
  }

  void SendMembers(const dst_OpenPart& open, unsigned number, Outbox& outbox) {
    const dst_Part& part = *open.part;
    for (unsigned set = 0; set < index_.NumSets(); ++set) {
      const auto data = split_.SetOf(open.model, set);
      for (unsigned i = 0; i < index_.NumSubsets(set); ++i) {
        const rgnC_SubsetData& subset = data->SubSet(static_cast<int>(i));
        const unsigned flat = index_.FirstSubset(set) + i;
        const bool isOfNodes = dst_SetFacts::IsOfNodes(subset);
        if (!isOfNodes) entries_[flat] += static_cast<std::int64_t>(subset.IdArray().size());
        for (const int id : subset.IdArray()) {
          if (static_cast<unsigned>(id) >= (isOfNodes ? part.NumNodes() : part.NumElements())) {
            AddOf("entries", {kParts, number, kRest, next_++}, number,
                  PartText(number) + ": the set \"" + index_.SetRoot(set) + "\" has entry "
                      + std::to_string(id) + ", which the part does not have");
          } else if (isOfNodes) {
            const unsigned node = part.NodeNumbers()[static_cast<std::size_t>(id)];
            if (node < index_.NumNodes())
              outbox.members[nodeReferees_.Of(node)].push_back({node, flat, number});
            entries_[flat] += part.OwnerOfNode(static_cast<unsigned>(id)) == number ? 1 : 0;
          }
        }
      }
    }
  }

  /// Of the ranges of a referee.
  void Judge(unsigned referee, bool isComplete) {
    std::vector<ElementRecord> elements;
    std::vector<NodeRecord> nodes;
    std::vector<MemberRecord> members;
    for (const dst_Message& message : exchange_.Received(referee))
      dst_AppendLists(message, elements, nodes, members);
    CheckElements(referee, elements, isComplete);
    if (isComplete) CheckNodes(referee, nodes, members);
  }

  void CheckElements(unsigned referee, std::vector<ElementRecord>& elements, bool isComplete) {
    std::ranges::sort(elements);
    std::vector<ElementRecord> again;
    std::uint64_t expected = elementReferees_.First(referee);
    const auto expectUpTo = [&](std::uint64_t end) {
      for (; expected < end; ++expected)
        if (isComplete)
          AddOf("missing elements", {kMissing, referee, 0, next_++}, kNoPart,
                "element " + std::to_string(expected) + " is in no part");
    };
    for (const ElementRecord& one : elements) {
      if (one.number < expected) {
        again.push_back(one);
        continue;
      }
      expectUpTo(one.number);
      ++expected;
    }
    expectUpTo(elementReferees_.First(referee + 1));
    std::ranges::sort(again, {}, [](const ElementRecord& one) { return std::pair(one.part, one.local); });
    for (const ElementRecord& one : again)
      Of(referee).AddOf("elements", {kParts, one.part, kElements, one.local},
                        Finding(one.part, "element " + std::to_string(one.number) + " is in "
                                              + PartText(one.part) + " and in one before it"));
  }

  void CheckNodes(unsigned referee, std::vector<NodeRecord>& nodes, std::vector<MemberRecord>& members) {
    std::ranges::sort(nodes);
    std::ranges::sort(members);
    std::uint64_t expected = nodeReferees_.First(referee);
    const auto expectUpTo = [&](std::uint64_t end) {
      for (; expected < end; ++expected)
        AddOf("missing nodes", {kNodes, referee, 0, next_++}, kNoPart,
              "node " + std::to_string(expected) + " is in no part");
    };
    std::span<const NodeRecord> left = nodes;
    std::span<const MemberRecord> leftMembers = members;
    while (!left.empty()) {
      const unsigned node = left.front().number;
      const auto ofNode = [node](const auto& record) { return record.number == node; };
      expectUpTo(node);
      ++expected;
      const auto copies =
          left.first(static_cast<std::size_t>(std::ranges::find_if_not(left, ofNode) - left.begin()));
      const auto entries = leftMembers.first(
          static_cast<std::size_t>(std::ranges::find_if_not(leftMembers, ofNode) - leftMembers.begin()));
      std::vector<unsigned> holders;
      for (const NodeRecord& copy : copies) holders.push_back(copy.part);
      CheckCopies(referee, copies, holders);
      CheckMembers(referee, entries, holders);
      left = left.subspan(copies.size());
      leftMembers = leftMembers.subspan(entries.size());
    }
    expectUpTo(nodeReferees_.First(referee + 1));
  }

  void CheckCopies(unsigned referee, std::span<const NodeRecord> copies, std::span<const unsigned> holders) {
    const unsigned hash = HashOf(holders);
    const NodeRecord& one = copies.front();
    const cow_String node = "node " + std::to_string(one.number);
    for (const NodeRecord& other : copies) {
      const cow_String where = Joined({" in ", PartText(one.part), " than in ", PartText(other.part)});
      if (one.xyz != other.xyz)
        AddOf("coordinates", {kNodes, referee, 0, next_++}, other.part,
              Joined({node, " has other coordinates", where}));
      if (one.label != other.label)
        AddOf("labels", {kNodes, referee, 0, next_++}, other.part,
              Joined({node, " has another label", where, " (", std::to_string(one.label), ", ",
                      std::to_string(other.label), ")"}));
      if (other.holders != hash) {
        cow_String list;
        for (const unsigned part : holders) {
          list += list.empty() ? "" : ", ";
          list += std::to_string(part);
        }
        AddOf(
            "holders", {kNodes, referee, 0, next_++}, other.part,
            Joined({node, " is held by the parts ", list, ", but ", PartText(other.part), " names others"}));
      }
    }
  }

  /// A node that is in a set as often in each of its parts.
  void CheckMembers(unsigned referee, std::span<const MemberRecord> members,
                    std::span<const unsigned> holders) {
    while (!members.empty()) {
      const auto [node, flat, first] = members.front();
      std::map<unsigned, std::size_t> times;
      for (; !members.empty() && members.front().subset == flat; members = members.subspan(1))
        ++times[members.front().part];
      for (const unsigned part : holders)
        if (times[part] != times[first])
          AddOf("shared entries", {kNodes, referee, 0, next_++}, part,
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
        if (const auto found = static_cast<std::uint64_t>(entries_[index_.FirstSubset(set) + i]);
            found != index_.NumEntries(set, i))
          Add({kSets, 0, 0, next_++}, kNoPart,
              "the set \"" + index_.SetRoot(set) + "\" has " + std::to_string(found)
                  + " entries in all parts, " + std::to_string(index_.NumEntries(set, i)) + " in the index");
  }

  std::vector<dst_Finding> Gathered(bool isComplete) {
    std::vector<std::vector<std::byte>> own(exchange_.MyParts().Count());
    for (std::size_t i = 0; i < own.size(); ++i) own[i] = found_[i].Bytes();
    dst_FindingList::Merged merged = dst_FindingList::Merge(exchange_.Gather(own));
    if (isComplete)
      for (const auto& [kind, count] : merged.kinds)
        if (count > dst_FindingList::kMost)
          merged.findings.push_back(Finding(kNoPart, std::to_string(count - dst_FindingList::kMost)
                                                         + " more faults of this kind: " + kind));
    return std::move(merged.findings);
  }

  const dst_SplitFolder& split_;
  const dst_Index& index_;
  dst_Exchange& exchange_;
  dst_Referees elementReferees_, nodeReferees_;
  std::vector<std::int64_t> entries_;  ///< of each subset
  std::vector<dst_FindingList> found_; ///< by own parts
  unsigned next_ = 0;                  ///< findings of a stage and part ascend
};
} // namespace

std::vector<dst_Finding> dst_Check(const cow_String& folder, dst_Exchange& exchange) {
  std::optional<dst_Model> model;
  try {
    model.emplace(folder, exchange);
  } catch (const nex_TextException& failure) { // the same on all ranks
    std::vector<dst_Finding> findings(1);
    static_cast<chk_Finding&>(findings.front()) = odiC_Unreadable(failure.Message());
    return findings;
  }
  return Checker(model->Folder(), exchange).Run();
}

std::vector<dst_Finding> dst_Check(const cow_String& folder, std::size_t memory) {
  dst_SerialExchange exchange(fs::temp_directory_path().string(), memory);
  return dst_Check(folder, exchange);
}
