#include "cli_Skin.h"

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>

bool cli_IsPart(const bme_ElementClass& type, const cow_String& part) {
  const cow_String& category = type.CategoryLabel();
  return part.empty() || part == type.ElemTypeLabel() || part == category
         || part == category.substr(category.rfind('/') + 1);
}

std::vector<cow_String> cli_PartNames(const bme_ElementData& elements) {
  std::vector<cow_String> names;
  const auto add = [&](const cow_String& name) {
    if (!name.empty() && std::ranges::find(names, name) == names.end()) names.push_back(name);
  };
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const cow_String& category = elements.GetClass(i).CategoryLabel();
    add(elements.GetClass(i).ElemTypeLabel());
    add(category.substr(category.rfind('/') + 1));
  }
  return names;
}

namespace {
bme_FEMFaceList Outside(const bme_FEMElemList& elements, const cow_String& place) {
  bme_FaceOptions options;
  options.exclude = bme_EXCLUDE_UNSUPPORTED;
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
  const std::vector<bme_NamedSet> sets = bme_SetsOfMesh(model, root);
  const bme_NamedSet* set = bme_FindSet(sets, part, place);
  if (!set) {
    std::vector<cow_String> names = cli_PartNames(elements);
    for (const bme_NamedSet& one : sets)
      if (one.kind != rgnC_NODE_SET) names.push_back(one.name);
    throw nex_TextException(place + ": no part \"" + part + '"' + atr_Alternatives(part, names));
  }
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
