#include "bme_Making.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <numeric>

cow_String bme_Describe(const bme_ElementClass& type) {
  return "element class " + std::to_string(type.ClassIndex()) + " (" + type.ElemTypeLabel() + ")";
}

int bme_LabelOfNode(const bme_NodeData& nodes, unsigned node) {
  return nodes.HasUserNodeLabels() ? nodes.UserNodeLabels().Const()[node] : static_cast<int>(node) + 1;
}

int bme_LabelOfElement(const bme_ElementData& elements, unsigned element) {
  if (!elements.HasUserElementLabels()) return static_cast<int>(element) + 1;
  const bme_ElementClass& type = elements.GetElemClass(element);
  return type.UserElementLabels()[element - static_cast<unsigned>(type.FirstElementIndex())];
}

std::vector<int> bme_NodeLabels(const bme_NodeData& nodes) {
  if (nodes.HasUserNodeLabels()) {
    const std::span<const int> labels = nodes.UserNodeLabels().Const();
    return {labels.begin(), labels.end()};
  }
  std::vector<int> labels(nodes.NumNodes());
  std::iota(labels.begin(), labels.end(), 1);
  return labels;
}

std::vector<int> bme_AllElementLabels(const bme_ElementData& elements) {
  std::vector<int> labels;
  labels.reserve(elements.NumElements());
  if (elements.HasUserElementLabels())
    for (unsigned c = 0; c < elements.NumClasses(); ++c) {
      const std::span<const int> own = elements.GetClass(c).UserElementLabels();
      labels.insert(labels.end(), own.begin(), own.end());
    }
  labels.resize(elements.NumElements());
  if (!elements.HasUserElementLabels()) std::iota(labels.begin(), labels.end(), 1);
  return labels;
}

std::unique_ptr<bme_ElementClass> bme_ClassLike(const bme_ElementClass& old, std::span<const int> positions,
                                                cow_ArrayCOW<int> connectivity) {
  return bme_ClassLike(old, positions, std::move(connectivity), old.ElemTypeLabel(),
                       static_cast<std::size_t>(old.NumNodesPerElem()));
}

std::unique_ptr<bme_ElementClass> bme_ClassLike(const bme_ElementClass& old, std::span<const int> positions,
                                                cow_ArrayCOW<int> connectivity, const cow_String& type,
                                                std::size_t columns) {
  auto made = std::make_unique<bme_ElementClass>(type, cls_xp2DArrayInt(columns, std::move(connectivity)));
  made->SetElemControlParams(old.GetElemControlParams());
  made->SetCategoryLabel(old.CategoryLabel());
  made->SetOrientationFreq(old.OrientationFreq());
  made->SetLocationLabels(old.LocationLabels());
  made->SetMeshIndex(old.MeshIndex());
  made->SetRegion(old.RegionIndex(), old.RegionClassIndex());
  for (std::size_t i = 0; i < positions.size(); ++i)
    if (const int direction = old.GetStackDirection(positions[i]); direction != 0)
      made->SetStackDirection(static_cast<int>(i), direction);
  return made;
}

bme_Mesh bme_MeshLike(const bme_Mesh& old, const bme_NodeData& nodes, bme_Classes classes) {
  std::vector<bme_ElementClass*> handedOver;
  for (auto& type : classes) handedOver.push_back(type.release());
  auto elements =
      std::make_unique<bme_ElementData>(handedOver.data(), static_cast<unsigned>(handedOver.size()));
  auto ownNodes = std::make_unique<bme_NodeData>(nodes);
  return {static_cast<unsigned>(old.Id()), ownNodes.release(), elements.release(), old.MeshType(),
          old.Transform()};
}

namespace {
/// Of the element at that position of its class: a node that is not in the mesh, or will not be.
[[noreturn]] void RefuseNode(const bme_Mesh& mesh, const bme_ElementClass& type, int position, int node) {
  const auto element = static_cast<unsigned>(type.FirstElementIndex() + position),
             index = static_cast<unsigned>(node);
  const unsigned numNodes = mesh.NodeData().NumNodes();
  cow_String text = bme_Describe(type) + ": element ";
  text += std::to_string(bme_LabelOfElement(mesh.ElementData(), element));
  text += index < numNodes ? " needs node " + std::to_string(bme_LabelOfNode(mesh.NodeData(), index))
                                 + ", which would be gone"
                           : " has node index " + std::to_string(node) + ", which is not in the mesh of "
                                 + std::to_string(numNodes) + " nodes";
  throw nex_TextException(text);
}
} // namespace

void bme_CheckNodes(const bme_Mesh& mesh, const bme_ElementClass& type) {
  const unsigned numNodes = mesh.NodeData().NumNodes();
  const std::span<const int> all = type.ElementConnectivity().Const();
  wip_InBlocks(all.size(), std::size_t{1} << 20, [&](std::size_t first, std::size_t end) {
    const std::span<const int> some = all.subspan(first, end - first);
    const auto at =
        std::ranges::find_if(some, [&](int node) { return static_cast<unsigned>(node) >= numNodes; });
    if (at == some.end()) return;
    const auto position = first + static_cast<std::size_t>(at - some.begin());
    RefuseNode(mesh, type, static_cast<int>(position / static_cast<std::size_t>(type.NumNodesPerElem())),
               *at);
  });
}

