#include <CoreGeometry/bme_CleanMesh.h>

#include "bme_ListMaking.h"
#include "bme_Making.h"

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/chk_Findings.h>
#include <algorithm>
#include <cmath>

namespace {
using Marks = std::vector<unsigned char>;

Marks MarksOf(std::span<const unsigned> indices, std::size_t count, unsigned char value) {
  Marks marks(count, static_cast<unsigned char>(1 - value));
  for (const unsigned index : indices) {
    if (index >= count) throw nex_OutOfRangeException(index, static_cast<long long>(count));
    marks[index] = value;
  }
  return marks;
}

void MarkNodesOf(const bme_ElementData& elements, const Marks& which, Marks& nodes) {
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    const bme_ElementClass& type = elements.GetClass(c);
    const auto columns = static_cast<std::size_t>(type.NumNodesPerElem());
    const std::span<const int> all = type.ElementConnectivity().Const();
    wip_InBlocks(static_cast<std::size_t>(type.NumElements()), bme_kWordsBetween,
                 [&](std::size_t i, std::size_t end) {
                   for (; i < end; ++i) {
                     if (which[static_cast<std::size_t>(type.FirstElementIndex()) + i] == 0) continue;
                     for (const int node : all.subspan(i * columns, columns))
                       if (static_cast<std::size_t>(static_cast<unsigned>(node)) < nodes.size())
                         nodes[static_cast<std::size_t>(node)] = 1;
                   }
                 });
  }
}

/// Classes of which nothing is left are gone, unless they were empty before.
bme_Renumbering Keep(const bme_Mesh& mesh, const Marks& nodes, const Marks& elements, bool dropsEmpty) {
  Marks classes;
  for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(c);
    const auto own = std::span(elements).subspan(static_cast<std::size_t>(type.FirstElementIndex()),
                                                 static_cast<std::size_t>(type.NumElements()));
    const bool isUsed = std::ranges::any_of(own, [](unsigned char m) { return m != 0; });
    classes.push_back(isUsed || (own.empty() && !dropsEmpty) ? 1 : 0);
  }
  return {bme_IndexMap::OfKept(nodes), bme_IndexMap::OfKept(elements), bme_IndexMap::OfKept(classes)};
}

std::vector<unsigned> Unmarked(const Marks& marks) {
  std::vector<unsigned> indices;
  for (unsigned i = 0; i < marks.size(); ++i)
    if (marks[i] == 0) indices.push_back(i);
  return indices;
}

/// Elements that repeat an earlier one of their type. Points and interactions may be meant twice.
std::vector<unsigned> Repeated(const bme_Mesh& mesh) {
  std::vector<unsigned> repeated;
  std::vector<const bme_ElementClass*> seen;
  unsigned first = bme_kNotFound;
  for (const auto& [original, other] : bme_FindDuplicates(bme_FEMElemList::All(mesh))) {
    if (original != first) seen = {&mesh.ElementData().GetElemClass(original)};
    first = original;
    const bme_ElementClass& type = mesh.ElementData().GetElemClass(other);
    const shp_Shape* shape = type.Shape();
    if (!shape || shape->NumGeomDims() < 1 || shape->IsInteraction()) continue;
    const auto isSame = [&](const bme_ElementClass* one) {
      return one->ElemTypeLabel() == type.ElemTypeLabel();
    };
    if (std::ranges::any_of(seen, isSame))
      repeated.push_back(other);
    else
      seen.push_back(&type);
  }
  std::ranges::sort(repeated);
  return repeated;
}

void MarkNodesOfSets(const bme_MeshAndSets& source, Marks& nodes) {
  for (const bme_NamedSet& set : source.sets)
    for (int i = 0; i < set.data.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set.data.SubSet(i);
      if (subset.MeshIndex() != source.mesh.Id()
          || bme_SetSource::KindOf(subset) != bme_SetSource::Kind::Node)
        continue;
      for (const int node : subset.IdArray())
        if (static_cast<std::size_t>(static_cast<unsigned>(node)) < nodes.size())
          nodes[static_cast<std::size_t>(node)] = 1;
    }
}
} // namespace

bme_Edited bme_ExtractElements(const bme_MeshAndSets& source, std::span<const unsigned> elements) {
  const Marks kept = MarksOf(elements, source.mesh.ElementData().NumElements(), 1);
  Marks nodes(source.mesh.NodeData().NumNodes(), 0);
  MarkNodesOf(source.mesh.ElementData(), kept, nodes);
  return bme_Renumber(source, Keep(source.mesh, nodes, kept, true));
}

