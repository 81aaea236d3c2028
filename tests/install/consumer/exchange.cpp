// Writes a mesh as a file for other programs and reads it back.
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/vtu_Write.h>
#include <filesystem>

int main(int, char** arguments) {
  const DDB_CoreGeometry library;
  auto* nodes = new bme_NodeData;
  for (int i = 0; i < 8; ++i) nodes->AppendNode(float(i & 1), float(i >> 1 & 1), float(i >> 2), 100 + i);
  int brick[] = {0, 1, 3, 2, 4, 5, 7, 6}, *rows[] = {brick};
  bme_ElementClass* classes[] = {new bme_ElementClass(1, "C3D8R", rows)};
  const bme_Mesh cube(1, nodes, new bme_ElementData(classes, 1), bme_NATIVE_MESH, nullptr);

  const cow_String exo = cow_String(arguments[0]) + ".exo", vtu = cow_String(arguments[0]) + ".vtu";
  uti_OutputFile file(exo, {.force = true}), other(vtu, {.force = true});
  exo_WriteMesh(file, cube, {});
  vtu_WriteMesh(other, cube, {});
  const exo_Import read = exo_ReadMesh(exo, {});
  return read.mesh->NodeData().GetMeshNodeIndex(105) == 5 && read.mesh->ElementData().NumElements() == 1
                 && std::filesystem::file_size(vtu.c_str()) > 0
             ? 0
             : 1;
}
