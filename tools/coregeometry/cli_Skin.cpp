#include "cli_Skin.h"

#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <array>

bool cli_IsPart(const bme_ElementClass& type, const cow_String& part) {
  const cow_String& category = type.CategoryLabel();
  return part.empty() || part == type.ElemTypeLabel() || part == category
         || part == category.substr(category.rfind('/') + 1);
}

namespace {
/// A face of an element: its corners in order, then -1.
struct Face {
  std::array<int, 4> corners{-1, -1, -1, -1};
  std::array<int, 4> key{}; ///< the corners sorted: equal for the same face of two elements
  unsigned element = 0;
};

Face MakeFace(const shp_Shape& shape, std::span<const int> nodes, int face, unsigned element) {
  Face result;
  result.element = element;
  const std::span<const int> local = shape.FaceNodes(face);
  const int corners = std::min(shape.CornersPerFace()[static_cast<std::size_t>(face)], 4);
  for (std::size_t i = 0; i < static_cast<std::size_t>(corners); ++i)
    result.corners[i] = nodes[static_cast<std::size_t>(local[i])];
  result.key = result.corners;
  std::ranges::sort(result.key);
  return result;
}

void Cut(const Face& face, cli_Skin& skin) {
  const auto& c = face.corners;
  if (c[2] < 0) return; // of a line or a point
  skin.triangles.insert(skin.triangles.end(), {c[0], c[1], c[2]});
  skin.element.push_back(face.element);
  if (c[3] < 0) return;
  skin.triangles.insert(skin.triangles.end(), {c[0], c[2], c[3]});
  skin.element.push_back(face.element);
}

void CheckNodes(const bme_Mesh& mesh, std::span<const int> nodes, unsigned element, const cow_String& place) {
  for (const int node : nodes)
    if (node < 0 || static_cast<unsigned>(node) >= mesh.NodeData().NumNodes())
      throw nex_TextException(place + ": element index " + std::to_string(element) + ": node index "
                              + std::to_string(node) + " is not one of "
                              + std::to_string(mesh.NodeData().NumNodes()) + " nodes");
}

cow_String PartNames(const bme_ElementData& elements) {
  cow_String names;
  for (unsigned i = 0; i < elements.NumClasses(); ++i)
    names += (i ? ", " : "") + elements.GetClass(i).ElemTypeLabel() + " \""
             + elements.GetClass(i).CategoryLabel() + '"';
  return names;
}
} // namespace

cli_Skin cli_MakeSkin(const bme_Mesh& mesh, const cow_String& part, const cow_String& place) {
  const bme_ElementData& elements = mesh.ElementData();
  cli_Skin skin;
  std::vector<Face> ofSolids;
  bool isThere = false;
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    if (!cli_IsPart(type, part)) continue;
    isThere = true;
    const shp_Shape* shape = type.Shape();
    if (!shape || shape->NumGeomDims() < 2) continue;
    for (int e = 0; e < type.NumElements(); ++e) {
      const std::span<const int> nodes = type.Connectivity(e);
      const unsigned element = static_cast<unsigned>(type.FirstElementIndex() + e);
      CheckNodes(mesh, nodes, element, place);
      if (shape->NumGeomDims() == 2)
        Cut(MakeFace(*shape, nodes, 0, element), skin);
      else
        for (int face = 0; face < shape->NumFaces(); ++face)
          ofSolids.push_back(MakeFace(*shape, nodes, face, element));
    }
  }
  std::ranges::stable_sort(ofSolids, {}, &Face::key);
  for (auto face = ofSolids.begin(); face != ofSolids.end();) {
    const auto next = std::find_if(face, ofSolids.end(), [&](const Face& f) { return f.key != face->key; });
    if (next - face == 1) Cut(*face, skin);
    face = next;
  }
  if (!isThere)
    throw nex_TextException(place + ": no part \"" + part + "\", it holds " + PartNames(elements));
  if (skin.triangles.empty())
    throw nex_TextException(place + (part.empty() ? "" : ", part \"" + part + '"')
                            + ": has no shells or solids that could meet anything");
  return skin;
}
