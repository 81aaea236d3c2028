#include "exo_Sets.h"

#include "exo_Notes.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <set>

namespace {
struct Kind {
  exo_SetKind kind;
  const char* name;
  const char* entry;
  rgnC_SetType regionType;
  res_SetTypeEnm setType;
  bme_NotedEnm noted;
};
constexpr Kind kBlocks{exo_SetKind::Elements, "block",         "element",
                       rgnC_ELEMENT_SET,      res_ELEMENT_SET, bme_CLASS_NOTED};
constexpr Kind kKinds[] = {
    {exo_SetKind::Nodes, "node set", "node", rgnC_NODE_SET, res_NODE_SET, bme_NODES_NOTED},
    {exo_SetKind::Sides, "side set", "element", rgnC_MESH_SURFACE, res_SURFACE_SET, bme_SURFACE_NOTED},
    {exo_SetKind::Elements, "element set", "element", rgnC_ELEMENT_SET, res_ELEMENT_SET, bme_ELEMENTS_NOTED}};

/// The subset of one class and kind while it is gathered.
struct Group {
  int classIndex;
  res_SetTypeEnm type;
  std::vector<int> ids{}, facets{};
  std::vector<int> positions{}; ///< among the entries of the file; of nodes all of them
};

class Reader {
public:
  Reader(const exo_File& file, std::span<const exo_BlockPlace> blocks, int meshId, bme_MeshNotes& notes,
         exo_TakeSet take)
      : file_(file), blocks_(blocks), meshId_(meshId), notes_(notes), take_(std::move(take)) {}

  /// Hands over one set after the other; those of blocks with all their elements, or the first one alone.
  void Run(fmt_Ledger& ledger, bool areBlocksWhole) {
    for (const exo_BlockPlace& block : blocks_)
      if (block.classIndex >= 0) AddBlock(block, areBlocksWhole);
    for (const Kind& kind : kKinds) properties_.push_back(file_.SetProperties(kind.kind));
    for (const exo_Set& set : file_.Sets()) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      AddSet(set);
    }
    const auto note = [&](const char* what, long long count, const char* detail) {
      if (count > 0) ledger.push_back({what, count, detail});
    };
    note("sides without a face or edge here", numUnknownSides_, "kept as elements of their surface");
    note("sides that their elements do not have", numWrongSides_, wrongSides_.c_str());
    note("entries of sets", numDropped_, "elements that were not carried over");
    note("numbers of blocks and sets", numWideIds_, "do not fit 32 bits");
    note("distribution factors of sets", numLostFactors_, "of no known entry");
    note("properties of sets", numLostProperties_,
         "do not fit 32 bits, as values or for the number of their set");
  }

  void RunOne(const exo_Set& set) {
    const Kind& kind = *std::ranges::find(kKinds, set.kind, &Kind::kind);
    Add(kind, set.id, set.name, Gather(set, kind));
  }

private:
  void AddBlock(const exo_BlockPlace& place, bool isWhole) {
    Group all{place.classIndex, res_ELEMENT_SET};
    const std::int64_t count = place.block->numElements;
    all.ids.resize(static_cast<std::size_t>(isWhole ? count : std::min<std::int64_t>(1, count)));
    std::iota(all.ids.begin(), all.ids.end(), place.firstInMesh);
    Add(kBlocks, place.block->id, place.block->name, {&all, 1});
  }

  void AddSet(const exo_Set& set) {
    const Kind& kind = *std::ranges::find(kKinds, set.kind, &Kind::kind);
    const std::vector<Group> groups = Gather(set, kind);
    Add(kind, set.id, set.name, groups);
    Annotate(set, kind, groups);
    if (set.kind == exo_SetKind::Sides) ListWrongSides(set);
  }

  /// Reads the entries.
  std::vector<Group> Gather(const exo_Set& set, const Kind& kind) {
    file_.ReadSet(set, entries_, sides_);
    const std::int64_t most = set.kind == exo_SetKind::Nodes ? file_.NumNodes() : file_.NumElements();
    bool isInside = true;
    for (const long long number : entries_) isInside &= number >= 1 && number <= most;
    if (!isInside) {
      const auto at =
          std::ranges::find_if(entries_, [&](long long number) { return number < 1 || number > most; });
      throw nex_TextException(file_.Name() + ": " + kind.name + " " + std::to_string(set.id) + ", entry "
                              + std::to_string(at - entries_.begin() + 1) + ": " + kind.entry + " "
                              + std::to_string(*at) + " is outside 1.." + std::to_string(most));
    }
    return set.kind == exo_SetKind::Nodes ? GatherNodes() : GatherElements(set.kind);
  }

  static bool HasSide(const exo_BlockPlace& block, long long side) {
    return side >= 1 && (block.sides.empty() || side <= static_cast<long long>(block.sides.size()));
  }

