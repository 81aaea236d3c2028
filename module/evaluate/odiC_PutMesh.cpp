#include <CoreGeometry/odiC_PutMesh.h>

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/bme_RegenerateDatums.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <cstring>

odiC_LeftBehind odiC_PutMesh(const cls_Database& model, cls_WritePass& pass, const cow_String& root,
                             const bme_Mesh& mesh) {
  odiC_LeftBehind left;
  for (const cow_String& run : odiC_Run::RootsOf(model, root)) {
    if (odiC_IsOf(odiC_Run::Open(model, run).Header(), mesh)) continue;
    odiC_RemoveRun(model, pass, run);
    left.runs.push_back(run);
  }
  pass.Put(root, mesh);
  const cow_String datumRoot = bme_kDatumFolder + root.substr(std::strlen(bme_kMeshFolder));
  if (!model.Has(datumRoot) || model.TypeId(datumRoot) != dtu_DatumContainer::TypeId()) return left;
  const cow_CountedHld<dtu_DatumContainer> stored = model.Get<dtu_DatumContainer>(datumRoot);
  dtu_DatumContainer datums = *stored;
  for (const bme_LostDatum& lost : bme_RegenerateDatums(datums, mesh))
    left.datums.push_back({datumRoot + "/" + datums.NameOf(lost.datum), lost.Text()});
  if (!(datums == *stored)) pass.Put(datumRoot, datums);
  return left;
}
