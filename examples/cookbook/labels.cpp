#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/fmt_Format.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");
  const bme_NodeData& nodes = read.mesh->NodeData();

  // one label to an index and back
  const unsigned index = nodes.GetMeshNodeIndex(1010);
  float x = 0, y = 0, z = 0;
  if (index == bme_kNotFound || !nodes.GetNodalCoord(index, x, y, z)) return 1;
  std::cout << "node " << nodes.UserNodeLabels().ConstGet(static_cast<int>(index)) << " has the index "
            << index << " and stands at " << x << ' ' << y << ' ' << z << '\n';

  // many at a time; what is not there is bme_kNotFound, or an error of a list
  const std::vector<int> labels = bme_LabelsOfText("1000:1010:2,5");
  std::vector<unsigned> indices(labels.size());
  nodes.GetMeshNodeIndices(labels, indices);
  for (const unsigned one : indices) std::cout << (one == bme_kNotFound ? "- " : std::to_string(one) + " ");
  std::cout << '\n';
  try {
    const bme_FEMNodeList list = bme_FEMNodeList::FromLabels(*read.mesh, labels);
  } catch (const nex_TextException& error) {
    std::cout << error.Message() << '\n';
  }
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
