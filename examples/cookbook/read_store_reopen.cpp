#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/fmt_Format.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");
  for (const fmt_LedgerEntry& lost : read.ledger) std::cout << "not carried over: " << lost.what << '\n';

  cls_CreateModel("stored.cgdb", {}, [&](const cls_Database&, cls_WritePass& pass) {
    pass.Put("meshes/bracket", *read.mesh);
    for (const bme_NamedSet& set : read.sets) bme_PutSet(pass, "bracket", set.name, set.data);
    pass.Put(cow_String(bme_kNotesFolder) + "bracket", read.notes); // title, records, attributes
  });

  const cls_Database model = cls_Database::Open("stored.cgdb");
  const auto mesh = model.Get<bme_Mesh>("meshes/bracket");
  std::cout << "stored: " << mesh->NodeData().NumNodes() << " nodes, " << mesh->ElementData().NumElements()
            << " elements, " << model.Roots().Size() << " roots\n";
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
