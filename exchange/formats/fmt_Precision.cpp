#include "fmt_Precision.h"

#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <numeric>
#include <set>

namespace {
using Pair = std::array<std::size_t, 2>;

/// Neighbouring nodes on the edges of a shape, each pair once; of lines all pairs.
std::vector<Pair> NeighboursOf(const shp_Shape& shape) {
  std::set<Pair> pairs;
  for (int face = 0; face < shape.NumFaces(); ++face)
    for (int edge = 0; edge < shape.EdgesPerFace()[static_cast<std::size_t>(face)]; ++edge) {
      const std::span<const int> nodes = shape.EdgeNodes(face, edge);
      for (std::size_t i = 1; i < nodes.size(); ++i) {
        const auto a = static_cast<std::size_t>(nodes[i - 1]), b = static_cast<std::size_t>(nodes[i]);
        pairs.insert({std::min(a, b), std::max(a, b)});
      }
    }
  if (pairs.empty())
    for (std::size_t b = 1; b < static_cast<std::size_t>(shape.NumNodes()); ++b)
      for (std::size_t a = 0; a < b; ++a) pairs.insert({a, b});
  return {pairs.begin(), pairs.end()};
}

template<class Number> double SquaredLength(std::span<const Number> xyz, std::size_t a, std::size_t b) {
  double sum = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double d = static_cast<double>(xyz[3 * a + axis]) - static_cast<double>(xyz[3 * b + axis]);
    sum += d * d;
  }
  return sum;
}

/// The elements of a class that a node of theirs moved much against.
struct Suspects {
  const bme_ElementClass* type;
  std::vector<int> elements;
};

class Checker {
public:
  explicit Checker(fmt_Import& import)
      : rounding_(import.rounding), mesh_(*import.mesh), xyz_(mesh_.NodeData().Coordinates().Const()) {}

  void Run(const std::function<void(fmt_ExactNodes&)>& readExactly) {
    isCoarse_.resize(mesh_.NodeData().NumNodes());
    for (unsigned i = 0; i < mesh_.ElementData().NumClasses(); ++i)
      FindSuspects(mesh_.ElementData().GetClass(i));
    if (suspects_.empty()) return;
    const bool hasLabels = mesh_.NodeData().HasUserNodeLabels();
    for (std::size_t i = 0; i < isCoarse_.size(); ++i)
      if (isCoarse_[i] != 0)
        rounding_.coarseNodes.push_back(
            hasLabels ? mesh_.NodeData().UserNodeLabels().ConstGet(static_cast<unsigned>(i))
                      : static_cast<int>(i) + 1);
    fmt_ExactNodes exact;
    exact.nodes = NodesOfSuspects();
    readExactly(exact);
    Compare(exact);
  }

private:
  void FindSuspects(const bme_ElementClass& type) {
    const shp_Shape* shape = type.Shape();
    if (!shape || shape->NumNodes() < 2) return;
    constexpr double kCoarse = 1e-3; // of an edge
    const std::vector<Pair> pairs = NeighboursOf(*shape);
    std::vector<int> elements;
    for (int e = 0; e < type.NumElements(); ++e) {
      const std::span<const int> row = type.Connectivity(e);
      float largest = 0;
      for (const int node : row)
        largest = std::max(largest, rounding_.byNode[static_cast<std::size_t>(node)]);
      if (largest == 0) continue;
      double shortest = std::numeric_limits<double>::infinity();
      for (const auto& [a, b] : pairs)
        if (row[a] != row[b])
          shortest = std::min(shortest, SquaredLength(xyz_, static_cast<std::size_t>(row[a]),
                                                      static_cast<std::size_t>(row[b])));
      const double limit = kCoarse * std::sqrt(shortest);
      if (!(static_cast<double>(largest) > limit)) continue;
      for (const int node : row)
        isCoarse_[static_cast<std::size_t>(node)] |=
            static_cast<char>(static_cast<double>(rounding_.byNode[static_cast<std::size_t>(node)]) > limit);
      elements.push_back(e);
    }
    if (!elements.empty()) suspects_.push_back({&type, std::move(elements)});
  }

  std::vector<unsigned> NodesOfSuspects() const {
    std::vector<char> isUsed(isCoarse_.size());
    for (const Suspects& all : suspects_)
      for (const int e : all.elements)
        for (const int node : all.type->Connectivity(e)) isUsed[static_cast<std::size_t>(node)] = 1;
    std::vector<unsigned> nodes;
    for (std::size_t i = 0; i < isUsed.size(); ++i)
      if (isUsed[i] != 0) nodes.push_back(static_cast<unsigned>(i));
    return nodes;
  }

