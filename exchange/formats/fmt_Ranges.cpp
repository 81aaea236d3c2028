#include <CoreGeometry/fmt_Ranges.h>

#include "fmt_Precision.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <bitset>
#include <climits>
#include <cmath>

namespace {
constexpr std::size_t kWindow = std::size_t{1} << 16; // elements, nodes or labels that are read at once

void CheckCancelled() { thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled(); }

/// Labels in a stretch of 2^26 of them, one bit each.
class Stretch {
public:
  static constexpr int kBits = 26, kCount = 1 << (32 - kBits);
  static std::size_t Of(int label) { return Place(label) >> kBits; }
  bool Add(int label) { ///< answers whether it is there already
    std::uint64_t& word = seen_[(Place(label) & kMask) / 64];
    const std::uint64_t bit = std::uint64_t{1} << Place(label) % 64;
    const bool isThere = (word & bit) != 0;
    word |= bit;
    return isThere;
  }
  void Clear() { std::ranges::fill(seen_, 0); }

private:
  static constexpr std::size_t kMask = (std::size_t{1} << kBits) - 1;
  static std::size_t Place(int label) { return static_cast<std::size_t>(std::int64_t{label} - INT_MIN); }
  std::vector<std::uint64_t> seen_ = std::vector<std::uint64_t>((kMask + 1) / 64);
};

/// Calls visit(label, position) until it answers false.
template<class Read, class Visit>
void ForEachLabel(std::uint64_t count, const Read& read, const Visit& visit) {
  std::vector<int> labels;
  for (std::uint64_t first = 0; first < count; first += kWindow) {
    CheckCancelled();
    labels.resize(std::min<std::uint64_t>(kWindow, count - first));
    read(first, std::span<int>(labels));
    for (std::size_t i = 0; i < labels.size(); ++i)
      if (!visit(labels[i], first + i)) return;
  }
}

void SortOut(std::vector<int>& labels) {
  std::ranges::sort(labels);
  labels.erase(std::unique(labels.begin(), labels.end()), labels.end());
}
} // namespace

fmt_Ranges::~fmt_Ranges() = default;

void fmt_Ranges::ReadCoordinates(std::uint64_t firstNode, std::span<float> xyz) const {
  std::vector<double> exact;
  while (!xyz.empty()) {
    exact.resize(std::min(3 * kWindow, xyz.size()));
    ReadExactly(firstNode, exact);
    std::ranges::transform(exact, xyz.begin(), [](double value) { return static_cast<float>(value); });
    firstNode += exact.size() / 3;
    xyz = xyz.subspan(exact.size());
  }
}

std::optional<omi_Duplicate>
fmt_Ranges::FindDuplicate(std::uint64_t count,
                          const std::function<void(std::uint64_t first, std::span<int>)>& read) {
  std::bitset<Stretch::kCount> used;
  bool grows = true;
  std::int64_t last = std::int64_t{INT_MIN} - 1;
  ForEachLabel(count, read, [&](int label, std::uint64_t) {
    grows &= label > last;
    last = label;
    used.set(Stretch::Of(label));
    return true;
  });
  if (grows) return std::nullopt;
  std::optional<omi_Duplicate> found;
  Stretch stretch;
  for (std::size_t i = 0; i < used.size(); ++i) {
    if (!used[i]) continue;
    stretch.Clear();
    ForEachLabel(found ? found->second : count, read, [&](int label, std::uint64_t position) {
      if (Stretch::Of(label) != i || !stretch.Add(label)) return true;
      found = {label, position, position};
      return false;
    });
  }
  if (found)
    ForEachLabel(count, read, [&](int label, std::uint64_t position) {
      found->first = position;
      return label != found->label;
    });
  return found;
}

