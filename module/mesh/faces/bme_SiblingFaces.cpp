#include "bme_SiblingFaces.h"

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <algorithm>

bool bme_MakeKey(std::span<const int> corners, std::size_t least, unsigned numNodes, bme_KeyRecord& record) {
  std::size_t count = 0;
  for (const int corner : corners) {
    if (corner < 0 || static_cast<unsigned>(corner) >= numNodes) return false;
    std::size_t at = count;
    while (at > 0 && record.corners[at - 1] > corner) --at;
    if (at > 0 && record.corners[at - 1] == corner) continue;
    for (std::size_t k = count; k > at; --k) record.corners[k] = record.corners[k - 1];
    record.corners[at] = corner;
    ++count;
  }
  return count >= least;
}

void bme_LinkEqualKeys(std::vector<bme_KeyRecord>& records, unsigned numNodes, std::span<unsigned> next) {
  std::vector<unsigned> end(static_cast<std::size_t>(numNodes) + 1, 0);
  constexpr std::size_t kRecords = std::size_t{1} << 18, kNodes = std::size_t{1} << 15; // between questions
  const auto forEachRecord = [&](auto use) {
    wip_InBlocks(records.size(), kRecords, [&](std::size_t first, std::size_t last) {
      for (std::size_t i = first; i < last; ++i) use(records[i]);
    });
  };
  forEachRecord([&](const bme_KeyRecord& record) { ++end[static_cast<std::size_t>(record.corners[0]) + 1]; });
  for (std::size_t node = 0; node < numNodes; ++node) end[node + 1] += end[node];
  std::vector<bme_KeyRecord> sorted;
  sorted.reserve(records.size());
  wip_InBlocks(records.size(), kRecords, [&](std::size_t, std::size_t last) { sorted.resize(last); });
  forEachRecord([&](const bme_KeyRecord& record) {
    sorted[end[static_cast<std::size_t>(record.corners[0])]++] = record;
  });
  records.swap(sorted);
  // end[node] is now the end of the group of the node
  wip_RunPieces((numNodes + kNodes - 1) / kNodes, [&](std::size_t piece) {
    std::size_t begin = piece == 0 ? 0 : end[piece * kNodes - 1];
    const std::size_t endNode = std::min<std::size_t>(numNodes, (piece + 1) * kNodes);
    for (std::size_t node = piece * kNodes; node < endNode; begin = end[node++]) {
      const auto group = std::span(records).subspan(begin, end[node] - begin);
      std::ranges::sort(group);
      for (std::size_t i = 0; i < group.size();) {
        std::size_t last = i;
        while (last + 1 < group.size() && group[last + 1].corners == group[i].corners) ++last;
        for (std::size_t k = i; k < last; ++k) next[group[k].slot] = group[k + 1].slot;
        next[group[last].slot] = group[i].slot;
        i = last + 1;
      }
    }
  });
}
