#include <CoreGeometry/bme_StoredSets.h>

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_Mesh.h>
#include <algorithm>
#include <set>

std::vector<bme_RegionRoot> bme_StoredRegions(const cls_Database& model) {
  const cls_ReadView view(model);
  std::vector<bme_RegionRoot> regions;
  for (const cow_String& root : model.RootsOf({rgnC_Region::TypeId()}))
    regions.push_back({root, *model.Get<rgnC_Region>(root)});
  return regions;
}

cow_String bme_OwnerText(const rgnC_Region& region) {
  cow_String text;
  for (const cow_String& owner : region.OwnerNames()) text += (text.empty() ? "" : "/") + owner;
  return text;
}

int bme_StoredMeshId(const cls_Database& model, const cow_String& root) {
  struct Id {
    explicit Id(const cls_ReadVisitor& mesh) : value(mesh.GetInt("id")) {}
    int value;
  };
  return model.GetValue<Id>(model.Resolve(root)).value;
}

bme_MeshIndex::bme_MeshIndex(const cls_Database& model) {
  for (const cow_String& root : model.RootsOf({bme_Mesh::TypeId()}))
    roots_.emplace(bme_StoredMeshId(model, root), root);
}

cow_String bme_MeshIndex::RootOf(const rgnC_Region& region, int meshId) const {
  const auto [first, end] = roots_.equal_range(meshId);
  if (first == end) return {};
  const cow_String owner = bme_kMeshFolder + bme_OwnerText(region);
  const auto own = std::find_if(first, end, [&](const auto& one) { return one.second == owner; });
  return own == end ? first->second : own->second;
}

void bme_AddBareSets(const cls_Database& model, std::vector<bme_RegionRoot>& regions) {
  const cls_ReadView view(model);
  std::set<cow_String> named;
  for (const bme_RegionRoot& one : regions) named.insert(one.region.GetSetData().Path());
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

rgnC_SetData bme_ContentsOf(const cls_Database& model, const rgnC_Region& region) {
  return region.GetSetData().IsDefined() ? *region.GetSetData().Resolve(model) : rgnC_SetData();
}

std::vector<bme_NamedSet> bme_SetsOfMesh(const cls_Database& model, const cow_String& root) {
  const cls_ReadView view(model);
  std::vector<bme_RegionRoot> regions = bme_StoredRegions(model);
  bme_AddBareSets(model, regions);
  const bme_MeshIndex meshes(model);
  std::vector<bme_NamedSet> sets;
  for (const auto& [regionRoot, region] : regions) {
    const rgnC_SetData contents = bme_ContentsOf(model, region);
    bool isOfMesh = contents.NumSubset() == 0 && bme_kMeshFolder + bme_OwnerText(region) == root;
    for (int i = 0; i < contents.NumSubset() && !isOfMesh; ++i)
      isOfMesh = meshes.RootOf(region, contents.SubSet(i).MeshIndex()) == root;
    if (!isOfMesh) continue;
    const cow_String folder = bme_kRegionFolder + bme_OwnerText(region) + "/";
    sets.push_back({region.Name(), bme_KindOf(contents), contents,
                    regionRoot.starts_with(folder) ? regionRoot.substr(folder.size()) : regionRoot});
  }
  std::ranges::stable_sort(sets, {}, [](const bme_NamedSet& set) { return set.data.GetSetIndex(); });
  return sets;
}
