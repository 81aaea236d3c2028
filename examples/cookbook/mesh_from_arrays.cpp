// mesh_from_arrays.cpp: two bricks from arrays, with a set, as a model
//
//   mesh_from_arrays two_bricks.cgdb
#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/gsl_BBox.h>
#include <iostream>

int main(int argc, char** argv) try {
  const DDB_CoreGeometry library;
  std::vector<float> xyz;
  std::vector<int> labels;
  for (int i = 0; i < 12; ++i) {
    xyz.insert(xyz.end(), {float(i & 1), float(i >> 1 & 1), float(i >> 2)});
    labels.push_back(100 + i);
  }
  const bme_Mesh mesh = bme_MeshBuilder(xyz, labels)
                            .Add({.type = "C3D8R",
                                  .connectivity = {0, 1, 3, 2, 4, 5, 7, 6, 4, 5, 7, 6, 8, 9, 11, 10},
                                  .labels = {1, 2},
                                  .category = "bricks"})
                            .Build(1);
  const bme_FEMNodeList base = bme_FEMNodeList::InBox(mesh, gsl_BBox(gsl_Point(0, 0, 0), gsl_Point(1, 1, 0)));
  mesh.Print(std::cout);
  std::cout << "the base has the nodes " << bme_CompactLabels(base.Labels()) << '\n';

  cls_CreateModel(argc > 1 ? argv[1] : "two_bricks.cgdb", {}, [&](const cls_Database&, cls_WritePass& pass) {
    pass.Put("meshes/bricks", mesh);
    bme_PutSet(pass, "bricks", "base", base.ToSet());
  });
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
