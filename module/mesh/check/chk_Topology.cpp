// How elements hang together: duplicates, nodes that are free, hanging or at the same place, edges of shells.
#include <CoreGeometry/chk_Findings.h>

#include <BasicUtils/wip_Sort.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <array>

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

/// Median distance of nodes that follow each other in an element, of some twenty thousand elements; 0 when
/// all elements are points.
double TypicalEdge(const bme_Mesh& mesh) {
  constexpr unsigned kMost = 20000;
  const bme_ElementData& elements = mesh.ElementData();
  const unsigned step = 1 + elements.NumElements() / kMost;
  std::vector<double> lengths;
  for (unsigned element = 0; element < elements.NumElements(); element += step) {
    unsigned classIndex = 0, inClass = 0;
    elements.GetClassAndElemIndex(element, classIndex, inClass);
    const auto row = elements.GetClass(classIndex).Connectivity(static_cast<int>(inClass));
    for (std::size_t k = 1; k < row.size(); ++k) {
      const uti_Coord3D a = mesh.NodeData()[static_cast<unsigned>(row[k - 1])],
                        b = mesh.NodeData()[static_cast<unsigned>(row[k])];
      const double length = gsl_Vector(a.x - b.x, a.y - b.y, a.z - b.z).Magnitude();
      if (length > 0) lengths.push_back(length);
    }
  }
  if (lengths.empty()) return 0;
  const auto middle = lengths.begin() + static_cast<std::ptrdiff_t>(lengths.size() / 2);
  std::ranges::nth_element(lengths, middle);
  return *middle;
}

/// The same nodes, and the elements but for some; indices of elements differ.
bme_Mesh WithoutElements(const bme_Mesh& mesh, std::span<const unsigned> leftOut) {
  std::vector<bme_ElementClass*> classes;
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(i);
    std::vector<int> rows;
    for (int e = 0; e < type.NumElements(); ++e) {
      if (std::ranges::binary_search(leftOut, static_cast<unsigned>(type.FirstElementIndex() + e))) continue;
      rows.insert(rows.end(), type.Connectivity(e).begin(), type.Connectivity(e).end());
    }
    const auto width = static_cast<std::size_t>(type.NumNodesPerElem());
    if (!rows.empty())
      classes.push_back(
          new bme_ElementClass(type.ElemTypeLabel(), cls_xp2DArrayInt(width, cow_ArrayCOW<int>(rows))));
  }
  return {0, new bme_NodeData(mesh.NodeData()),
          new bme_ElementData(classes.data(), static_cast<unsigned>(classes.size())), mesh.MeshType(),
          nullptr};
}

class NodeCheck {
public:
  NodeCheck(const bme_Mesh& mesh, chk_Findings& findings) : mesh_(mesh), findings_(findings) {}

