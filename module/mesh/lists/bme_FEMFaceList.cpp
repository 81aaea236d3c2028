#include <CoreGeometry/bme_FEMFaceList.h>

#include "bme_ListMaking.h"

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/rgnC_Facet.h>

namespace {
bool IsFace(const shp_Shape& shape, unsigned word) {
  return bme_FaceOf(word) < bme_NumListedFaces(shape)
         && word >> 29 <= static_cast<unsigned>(shape.NumGeomDims() == 2);
}
} // namespace

unsigned bme_WordOfFace(const shp_Shape& shape, unsigned element, int face, bool isBack) {
  if (static_cast<unsigned>(face) >= bme_NumListedFaces(shape)) return bme_kNotFound;
  const unsigned word = bme_FaceWord(element, static_cast<unsigned>(face), isBack);
  return IsFace(shape, word) ? word : bme_kNotFound;
}

bme_FEMFaceList::bme_FEMFaceList(bme_LastingMesh mesh, std::vector<unsigned> words)
    : bme_EntityList(mesh, bme_CheckedWords(mesh, {"face word", "face words"}, std::move(words), IsFace)) {}

bme_FEMFaceList bme_FEMFaceList::All(bme_LastingMesh mesh) { return OfElements(bme_FEMElemList::All(mesh)); }

bme_FEMFaceList bme_FEMFaceList::FromLabels(bme_LastingMesh mesh, std::span<const bme_FaceLabel> labels,
                                            bme_Unknown unknown) {
  const auto word = [](const shp_Shape& shape, unsigned element, const bme_FaceLabel& label) {
    return bme_WordOfFace(shape, element, label.face, label.isBack);
  };
  const auto text = [](const bme_FaceLabel& label) {
    return std::to_string(label.element) + " face " + std::to_string(label.face)
           + (label.isBack ? " back" : "");
  };
  return {mesh, bme_WordsOfLabels(mesh, labels, {"element face", "element faces"}, unknown, word, text)};
}

bme_FEMFaceList bme_FEMFaceList::FromSet(bme_LastingMesh mesh, const rgnC_SetData& set, bme_Unknown unknown) {
  const bme_SetSource source(mesh, set, unknown);
  std::vector<unsigned> words = source.Faces();
  const std::vector<unsigned> others = source.FacesOfFacetless();
  words.insert(words.end(), others.begin(), others.end());
  return source.Checked("faces", bme_FEMFaceList(mesh, std::move(words)));
}

bme_FEMFaceList bme_FEMFaceList::FromRegion(bme_LastingMesh mesh, const rgnC_Region& region,
                                            bme_Unknown unknown) {
  return bme_ListOfRegion<bme_FEMFaceList>(mesh, region, unknown);
}

bme_FEMFaceList bme_FEMFaceList::InBox(bme_LastingMesh mesh, const gsl_BBox& box, bme_Touching touching) {
  return OfNodes(bme_FEMNodeList::InBox(mesh, box), touching);
}

bme_FEMFaceList bme_FEMFaceList::OfNodes(const bme_FEMNodeList& nodes, bme_Touching touching) {
  const bme_FEMElemList near = bme_FEMElemList::OfNodes(nodes, bme_Touching::AnyNode);
  return bme_ListTouching(OfElements(near), nodes, touching, bme_NodesOfFace);
}

bme_FEMFaceList bme_FEMFaceList::OfElements(const bme_FEMElemList& elements) {
  bme_CheckAddressable(elements.Mesh(), elements.Words());
  std::vector<unsigned> faces;
  wip_Poll poll(bme_kWordsBetween);
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass&, const shp_Shape* shape, std::span<const unsigned> words) {
        const unsigned count = shape ? bme_NumListedFaces(*shape) : 0;
        for (const unsigned element : words) {
          poll.Advance();
          for (unsigned face = 0; face < count; ++face) faces.push_back(bme_FaceWord(element, face));
        }
      });
  return {elements.Mesh(), std::move(faces)};
}

rgnC_SetData bme_FEMFaceList::ToSet() const {
  return bme_SetOfWords(Mesh(), Words(), res_SURFACE_FACET, [](const shp_Shape& shape, unsigned word) {
    return rgnC_FacetId(shape, {static_cast<int>(bme_FaceOf(word)), bme_IsBack(word)});
  });
}

std::vector<bme_FaceLabel> bme_FEMFaceList::Labels() const {
  const std::vector<int> elements = bme_ElementLabels(Mesh(), Words(), bme_ElementOf);
  std::vector<bme_FaceLabel> labels(Count());
  for (std::size_t i = 0; i < Count(); ++i)
    labels[i] = {elements[i], static_cast<int>(bme_FaceOf(Words()[i])), bme_IsBack(Words()[i])};
  return labels;
}

bme_LocalNodes bme_FEMFaceList::FaceNodes(std::size_t i) const {
  const unsigned word = Words()[i];
  const bme_ElementClass& type = Mesh().ElementData().GetElemClass(bme_ElementOf(word));
  const shp_Shape& shape = *type.Shape();
  const int face = static_cast<int>(bme_FaceOf(word));
  bme_LocalNodes result;
  result.count = static_cast<unsigned>(shape.FaceNodes(face).size());
  result.corners = static_cast<unsigned>(shape.CornersPerFace()[bme_FaceOf(word)]);
  shape.FaceConnectivity(bme_Row(type, bme_ElementOf(word)), face, result.nodes);
  if (bme_IsBack(word)) shape.ReverseFaceConnectivity(std::span(result.nodes).first(result.count), face);
  return result;
}
