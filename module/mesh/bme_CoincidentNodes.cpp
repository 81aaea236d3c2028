#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_NodeData.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

namespace {
struct Binned {
  std::uint64_t bin; ///< z, y, x from the top, 21 bits each
  unsigned node;
  std::array<double, 3> at;
};

/// Nodes sorted by bins no smaller than the tolerance, at most about a million along each axis.
std::vector<Binned> SortIntoBins(const bme_NodeData& nodes, double tolerance) {
  std::vector<Binned> binned;
  std::array<double, 3> low, high;
  low.fill(std::numeric_limits<double>::max());
  high.fill(std::numeric_limits<double>::lowest());
  for (unsigned node = 0; node < nodes.NumNodes(); ++node) {
    float x = 0, y = 0, z = 0;
    if (!nodes.GetNodalCoord(node, x, y, z)) continue;
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) continue;
    binned.push_back({0, node, {x, y, z}});
    for (std::size_t a = 0; a < 3; ++a) {
      low[a] = std::min(low[a], binned.back().at[a]);
      high[a] = std::max(high[a], binned.back().at[a]);
    }
  }
  double extent = 0;
  for (std::size_t a = 0; a < 3; ++a) extent = std::max(extent, high[a] - low[a]);
  const double smallest = extent > 0 ? std::ldexp(extent, -20) : 1;
  // a little wider than the tolerance: rounding must not part neighbours by two bins
  const double width = std::max(1.001 * tolerance, smallest);
  for (Binned& entry : binned)
    for (std::size_t a = 3; a-- > 0;)
      entry.bin = entry.bin << 21 | (static_cast<std::uint64_t>((entry.at[a] - low[a]) / width) + 1);
  std::ranges::sort(binned, [](const Binned& a, const Binned& b) {
    return a.bin != b.bin ? a.bin < b.bin : a.node < b.node;
  });
  return binned;
}

/// Groups as trees whose root is their smallest node.
class Groups {
public:
  explicit Groups(unsigned count) : parent_(count) { std::iota(parent_.begin(), parent_.end(), 0U); }
  unsigned Root(unsigned node) {
    while (parent_[node] != node) node = parent_[node] = parent_[parent_[node]];
    return node;
  }
  void Join(unsigned a, unsigned b) {
    a = Root(a);
    b = Root(b);
    parent_[std::max(a, b)] = std::min(a, b);
  }

private:
  std::vector<unsigned> parent_;
};
} // namespace

bme_Rows bme_FindCoincidentNodes(const bme_NodeData& nodes, double tolerance) {
  const std::vector<Binned> binned = SortIntoBins(nodes, tolerance);
  Groups groups(nodes.NumNodes());
  const auto joinIfClose = [&](const Binned& a, const Binned& b) {
    double squared = 0;
    for (std::size_t k = 0; k < 3; ++k) squared += (a.at[k] - b.at[k]) * (a.at[k] - b.at[k]);
    if (squared <= tolerance * tolerance) groups.Join(a.node, b.node);
  };
  // Half of the bins around: those behind in the order. Where a strip of three bins begins moves on with
  // the nodes.
  constexpr std::uint64_t kY = 1ULL << 21, kZ = 1ULL << 42;
  constexpr std::uint64_t kStrips[] = {kY, kZ - kY, kZ, kZ + kY};
  std::array<std::size_t, 4> begin{};
  for (std::size_t i = 0; i < binned.size(); ++i) {
    const Binned& node = binned[i];
    for (std::size_t k = i + 1; k < binned.size() && binned[k].bin <= node.bin + 1; ++k)
      joinIfClose(node, binned[k]);
    for (std::size_t s = 0; s < 4; ++s) {
      const std::uint64_t middle = node.bin + kStrips[s];
      while (begin[s] < binned.size() && binned[begin[s]].bin < middle - 1) ++begin[s];
      for (std::size_t k = begin[s]; k < binned.size() && binned[k].bin <= middle + 1; ++k)
        joinIfClose(node, binned[k]);
    }
  }
  // members of each group in order: a counting sort by root
  const unsigned numNodes = nodes.NumNodes();
  std::vector<unsigned> size(numNodes, 0), place(numNodes, 0);
  for (unsigned node = 0; node < numNodes; ++node) ++size[groups.Root(node)];
  bme_Rows rows;
  unsigned end = 0;
  for (unsigned root = 0; root < numNodes; ++root) {
    if (size[root] < 2) continue;
    place[root] = end;
    end += size[root];
    rows.first.push_back(end);
  }
  rows.items.resize(end);
  for (unsigned node = 0; node < numNodes; ++node)
    if (const unsigned root = groups.Root(node); size[root] >= 2) rows.items[place[root]++] = node;
  return rows;
}