void bme_CheckNodes(const bme_Mesh& mesh) {
  for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c)
    bme_CheckNodes(mesh, mesh.ElementData().GetClass(c));
}

namespace {
constexpr std::size_t kBlock = 65536; ///< rows between two questions whether to stop

bool IsShifted(std::span<const int> from) {
  for (std::size_t i = 0; i < from.size(); ++i)
    if (from[i] != static_cast<int>(i)) return true;
  return false;
}

/// Labels of some classes, which count for nothing as others have none.
bool HasLabelsInVain(const bme_ElementData& elements) {
  if (elements.HasUserElementLabels()) return false;
  for (unsigned c = 0; c < elements.NumClasses(); ++c)
    if (elements.GetClass(c).HasUserElementLabels()) return true;
  return false;
}

bme_NodeData SendNodes(const bme_NodeData& old, const bme_IndexMap& map) {
  if (!IsShifted(map.from) && map.from.size() == old.NumNodes()) return old;
  cow_ArrayCOW<float> xyz;
  xyz.ResizeUninitialised(3 * map.from.size());
  const std::span<float> made = xyz.Modify();
  const std::span<const float> before = old.Coordinates().Const();
  wip_InBlocks(map.from.size(), kBlock, [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      const auto at = 3 * static_cast<std::size_t>(map.from[i]);
      for (std::size_t axis = 0; axis < 3; ++axis) made[3 * i + axis] = before[at + axis];
    }
  });
  bme_NodeData nodes(uti_CoordCont3D(std::move(xyz)), old.Dimension());
  if (!old.HasUserNodeLabels() && !IsShifted(map.from)) return nodes;
  const std::vector<int> labels = bme_NodeLabels(old);
  nodes.SetUserNodeLabels(cls_xp1DArrayListInt(map.SendRows(std::span<const int>(labels))));
  return nodes;
}

/// Rows of the elements at those positions, with the new node indices.
cow_ArrayCOW<int> SendRows(const bme_Mesh& old, const bme_ElementClass& type, std::span<const int> positions,
                           std::span<const int> newNode) {
  const auto columns = static_cast<std::size_t>(type.NumNodesPerElem());
  const std::span<const int> before = type.ElementConnectivity().Const();
  cow_ArrayCOW<int> rows;
  rows.ResizeUninitialised(positions.size() * columns);
  const std::span<int> made = rows.Modify();
  wip_InBlocks(positions.size(), kBlock, [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      const std::size_t row = static_cast<std::size_t>(positions[i]) * columns;
      for (std::size_t k = 0; k < columns; ++k) {
        const int node = before[row + k];
        if (static_cast<unsigned>(node) >= newNode.size() || newNode[static_cast<std::size_t>(node)] < 0)
          RefuseNode(old, type, positions[i], node);
        made[i * columns + k] = newNode[static_cast<std::size_t>(node)];
      }
    }
  });
  return rows;
}
} // namespace

bme_Edited bme_Renumber(const bme_MeshAndSets& old, bme_Renumbering renumbering) {
  const bme_ElementData& elements = old.mesh.ElementData();
  const bme_IndexMap& map = renumbering.elements;
  if (renumbering.nodes.to.size() != old.mesh.NodeData().NumNodes() || map.to.size() != elements.NumElements()
      || renumbering.classes.to.size() != elements.NumClasses())
    throw nex_AssertionException("the renumbering is of a mesh of other sizes");
  const bool areNodesKept = renumbering.nodes.IsIdentity();
  const bool areImplicit = !elements.HasUserElementLabels();
  const bool needsLabels =
      !areImplicit || IsShifted(map.from) || (HasLabelsInVain(elements) && map.NumGone() > 0);
  const std::vector<int> labels = bme_AllElementLabels(elements);
  bme_Classes classes;
  std::size_t at = 0; // new elements so far
  for (const int c : renumbering.classes.from) {
    const bme_ElementClass& type = elements.GetClass(static_cast<unsigned>(c));
    const int first = type.FirstElementIndex();
    std::vector<int> positions, ownLabels;
    for (; at < map.from.size() && map.from[at] >= first && map.from[at] < first + type.NumElements(); ++at) {
      positions.push_back(map.from[at] - first);
      if (needsLabels) ownLabels.push_back(labels[static_cast<std::size_t>(map.from[at])]);
    }
    const bool isWhole =
        positions.size() == static_cast<std::size_t>(type.NumElements()) && !IsShifted(positions);
    if (isWhole && areNodesKept)
      classes.push_back(std::make_unique<bme_ElementClass>(type));
    else
      classes.push_back(
          bme_ClassLike(type, positions, SendRows(old.mesh, type, positions, renumbering.nodes.to)));
    if (needsLabels && (areImplicit || !isWhole || !areNodesKept))
      classes.back()->SetUserElementLabels(std::span<const int>(ownLabels));
  }
  if (at != map.from.size())
    throw nex_AssertionException("new element " + std::to_string(at)
                                 + " is not of the class that it stands in");
  bme_Edited edited{
      {bme_MeshLike(old.mesh, SendNodes(old.mesh.NodeData(), renumbering.nodes), std::move(classes))},
      std::move(renumbering)};
  bme_SendSets(old, edited);
  return edited;
}
