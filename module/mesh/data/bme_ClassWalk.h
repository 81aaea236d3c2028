// bme_ClassWalk.h: words of a list class by class, and what classes say about faces
#pragma once

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_Shape.h>
#include <array>
#include <functional>

/// Elements, faces or edges between two questions whether to stop, where one is a matter of nanoseconds.
inline constexpr std::size_t bme_kWordsBetween = 65536;

/// Calls visit(class, shape or null, words) for every class with words; `elementOf` gives the element of one.
template<class Visit, class ElementOf>
void bme_ForEachClass(const bme_Mesh& mesh, std::span<const unsigned> words, Visit visit,
                      ElementOf elementOf) {
  const bme_ElementData& elements = mesh.ElementData();
  while (!words.empty()) {
    const bme_ElementClass& type = elements.GetElemClass(elementOf(words.front()));
    const auto end = static_cast<unsigned>(type.FirstElementIndex() + type.NumElements());
    const auto last = std::ranges::partition_point(words, [&](unsigned w) { return elementOf(w) < end; });
    const auto count = static_cast<std::size_t>(last - words.begin());
    visit(type, type.Shape(), words.first(count));
    words = words.subspan(count);
  }
}
/// Words of faces or edges.
template<class Visit>
void bme_ForEachClassOfWords(const bme_Mesh& mesh, std::span<const unsigned> words, Visit visit) {
  bme_ForEachClass(mesh, words, visit, bme_ElementOf);
}
/// Mesh element indices.
template<class Visit>
void bme_ForEachClassOfElements(const bme_Mesh& mesh, std::span<const unsigned> elements, Visit visit) {
  bme_ForEachClass(mesh, elements, visit, std::identity());
}

/// Connectivity of the element with a mesh index, which must be of the class.
inline std::span<const int> bme_Row(const bme_ElementClass& type, unsigned element) noexcept {
  const auto columns = static_cast<std::size_t>(type.NumNodesPerElem());
  return type.ElementConnectivity().Const().subspan(
      (element - static_cast<unsigned>(type.FirstElementIndex())) * columns, columns);
}

/// Calls visit(word, mesh nodes) for words of faces or edges; localNodes(shape, word) chooses the nodes.
template<class LocalNodes, class Visit>
void bme_ForEachWord(const bme_Mesh& mesh, std::span<const unsigned> words, LocalNodes localNodes,
                     Visit visit) {
  std::array<int, bme_LocalNodes::kMost> nodes{};
  wip_Poll poll(bme_kWordsBetween);
  bme_ForEachClassOfWords(
      mesh, words, [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> some) {
        for (const unsigned word : some) {
          poll.Advance();
          const std::span<const int> row = bme_Row(type, bme_ElementOf(word)),
                                     local = localNodes(*shape, word);
          for (std::size_t i = 0; i < local.size(); ++i) nodes[i] = row[static_cast<std::size_t>(local[i])];
          visit(word, std::span<const int>(nodes).first(local.size()));
        }
      });
}

/// Faces that take part in lists: all of solids, one of surface elements, none of lines and points.
inline unsigned bme_NumListedFaces(const shp_Shape& shape) noexcept {
  const bool hasTables = !shape.FaceNodes(0).empty();
  if (!hasTables || shape.NumGeomDims() < 2) return 0;
  return shape.NumGeomDims() == 2 ? 1U : static_cast<unsigned>(shape.NumFaces());
}
inline unsigned bme_NumEdges(const shp_Shape& shape, unsigned face) noexcept {
  return face < shape.EdgesPerFace().size() ? static_cast<unsigned>(shape.EdgesPerFace()[face]) : 0;
}
inline std::span<const int> bme_Corners(const shp_Shape& shape, unsigned face, int ring = 0) noexcept {
  return shape.FaceNodes(static_cast<int>(face), ring)
      .first(static_cast<std::size_t>(shape.CornersPerFace()[face]));
}

/// Of the face or edge of a word.
inline std::span<const int> bme_NodesOfFace(const shp_Shape& shape, unsigned word) noexcept {
  return shape.FaceNodes(static_cast<int>(bme_FaceOf(word)));
}
inline std::span<const int> bme_NodesOfEdge(const shp_Shape& shape, unsigned word) noexcept {
  return shape.EdgeNodes(static_cast<int>(bme_FaceOf(word)), static_cast<int>(bme_EdgeOf(word)));
}

/// Local nodes that are corners of a face of the element, or its ends; all nodes of a shape without faces.
std::vector<int> bme_CornersOfElement(const shp_Shape& shape);