void fmt_Ranges::LookAtClass(unsigned classIndex, const Look& look) const {
  const bme_ElementClass& like = shell_.mesh->ElementData().GetClass(classIndex);
  const auto columns = static_cast<std::size_t>(classes_[classIndex].nodesPerElement);
  const std::uint64_t count = classes_[classIndex].numElements;
  std::vector<int> nodes;
  std::vector<double> exact;
  for (std::uint64_t first = 0; first < count && columns > 0; first += kWindow) {
    CheckCancelled();
    const std::size_t numRows = std::min<std::uint64_t>(kWindow, count - first);
    cow_ArrayCOW<int> rows, labels, nodeLabels;
    rows.ResizeUninitialised(numRows * columns);
    ReadRows(classIndex, first, rows.Modify());
    nodes.assign(rows.Const().begin(), rows.Const().end());
    SortOut(nodes);
    for (int& node : rows.Modify())
      node = static_cast<int>(std::ranges::lower_bound(nodes, node) - nodes.begin());
    exact.resize(3 * nodes.size());
    nodeLabels.ResizeUninitialised(nodes.size());
    std::vector<double> run;
    std::vector<int> runLabels;
    for (std::size_t i = 0, end = 0; i < nodes.size(); i = end) { // runs of nodes that are near
      for (end = i + 1; end < nodes.size() && nodes[end] - nodes[end - 1] <= 64;) ++end;
      const auto from = static_cast<std::uint64_t>(nodes[i]);
      run.resize(3 * static_cast<std::size_t>(nodes[end - 1] - nodes[i] + 1));
      runLabels.resize(run.size() / 3);
      ReadExactly(from, run);
      if (hasNodeLabels_) ReadNodeLabels(from, runLabels);
      for (std::size_t k = i; k < end; ++k) {
        const auto at = static_cast<std::size_t>(nodes[k] - nodes[i]);
        std::copy_n(&run[3 * at], 3, &exact[3 * k]);
        nodeLabels.Modify()[k] = hasNodeLabels_ ? runLabels[at] : nodes[k] + 1;
      }
    }
    labels.ResizeUninitialised(numRows);
    if (hasElementLabels_) {
      ReadElementLabels(classIndex, first, labels.Modify());
    } else {
      auto next = static_cast<int>(first);
      for (unsigned before = 0; before < classIndex; ++before)
        next += static_cast<int>(classes_[before].numElements);
      for (int& label : labels.Modify()) label = ++next;
    }
    cow_ArrayCOW<float> xyz;
    xyz.ResizeUninitialised(exact.size());
    std::ranges::transform(exact, xyz.Modify().begin(),
                           [](double value) { return static_cast<float>(value); });
    auto ofNodes =
        std::make_unique<bme_NodeData>(uti_CoordCont3D(std::move(xyz)), shell_.mesh->NodeData().Dimension());
    ofNodes->SetUserNodeLabels(cls_xp1DArrayListInt(std::move(nodeLabels)));
    auto elements =
        std::make_unique<bme_ElementClass>(like.ElemTypeLabel(), cls_xp2DArrayInt(columns, std::move(rows)));
    elements->SetCategoryLabel(like.CategoryLabel());
    elements->SetUserElementLabels(cls_xp1DArrayListInt(std::move(labels)));
    bme_ElementClass* one = elements.release();
    look(bme_Mesh(0, ofNodes.release(), new bme_ElementData(&one, 1), bme_ORPHAN_MESH, nullptr), exact);
  }
}

void fmt_Ranges::CheckPrecision() {
  fmt_Rounding& rounding = shell_.rounding;
  if (rounding.change == 0) return;
  for (unsigned i = 0; i < classes_.size(); ++i) {
    if (!shell_.mesh->ElementData().GetClass(i).Shape()) continue;
    LookAtClass(i, [&](const bme_Mesh& mesh, std::span<const double> exact) {
      fmt_Import window;
      window.mesh = std::make_unique<bme_Mesh>(mesh);
      window.rounding.byNode.resize(exact.size() / 3);
      for (std::size_t k = 0; k < exact.size(); ++k) {
        float& change = window.rounding.byNode[k / 3];
        change = std::max(change, static_cast<float>(std::abs(
                                      static_cast<double>(static_cast<float>(exact[k])) - exact[k])));
      }
      fmt_CheckPrecision(window, [&](fmt_ExactNodes& wanted) {
        for (const unsigned node : wanted.nodes)
          wanted.xyz.insert(wanted.xyz.end(), exact.begin() + 3 * node, exact.begin() + 3 * node + 3);
      });
      const auto add = [](std::vector<int>& to, const std::vector<int>& from) {
        to.insert(to.end(), from.begin(), from.end());
        if (!from.empty()) SortOut(to);
      };
      add(rounding.coarseNodes, window.rounding.coarseNodes);
      add(rounding.damagedElements, window.rounding.damagedElements);
    });
  }
}

std::unique_ptr<fmt_Ranges> fmt_OpenRanges(const cow_String& file, const fmt_Format& format,
                                           const fmt_ReadOptions& options) {
  if (!format.openRanges)
    throw nex_TextException(file + ": " + cow_String(format.title) + " is not read in ranges");
  std::unique_ptr<fmt_Ranges> ranges = format.openRanges(file, options);
  ranges->CheckPrecision();
  fmt_RefuseDamage(file, ranges->Shell().rounding, options);
  return ranges;
}
