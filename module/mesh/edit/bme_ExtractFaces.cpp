#include <CoreGeometry/bme_CleanMesh.h>

#include "bme_ListMaking.h"
#include "bme_Making.h"

#include <map>

namespace {
/// A surface element type for each number of corners and nodes; the first one of as many corners for others.
struct Type {
  std::size_t corners, nodes;
  const char* label;
};
constexpr Type kTypes[] = {{3, 3, "S3"}, {3, 6, "STRI65"}, {4, 4, "S4"}, {4, 8, "S8R"}, {4, 9, "S9R5"}};

std::size_t TypeOf(std::size_t corners, std::size_t nodes) {
  const auto own = std::ranges::find_if(
      kTypes, [&](const Type& type) { return type.corners == corners && type.nodes == nodes; });
  return static_cast<std::size_t>(
      (own == std::end(kTypes) ? std::ranges::find(kTypes, corners, &Type::corners) : own)
      - std::begin(kTypes));
}

/// The set as a set of new elements: those of faces that it has.
rgnC_SetData SendSet(const rgnC_SetData& set, const bme_Mesh& mesh, const bme_Mesh& made,
                     std::span<const unsigned> words) {
  const bool isSurface = set.GetSetType() != res_ELEMENT_SET;
  std::vector<unsigned> sent;
  if (isSurface) {
    const auto faces = bme_FEMFaceList::FromSet(mesh, set, bme_Unknown::Skip);
    for (std::size_t i = 0; i < words.size(); ++i)
      if (faces.Contains(words[i])) sent.push_back(static_cast<unsigned>(i));
  } else {
    const auto elements = bme_FEMElemList::FromSet(mesh, set, bme_Unknown::Skip);
    for (std::size_t i = 0; i < words.size(); ++i)
      if (elements.Contains(bme_ElementOf(words[i]))) sent.push_back(static_cast<unsigned>(i));
  }
  // an element index is the word of its front
  rgnC_SetData data = isSurface ? bme_FEMFaceList(made, sent).ToSet() : bme_FEMElemList(made, sent).ToSet();
  data.SetIndex(set.GetSetIndex());
  data.SetLabel(set.GetSetLabel());
  data.SetInternal(set.IsInternal());
  return data;
}
} // namespace

bme_Edited bme_ExtractFaces(const bme_MeshAndSets& source, std::span<const unsigned> faces) {
  const bme_Mesh& mesh = source.mesh;
  bme_CheckNodes(mesh);
  const bme_FEMFaceList list(mesh, {faces.begin(), faces.end()});
  std::vector<std::vector<unsigned>> words(std::size(kTypes)); // by type, as classes come
  std::vector<unsigned char> isUsed(mesh.NodeData().NumNodes(), 0);
  wip_Poll poll(8192);
  for (std::size_t i = 0; i < list.Count(); ++i) {
    poll.Advance();
    const bme_LocalNodes nodes = list.FaceNodes(i);
    const std::size_t type = TypeOf(nodes.corners, nodes.count);
    if (type == std::size(kTypes))
      throw nex_TextException(
          "element " + std::to_string(bme_LabelOfElement(mesh.ElementData(), bme_ElementOf(list[i])))
          + ": no surface element has faces of " + std::to_string(nodes.corners) + " corners");
    words[type].push_back(static_cast<unsigned>(i));
    for (std::size_t k = 0; k < kTypes[type].nodes; ++k) isUsed[static_cast<std::size_t>(nodes.nodes[k])] = 1;
  }
  bme_Renumbering renumbering{bme_IndexMap::OfKept(isUsed), {}, {}};
  renumbering.elements.to.assign(mesh.ElementData().NumElements(), -1);
  renumbering.classes.to.assign(mesh.ElementData().NumClasses(), -1);
  bme_Classes classes;
  std::vector<unsigned> sources; // the faces by new element
  for (std::size_t type = 0; type < std::size(kTypes); ++type) {
    if (words[type].empty()) continue;
    cow_ArrayCOW<int> rows;
    rows.Reserve(words[type].size() * kTypes[type].nodes);
    std::vector<int> labels;
    for (const unsigned i : words[type]) {
      const bme_LocalNodes nodes = list.FaceNodes(i);
      for (std::size_t k = 0; k < kTypes[type].nodes; ++k)
        rows.Append(renumbering.nodes.to[static_cast<std::size_t>(nodes.nodes[k])]);
      labels.push_back(static_cast<int>(i) + 1);
      const unsigned element = bme_ElementOf(list[i]);
      if (renumbering.elements.to[element] < 0)
        renumbering.elements.to[element] = static_cast<int>(sources.size());
      renumbering.elements.from.push_back(static_cast<int>(element));
      sources.push_back(list[i]);
    }
    classes.push_back(std::make_unique<bme_ElementClass>(
        kTypes[type].label, cls_xp2DArrayInt(kTypes[type].nodes, std::move(rows))));
    classes.back()->SetMeshIndex(mesh.Id());
    classes.back()->SetUserElementLabels(std::span<const int>(labels));
    renumbering.classes.from.push_back(-1);
  }
  // nodes and their sets by the common way, of a mesh without elements
  bme_MeshAndSets bare{bme_MeshLike(mesh, mesh.NodeData(), {}), source.sets, source.notes};
  bme_Edited edited = bme_Renumber(bare, {renumbering.nodes, {}, {}});
  edited.result.mesh = bme_MeshLike(mesh, edited.result.mesh.NodeData(), std::move(classes));
  edited.renumbering = std::move(renumbering);
  edited.remarks.clear();
  for (std::size_t i = 0; i < source.sets.size(); ++i) {
    bme_NamedSet& set = edited.result.sets[i];
    if (set.kind != rgnC_NODE_SET) set.data = SendSet(source.sets[i].data, mesh, edited.result.mesh, sources);
    if (source.sets[i].data.NumSubset() > 0 && set.data.NumSubset() == 0)
      edited.remarks.push_back(bme_KindWord(set.kind) + (" set \"" + set.name) + "\" is empty now");
  }
  std::vector<bme_Annotation> kept; // of nodes; others are of elements that are no more
  for (const bme_Annotation& note : edited.result.notes.annotations.List())
    if (note.noted == bme_NODES_NOTED) kept.push_back(note);
  cow_List<bme_Annotation>& notes = edited.result.notes.annotations.ListToModify();
  notes = {};
  for (const bme_Annotation& note : kept) notes.Append(note);
  return edited;
}
