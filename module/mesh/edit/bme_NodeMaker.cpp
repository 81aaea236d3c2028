#include "bme_NodeMaker.h"

#include "bme_Making.h"

#include <BasicUtils/wip_Poll.h>
#include <algorithm>
#include <cmath>
#include <limits>

int bme_NodeMaker::Node(const bme_NodeSum& sum, std::span<const int> row) {
  if (sum.size() == 1) return row[static_cast<std::size_t>(sum[0].first)];
  sum_.clear();
  for (const auto& [local, weight] : sum) sum_.emplace_back(row[static_cast<std::size_t>(local)], weight);
  std::ranges::sort(sum_);
  std::size_t count = 0;
  for (const auto& [node, weight] : sum_) {
    if (count > 0 && sum_[count - 1].first == node)
      sum_[count - 1].second += weight;
    else
      sum_[count++] = {node, weight};
  }
  sum_.resize(count);
  std::erase_if(sum_, [](const auto& one) { return one.second == 0; });
  if (sum_.size() == 1) return sum_[0].first;
  const std::size_t slot = Slot();
  if (table_[slot] >= 0) return static_cast<int>(numOld_) + table_[slot];
  const auto index = static_cast<int>(NumMade());
  if (static_cast<long long>(numOld_) + index >= std::numeric_limits<int>::max())
    throw nex_TextException("there would be more than 2147483647 nodes");
  table_[slot] = index;
  for (const auto& [node, weight] : sum_) {
    made_.parents.push_back(static_cast<unsigned>(node));
    made_.weights.push_back(weight);
  }
  made_.starts.push_back(static_cast<unsigned>(made_.parents.size()));
  if (2 * NumMade() > table_.size()) Grow();
  return static_cast<int>(numOld_) + index;
}

/// Where the sum is in the table, or could be put.
std::size_t bme_NodeMaker::Slot() const {
  unsigned long long hash = 0;
  for (const auto& [node, weight] : sum_)
    hash = (hash ^ static_cast<unsigned>(node)) * 0x9E3779B97F4A7C15ULL + (hash >> 29);
  std::size_t slot = (hash ^ hash >> 32) & (table_.size() - 1);
  for (; table_[slot] >= 0; slot = (slot + 1) & (table_.size() - 1)) {
    const auto made = static_cast<std::size_t>(table_[slot]);
    const std::size_t first = made_.starts[made], count = made_.starts[made + 1] - first;
    bool isSame = count == sum_.size();
    for (std::size_t k = 0; k < count && isSame; ++k)
      isSame = made_.parents[first + k] == static_cast<unsigned>(sum_[k].first)
               && made_.weights[first + k] == sum_[k].second;
    if (isSame) break;
  }
  return slot;
}

void bme_NodeMaker::Grow() {
  table_.assign(2 * table_.size(), -1);
  for (std::size_t made = 0; made < NumMade(); ++made) {
    sum_.clear();
    for (std::size_t k = made_.starts[made]; k < made_.starts[made + 1]; ++k)
      sum_.emplace_back(static_cast<int>(made_.parents[k]), made_.weights[k]);
    table_[Slot()] = static_cast<int>(made);
  }
}

bme_NodeData bme_NodeMaker::Nodes(const bme_NodeData& old) const {
  if (NumMade() == 0) return old;
  cow_ArrayCOW<float> xyz(old.Coordinates().Const());
  xyz.Reserve(3 * (numOld_ + NumMade()));
  const std::span<const float> before = old.Coordinates().Const();
  wip_Poll poll(65536);
  for (std::size_t made = 0; made < NumMade(); ++made) {
    poll.Advance();
    for (std::size_t axis = 0; axis < 3; ++axis) {
      double sum = 0;
      for (std::size_t k = made_.starts[made]; k < made_.starts[made + 1]; ++k)
        sum += made_.weights[k] * static_cast<double>(before[3 * std::size_t{made_.parents[k]} + axis]);
      const auto value = static_cast<float>(sum);
      xyz.Append(std::span(&value, 1));
    }
  }
  bme_NodeData nodes(uti_CoordCont3D(std::move(xyz)), old.Dimension());
  if (!old.HasUserNodeLabels()) return nodes;
  std::vector<int> labels = bme_NodeLabels(old);
  const long long largest = labels.empty() ? 0 : *std::ranges::max_element(labels);
  if (largest + static_cast<long long>(NumMade()) > std::numeric_limits<int>::max())
    throw nex_TextException("node labels from " + std::to_string(largest + 1) + " on for "
                            + std::to_string(NumMade()) + " new nodes are above 2147483647");
  for (std::size_t made = 0; made < NumMade(); ++made)
    labels.push_back(static_cast<int>(largest + 1 + static_cast<long long>(made)));
  nodes.SetUserNodeLabels(cls_xp1DArrayListInt(labels));
  return nodes;
}
