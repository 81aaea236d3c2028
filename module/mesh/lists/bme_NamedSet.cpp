#include <CoreGeometry/bme_NamedSet.h>

#include "bme_ListMaking.h"

#include <BasicUtils/cls_WritePass.h>
#include <algorithm>

rgnC_SetType bme_KindOf(const rgnC_SetData& contents) noexcept {
  switch (contents.GetSetType()) {
  case res_NODE_SET: return rgnC_NODE_SET;
  case res_ELEMENT_SET: return rgnC_ELEMENT_SET;
  default: return rgnC_MESH_SURFACE;
  }
}

const char* bme_KindWord(rgnC_SetType kind) noexcept {
  return kind == rgnC_NODE_SET ? "node" : kind == rgnC_ELEMENT_SET ? "element" : "surface";
}

const bme_NamedSet* bme_FindSet(std::span<const bme_NamedSet> sets, const cow_String& wanted,
                                const cow_String& place) {
  const auto withKind = [](const bme_NamedSet& set) { return bme_KindWord(set.kind) + (":" + set.name); };
  std::vector<const bme_NamedSet*> meant;
  const auto find = [&](auto matches) {
    for (const bme_NamedSet& set : sets)
      if (matches(set)) meant.push_back(&set);
  };
  find([&](const bme_NamedSet& set) { return set.name == wanted; });
  if (meant.empty()) find([&](const bme_NamedSet& set) { return withKind(set) == wanted; });
  if (meant.empty()) find([&](const bme_NamedSet& set) { return set.root == wanted; });
  if (meant.empty()) return nullptr;
  const bool isOneKind =
      std::ranges::all_of(meant, [&](const bme_NamedSet* set) { return set->kind == meant.front()->kind; });
  const auto first = std::ranges::find_if(meant, [](auto* set) { return set->Root() == set->name; });
  if (meant.size() == 1) return meant.front();
  if (isOneKind && first != meant.end()) return *first; // the others are told apart by their roots
  cow_String list;
  for (const bme_NamedSet* set : meant) {
    const auto ofKind = std::ranges::count(meant, set->kind, &bme_NamedSet::kind);
    list += (list.empty() ? "" : ", ") + (ofKind == 1 ? withKind(*set) : set->Root());
  }
  throw nex_TextException(place + ": several sets \"" + wanted + "\": " + list);
}

void bme_PutSet(cls_WritePass& pass, const cow_String& mesh, const cow_String& name,
                const rgnC_SetData& contents) {
  bme_PutSet(pass, mesh, bme_NamedSet{name, bme_KindOf(contents), contents});
}

rgnC_Region bme_RegionOf(const cow_String& mesh, const bme_NamedSet& set) {
  if (mesh.empty() || set.name.empty())
    throw nex_TextException("a set is stored under the names of its mesh and of its own, not \"" + mesh
                            + "\" and \"" + set.name + "\"");
  rgnC_Region region;
  region.SetName(set.name);
  region.SetOwnerNames({mesh});
  region.SetInternal(set.data.IsInternal());
  region.SetSetTypeBits(1 << bme_KindOf(set.data));
  region.SetSetData(rgnC_SetDataShortcut(bme_kSetFolder + mesh + "/" + set.Root()));
  return region;
}

void bme_PutSet(cls_WritePass& pass, const cow_String& mesh, const bme_NamedSet& set) {
  const rgnC_Region region = bme_RegionOf(mesh, set);
  rgnC_SetData labelled = set.data;
  if (labelled.GetSetLabel().empty()) labelled.SetLabel(set.name);
  pass.Put(region.GetSetData().Path(), labelled);
  pass.Put(bme_kRegionFolder + mesh + "/" + set.Root(), region);
}

void bme_SetMaker::Add(int classIndex, res_SetTypeEnm type, const std::vector<int>& ids,
                       const std::vector<int>& facets) {
  set_.AppendSubset(rgnC_SubsetData(meshId_, classIndex, set_.NumSubset(), 0, type, false,
                                    rgnC_SubsetData::Ids(ids), rgnC_SubsetData::Ids(facets)));
}
