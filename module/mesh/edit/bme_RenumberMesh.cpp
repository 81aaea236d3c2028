#include <CoreGeometry/bme_RenumberMesh.h>

#include "bme_Making.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/gsl_HilbertPlace.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

namespace {
std::vector<int> MakeLabels(const bme_LabelSeries& series, std::size_t count, const char* what) {
  const long long last =
      series.first + static_cast<long long>(series.step) * (static_cast<long long>(count) - 1);
  if (series.step < 1 || series.first < 0 || (count > 0 && last > std::numeric_limits<int>::max()))
    throw nex_TextException(cow_String(what) + " labels from " + std::to_string(series.first)
                            + " in steps of " + std::to_string(series.step) + " for " + std::to_string(count)
                            + " are not all in 0..2147483647");
  std::vector<int> labels(count);
  for (std::size_t i = 0; i < count; ++i) labels[i] = series.first + static_cast<int>(i) * series.step;
  return labels;
}

std::vector<int> Counted(std::size_t count) {
  std::vector<int> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

std::vector<int> ByLabel(const std::vector<int>& labels) {
  std::vector<int> order = Counted(labels.size());
  std::ranges::stable_sort(order, {}, [&](int i) { return labels[static_cast<std::size_t>(i)]; });
  return order;
}

/// Nodes without finite coordinates come first.
std::vector<int> AlongCurve(const bme_NodeData& nodes) {
  const std::span<const float> xyz = nodes.Coordinates().Const();
  std::array<double, 3> low, high;
  low.fill(std::numeric_limits<double>::infinity());
  high.fill(-std::numeric_limits<double>::infinity());
  for (std::size_t i = 0; i < xyz.size(); ++i) {
    if (!std::isfinite(xyz[i])) continue;
    low[i % 3] = std::min(low[i % 3], static_cast<double>(xyz[i]));
    high[i % 3] = std::max(high[i % 3], static_cast<double>(xyz[i]));
  }
  double size = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) size = std::max(size, high[axis] - low[axis]);
  const double scale = size > 0 ? 2097151 / size : 0;
  std::vector<std::uint64_t> places(nodes.NumNodes());
  wip_InBlocks(places.size(), 16384, [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      std::array<std::uint32_t, 3> cell{};
      for (std::size_t axis = 0; axis < 3; ++axis)
        if (const auto x = static_cast<double>(xyz[3 * i + axis]); std::isfinite(x))
          cell[axis] = static_cast<std::uint32_t>((x - low[axis]) * scale);
      places[i] = gsl_HilbertPlace(cell);
    }
  });
  std::vector<int> order = Counted(places.size());
  wip_Poll::Now();
  std::ranges::stable_sort(order, {}, [&](int i) { return places[static_cast<std::size_t>(i)]; });
  return order;
}

/// Breadth-first through the nodes of common elements.
class CuthillMcKee {
public:
  explicit CuthillMcKee(const bme_Mesh& mesh)
      : mesh_(mesh), elements_(mesh.Connectivity().ElementsOfNodes()), seen_(mesh.NodeData().NumNodes(), 0),
        level_(seen_.size(), -1), degree_(seen_.size(), 0) {
    for (unsigned node = 0; node < degree_.size(); ++node)
      degree_[node] = static_cast<int>(Neighbours(node).size());
  }

  std::vector<int> Order() {
    std::vector<int> order;
    order.reserve(level_.size());
    std::vector<unsigned char> isDone(level_.size(), 0);
    std::vector<int> byDegree = Counted(level_.size());
    std::ranges::stable_sort(byDegree, {}, [&](int i) { return degree_[static_cast<std::size_t>(i)]; });
    for (const int seed : byDegree) {
      if (isDone[static_cast<std::size_t>(seed)] != 0) continue;
      for (const unsigned node : Levels(Peripheral(static_cast<unsigned>(seed)))) {
        order.push_back(static_cast<int>(node));
        isDone[node] = 1;
      }
    }
    std::ranges::reverse(order);
    return order;
  }

private:
  std::span<const unsigned> Neighbours(unsigned node) {
    poll_.Advance();
    found_.clear();
    ++stamp_;
    seen_[node] = stamp_;
    for (const unsigned element : elements_[node]) {
      const bme_ElementClass& type = mesh_.ElementData().GetElemClass(element);
      for (const int other : type.Connectivity(static_cast<int>(element) - type.FirstElementIndex())) {
        const auto index = static_cast<unsigned>(other);
        if (index >= seen_.size() || seen_[index] == stamp_) continue;
        seen_[index] = stamp_;
        found_.push_back(index);
      }
    }
    return found_;
  }
  /// The nodes that the seed reaches, level by level, those of few neighbours first. The depth is that of the last.
  std::vector<unsigned> Levels(unsigned seed) {
    std::vector<unsigned> reached{seed};
    level_[seed] = 0;
    for (std::size_t i = 0; i < reached.size(); ++i) {
      const int level = level_[reached[i]];
      std::vector<unsigned> next;
      for (const unsigned node : Neighbours(reached[i]))
        if (level_[node] < 0) next.push_back(node);
      std::ranges::sort(next, {}, [&](unsigned node) { return std::pair(degree_[node], node); });
      for (const unsigned node : next) level_[node] = level + 1;
      reached.insert(reached.end(), next.begin(), next.end());
    }
    depth_ = level_[reached.back()];
    lastLevel_.clear();
    for (const unsigned node : reached) {
      if (level_[node] == depth_) lastLevel_.push_back(node);
      level_[node] = -1;
    }
    return reached;
  }
  unsigned Peripheral(unsigned seed) {
    constexpr int kMostSteps = 8;
    Levels(seed);
    for (int step = 0; step < kMostSteps; ++step) {
      const int depth = depth_;
      const unsigned next = *std::ranges::min_element(
          lastLevel_, {}, [&](unsigned node) { return std::pair(degree_[node], node); });
      Levels(next);
      if (depth_ <= depth) break;
      seed = next;
    }
    return seed;
  }

