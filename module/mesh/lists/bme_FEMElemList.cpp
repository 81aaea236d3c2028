#include <CoreGeometry/bme_FEMElemList.h>

#include "bme_ListMaking.h"

#include <CoreGeometry/bme_FEMEdgeList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <numeric>

namespace {
constexpr bme_Noun kElementIndex = {"element index", "element indices"};

unsigned NumElements(const bme_Mesh& mesh) { return mesh.ElementData().NumElements(); }

std::vector<unsigned> ElementsOf(std::span<const unsigned> words) {
  std::vector<unsigned> elements(words.size());
  std::ranges::transform(words, elements.begin(), bme_ElementOf);
  return elements;
}
} // namespace

bme_FEMElemList::bme_FEMElemList(bme_LastingMesh mesh, std::vector<unsigned> elements)
    : bme_EntityList(mesh, bme_CheckedIndices(mesh, kElementIndex, NumElements(mesh), std::move(elements))) {}

bme_FEMElemList bme_FEMElemList::All(bme_LastingMesh mesh) { return {mesh, bme_UpTo(NumElements(mesh))}; }

bme_FEMElemList bme_FEMElemList::OfClass(bme_LastingMesh mesh, unsigned classIndex) {
  const bme_ElementClass& type = mesh->ElementData().GetClass(classIndex);
  std::vector<unsigned> elements(static_cast<std::size_t>(type.NumElements()));
  std::iota(elements.begin(), elements.end(), static_cast<unsigned>(type.FirstElementIndex()));
  return {mesh, std::move(elements)};
}

bme_FEMElemList bme_FEMElemList::FromLabels(bme_LastingMesh mesh, std::span<const int> labels,
                                            bme_Unknown unknown) {
  std::vector<unsigned> indices(labels.size());
  mesh->ElementData().GetMeshElemIndices(labels, indices);
  return {mesh,
          bme_KnownIndices(mesh, {"element label", "element labels"}, labels, std::move(indices), unknown)};
}

bme_FEMElemList bme_FEMElemList::FromSet(bme_LastingMesh mesh, const rgnC_SetData& set, bme_Unknown unknown) {
  using enum bme_SetSource::Kind;
  const bme_SetSource source(mesh, set, unknown);
  return source.Checked("elements", bme_FEMElemList(mesh, source.Elements({Element, Facetless, Face, Edge})));
}

bme_FEMElemList bme_FEMElemList::FromRegion(bme_LastingMesh mesh, const rgnC_Region& region,
                                            bme_Unknown unknown) {
  return bme_ListOfRegion<bme_FEMElemList>(mesh, region, unknown);
}

bme_FEMElemList bme_FEMElemList::InBox(bme_LastingMesh mesh, const gsl_BBox& box, bme_Touching touching) {
  return OfNodes(bme_FEMNodeList::InBox(mesh, box), touching);
}

bme_FEMElemList bme_FEMElemList::OfNodes(const bme_FEMNodeList& nodes, bme_Touching touching) {
  const bme_NodeMarks marks(nodes);
  std::vector<unsigned> elements;
  wip_Poll poll(bme_kWordsBetween);
  for (const auto& [position, type] : nodes.Mesh().ElementData().ElementClasses()) {
    const auto first = static_cast<unsigned>(type->FirstElementIndex());
    for (unsigned i = 0; i < static_cast<unsigned>(type->NumElements()); ++i) {
      poll.Advance();
      if (marks.Touch(bme_Row(*type, first + i), touching)) elements.push_back(first + i);
    }
  }
  return {nodes.Mesh(), std::move(elements)};
}

bme_FEMElemList bme_FEMElemList::OfFaces(const bme_FEMFaceList& faces) {
  return {faces.Mesh(), ElementsOf(faces.Words())};
}
bme_FEMElemList bme_FEMElemList::OfEdges(const bme_FEMEdgeList& edges) {
  return {edges.Mesh(), ElementsOf(edges.Words())};
}

rgnC_SetData bme_FEMElemList::ToSet() const {
  bme_SetMaker maker(Mesh(), res_ELEMENT_SET);
  bme_ForEachClassOfElements(
      Mesh(), Words(),
      [&](const bme_ElementClass& type, const shp_Shape*, std::span<const unsigned> elements) {
        maker.Add(type.ClassIndex(), res_ELEMENT_SET, {elements.begin(), elements.end()});
      });
  return maker.Made();
}

std::vector<int> bme_FEMElemList::Labels() const {
  return bme_ElementLabels(Mesh(), Words(), std::identity());
}
