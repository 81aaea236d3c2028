// Writes a mesh as a file for other programs and reads it back.
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/vtu_Write.h>
#include <filesystem>

int main(int, char** arguments) {
  const DDB_CoreGeometry library;
  const std::vector<float> xyz = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  const bme_Mesh cube = bme_MeshBuilder(xyz, std::vector{100, 101, 102, 103, 104, 105, 106, 107})
                            .Add({.type = "C3D8R", .connectivity = {0, 1, 2, 3, 4, 5, 6, 7}})
                            .Build(1);

  const cow_String exo = cow_String(arguments[0]) + ".exo", vtu = cow_String(arguments[0]) + ".vtu";
  uti_OutputFile file(exo, {.force = true}), other(vtu, {.force = true});
  exo_WriteMesh(file, cube, {});
  vtu_WriteMesh(other, cube, {});
  const fmt_Import read = fmt_ReadMesh(exo);
  return read.mesh->NodeData().GetMeshNodeIndex(105) == 5 && read.mesh->ElementData().NumElements() == 1
                 && std::filesystem::file_size(vtu.c_str()) > 0
             ? 0
             : 1;
}