  const bme_Mesh& mesh_;
  const bme_Adjacency& elements_;
  std::vector<unsigned> seen_, found_, lastLevel_;
  std::vector<int> level_, degree_;
  unsigned stamp_ = 0;
  int depth_ = 0;
  wip_Poll poll_{4096};
};

std::vector<int> NodesInOrder(const bme_Mesh& mesh, bme_NodeOrder order) {
  switch (order) {
  case bme_NodeOrder::Bandwidth: return CuthillMcKee(mesh).Order();
  case bme_NodeOrder::Curve: return AlongCurve(mesh.NodeData());
  case bme_NodeOrder::Label: break;
  }
  return ByLabel(bme_NodeLabels(mesh.NodeData()));
}
} // namespace

bme_Edited bme_RelabelMesh(const bme_MeshAndSets& source, std::optional<bme_LabelSeries> nodes,
                           std::optional<bme_LabelSeries> elements) {
  bme_Edited edited{source, bme_Renumbering::Identity(source.mesh)};
  bme_Mesh& mesh = edited.result.mesh;
  if (nodes)
    mesh.NodeDataToModify().SetUserNodeLabels(
        cls_xp1DArrayListInt(MakeLabels(*nodes, mesh.NodeData().NumNodes(), "node")));
  if (elements) {
    bme_ElementData& data = mesh.ElementDataToModify();
    const std::vector<int> labels = MakeLabels(*elements, data.NumElements(), "element");
    for (unsigned c = 0; c < data.NumClasses(); ++c) {
      bme_ElementClass& type = data.GetClassToModify(c);
      type.SetUserElementLabels(std::span(labels).subspan(static_cast<std::size_t>(type.FirstElementIndex()),
                                                          static_cast<std::size_t>(type.NumElements())));
    }
    data.Init();
  }
  mesh.InvalidateMeshData();
  return edited;
}

bme_Edited bme_ReorderMesh(const bme_MeshAndSets& source, bme_NodeOrder order) {
  const bme_Mesh& mesh = source.mesh;
  bme_CheckNodes(mesh);
  const bme_ElementData& elements = mesh.ElementData();
  bme_Renumbering renumbering = bme_Renumbering::Identity(mesh);
  renumbering.nodes = bme_IndexMap::OfOrder(NodesInOrder(mesh, order), mesh.NodeData().NumNodes());
  std::vector<int> keys;
  if (order == bme_NodeOrder::Label) keys = bme_AllElementLabels(elements);
  std::vector<int> all;
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    const bme_ElementClass& type = elements.GetClass(c);
    wip_Poll::Now();
    for (int i = 0; i < type.NumElements() && order != bme_NodeOrder::Label; ++i) {
      int first = std::numeric_limits<int>::max();
      for (const int node : type.Connectivity(i))
        first = std::min(first, renumbering.nodes.to[static_cast<std::size_t>(node)]);
      keys.push_back(first);
    }
    std::vector<int> own(static_cast<std::size_t>(type.NumElements()));
    std::iota(own.begin(), own.end(), type.FirstElementIndex());
    std::ranges::stable_sort(own, {}, [&](int element) { return keys[static_cast<std::size_t>(element)]; });
    all.insert(all.end(), own.begin(), own.end());
  }
  renumbering.elements = bme_IndexMap::OfOrder(std::move(all), elements.NumElements());
  return bme_Renumber(source, std::move(renumbering));
}

long long bme_Bandwidth(const bme_Mesh& mesh) {
  long long most = 0;
  for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(c);
    wip_Poll poll(65536);
    for (int i = 0; i < type.NumElements(); ++i) {
      poll.Advance();
      const auto [low, high] = std::ranges::minmax(type.Connectivity(i));
      most = std::max(most, static_cast<long long>(high) - low);
    }
  }
  return most;
}
