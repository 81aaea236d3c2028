#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/rgnC_Region.h>
#include <iostream>

int main() {
  const DDB_CoreGeometry library;
  auto* nodes = new bme_NodeData;
  for (int i = 0; i < 8; ++i) nodes->AppendNode(float(i & 1), float(i >> 1 & 1), float(i >> 2), 100 + i);
  int brick[] = {0, 1, 3, 2, 4, 5, 7, 6}, *rows[] = {brick};
  bme_ElementClass* classes[] = {new bme_ElementClass(1, "C3D8R", rows)};
  const bme_Mesh cube(1, nodes, new bme_ElementData(classes, 1), bme_NATIVE_MESH, nullptr);

  const int base[] = {0, 1, 2, 3}; // a region names a set, whose ids are node indices of mesh 1
  rgnC_SetData set;
  set.AppendSubset({1, rgnC_SubsetData::kNoClass, 0, 0, res_NODE_SET, false, rgnC_SubsetData::Ids(base), {}});
  rgnC_Region region;
  region.SetName("Base");
  region.SetSetData(rgnC_SetDataShortcut("sets/Cube/Base"));

  cls_Database model = cls_Database::Create("cube.cgdb");
  cls_WritePass pass(model); // one transaction: all of it or nothing
  pass.Put("meshes/Cube", cube);
  pass.Put("sets/Cube/Base", set);
  pass.Put("regions/Cube/Base", region);
  pass.Commit();

  const auto mesh = model.Get<bme_Mesh>("meshes/Cube");
  mesh->Print(std::cout);
  std::cout << "node 105 has index " << mesh->NodeData().GetMeshNodeIndex(105) << '\n';
  const ddr_DatabaseRoot::Scope here(model); // where references by path lead
  const rgnC_SetData found = model.Get<rgnC_Region>("regions/Cube/Base")->ConstSet();
  std::cout << "the base has " << found.SubSet(0).NumItems() << " nodes\n";
}
