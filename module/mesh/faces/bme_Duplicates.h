// bme_Duplicates.h: elements on the same nodes
#pragma once

#include "bme_ClassWalk.h"
#include "bme_SeenTwice.h"

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Sort.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <array>
#include <cstdint>
#include <map>

/// The different nodes of an element in ascending order, and behind them its dimension, -1 without a shape.
inline void bme_TakeNodeSet(const bme_ElementClass& type, unsigned element, std::vector<int>& set) {
  const std::span<const int> row = bme_Row(type, element);
  set.assign(row.begin(), row.end());
  std::ranges::sort(set);
  set.erase(std::unique(set.begin(), set.end()), set.end());
  set.push_back(type.Shape() ? type.Shape()->NumGeomDims() : -1);
}

/// bme_FindDuplicates with a 64-bit hash(node set), which costs time when it is the same for different sets,
/// and changes nothing else.
template<class Hash>
std::vector<std::array<unsigned, 2>> bme_FindDuplicatesBy(const bme_FEMElemList& elements, Hash hash) {
  struct Candidate {
    std::uint64_t hash = 0;
    unsigned element = 0;
    auto operator<=>(const Candidate&) const = default;
  };
  constexpr std::size_t kPiece = 8192; // elements
  std::vector<Candidate> candidates(elements.Count());
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass& type, const shp_Shape*, std::span<const unsigned> words) {
        Candidate* const own = candidates.data() + (words.data() - elements.Words().data());
        wip_RunPieces((words.size() + kPiece - 1) / kPiece, [&](std::size_t piece) {
          std::vector<int> nodeSet;
          for (std::size_t k = piece * kPiece; k < std::min(words.size(), (piece + 1) * kPiece); ++k) {
            bme_TakeNodeSet(type, words[k], nodeSet);
            own[k] = {hash(nodeSet), words[k]};
          }
        });
      });
  bme_SeenTwice seen(candidates.size());
  for (const Candidate& candidate : candidates) seen.Add(candidate.hash);
  std::erase_if(candidates, [&](const Candidate& candidate) { return !seen.MayBe(candidate.hash); });
  wip_Sort(candidates, std::less());
  std::vector<std::array<unsigned, 2>> pairs;
  std::vector<int> set;
  wip_Poll poll(kPiece);
  for (auto group = candidates.begin(); group != candidates.end();) {
    poll.Advance();
    const auto end =
        std::find_if(group, candidates.end(), [&](const Candidate& c) { return c.hash != group->hash; });
    std::map<std::vector<int>, unsigned> firsts;
    if (end - group > 1)
      for (const Candidate& candidate : std::span(group, end)) {
        bme_TakeNodeSet(elements.Mesh().ElementData().GetElemClass(candidate.element), candidate.element,
                        set);
        const auto [first, isNew] = firsts.try_emplace(set, candidate.element);
        if (!isNew) pairs.push_back({first->second, candidate.element});
      }
    group = end;
  }
  std::ranges::sort(pairs);
  return pairs;
}