bme_Edited bme_RemoveEntities(const bme_MeshAndSets& source, std::span<const unsigned> elements,
                              std::span<const unsigned> nodes) {
  return bme_Renumber(source, Keep(source.mesh, MarksOf(nodes, source.mesh.NodeData().NumNodes(), 0),
                                   MarksOf(elements, source.mesh.ElementData().NumElements(), 0), false));
}

bme_Cleaned bme_CleanMesh(const bme_MeshAndSets& source, const bme_CleanOptions& options) {
  const bme_Mesh& mesh = source.mesh;
  bme_CheckNodes(mesh);
  bme_Cleaned cleaned;
  if (options.duplicates) cleaned.duplicates = Repeated(mesh);
  if (options.zeroSize) {
    std::vector<chk_Finding> found;
    chk_Findings findings({}, found);
    cleaned.zeroSize = chk_Elements(mesh, findings);
  }
  Marks elements = MarksOf(cleaned.duplicates, mesh.ElementData().NumElements(), 0);
  for (const unsigned element : cleaned.zeroSize) elements[element] = 0;
  Marks nodes(mesh.NodeData().NumNodes(), options.unusedNodes ? 0 : 1);
  if (options.unusedNodes) {
    MarkNodesOf(mesh.ElementData(), elements, nodes);
    if (!options.nodesOfSets) MarkNodesOfSets(source, nodes);
    cleaned.unusedNodes = Unmarked(nodes);
  }
  static_cast<bme_Edited&>(cleaned) = bme_Renumber(source, Keep(mesh, nodes, elements, false));
  return cleaned;
}

namespace {
/// For each node the one that stands for it, itself for most.
class Representatives {
public:
  explicit Representatives(const bme_NodeData& nodes)
      : nodes_(nodes), of_(nodes.NumNodes()), isMerged_(of_.size(), 0) {
    for (std::size_t i = 0; i < of_.size(); ++i) of_[i] = static_cast<int>(i);
  }

  void Merge(std::span<const unsigned> group) {
    const unsigned survivor = *std::ranges::min_element(
        group, {}, [&](unsigned node) { return std::pair(bme_LabelOfNode(nodes_, node), node); });
    for (const unsigned node : group) {
      of_[node] = static_cast<int>(survivor);
      isMerged_[node] = 1;
    }
  }
  /// Each of `others` joins the nearest of `fixed`, which stay apart from each other. Of those at the same distance the
  /// first one counts.
  void MergePairs(std::span<const unsigned> fixed, std::span<const unsigned> others, double tolerance) {
    const auto xOf = [&](std::size_t i) { return Coordinate(fixed[i], 0); };
    std::vector<std::size_t> byX; // of nodes with a place
    for (std::size_t i = 0; i < fixed.size(); ++i)
      if (std::isfinite(xOf(i))) byX.push_back(i);
    std::ranges::stable_sort(byX, {}, xOf);
    const double reach = 1.0001 * tolerance; // no node is missed by rounding
    std::vector<std::vector<unsigned>> groups(fixed.size());
    wip_Poll poll(65536);
    for (const unsigned other : others) {
      const double x = Coordinate(other, 0);
      std::size_t nearest = fixed.size();
      double least = tolerance;
      for (auto at = std::ranges::lower_bound(byX, x - reach, {}, xOf);
           at != byX.end() && xOf(*at) <= x + reach; ++at) {
        poll.Advance();
        const double distance = Distance(fixed[*at], other);
        if (distance < least || (distance == least && *at < nearest)) {
          nearest = *at;
          least = distance;
        }
      }
      if (nearest < fixed.size()) groups[nearest].push_back(other);
    }
    for (std::size_t i = 0; i < fixed.size(); ++i) {
      if (groups[i].empty()) continue;
      groups[i].push_back(fixed[i]);
      Merge(groups[i]);
    }
  }

