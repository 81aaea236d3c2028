#include "cli_Regions.h"

#include <algorithm>

const char* cli_KindText(int setTypeBits) {
  switch (setTypeBits) {
  case 1 << rgnC_GEOMETRY_SET: return "geometry set";
  case 1 << rgnC_NODE_SET: return "node set";
  case 1 << rgnC_ELEMENT_SET: return "element set";
  case 1 << rgnC_GEOMETRY_SURFACE: return "geometry surface";
  case 1 << rgnC_MESH_SURFACE: return "surface";
  default: return "set";
  }
}

long long cli_NumItems(const rgnC_SetData& set) {
  long long count = 0;
  for (int i = 0; i < set.NumSubset(); ++i) count += set.SubSet(i).NumItems();
  return count;
}

bool cli_HoldsElements(const rgnC_SetData& set, int meshId) {
  constexpr res_SetTypeEnm kOthers[] = {res_NODE_SET, res_SURFACE_NODE, res_SURFACE_ANALYTICAL};
  for (int i = 0; i < set.NumSubset(); ++i) {
    const rgnC_SubsetData& subset = set.SubSet(i);
    if (subset.MeshIndex() == meshId && subset.NumItems() > 0
        && std::ranges::count(kOthers, subset.SubsetType()) == 0)
      return true;
  }
  return false;
}
