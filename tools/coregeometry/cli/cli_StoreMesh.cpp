#include "cli_StoreMesh.h"

#include "cli_Console.h"

#include <CoreGeometry/odiC_PutMesh.h>
#include <iostream>

std::vector<cow_String> cli_RegionsOf(const cls_Database& model, const cli_MeshTarget& target) {
  std::vector<cow_String> roots;
  for (const auto& [root, region] : bme_StoredRegions(model)) {
    if (region.OwnerNames() != cow_List<cow_String>{target.name}) continue;
    roots.push_back(root);
    const cow_String contents = region.GetSetData().Path();
    if (contents.starts_with(target.SetRoot("")) && model.Has(contents)) roots.push_back(contents);
  }
  return roots;
}

cls_Database::Options cli_OptionsFor(const bme_Mesh& mesh) {
  constexpr std::size_t kBigModel = std::size_t{64} << 20;
  std::size_t bytes = mesh.NodeData().NumNodes() * (3 * sizeof(float) + sizeof(int));
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i)
    bytes += mesh.ElementData().GetClass(i).ElementConnectivity().Const().size_bytes();
  return {.pageSize = bytes > kBigModel ? 65536 : 16384};
}

void cli_PutSets(const cls_Database& model, cls_WritePass& pass, const cli_MeshTarget& target,
                 std::span<const bme_NamedSet> sets) {
  for (const bme_NamedSet& set : sets) {
    for (const cow_String& root : {target.RegionRoot(set.Root()), target.SetRoot(set.Root())})
      if (model.Has(root))
        throw nex_TextException(model.File() + ": already holds " + root
                                + ", which is not of the mesh; choose another --name");
    bme_PutSet(pass, target.name, set);
  }
}

void cli_PutNotes(const cls_Database& model, cls_WritePass& pass, const cli_MeshTarget& target,
                  const bme_MeshNotes& notes, bool replaces) {
  const cow_String root = target.NotesRoot();
  if (model.Has(root)) {
    if (model.TypeId(root) != bme_MeshNotes::TypeId() || !replaces)
      throw nex_TextException(model.File() + ": already holds " + root
                              + ", which is not of the mesh; choose another --name");
    if (notes.IsEmpty()) pass.Remove(root);
  }
  if (!notes.IsEmpty()) pass.Put(root, notes);
}

void cli_PutMesh(const cls_Database& model, cls_WritePass& pass, const cli_MeshTarget& target,
                 const bme_Mesh& mesh) {
  const odiC_LeftBehind left = odiC_PutMesh(model, pass, target.root, mesh);
  const cow_String place = "coregeometry: " + target.file.string() + ", ";
  for (const cow_String& run : left.runs)
    std::cerr << place << run << " is removed: it is of a mesh of other sizes or types\n";
  for (const auto& [path, reason] : left.datums)
    std::cerr << place << path << " keeps its frame: " << reason << '\n';
}