  bme_IndexMap Map() const {
    Marks survivors(of_.size());
    for (std::size_t i = 0; i < of_.size(); ++i) survivors[i] = of_[i] == static_cast<int>(i) ? 1 : 0;
    bme_IndexMap map = bme_IndexMap::OfKept(survivors);
    for (std::size_t i = 0; i < of_.size(); ++i)
      if (survivors[i] == 0) map.to[i] = map.to[static_cast<std::size_t>(of_[i])];
    return map;
  }
  std::vector<unsigned> Merged() const {
    std::vector<unsigned> merged;
    for (unsigned i = 0; i < of_.size(); ++i)
      if (of_[i] != static_cast<int>(i)) merged.push_back(i);
    return merged;
  }
  bool DoCollapse(std::span<const int> row) const {
    for (std::size_t i = 1; i < row.size(); ++i)
      for (std::size_t k = 0; k < i && isMerged_[static_cast<std::size_t>(row[i])] != 0; ++k)
        if (row[k] != row[i]
            && of_[static_cast<std::size_t>(row[k])] == of_[static_cast<std::size_t>(row[i])])
          return true;
    return false;
  }

private:
  double Coordinate(unsigned node, std::size_t axis) const {
    return static_cast<double>(nodes_.Coordinates().Const()[3 * std::size_t{node} + axis]);
  }
  double Distance(unsigned a, unsigned b) const {
    const std::span<const float> xyz = nodes_.Coordinates().Const();
    double sum = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double d = static_cast<double>(xyz[3 * std::size_t{a} + axis])
                       - static_cast<double>(xyz[3 * std::size_t{b} + axis]);
      sum += d * d;
    }
    return std::sqrt(sum);
  }

  const bme_NodeData& nodes_;
  std::vector<int> of_;
  Marks isMerged_;
};

/// Groups of those nodes at one place, by their mesh indices.
bme_Adjacency Coincident(const bme_NodeData& nodes, std::span<const unsigned> some, double tolerance) {
  const std::span<const float> xyz = nodes.Coordinates().Const();
  cow_ArrayCOW<float> places;
  for (const unsigned node : some) places.Append(xyz.subspan(3 * std::size_t{node}, 3));
  bme_Adjacency groups = bme_FindCoincidentNodes(bme_NodeData(uti_CoordCont3D(std::move(places))), tolerance);
  for (unsigned& node : groups.items) node = some[node];
  return groups;
}
} // namespace

bme_Merged bme_MergeNodes(const bme_MeshAndSets& source, const bme_MergeOptions& options) {
  const bme_NodeData& nodes = source.mesh.NodeData();
  bme_CheckNodes(source.mesh);
  const auto listed = [&](const std::optional<std::span<const unsigned>>& list) {
    return list ? MarksOf(*list, nodes.NumNodes(), 1) : Marks(nodes.NumNodes(), 1);
  };
  const Marks fixed = listed(options.nodes);
  const Marks others = options.with ? listed(options.with) : Marks(nodes.NumNodes(), 0);
  std::vector<unsigned> some;
  for (unsigned i = 0; i < nodes.NumNodes(); ++i)
    if (fixed[i] != 0 || others[i] != 0) some.push_back(i);
  const bme_Adjacency groups = Coincident(nodes, some, options.tolerance);
  Representatives representatives(nodes);
  for (std::size_t g = 0; g < groups.Count(); ++g) {
    if (!options.with) {
      representatives.Merge(groups[g]);
      continue;
    }
    std::vector<unsigned> own, joining;
    for (const unsigned node : groups[g]) (fixed[node] != 0 ? own : joining).push_back(node);
    representatives.MergePairs(own, joining, options.tolerance);
  }
  bme_Merged merged;
  merged.merged = representatives.Merged();
  const bme_ElementData& elements = source.mesh.ElementData();
  for (unsigned c = 0; c < elements.NumClasses() && !merged.merged.empty(); ++c) {
    const bme_ElementClass& type = elements.GetClass(c);
    wip_Poll poll(8192);
    for (int i = 0; i < type.NumElements(); ++i) {
      poll.Advance();
      if (representatives.DoCollapse(type.Connectivity(i)))
        merged.collapsed.push_back(static_cast<unsigned>(type.FirstElementIndex() + i));
    }
  }
  bme_Renumbering renumbering = bme_Renumbering::Identity(source.mesh);
  if (options.removeCollapsed && !merged.collapsed.empty())
    renumbering = Keep(source.mesh, Marks(nodes.NumNodes(), 1),
                       MarksOf(merged.collapsed, elements.NumElements(), 0), false);
  renumbering.nodes = representatives.Map();
  static_cast<bme_Edited&>(merged) = bme_Renumber(source, std::move(renumbering));
  return merged;
}