  void Run(std::span<const unsigned> withoutSize) {
    Report(mesh_.Connectivity().FreeNodes(), "nodes belong to no element",
           "remove them, unless something else refers to them");
    // of elements, not of the box, which a single node makes as large as it likes
    const bme_Adjacency together = bme_FindCoincidentNodes(mesh_.NodeData(), 1e-4 * TypicalEdge(mesh_));
    std::vector<unsigned> others;
    groupOf_.assign(mesh_.NodeData().NumNodes(), 0);
    for (std::size_t i = 0; i < together.Count(); ++i) {
      others.insert(others.end(), together[i].begin() + 1, together[i].end());
      for (const unsigned node : together[i]) groupOf_[node] = static_cast<unsigned>(i) + 1;
    }
    Report(others, "nodes are where another node is",
           "merge them, unless the parts are meant to be separate there");
    const bool isAll = withoutSize.empty();
    Report(isAll ? Hanging(mesh_) : Hanging(WithoutElements(mesh_, withoutSize)),
           "nodes lie on the side of an element that they do not belong to",
           "refine the element there, tie the node to it, or move the node away if the parts are separate");
  }

private:
  /// Corners on the outside of the mesh that lie on the boundary of an element without being, or lying at,
  /// one of its nodes.
  std::vector<unsigned> Hanging(const bme_Mesh& mesh) const {
    std::vector<unsigned> hanging;
    const auto faces = bme_ComputeFaces(bme_FEMElemList::All(mesh), {.exclude = bme_EXCLUDE_UNSUPPORTED});
    if (!faces) return hanging;
    const bme_ElementLocator locator(mesh);
    std::vector<bme_ElementHit> owners;
    wip_Poll poll(4096);
    for (const unsigned node : bme_FEMNodeList::OfFaces(faces->external, bme_NodesOf::Corners)) {
      poll.Advance();
      const uti_Coord3D at = mesh.NodeData()[node];
      locator.FindAll({static_cast<double>(at.x), static_cast<double>(at.y), static_cast<double>(at.z)},
                      owners);
      if (std::ranges::any_of(owners, [&](const bme_ElementHit& hit) {
            return hit.location == shp_Location::OnBoundary && !HasNode(mesh, hit.element, node);
          }))
        hanging.push_back(node);
    }
    return hanging;
  }

  bool HasNode(const bme_Mesh& mesh, unsigned element, unsigned node) const {
    unsigned classIndex = 0, inClass = 0;
    mesh.ElementData().GetClassAndElemIndex(element, classIndex, inClass);
    const auto row = mesh.ElementData().GetClass(classIndex).Connectivity(static_cast<int>(inClass));
    return std::ranges::any_of(row, [&](int other) {
      const auto index = static_cast<unsigned>(other);
      return index == node || (groupOf_[node] != 0 && groupOf_[index] == groupOf_[node]);
    });
  }

  void Report(std::span<const unsigned> nodes, const char* what, const char* advice) {
    const bme_NodeData& data = mesh_.NodeData();
    std::vector<long long> labels;
    for (const unsigned node : nodes)
      labels.push_back(data.HasUserNodeLabels() ? data.UserNodeLabels().Const()[node]
                                                : static_cast<long long>(node) + 1);
    Add(findings_, "bme_NodeData", "coordinates", what, advice, std::move(labels));
  }

  const bme_Mesh& mesh_;
  chk_Findings& findings_;
  std::vector<unsigned> groupOf_; ///< of nodes at one place, from 1
};

/// An edge of a shell, from the corner with the smaller index to the other.
struct Side {
  std::array<int, 2> ends;
  unsigned element;
  bool isForward;
  auto operator<=>(const Side&) const = default;
};

void CheckShellEdges(const bme_Mesh& mesh, chk_Findings& findings) {
  std::vector<Side> sides;
  wip_Poll poll(65536);
  const bme_ElementData& elements = mesh.ElementData();
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    const shp_Shape* shape = type.Shape();
    if (!shape || shape->NumGeomDims() != 2 || shape->NumSpatialDims() != 3) continue;
    const auto corners = static_cast<std::size_t>(shape->CornersPerFace()[0]);
    const std::span<const int> face = shape->FaceNodes(0);
    for (int e = 0; e < type.NumElements(); ++e)
      for (std::size_t k = 0; k < corners; ++k) {
        poll.Advance();
        const std::span<const int> row = type.Connectivity(e);
        const int a = row[static_cast<std::size_t>(face[k])],
                  b = row[static_cast<std::size_t>(face[(k + 1) % corners])];
        if (a != b)
          sides.push_back(
              {{std::min(a, b), std::max(a, b)}, static_cast<unsigned>(type.FirstElementIndex() + e), a < b});
      }
  }
  wip_Sort(sides, std::less());
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

void chk_Topology(const bme_Mesh& mesh, std::span<const unsigned> withoutSize, chk_Findings& findings) {
  CheckDuplicates(mesh, findings);
  NodeCheck(mesh, findings).Run(withoutSize);
  CheckShellEdges(mesh, findings);
}