  /// Counts them, and names the first ones.
  void ListWrongSides(const exo_Set& set) {
    constexpr long long kMost = 10;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const exo_BlockPlace& block = BlockOf(entries_[i] - 1);
      if (block.classIndex < 0 || HasSide(block, sides_[i]) || numWrongSides_++ > kMost) continue;
      wrongSides_ += numWrongSides_ == 1 ? "left out: " : ", ";
      wrongSides_ += numWrongSides_ > kMost
                         ? cow_String("...")
                         : "side " + std::to_string(sides_[i]) + " of element " + std::to_string(entries_[i])
                               + " in side set " + std::to_string(set.id);
    }
  }

  std::vector<Group> GatherNodes() const {
    std::vector<Group> groups(1, {rgnC_SubsetData::kNoClass, res_NODE_SET});
    groups[0].ids.resize(entries_.size());
    std::ranges::transform(entries_, groups[0].ids.begin(),
                           [](long long number) { return static_cast<int>(number - 1); });
    return groups;
  }

  /// One group for each kind in each block, many of them empty.
  std::vector<Group> GatherElements(exo_SetKind kind) {
    static constexpr res_SetTypeEnm kTypes[] = {res_ELEMENT_SET, res_SURFACE_FACET, res_SURFACE_EDGE,
                                                res_SURFACE_ELEMENT};
    constexpr std::size_t kNumTypes = std::size(kTypes);
    std::vector<Group> groups;
    for (const exo_BlockPlace& block : blocks_)
      for (const res_SetTypeEnm type : kTypes) groups.push_back({block.classIndex, type});
    const exo_BlockPlace* block = nullptr;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const std::int64_t element = entries_[i] - 1;
      if (!block || element < block->firstInFile || element - block->firstInFile >= block->block->numElements)
        block = &BlockOf(element);
      if (block->classIndex < 0) {
        ++numDropped_;
        continue;
      }
      std::size_t type = 0;
      int facet = 0;
      if (kind == exo_SetKind::Sides) {
        if (!HasSide(*block, sides_[i])) continue;
        const auto side = static_cast<std::size_t>(sides_[i] - 1);
        const exo_Side found =
            block->sides.empty() ? exo_Side{.facet = static_cast<int>(side)} : block->sides[side];
        type = static_cast<std::size_t>(std::ranges::find(kTypes, found.kind) - kTypes);
        facet = found.facet;
        numUnknownSides_ += found.kind == res_SURFACE_ELEMENT;
      }
      Group& group = groups[static_cast<std::size_t>(block - blocks_.data()) * kNumTypes + type];
      group.ids.push_back(block->firstInMesh + static_cast<int>(element - block->firstInFile));
      group.positions.push_back(static_cast<int>(i));
      // of elements whose sides nobody knows the number of the side is kept, from 0
      if (type == 1 || type == 2 || (type == 3 && block->sides.empty())) group.facets.push_back(facet);
    }
    return groups;
  }

  /// What belongs to a set beside its entries.
  void Annotate(const exo_Set& set, const Kind& kind, std::span<const Group> groups) {
    const std::vector<exo_Property>& properties = properties_[static_cast<std::size_t>(&kind - kKinds)];
    if (IsWide(set.id)) {
      numLostFactors_ += set.numFactors;
      numLostProperties_ += static_cast<long long>(properties.size());
      return;
    }
    bme_Annotation made(kind.noted, static_cast<int>(set.id));
    std::vector<int> order;
    for (const Group& group : groups)
      order.insert(order.end(), group.positions.begin(), group.positions.end());
    const bool isSame =
        std::ranges::is_sorted(order) && (set.kind == exo_SetKind::Nodes || order.size() == entries_.size());
    if (set.numFactors > 0) AddFactors(set, isSame, order, made);
    if (!std::ranges::is_sorted(order)) made.order.Append(order);
    numLostProperties_ += exo_AddProperties(properties, static_cast<std::size_t>(set.position - 1), made);
    if (!made.IsEmpty()) notes_.annotations.ListToModify().Append(made);
  }

  /// `order` has the position of every entry that was carried over, in the order of the subsets.
  void AddFactors(const exo_Set& set, bool isSame, std::span<const int> order, bme_Annotation& made) {
    cow_ArrayCOW<double> factors = file_.ReadFactors(set);
    const std::optional<std::vector<int>> counts = CountFactors(set);
    if (!counts) {
      numLostFactors_ += set.numFactors;
      return;
    }
    if (isSame) {
      made.values = cls_xp2DArrayDouble(1, std::move(factors));
      made.counts.Append(*counts);
      return;
    }
    const auto countOf = [&](std::size_t entry) {
      return counts->empty() ? std::size_t{1} : static_cast<std::size_t>((*counts)[entry]);
    };
    std::vector<std::size_t> starts(entries_.size());
    for (std::size_t i = 1; i < starts.size(); ++i) starts[i] = starts[i - 1] + countOf(i - 1);
    cow_ArrayCOW<double> arranged;
    for (const int entry : order) {
      const auto at = static_cast<std::size_t>(entry);
      arranged.Append(factors.Const().subspan(starts[at], countOf(at)));
      if (!counts->empty()) made.counts.Append((*counts)[at]);
    }
    numLostFactors_ += static_cast<long long>(factors.Size() - arranged.Size());
    made.values = cls_xp2DArrayDouble(1, std::move(arranged));
  }

  /// How many factors each entry of the set at hand has: one each (empty), one for each node of a side, or the same
  /// number for all. Nothing when none of these is as many as there are.
  std::optional<std::vector<int>> CountFactors(const exo_Set& set) {
    const auto wanted = static_cast<std::size_t>(set.numFactors);
    if (wanted == entries_.size()) return std::vector<int>();
    if (set.kind != exo_SetKind::Sides || entries_.empty()) return std::nullopt;
    std::vector<int> counts(entries_.size());
    std::size_t sum = 0;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      const exo_BlockPlace& block = BlockOf(entries_[i] - 1);
      const bool isKnown = sides_[i] >= 1 && sides_[i] <= static_cast<long long>(block.sideNodes.size());
      counts[i] = isKnown ? block.sideNodes[static_cast<std::size_t>(sides_[i] - 1)] : 0;
      sum += static_cast<std::size_t>(counts[i]);
    }
    if (sum == wanted) return counts;
    if (wanted % entries_.size() != 0) return std::nullopt;
    std::ranges::fill(counts, static_cast<int>(wanted / entries_.size()));
    return counts;
  }

  static bool IsWide(std::int64_t id) {
    return id < std::numeric_limits<int>::min() || id > std::numeric_limits<int>::max();
  }

  const exo_BlockPlace& BlockOf(std::int64_t element) const { return exo_BlockOf(blocks_, element); }

  void Add(const Kind& kind, std::int64_t id, const cow_String& name, std::span<const Group> groups) {
    const cow_String number = cow_String(kind.name) + " " + std::to_string(id);
    bme_NamedSet made{name.empty() ? number : name, kind.regionType, {}};
    made.root = made.name;
    while (!roots_.insert(made.root).second) made.root += " (" + number + ")";
    numWideIds_ += IsWide(id);
    const int index = IsWide(id) ? 0 : static_cast<int>(id);
    made.data.SetLabel(made.name);
    made.data.SetIndex(index);
    made.data.SetType(kind.setType);
    for (const Group& group : groups) {
      if (group.ids.empty()) continue;
      const bool isUnsorted = !std::ranges::is_sorted(group.ids);
      if (isUnsorted) made.data.SetUnsorted(true);
      made.data.AppendSubset(cow_COW<rgnC_SubsetData>(
          new rgnC_SubsetData(meshId_, group.classIndex, made.data.NumSubset(), index, group.type, isUnsorted,
                              rgnC_SubsetData::Ids(group.ids), rgnC_SubsetData::Ids(group.facets))));
    }
    made.data.SetConstructionOk(true);
    take_(std::move(made));
  }

  const exo_File& file_;
  std::span<const exo_BlockPlace> blocks_;
  int meshId_;
  bme_MeshNotes& notes_;
  exo_TakeSet take_;
  std::vector<std::vector<exo_Property>> properties_; ///< of each kind
  std::vector<long long> entries_, sides_;
  std::set<cow_String> roots_;
  long long numUnknownSides_ = 0, numWrongSides_ = 0, numDropped_ = 0, numWideIds_ = 0, numLostFactors_ = 0,
            numLostProperties_ = 0;
  cow_String wrongSides_;
};
} // namespace

