// How elements hang together: duplicates, nodes that are free or at the same place, edges of shells.
#include "chk_Findings.h"

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <array>
#include <numeric>

namespace {
constexpr auto kNote = cls_Finding::Weight::Note;

long long ElementLabel(const bme_ElementData& elements, unsigned element) {
  unsigned classIndex = 0, inClass = 0;
  elements.GetClassAndElemIndex(element, classIndex, inClass);
  return elements.HasUserElementLabels() ? elements.GetClass(classIndex).UserElementLabels()[inClass]
                                         : static_cast<long long>(element) + 1;
}

void Add(chk_Findings& findings, const char* className, const char* field, const char* what,
         const char* advice, std::vector<long long> labels) {
  std::ranges::sort(labels);
  labels.erase(std::unique(labels.begin(), labels.end()), labels.end());
  if (!labels.empty())
    findings.Add(className, field, std::to_string(labels.size()) + " " + what, advice, labels, kNote);
}

void CheckNodes(const bme_Mesh& mesh, chk_Findings& findings) {
  const bme_NodeData& nodes = mesh.NodeData();
  const std::span<const float> xyz = nodes.Coordinates().Const();
  const auto labelOf = [&](std::size_t node) {
    return nodes.HasUserNodeLabels() ? nodes.UserNodeLabels().Const()[node]
                                     : static_cast<long long>(node) + 1;
  };
  std::vector<char> isUsed(nodes.NumNodes());
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i)
    for (const int node : mesh.ElementData().GetClass(i).ElementConnectivity().Const())
      isUsed[static_cast<std::size_t>(node)] = 1;
  std::vector<long long> unused, together;
  for (std::size_t i = 0; i < isUsed.size(); ++i)
    if (!isUsed[i]) unused.push_back(labelOf(i));
  Add(findings, "bme_NodeData", "coordinates", "nodes belong to no element",
      "remove them, unless something else refers to them", unused);

  std::vector<unsigned> order(nodes.NumNodes());
  std::iota(order.begin(), order.end(), 0U);
  const auto place = [&](unsigned node) {
    const std::size_t i = 3 * std::size_t{node};
    return std::array{xyz[i], xyz[i + 1], xyz[i + 2]};
  };
  std::ranges::sort(order,
                    [&](unsigned a, unsigned b) { return std::pair(place(a), a) < std::pair(place(b), b); });
  for (std::size_t i = 1; i < order.size(); ++i)
    if (place(order[i - 1]) == place(order[i])) together.push_back(labelOf(order[i]));
  Add(findings, "bme_NodeData", "coordinates", "nodes are where another node is",
      "merge them, unless the parts are meant to be separate there", together);
}

/// An edge of a shell, from the corner with the smaller index to the other.
struct Side {
  std::array<int, 2> ends;
  unsigned element;
  bool isForward;
};

void CheckShellEdges(const bme_Mesh& mesh, chk_Findings& findings) {
  std::vector<Side> sides;
  const bme_ElementData& elements = mesh.ElementData();
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    const shp_Shape* shape = type.Shape();
    if (!shape || shape->NumGeomDims() != 2 || shape->NumSpatialDims() != 3) continue;
    const auto corners = static_cast<std::size_t>(shape->CornersPerFace()[0]);
    const std::span<const int> face = shape->FaceNodes(0);
    for (int e = 0; e < type.NumElements(); ++e)
      for (std::size_t k = 0; k < corners; ++k) {
        const std::span<const int> row = type.Connectivity(e);
        const int a = row[static_cast<std::size_t>(face[k])],
                  b = row[static_cast<std::size_t>(face[(k + 1) % corners])];
        if (a != b)
          sides.push_back(
              {{std::min(a, b), std::max(a, b)}, static_cast<unsigned>(type.FirstElementIndex() + e), a < b});
      }
  }
  std::ranges::sort(sides, {}, [](const Side& side) { return std::pair(side.ends, side.element); });
  std::vector<long long> open, crowded, turned;
  for (auto first = sides.begin(); first != sides.end();) {
    const auto next = std::find_if(first, sides.end(), [&](const Side& s) { return s.ends != first->ends; });
    const auto count = next - first;
    const bool isTurned = count == 2 && first[0].isForward == first[1].isForward;
    for (std::vector<long long>* list : {count == 1  ? &open
                                         : count > 2 ? &crowded
                                         : isTurned  ? &turned
                                                     : nullptr})
      for (auto side = first; list && side != next; ++side)
        list->push_back(ElementLabel(elements, side->element));
    first = next;
  }
  Add(findings, "bme_ElementClass", "DDBconnectivity", "shells have an edge that no other shell has",
      "none needed on the rim of a part; elsewhere merge the nodes along the gap", open);
  Add(findings, "bme_ElementClass", "DDBconnectivity", "shells have an edge with two or more other shells",
      "none needed where plates branch; elsewhere remove what is double", crowded);
  Add(findings, "bme_ElementClass", "DDBconnectivity",
      "shells have a neighbour whose normal points the other way",
      "reverse the order of the nodes of one of them", turned);
}

void CheckDuplicates(const bme_Mesh& mesh, chk_Findings& findings) {
  std::vector<long long> labels;
  for (const auto& [first, second] : bme_FindDuplicates(bme_FEMElemList::All(mesh)))
    for (const unsigned element : {first, second})
      labels.push_back(ElementLabel(mesh.ElementData(), element));
  Add(findings, "bme_ElementClass", "DDBconnectivity", "elements have the same nodes as another one",
      "remove all but one, unless they are meant to act together", labels);
}
} // namespace

void chk_Topology(const bme_Mesh& mesh, chk_Findings& findings) {
  CheckDuplicates(mesh, findings);
  CheckNodes(mesh, findings);
  CheckShellEdges(mesh, findings);
}
