#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  // two squares side by side that do not share their nodes 12 and 21, 13 and 24
  const std::vector<float> xyz = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 1, 0, 0, 2, 0, 0, 2, 1, 0, 1, 1, 1e-7F};
  const bme_Mesh mesh = bme_MeshBuilder(xyz, std::vector{11, 12, 13, 14, 21, 22, 23, 24})
                            .Add({.type = "S4", .connectivity = {0, 1, 2, 3, 4, 5, 6, 7}, .labels = {1, 2}})
                            .Build();
  const bme_Adjacency groups = bme_FindCoincidentNodes(mesh.NodeData(), 1e-5);
  for (std::size_t i = 0; i < groups.Count(); ++i) {
    const auto group = groups[i];
    std::cout << "at one place: "
              << bme_CompactLabels(bme_FEMNodeList(mesh, {group.begin(), group.end()}).Labels()) << '\n';
  }
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
