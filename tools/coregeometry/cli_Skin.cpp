#include "cli_Skin.h"

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FaceTriangles.h>

bool cli_IsPart(const bme_ElementClass& type, const cow_String& part) {
  const cow_String& category = type.CategoryLabel();
  return part.empty() || part == type.ElemTypeLabel() || part == category
         || part == category.substr(category.rfind('/') + 1);
}

namespace {
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
  bme_FEMElemList chosen(mesh);
  bool isThere = false;
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    if (!cli_IsPart(elements.GetClass(i), part)) continue;
    isThere = true;
    chosen = chosen.Union(bme_FEMElemList::OfClass(mesh, i));
  }
  if (!isThere)
    throw nex_TextException(place + ": no part \"" + part + "\", it holds " + PartNames(elements));
  const std::optional<bme_FaceSets> faces = bme_ComputeFaces(chosen, {.leaveOut = bme_LEAVE_OUT_UNSUPPORTED});
  if (!faces) throw nex_TextException(place + ": the outside of the mesh cannot be found");
  bme_FaceTriangles cut = bme_Triangulate(faces->external);
  if (cut.words.empty())
    throw nex_TextException(place + (part.empty() ? "" : ", part \"" + part + '"')
                            + ": has no shells or solids that could meet anything");
  cli_Skin skin{std::move(cut.nodes), std::move(cut.words)};
  for (unsigned& word : skin.element) word = bme_ElementOf(word);
  return skin;
}
