// dst_SharedNodes.h: which nodes of a part other parts hold, too
#pragma once

#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/dst_Part.h>
#include <algorithm>
#include <vector>

/// Looks shared nodes up by their local index. O(1)
class dst_SharedNodes {
public:
  explicit dst_SharedNodes(const dst_Part& part) : part_(part), position_(part.NumNodes(), bme_kNotFound) {
    for (unsigned shared = 0; shared < part.NumShared(); ++shared)
      position_[part.SharedNodes()[shared]] = shared;
  }

  bool Has(int node) const noexcept { return At(node) != bme_kNotFound; }
  /// True when one other part holds all of these nodes; indices below 0 stand for no node.
  bool HaveCommonHolder(std::span<const int> nodes) {
    bool isFirst = true;
    for (const int node : nodes) {
      if (node < 0) continue;
      if (!Has(node)) return false;
      const std::span<const unsigned> holders = part_.OtherHolders(At(node));
      if (isFirst)
        common_.assign(holders.begin(), holders.end());
      else
        std::erase_if(common_, [&](unsigned part) { return !std::ranges::binary_search(holders, part); });
      if (common_.empty()) return false;
      isFirst = false;
    }
    return true;
  }

private:
  unsigned At(int node) const noexcept {
    return static_cast<unsigned>(node) < position_.size() ? position_[static_cast<unsigned>(node)]
                                                          : bme_kNotFound;
  }

  const dst_Part& part_;
  std::vector<unsigned> position_;
  std::vector<unsigned> common_;
};
