#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/fmt_Format.h>
#include <algorithm>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");
  const bme_Mesh& mesh = *read.mesh;

  const auto seat = std::ranges::find(read.sets, "seat", &bme_NamedSet::name);
  if (seat == read.sets.end()) return 1;
  const bme_FEMFaceList faces = bme_FEMFaceList::FromSet(mesh, seat->data);
  const bme_FEMNodeList nodes = bme_FEMNodeList::OfFaces(faces, bme_NodesOf::All);
  const bme_FEMNodeList corners = bme_FEMNodeList::OfFaces(faces, bme_NodesOf::Corners);
  std::cout << faces.Count() << " faces, " << nodes.Count() << " nodes, " << corners.Count()
            << " of them corners\n";
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
