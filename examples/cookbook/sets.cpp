#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/rgnC_Region.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");
  const bme_Mesh& mesh = *read.mesh;

  // a list by place, and the elements that touch it
  const bme_FEMNodeList foot =
      bme_FEMNodeList::InBox(mesh, gsl_BBox(gsl_Point(0, 0, -1e-6), gsl_Point(1, 1, 1e-6)));
  const bme_FEMElemList touching = bme_FEMElemList::OfNodes(foot, bme_Touching::AnyNode);

  cls_CreateModel("sets.cgdb", {}, [&](const cls_Database&, cls_WritePass& pass) {
    pass.Put("meshes/bracket", mesh);
    bme_PutSet(pass, "bracket", "foot", foot.ToSet());
    bme_PutSet(pass, "bracket", "touching", touching.ToSet());
  });

  // from the model, as lists again
  const cls_Database model = cls_Database::Open("sets.cgdb");
  const auto stored = model.Get<bme_Mesh>("meshes/bracket");
  const auto region = model.Get<rgnC_Region>("regions/bracket/touching");
  const auto contents = region->GetSetData().Resolve(model);
  std::cout << foot.Count() << " nodes are touched by "
            << bme_FEMElemList::FromSet(*stored, *contents).Count() << " elements\n";
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
