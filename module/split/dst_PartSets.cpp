#include "dst_PartSets.h"

#include "dst_SourceWithSets.h"

#include <algorithm>
#include <numeric>

namespace {
constexpr res_SetTypeEnm kKinds[] = {res_NODE_SET, res_ELEMENT_SET, res_SURFACE_FACET, res_SURFACE_EDGE,
                                     res_SURFACE_ELEMENT}; ///< in the order of an import
} // namespace

void dst_PartSets::Take(const fmt_Ranges& ranges, std::span<const unsigned> nodeNumbers,
                        std::span<const unsigned> elementNumbers, unsigned part, const cow_String& file) {
  const std::vector<bme_NamedSet>& own = ranges.Shell().sets;
  if (part == 0) {
    for (const bme_NamedSet& set : own)
      sets_.push_back({set.name, set.kind, set.data.WithoutSubsets(), set.root});
    numBlocks_ = ranges.Classes().size();
    gathered_.resize(sets_.size());
    isOrdered_.assign(sets_.size(), 1);
  }
  const auto differs = [&](std::size_t set) {
    const auto name = [&](std::span<const bme_NamedSet> sets) {
      return set < sets.size() ? "\"" + sets[set].name + "\"" : cow_String("none");
    };
    throw nex_TextException(file + ": set " + std::to_string(set + 1) + " is " + name(own)
                            + ", in the first file " + name(sets_));
  };
  for (std::size_t i = 0; i < std::min(own.size(), sets_.size()); ++i)
    if (own[i].Root() != sets_[i].Root() || own[i].kind != sets_[i].kind
        || own[i].data.GetSetIndex() != sets_[i].data.GetSetIndex())
      differs(i);
  if (own.size() != sets_.size()) differs(std::min(own.size(), sets_.size()));
  std::vector<int> ids, facets;
  for (std::size_t i = numBlocks_; i < own.size(); ++i)
    for (int k = 0; k < own[i].data.NumSubset(); ++k) {
      const rgnC_SubsetData& shell = own[i].data.SubSet(k);
      const fmt_Ranges::Subset& sizes = ranges.SubsetsOf(i)[static_cast<std::size_t>(k)];
      const bool areNodes = dst_SetFacts::IsOfNodes(shell);
      const auto kind = std::ranges::find(kKinds, shell.SubsetType()) - std::begin(kKinds);
      Subset& subset = gathered_[i][{shell.ClassIndex(), static_cast<int>(kind)}];
      subset.hasFacets |= sizes.hasFacets;
      ids.resize(sizes.numEntries);
      facets.assign(sizes.hasFacets ? sizes.numEntries : 0, 0);
      ranges.ReadEntries(static_cast<unsigned>(i), static_cast<unsigned>(k), 0, ids, facets);
      unsigned last = 0;
      for (std::size_t e = 0; e < ids.size(); ++e) {
        const unsigned number = (areNodes ? nodeNumbers : elementNumbers)[static_cast<std::size_t>(ids[e])];
        if (number < last) isOrdered_[i] = 0;
        last = number;
        subset.entries.push_back({number, areNodes         ? static_cast<int>(part)
                                          : facets.empty() ? 0
                                                           : facets[e]});
      }
    }
}

void dst_PartSets::Order(std::vector<Entry>& entries, bool areNodes) {
  if (!areNodes) {
    std::ranges::stable_sort(entries, {}, &Entry::number);
    return;
  }
  std::ranges::sort(entries, {}, [](const Entry& entry) { return std::pair(entry.number, entry.more); });
  std::vector<Entry> kept;
  for (std::size_t begin = 0, end = 0; begin < entries.size(); begin = end) {
    std::size_t most = 0;
    while (end < entries.size() && entries[end].number == entries[begin].number) {
      std::size_t after = end;
      while (after < entries.size() && entries[after].number == entries[end].number
             && entries[after].more == entries[end].more)
        ++after;
      most = std::max(most, after - end);
      end = after;
    }
    kept.insert(kept.end(), most, entries[begin]);
  }
  entries = std::move(kept);
}

void dst_PartSets::AddBlock(std::size_t set, const dst_SourceFacts& facts) {
  firsts_.push_back(facts.classes[set].FirstElement());
  rgnC_SetData& data = sets_[set].data;
  if (facts.classes[set].NumElements() > 0)
    data.AppendSubset(rgnC_SubsetData(facts.shell.Id(), static_cast<int>(set), 0, data.GetSetIndex(),
                                      res_ELEMENT_SET, false, {}, {}));
}

void dst_PartSets::AddSet(std::size_t set, dst_SourceFacts& facts, bool areSeveral) {
  rgnC_SetData& data = sets_[set].data;
  bool isUnsorted = false;
  for (auto& [key, subset] : gathered_[set]) {
    const res_SetTypeEnm type = kKinds[key.second];
    if (areSeveral) Order(subset.entries, type == res_NODE_SET);
    std::vector<int> ids, facets;
    ids.reserve(subset.entries.size());
    for (const Entry& entry : subset.entries) {
      ids.push_back(static_cast<int>(entry.number));
      if (subset.hasFacets) facets.push_back(entry.more);
    }
    subset.entries = {};
    const bool isOwn = !std::ranges::is_sorted(ids);
    isUnsorted |= isOwn;
    data.AppendSubset(rgnC_SubsetData(facts.shell.Id(), key.first, data.NumSubset(), data.GetSetIndex(), type,
                                      isOwn, rgnC_SubsetData::Ids(ids), rgnC_SubsetData::Ids(facets)));
  }
  data.SetUnsorted(isUnsorted);
  gathered_[set].clear();
  if (areSeveral && isOrdered_[set] == 0)
    facts.warnings.push_back("set \"" + sets_[set].name
                             + "\" is in ascending order: files of parts do not tell that of the whole");
}

void dst_PartSets::Finish(dst_SourceFacts& facts, bool areSeveral) {
  for (std::size_t i = 0; i < sets_.size(); ++i) {
    if (i < numBlocks_)
      AddBlock(i, facts);
    else
      AddSet(i, facts, areSeveral);
  }
  order_.resize(sets_.size());
  std::iota(order_.begin(), order_.end(), 0U);
  std::ranges::stable_sort(order_, [&](unsigned a, unsigned b) { return sets_[a].Root() < sets_[b].Root(); });
  for (const unsigned i : order_) {
    const rgnC_SetData& data = sets_[i].data;
    dst_SetFacts made{bme_kSetFolder + facts.mesh + "/" + sets_[i].Root(), data.WithoutSubsets(), {}};
    for (int k = 0; k < data.NumSubset(); ++k) {
      made.shell.AppendSubset(data.SubSet(k).WithItems({}, {}));
      made.subsets.push_back({i < numBlocks_ ? facts.classes[i].NumElements()
                                             : static_cast<std::uint64_t>(data.SubSet(k).NumItems()),
                              !data.SubSet(k).FacetIdArray().empty()});
    }
    facts.sets.push_back(std::move(made));
  }
}

void dst_PartSets::Read(unsigned set, unsigned subset, std::uint64_t first, std::span<unsigned> numbers,
                        std::span<int> facets) const {
  const unsigned i = order_[set];
  if (i < numBlocks_) {
    std::iota(numbers.begin(), numbers.end(), static_cast<unsigned>(firsts_[i] + first));
    return;
  }
  const rgnC_SubsetData& entries = sets_[i].data.SubSet(static_cast<int>(subset));
  dst_CopyTo(entries.IdArray(), first, numbers);
  if (!facets.empty()) dst_CopyTo(entries.FacetIdArray(), first, facets);
}
