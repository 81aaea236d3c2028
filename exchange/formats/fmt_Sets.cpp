#include "fmt_Sets.h"

bme_NamedSet fmt_MakeSet(const cow_String& name, bool isOfNodes, int index, int meshId,
                         std::span<const fmt_SetPart> parts) {
  bme_NamedSet made{name, isOfNodes ? rgnC_NODE_SET : rgnC_ELEMENT_SET, {}};
  const res_SetTypeEnm type = isOfNodes ? res_NODE_SET : res_ELEMENT_SET;
  made.data.SetLabel(name);
  made.data.SetIndex(index);
  made.data.SetType(type);
  for (const fmt_SetPart& part : parts)
    if (!part.ids.empty())
      made.data.AppendSubset(rgnC_SubsetData(meshId, part.classIndex, made.data.NumSubset(), index, type,
                                             false, rgnC_SubsetData::Ids(part.ids), {}));
  made.data.SetConstructionOk(true);
  return made;
}
