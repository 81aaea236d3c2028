// Writes the mixed mesh with its sets as a model, mixed.cgdb, and split at random into parts, mixed.split, of which one may
// get a fault that its own checksums do not show.
#include "PartArrays.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <split/MixedMesh.h>

namespace {
/// One coordinate of a shared node, or the row of the other holders of the first one, is changed, or that is its own node.
void Damage(const dst_SplitFolder& split, unsigned number, const cow_String& what) {
  dst_OpenPart open = split.OpenPart(number, cls_Database::Mode::ReadWrite);
  const dst_Part& part = *open.part;
  cls_WritePass pass(open.model);
  if (what == "coordinate") {
    bme_Mesh changed = *open.mesh;
    changed.NodeDataToModify().CoordinatesToModify()[std::size_t{3} * part.SharedNodes()[1]] += 1e-5F;
    pass.Put(split.MeshRoot(), changed);
  } else if (what == "sharing") {
    const dst_Part changed = EditedPart(part, WithoutFirstShared);
    pass.Put(dst_kPartRoot, changed);
  } else {
    const dst_Part changed = EditedPart(part, [](dst_Part::Arrays& arrays) {
      unsigned& holder = arrays.holders.Modify()[0];
      holder = holder == 0 ? 1 : 0;                             // another part
      const unsigned gone = arrays.holderStarts.Const()[1] - 1; // and that one alone
      arrays.holders.Remove(1, gone);
      for (unsigned& start : arrays.holderStarts.Modify().subspan(1)) start -= gone;
    });
    pass.Put(dst_kPartRoot, changed);
  }
  pass.Commit();
}
} // namespace

int main(int argc, char** argv) {
  if (argc < 3)
    return 2; // a folder, the number of parts, another seed, and a fault of part 5 or "none", and any word for rows without gaps
  const DDB_CoreGeometry library;
  const dst_Library distributed;
  const cow_String folder = argv[1];
  const auto numParts = static_cast<unsigned>(std::atoi(argv[2]));
  const auto seed = static_cast<unsigned>(argc > 3 ? std::atoi(argv[3]) : 1);
  bme_Mesh mesh = MixedMesh(Labelled::Both);
  const bool mustBeWhole = argc > 5; // rows without gaps, as files of other programs have them
  for (unsigned i = 0; mustBeWhole && i < mesh.ElementData().NumClasses(); ++i)
    std::ranges::replace(mesh.ElementDataToModify().GetClassToModify(i).ConnectivityToModify(), -1, 2);
  cls_Database model = cls_Database::Create(folder + "/mixed.cgdb");
  cls_WritePass pass(model);
  pass.Put("meshes/Mixed", mesh);
  for (const bme_NamedSet& set : MixedSets()) bme_PutSet(pass, "Mixed", set);
  pass.Commit();
  dst_WriteSplit(*dst_MeshSource("Mixed", mesh, MixedSets()),
                 RandomParts(mesh.ElementData().NumElements(), numParts, seed), numParts,
                 folder + "/mixed.split");
  if (argc > 4 && cow_String(argv[4]) != "none") Damage(dst_SplitFolder(folder + "/mixed.split"), 5, argv[4]);
}
