#include <CoreGeometry/chk_Findings.h>

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>

void chk_Findings::Add(cow_String className, cow_String field, cow_String what, cow_String advice,
                       std::span<const long long> labels, cls_Finding::Weight weight) {
  chk_Finding finding;
  finding.weight = weight;
  finding.root = root_;
  finding.className = std::move(className);
  finding.field = std::move(field);
  finding.what = std::move(what);
  finding.advice = std::move(advice);
  finding.count = static_cast<long long>(labels.size());
  finding.labels.assign(labels.begin(),
                        labels.begin()
                            + static_cast<std::ptrdiff_t>(std::min(labels.size(), chk_Finding::kMostLabels)));
  findings_.push_back(std::move(finding));
}

namespace {
std::vector<long long> Repeated(std::vector<int> labels) {
  wip_Poll poll(1 << 18);
  std::sort(labels.begin(), labels.end(), [&](int a, int b) {
    poll.Advance();
    return a < b;
  });
  std::vector<long long> repeated;
  for (std::size_t i = 1; i < labels.size(); ++i)
    if (labels[i] == labels[i - 1] && (repeated.empty() || repeated.back() != labels[i]))
      repeated.push_back(labels[i]);
  return repeated;
}

void CheckNodes(const bme_NodeData& nodes, chk_Findings& findings) {
  const std::span<const int> labels = nodes.UserNodeLabels().Const();
  const unsigned count = nodes.NumNodes();
  if (!labels.empty() && labels.size() != count)
    findings.Add("bme_NodeData", "userNodeLabels",
                 "there are " + std::to_string(labels.size()) + " labels for " + std::to_string(count)
                     + " nodes, so that no node has a label",
                 "give one label per node, or none");
  const auto labelOf = [&](std::size_t node) {
    return nodes.HasUserNodeLabels() ? labels[node] : static_cast<long long>(node) + 1;
  };
  std::vector<long long> wrong;
  const std::span<const float> coordinates = nodes.Coordinates().Const();
  wip_Poll poll(1 << 20);
  for (std::size_t i = 0; i < coordinates.size(); ++i) {
    poll.Advance();
    if (!std::isfinite(coordinates[i]) && (wrong.empty() || wrong.back() != labelOf(i / 3)))
      wrong.push_back(labelOf(i / 3));
  }
  if (!wrong.empty())
    findings.Add("bme_NodeData", "coordinates",
                 std::to_string(wrong.size()) + " nodes have a coordinate that is no finite number",
                 "correct the coordinates in the source of the mesh and import it again", wrong);
  if (const auto repeated = Repeated({labels.begin(), labels.end()}); !repeated.empty())
    findings.Add("bme_NodeData", "userNodeLabels",
                 std::to_string(repeated.size()) + " labels stand for several nodes; a label finds the last",
                 "renumber these nodes", repeated);
}

void CheckClass(const bme_ElementClass& type, unsigned index, bool hasLabels, unsigned numNodes,
                chk_Findings& findings) {
  const cow_String where = "element class " + std::to_string(index) + " (" + type.ElemTypeLabel() + ")";
  if (type.NumElements() > 0 && !type.IsSupported())
    findings.Add("bme_ElementClass", "elemTypeLabel",
                 where + ": the element type has no shape, so there is no topology and no geometry for it",
                 "none needed, unless the label is misspelt", {}, cls_Finding::Weight::Note);
  const std::span<const int> all = type.ElementConnectivity().Const();
  const auto perElement = static_cast<std::size_t>(std::max(1, type.NumNodesPerElem()));
  std::vector<long long> outside;
  wip_Poll poll(1 << 20);
  for (std::size_t i = 0; i < all.size(); ++i) {
    poll.Advance();
    if (all[i] >= 0 && static_cast<unsigned>(all[i]) < numNodes) continue;
    const std::size_t element = i / perElement;
    const long long label = hasLabels ? type.UserElementLabels()[element]
                                      : static_cast<long long>(type.FirstElementIndex() + element) + 1;
    if (outside.empty() || outside.back() != label) outside.push_back(label);
  }
  if (!outside.empty())
    findings.Add("bme_ElementClass", "DDBconnectivity",
                 where + ": " + std::to_string(outside.size()) + " elements use nodes outside the "
                     + std::to_string(numNodes) + " nodes of the mesh",
                 "give these elements existing nodes, or remove them", outside);
}
} // namespace

void chk_Mesh(const bme_Mesh& mesh, chk_Findings& findings) {
  CheckNodes(mesh.NodeData(), findings);
  const bme_ElementData& elements = mesh.ElementData();
  const bool hasLabels = elements.HasUserElementLabels();
  std::vector<int> labels;
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    CheckClass(type, i, hasLabels, mesh.NodeData().NumNodes(), findings);
    labels.insert(labels.end(), type.UserElementLabels().begin(), type.UserElementLabels().end());
  }
  if (!hasLabels && !labels.empty())
    findings.Add("bme_ElementData", "classes",
                 "some element classes have labels and some have none, so that all labels count as implicit",
                 "label every class, or none", {}, cls_Finding::Weight::Note);
  if (const auto repeated = Repeated(std::move(labels)); !repeated.empty())
    findings.Add("bme_ElementClass", "userLabels",
                 std::to_string(repeated.size())
                     + " labels stand for several elements; a label finds the last",
                 "renumber these elements", repeated);
}