  /// Measures the elements on both coordinates, from the middle of the box, where noise is least.
  void Compare(const fmt_ExactNodes& exact) {
    const std::size_t numNodes = exact.nodes.size();
    std::vector<double> before = exact.xyz, after(3 * numNodes);
    for (std::size_t i = 0; i < numNodes; ++i)
      for (std::size_t axis = 0; axis < 3; ++axis)
        after[3 * i + axis] = static_cast<double>(xyz_[3 * std::size_t{exact.nodes[i]} + axis]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double middle = before[axis]; // of the first of them
      for (std::size_t i = axis; i < before.size(); i += 3) {
        before[i] -= middle;
        after[i] -= middle;
      }
    }
    const bme_ElementData elements = Elements(exact.nodes);
    std::set<int> damaged = Collapsed(elements, before, after);
    const std::set<int> wasBad = Bad(elements, before), isBad = Bad(elements, after);
    std::ranges::set_difference(isBad, wasBad, std::inserter(damaged, damaged.end()));
    rounding_.damagedElements.assign(damaged.begin(), damaged.end());
  }

  bme_ElementData Elements(const std::vector<unsigned>& nodes) const {
    bme_MeshBuilder builder(std::vector<float>(3 * nodes.size()));
    const bool hasLabels = mesh_.ElementData().HasUserElementLabels();
    for (const Suspects& all : suspects_) {
      std::vector<int> connectivity, labels;
      for (const int e : all.elements) {
        for (const int node : all.type->Connectivity(e))
          connectivity.push_back(
              static_cast<int>(std::ranges::lower_bound(nodes, static_cast<unsigned>(node)) - nodes.begin()));
        labels.push_back(hasLabels ? all.type->UserElementLabels()[static_cast<std::size_t>(e)]
                                   : all.type->FirstElementIndex() + e + 1);
      }
      builder.Add({all.type->ElemTypeLabel(), connectivity, labels, all.type->CategoryLabel()});
    }
    return builder.Build().ElementData();
  }

  /// Elements with two nodes of an edge in one place that were apart.
  static std::set<int> Collapsed(const bme_ElementData& elements, std::span<const double> before,
                                 std::span<const double> after) {
    std::set<int> labels;
    for (unsigned i = 0; i < elements.NumClasses(); ++i) {
      const bme_ElementClass& type = elements.GetClass(i);
      const std::vector<Pair> pairs = NeighboursOf(*type.Shape());
      for (int e = 0; e < type.NumElements(); ++e) {
        const std::span<const int> row = type.Connectivity(e);
        const auto isCollapsed = [&](const Pair& pair) {
          const auto a = static_cast<std::size_t>(row[pair[0]]), b = static_cast<std::size_t>(row[pair[1]]);
          return SquaredLength(after, a, b) == 0 && SquaredLength(before, a, b) > 0;
        };
        if (std::ranges::any_of(pairs, isCollapsed))
          labels.insert(type.UserElementLabels()[static_cast<std::size_t>(e)]);
      }
    }
    return labels;
  }

  /// Elements that are inside out or without extent.
  static std::set<int> Bad(const bme_ElementData& elements, std::span<const double> xyz) {
    const bme_Measures measures = bme_CalculateMeasures(elements, xyz, {.order = shp_MomentOrder::Measure});
    std::set<int> labels(measures.inverted.begin(), measures.inverted.end());
    labels.insert(measures.zero.begin(), measures.zero.end());
    return labels;
  }

  fmt_Rounding& rounding_;
  const bme_Mesh& mesh_;
  std::span<const float> xyz_;
  std::vector<char> isCoarse_; ///< of each node
  std::vector<Suspects> suspects_;
};
} // namespace

void fmt_CheckPrecision(fmt_Import& import, const std::function<void(fmt_ExactNodes&)>& readExactly) {
  if (!import.rounding.byNode.empty()) Checker(import).Run(readExactly);
  import.rounding.byNode = {};
}

void fmt_RefuseDamage(const cow_String& file, const fmt_Rounding& rounding, const fmt_ReadOptions& options) {
  const std::vector<int>& damaged = rounding.damagedElements;
  if (!damaged.empty() && !options.acceptDamage)
    throw nex_TextException(file + ": single precision collapses or turns inside out "
                            + std::to_string(damaged.size()) + " elements, the first of label "
                            + std::to_string(damaged.front()) + "; give an offset, such as --offset auto");
}
