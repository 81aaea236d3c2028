#include <CoreGeometry/bme_Pyramids.h>

#include <CoreGeometry/shp_Shape.h>

namespace {
struct Kind {
  int numNodes, ofHexahedron;
  std::string_view piece; ///< of the category, with the slash behind it
};
constexpr Kind kKinds[] = {{5, 8, "collapsed PYRAMID5/"}, {13, 20, "collapsed PYRAMID13/"}};

/// Position of the piece; npos when it is none of the category's.
std::size_t Find(const cow_String& category, std::string_view piece) {
  std::size_t at = category.find(piece);
  while (at != cow_String::npos && at > 0 && category[at - 1] != '/') at = category.find(piece, at + 1);
  return at;
}

bool AreCollapsed(const bme_ElementClass& elements, const shp_Shape& shape) {
  std::vector<std::size_t> apex; // nodes of the row
  for (std::size_t n = 0; n < shape.NodeCoordinates().size(); ++n)
    if (shape.NodeCoordinates()[n][2] == 1) apex.push_back(n);
  const std::span<const int> all = elements.ElementConnectivity().Const();
  const auto columns = static_cast<std::size_t>(elements.NumNodesPerElem());
  bool areCollapsed = true;
  for (std::size_t row = 0; row < all.size(); row += columns)
    for (const std::size_t node : apex) areCollapsed &= all[row + node] == all[row + apex[0]];
  return areCollapsed;
}

const Kind* KindOf(const bme_ElementClass& elements) {
  for (const Kind& kind : kKinds) {
    if (Find(elements.CategoryLabel(), kind.piece) == cow_String::npos) continue;
    const shp_Shape* shape = elements.Shape();
    if (!shape || shape->NumNodes() != kind.ofHexahedron || shape->NumGeomDims() != 3
        || shape->NumFaces() != 6)
      continue;
    if (AreCollapsed(elements, *shape)) return &kind;
  }
  return nullptr;
}
} // namespace

int bme_PyramidNodes(const bme_ElementClass& elements) {
  const Kind* kind = KindOf(elements);
  return kind ? kind->numNodes : 0;
}

cow_String bme_PyramidCategory(const cow_String& folder, const cow_String& name, int numNodes) {
  const auto& kind = kKinds[numNodes == kKinds[0].numNodes ? 0 : 1];
  return folder + (folder.empty() ? "" : "/") + cow_String(kind.piece) + name;
}

cow_String bme_PlainCategory(const bme_ElementClass& elements) {
  cow_String category = elements.CategoryLabel();
  if (const Kind* kind = KindOf(elements)) category.erase(Find(category, kind->piece), kind->piece.size());
  return category;
}
