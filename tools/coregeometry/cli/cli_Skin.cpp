#include "cli_Skin.h"

#include <CoreGeometry/bme_ExternalFaces.h>
#include <algorithm>

bool cli_IsPart(const bme_ElementClass& type, const cow_String& part) {
  const cow_String& category = type.CategoryLabel();
  return part.empty() || part == type.ElemTypeLabel() || part == category
         || part == category.substr(category.rfind('/') + 1);
}

namespace {
cow_String PartNames(const bme_ElementData& elements, std::span<const bme_NamedSet> sets) {
  cow_String names;
  const auto add = [&](const cow_String& name) { names += (names.empty() ? "" : ", ") + name; };
  for (unsigned i = 0; i < elements.NumClasses(); ++i)
    add(elements.GetClass(i).ElemTypeLabel() + " \"" + elements.GetClass(i).CategoryLabel() + '"');
  for (const bme_NamedSet& set : sets)
    if (set.kind != rgnC_NODE_SET) add(set.name);
  return names;
}

bme_FEMFaceList Outside(const bme_FEMElemList& elements, const cow_String& place) {
  bme_FaceOptions options;
  options.leaveOut = bme_LEAVE_OUT_UNSUPPORTED;
  const std::optional<bme_FaceSets> faces = bme_ComputeFaces(elements, options);
  if (!faces)
    throw nex_TextException(place + ": the elements cannot be worked on; \"coregeometry check\" says why");
  return faces->external;
}

bme_FEMFaceList FacesOf(const cls_Database& model, const cow_String& root, const bme_Mesh& mesh,
                        const cow_String& part, const cow_String& place) {
  const bme_ElementData& elements = mesh.ElementData();
  bme_FEMElemList chosen(mesh);
  bool isThere = part.empty();
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    if (!cli_IsPart(elements.GetClass(i), part)) continue;
    isThere = true;
    chosen = chosen.Union(bme_FEMElemList::OfClass(mesh, i));
  }
  if (isThere) return Outside(chosen, place);
  const std::vector<bme_NamedSet> sets = cli_SetsOfMesh(model, root);
  const auto set = std::ranges::find(sets, part, &bme_NamedSet::name);
  if (set == sets.end())
    throw nex_TextException(place + ": no part \"" + part + "\", it holds " + PartNames(elements, sets));
  if (set->kind == rgnC_MESH_SURFACE) return bme_FEMFaceList::FromSet(mesh, set->data);
  return Outside(bme_FEMElemList::FromSet(mesh, set->data), place);
}
} // namespace

bme_FaceTriangles cli_MakeSkin(const cls_Database& model, const cow_String& root, const bme_Mesh& mesh,
                               const cow_String& part) {
  const cow_String place = model.File() + ", " + root;
  bme_FaceTriangles skin = bme_Triangulate(FacesOf(model, root, mesh, part, place));
  if (skin.nodes.empty())
    throw nex_TextException(place + (part.empty() ? "" : ", part \"" + part + '"')
                            + ": has no shells or solids that could meet anything");
  return skin;
}