std::vector<exo_BlockPlace> exo_PlaceBlocks(const exo_File& file) {
  std::vector<exo_BlockPlace> places;
  std::int64_t inFile = 0;
  int inMesh = 0, numClasses = 0;
  for (const exo_Block& block : file.Blocks()) {
    places.push_back({&block, inFile, inMesh, block.isRagged ? -1 : numClasses, {}, {}});
    inFile += block.numElements;
    if (block.isRagged) continue;
    inMesh += static_cast<int>(block.numElements);
    ++numClasses;
  }
  return places;
}

const exo_BlockPlace& exo_BlockOf(std::span<const exo_BlockPlace> blocks, std::int64_t element) {
  return *(std::ranges::upper_bound(blocks, element, {}, &exo_BlockPlace::firstInFile) - 1);
}

std::vector<bme_NamedSet> exo_ReadSets(const exo_File& file, std::span<const exo_BlockPlace> blocks,
                                       int meshId, bme_MeshNotes& notes, fmt_Ledger& ledger) {
  std::vector<bme_NamedSet> sets;
  Reader(file, blocks, meshId, notes, [&](bme_NamedSet set) {
    sets.push_back(std::move(set));
  }).Run(ledger, true);
  return sets;
}

void exo_ReadSetsInTurn(const exo_File& file, std::span<const exo_BlockPlace> blocks, int meshId,
                        bme_MeshNotes& notes, fmt_Ledger& ledger, const exo_TakeSet& take) {
  Reader(file, blocks, meshId, notes, take).Run(ledger, false);
}

rgnC_SetData exo_ReadSet(const exo_File& file, std::span<const exo_BlockPlace> blocks, int meshId,
                         const exo_Set& set) {
  bme_MeshNotes none;
  rgnC_SetData made;
  Reader(file, blocks, meshId, none, [&](const bme_NamedSet& one) { made = one.data; }).RunOne(set);
  return made;
}
