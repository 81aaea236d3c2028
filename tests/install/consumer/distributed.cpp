// Splits a row of two cubes into two parts and finds what they share.
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Split.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <filesystem>

int main(int, char** arguments) {
  const DDB_CoreGeometry library;
  const dst_Library distributed;
  std::vector<float> xyz;
  for (int node = 0; node < 12; ++node)
    for (const int value : {node % 3, node / 3 % 2, node / 6}) xyz.push_back(static_cast<float>(value));
  bme_MeshBuilder builder(xyz);
  builder.Add({.type = "C3D8", .connectivity = {0, 1, 4, 3, 6, 7, 10, 9, 1, 2, 5, 4, 7, 8, 11, 10}});
  const cow_String folder = cow_String(arguments[0]) + ".split";
  dst_Split(*dst_MeshSource("Row", builder.Build()), folder, {.parts = 2});
  const dst_OpenPart part = dst_SplitFolder(folder).OpenPart(1);
  const bool isRight = part.mesh->ElementData().NumElements() == 1 && part.part->NumShared() == 4;
  std::filesystem::remove_all(folder);
  return isRight ? 0 : 1;
}
