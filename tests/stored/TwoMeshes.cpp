#include "TwoMeshes.h"

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/rgnC_Region.h>
#include <memory>

void WriteTwoMeshes(cls_Database& database) {
  constexpr int kCells = 6, kWidth = kCells + 1;
  std::vector<int> rows;
  for (int k = 0; k < kCells * kCells * kCells; ++k) {
    const int corner = k % kCells + kWidth * (k / kCells % kCells + kWidth * (k / kCells / kCells));
    for (const int layer : {0, kWidth * kWidth})
      for (const int offset : {0, 1, 1 + kWidth, kWidth}) rows.push_back(corner + offset + layer);
  }
  const cow_ArrayCOW<int> connectivity(rows);
  cls_WritePass pass(database);
  for (const auto& [name, id, scale] : {std::tuple{"Left", 1, 1.F}, {"Right", 2, 3.F}}) {
    std::vector<float> xyz;
    for (int k = 0; k < kWidth * kWidth * kWidth; ++k)
      for (const int step : {k % kWidth, k / kWidth % kWidth, k / kWidth / kWidth})
        xyz.push_back(scale * static_cast<float>(step));
    bme_ElementClass* classes[] = {new bme_ElementClass("C3D8", cls_xp2DArrayInt(8, connectivity))};
    const bme_Mesh mesh(id, new bme_NodeData(uti_CoordCont3D(cow_ArrayCOW<float>(xyz))),
                        new bme_ElementData(classes, 1), bme_NATIVE_MESH, nullptr);
    pass.Put("meshes/" + cow_String(name), mesh);
    for (const auto& [setName, kind] : {std::pair{"fixed", res_NODE_SET}, {"core", res_ELEMENT_SET}}) {
      std::vector<int> ids;
      for (int i = id; i < 200; i += 1 + id) ids.push_back(i);
      rgnC_SetData set;
      set.AppendSubset({id,
                        kind == res_NODE_SET ? rgnC_SubsetData::kNoClass : 0,
                        0,
                        0,
                        kind,
                        false,
                        rgnC_SubsetData::Ids(ids),
                        {}});
      const cow_String place = cow_String(name) + "/" + setName;
      rgnC_Region region;
      region.SetName(setName);
      region.SetSetData(rgnC_SetDataShortcut("sets/" + place));
      pass.Put("sets/" + place, set);
      pass.Put("regions/" + place, region);
    }
  }
  pass.Commit();
}
