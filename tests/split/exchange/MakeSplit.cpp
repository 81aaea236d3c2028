// Writes the mixed mesh with its sets as a model, mixed.cgdb, and split at random into parts, mixed.split.
#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <cstdlib>
#include <iostream>
#include <split/MixedMesh.h>

int main(int argc, char** argv) {
  if (argc < 3) return 2; // a folder, the number of parts, and another seed
  const DDB_CoreGeometry library;
  const dst_Library distributed;
  const cow_String folder = argv[1];
  const auto numParts = static_cast<unsigned>(std::atoi(argv[2]));
  const auto seed = static_cast<unsigned>(argc > 3 ? std::atoi(argv[3]) : 1);
  const bme_Mesh mesh = MixedMesh(Labelled::Both);
  cls_Database model = cls_Database::Create(folder + "/mixed.cgdb");
  cls_WritePass pass(model);
  pass.Put("meshes/Mixed", mesh);
  for (const bme_NamedSet& set : MixedSets()) bme_PutSet(pass, "Mixed", set);
  pass.Commit();
  dst_WriteSplit(*dst_MeshSource("Mixed", mesh, MixedSets()),
                 RandomParts(mesh.ElementData().NumElements(), numParts, seed), numParts,
                 folder + "/mixed.split");
}
