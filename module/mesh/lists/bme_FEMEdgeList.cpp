#include <CoreGeometry/bme_FEMEdgeList.h>

#include "bme_ListMaking.h"

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/rgnC_Facet.h>

namespace {
bool IsEdge(const shp_Shape& shape, unsigned word) {
  return word >> 31 == 0 && bme_EdgeOf(word) < bme_NumEdges(shape, bme_FaceOf(word));
}
} // namespace

unsigned bme_WordOfEdge(const shp_Shape& shape, unsigned element, int face, int edge) {
  const auto ofFace = static_cast<unsigned>(face), ofEdge = static_cast<unsigned>(edge);
  return ofEdge < bme_NumEdges(shape, ofFace) ? bme_EdgeWord(element, ofFace, ofEdge) : bme_kNotFound;
}

bme_FEMEdgeList::bme_FEMEdgeList(bme_LastingMesh mesh, std::vector<unsigned> words)
    : bme_EntityList(mesh, bme_CheckedWords(mesh, {"edge word", "edge words"}, std::move(words), IsEdge)) {}

bme_FEMEdgeList bme_FEMEdgeList::All(bme_LastingMesh mesh) { return OfElements(bme_FEMElemList::All(mesh)); }

bme_FEMEdgeList bme_FEMEdgeList::FromLabels(bme_LastingMesh mesh, std::span<const bme_EdgeLabel> labels,
                                            bme_Unknown unknown) {
  const auto word = [](const shp_Shape& shape, unsigned element, const bme_EdgeLabel& label) {
    return bme_WordOfEdge(shape, element, label.face, label.edge);
  };
  const auto text = [](const bme_EdgeLabel& label) {
    return std::to_string(label.element) + " face " + std::to_string(label.face) + " edge "
           + std::to_string(label.edge);
  };
  return {mesh, bme_WordsOfLabels(mesh, labels, {"element edge", "element edges"}, unknown, word, text)};
}

bme_FEMEdgeList bme_FEMEdgeList::FromSet(bme_LastingMesh mesh, const rgnC_SetData& set, bme_Unknown unknown) {
  const bme_SetSource source(mesh, set, unknown);
  return source.Checked("edges", bme_FEMEdgeList(mesh, source.Edges()));
}

bme_FEMEdgeList bme_FEMEdgeList::FromRegion(bme_LastingMesh mesh, const rgnC_Region& region,
                                            bme_Unknown unknown) {
  return bme_ListOfRegion<bme_FEMEdgeList>(mesh, region, unknown);
}

bme_FEMEdgeList bme_FEMEdgeList::InBox(bme_LastingMesh mesh, const gsl_BBox& box, bme_Touching touching) {
  return OfNodes(bme_FEMNodeList::InBox(mesh, box), touching);
}

bme_FEMEdgeList bme_FEMEdgeList::OfNodes(const bme_FEMNodeList& nodes, bme_Touching touching) {
  const bme_FEMElemList near = bme_FEMElemList::OfNodes(nodes, bme_Touching::AnyNode);
  return bme_ListTouching(OfElements(near), nodes, touching, bme_NodesOfEdge);
}

bme_FEMEdgeList bme_FEMEdgeList::OfElements(const bme_FEMElemList& elements) {
  bme_CheckAddressable(elements.Mesh(), elements.Words());
  std::vector<unsigned> edges;
  wip_Poll poll(bme_kWordsBetween);
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass&, const shp_Shape* shape, std::span<const unsigned> words) {
        const unsigned count = shape ? static_cast<unsigned>(shape->EdgesPerFace().size()) : 0;
        for (const unsigned element : words) {
          poll.Advance();
          for (unsigned face = 0; face < count; ++face)
            for (unsigned edge = 0; edge < bme_NumEdges(*shape, face); ++edge)
              edges.push_back(bme_EdgeWord(element, face, edge));
        }
      });
  return {elements.Mesh(), std::move(edges)};
}

bme_FEMEdgeList bme_FEMEdgeList::OfFaces(const bme_FEMFaceList& faces) {
  std::vector<unsigned> edges;
  wip_Poll poll(bme_kWordsBetween);
  bme_ForEachClassOfWords(
      faces.Mesh(), faces.Words(),
      [&](const bme_ElementClass&, const shp_Shape* shape, std::span<const unsigned> words) {
        for (const unsigned word : words) {
          poll.Advance();
          for (unsigned edge = 0; edge < bme_NumEdges(*shape, bme_FaceOf(word)); ++edge)
            edges.push_back(bme_EdgeWord(bme_ElementOf(word), bme_FaceOf(word), edge));
        }
      });
  return {faces.Mesh(), std::move(edges)};
}

rgnC_SetData bme_FEMEdgeList::ToSet() const {
  return bme_SetOfWords(Mesh(), Words(), res_SURFACE_EDGE, [](const shp_Shape&, unsigned word) {
    return rgnC_EdgeFacetId({static_cast<int>(bme_FaceOf(word)), static_cast<int>(bme_EdgeOf(word))});
  });
}

std::vector<bme_EdgeLabel> bme_FEMEdgeList::Labels() const {
  const std::vector<int> elements = bme_ElementLabels(Mesh(), Words(), bme_ElementOf);
  std::vector<bme_EdgeLabel> labels(Count());
  for (std::size_t i = 0; i < Count(); ++i)
    labels[i] = {elements[i], static_cast<int>(bme_FaceOf(Words()[i])),
                 static_cast<int>(bme_EdgeOf(Words()[i]))};
  return labels;
}

bme_LocalNodes bme_FEMEdgeList::EdgeNodes(std::size_t i) const {
  const unsigned word = Words()[i];
  const bme_ElementClass& type = Mesh().ElementData().GetElemClass(bme_ElementOf(word));
  const shp_Shape& shape = *type.Shape();
  const int face = static_cast<int>(bme_FaceOf(word)), edge = static_cast<int>(bme_EdgeOf(word));
  bme_LocalNodes result;
  result.count = static_cast<unsigned>(shape.EdgeNodes(face, edge).size());
  shape.EdgeConnectivity(bme_Row(type, bme_ElementOf(word)), face, edge, result.nodes);
  return result;
}
