#include "cli_Regions.h"

#include <BasicUtils/cls_ReadView.h>
#include <algorithm>
#include <set>

std::vector<cli_RegionRoot> cli_Regions(const cls_Database& model) {
  const cls_ReadView view(model);
  std::vector<cli_RegionRoot> regions;
  for (const cow_String& root : model.RootsOf({rgnC_Region::TypeId()}))
    regions.push_back({root, *model.Get<rgnC_Region>(root)});
  return regions;
}

cow_String cli_OwnerText(const rgnC_Region& region) {
  cow_String text;
  for (const cow_String& owner : region.OwnerNames()) text += (text.empty() ? "" : "/") + owner;
  return text;
}

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

int cli_MeshId(const cls_Database& model, const cow_String& root) {
  struct Id {
    explicit Id(const cls_ReadVisitor& mesh) : value(mesh.GetInt("id")) {}
    int value;
  };
  return model.GetValue<Id>(model.Resolve(root)).value;
}

cli_MeshIndex::cli_MeshIndex(const cls_Database& model) {
  for (const cow_String& root : cli_MeshRoots(model)) roots_.emplace(cli_MeshId(model, root), root);
}

cow_String cli_MeshIndex::RootOf(const rgnC_Region& region, int meshId) const {
  const auto [first, end] = roots_.equal_range(meshId);
  if (first == end) return {};
  const cow_String owner = cli_kMeshFolder + cli_OwnerText(region);
  const auto own = std::find_if(first, end, [&](const auto& one) { return one.second == owner; });
  return own == end ? first->second : own->second;
}

void cli_AddBareSets(const cls_Database& model, std::vector<cli_RegionRoot>& regions) {
  const cls_ReadView view(model);
  std::set<cow_String> named;
  for (const cli_RegionRoot& one : regions) named.insert(one.region.GetSetData().Path());
  for (const cow_String& root : model.RootsOf({rgnC_SetData::TypeId()})) {
    if (named.contains(root)) continue;
    const auto contents = model.Get<rgnC_SetData>(root);
    rgnC_Region region;
    region.SetName(contents->GetSetLabel());
    region.SetSetTypeBits(1 << bme_KindOf(*contents));
    region.SetSetData(rgnC_SetDataShortcut(root));
    regions.push_back({root, region});
  }
}

rgnC_SetData cli_ContentsOf(const cls_Database& model, const rgnC_Region& region) {
  return region.GetSetData().IsDefined() ? *region.GetSetData().Resolve(model) : rgnC_SetData();
}

std::vector<bme_NamedSet> cli_SetsOfMesh(const cls_Database& model, const cow_String& root) {
  const cls_ReadView view(model);
  std::vector<cli_RegionRoot> regions = cli_Regions(model);
  cli_AddBareSets(model, regions);
  const cli_MeshIndex meshes(model);
  std::vector<bme_NamedSet> sets;
  for (const auto& [regionRoot, region] : regions) {
    const rgnC_SetData contents = cli_ContentsOf(model, region);
    bool isOfMesh = contents.NumSubset() == 0 && cli_kMeshFolder + cli_OwnerText(region) == root;
    for (int i = 0; i < contents.NumSubset() && !isOfMesh; ++i)
      isOfMesh = meshes.RootOf(region, contents.SubSet(i).MeshIndex()) == root;
    if (!isOfMesh) continue;
    const cow_String folder = bme_kRegionFolder + cli_OwnerText(region) + "/";
    sets.push_back({region.Name(), bme_KindOf(contents), contents,
                    regionRoot.starts_with(folder) ? regionRoot.substr(folder.size()) : regionRoot});
  }
  std::ranges::stable_sort(sets, {}, [](const bme_NamedSet& set) { return set.data.GetSetIndex(); });
  return sets;
}
