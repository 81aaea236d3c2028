#include <CoreGeometry/bme_NamedSet.h>

#include "bme_ListMaking.h"

#include <BasicUtils/cls_WritePass.h>

rgnC_SetType bme_KindOf(const rgnC_SetData& contents) noexcept {
  switch (contents.GetSetType()) {
  case res_NODE_SET: return rgnC_NODE_SET;
  case res_ELEMENT_SET: return rgnC_ELEMENT_SET;
  default: return rgnC_MESH_SURFACE;
  }
}

void bme_PutSet(cls_WritePass& pass, const cow_String& mesh, const cow_String& name,
                const rgnC_SetData& contents) {
  if (mesh.empty() || name.empty())
    throw nex_TextException("a set is stored under the names of its mesh and of its own, not \"" + mesh
                            + "\" and \"" + name + "\"");
  const cow_String place = mesh + "/" + name, setRoot = bme_kSetFolder + place;
  rgnC_SetData labelled = contents;
  if (labelled.GetSetLabel().empty()) labelled.SetLabel(name);
  rgnC_Region region;
  region.SetName(name);
  region.SetOwnerNames({mesh});
  region.SetSetTypeBits(1 << bme_KindOf(contents));
  region.SetSetData(rgnC_SetDataShortcut(setRoot));
  pass.Put(setRoot, labelled);
  pass.Put(bme_kRegionFolder + place, region);
}

void bme_SetMaker::Add(int classIndex, res_SetTypeEnm type, const std::vector<int>& ids,
                       const std::vector<int>& facets) {
  set_.AppendSubset(rgnC_SubsetData(meshId_, classIndex, set_.NumSubset(), 0, type, false,
                                    rgnC_SubsetData::Ids(ids), rgnC_SubsetData::Ids(facets)));
}
