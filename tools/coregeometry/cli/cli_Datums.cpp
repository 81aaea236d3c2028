#include "cli_Datums.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumAxis.h>
#include <CoreGeometry/dtu_DatumPlane.h>
#include <CoreGeometry/dtu_DatumPoint.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>

namespace {
cow_String WithoutFolder(const cow_String& root, const cow_String& folder) {
  return root.starts_with(folder) ? root.substr(folder.size()) : root;
}

/// Without digits that single precision does not have, when it is one of its numbers, and without -0.
cli_Json Number(double value) {
  const auto single = static_cast<float>(value);
  return single == value ? cli_Number(single + 0.0F) : cli_Json(value);
}

template<class Triple> cli_Json Numbers(const Triple& triple) {
  return {Number(triple[0]), Number(triple[1]), Number(triple[2])};
}
} // namespace

cow_String cli_DatumRoot(const cow_String& meshRoot) {
  return bme_kDatumFolder + WithoutFolder(meshRoot, bme_kMeshFolder);
}

std::vector<cli_Datum> cli_Datums(const cls_Database& model, const cow_String& meshRoot,
                                  const cls_Database* meshes) {
  const cls_ReadView view(model);
  std::vector<cli_Datum> datums;
  for (const cow_String& root :
       model.RootsOf({dtu_DatumContainer::TypeId(), dtu_Datum::TypeId(), dtu_DatumPoint::TypeId(),
                      dtu_DatumAxis::TypeId(), dtu_DatumPlane::TypeId(), dtu_DatumCsys::TypeId(),
                      dtu_DynamicDatumCsys::TypeId(), dtu_6dofNodeDatumCsys::TypeId()})) {
    if (model.TypeId(root) != dtu_DatumContainer::TypeId()) {
      datums.push_back({root, WithoutFolder(root, bme_kDatumFolder), 0, model.Get<dtu_Datum>(root)});
      continue;
    }
    if (!meshRoot.empty() && root != cli_DatumRoot(meshRoot)) continue;
    dtu_DatumContainer container = *model.Get<dtu_DatumContainer>(root);
    const bme_Placement placement =
        cli_PlacementOf(meshes ? *meshes : model, bme_kMeshFolder + WithoutFolder(root, bme_kDatumFolder));
    if (!placement.IsNone()) container.TransformData(placement.ToPlaced());
    for (const auto& [id, datum] : container)
      datums.push_back({root, container.NameOf(id), id, datum.Holder()});
  }
  return datums;
}

void cli_AddFrameOption(cli_Command command, std::string& csys) {
  command.AddOption("--csys", csys, "Datum in whose origin and axes centres and inertia are given");
}

gsl_Matrix cli_FrameOf(const cls_Database& model, const std::vector<cli_Datum>& datums,
                       const cow_String& name, const cow_String& file) {
  gsl_Matrix frame;
  if (name.empty()) return frame;
  const cli_Datum& chosen = cli_ChooseDatum(model, datums, name, "datum");
  const auto* csys = dynamic_cast<const dtu_DatumCsys*>(&*chosen.datum);
  if (csys && bme_GetFrame(*csys, frame)) return frame;
  throw nex_TextException(file + ", " + chosen.Path() + ": has no axes to measure in");
}

const cli_Datum& cli_ChooseDatum(const cls_Database& model, const std::vector<cli_Datum>& datums,
                                 const cow_String& name, const cow_String& what) {
  std::vector<const cli_Datum*> found;
  std::vector<cow_String> names;
  cow_String several;
  for (const cli_Datum& one : datums) {
    const cow_String path = one.Path();
    if (path == name) return one;
    names.push_back(one.name);
    if (one.name != name && WithoutFolder(path, bme_kDatumFolder) != name) continue;
    several += (several.empty() ? "" : ", ") + path;
    found.push_back(&one);
  }
  if (found.size() == 1) return *found.front();
  const cow_String place = model.File() + ": ";
  if (!found.empty())
    throw nex_TextException(place + "several are called \"" + name + "\" (" + several
                            + "), name one in full");
  throw nex_TextException(place + "no " + what + " \"" + name + '"' + atr_Alternatives(name, names));
}

cow_String cli_KindText(const dtu_Datum& datum) {
  const auto* csys = dynamic_cast<const dtu_DatumCsys*>(&datum);
  if (!csys && datum.DynTypeId() == dtu_Datum::TypeId()) return "datum without geometry";
  if (!csys)
    return dynamic_cast<const dtu_DatumAxis*>(&datum)    ? "axis"
           : dynamic_cast<const dtu_DatumPlane*>(&datum) ? "plane"
                                                         : "point";
  switch (csys->GetCsysType()) {
  case dtu_CARTESIAN: return "cartesian system";
  case dtu_CYLINDRICAL: return "cylindrical system";
  case dtu_SPHERICAL: return "spherical system";
  }
  return "unknown system";
}

cli_Json cli_DatumFacts(const dtu_Datum& datum) {
  cli_Json facts = {{"kind", cli_KindText(datum)}};
  gsl_Point point;
  gsl_Vector direction;
  if (const auto* csys = dynamic_cast<const dtu_DatumCsys*>(&datum)) {
    facts["origin"] = Numbers(csys->Origin());
    facts["x"] = Numbers(csys->Xaxis());
    facts["y"] = Numbers(csys->Yaxis());
    facts["z"] = Numbers(csys->Zaxis());
    if (const auto* three = dynamic_cast<const dtu_DynamicDatumCsys*>(csys))
      for (int i = 1; i <= 3; ++i) facts["nodes"].push_back(three->NodesPackage().ConstGetNodeLabel(i));
    if (const auto* one = dynamic_cast<const dtu_6dofNodeDatumCsys*>(csys))
      facts["nodes"].push_back(one->Node().GetEntityId());
  } else if (const auto* axis = dynamic_cast<const dtu_DatumAxis*>(&datum)) {
    axis->Geometry(point, direction);
    facts["point"] = Numbers(point);
    facts["direction"] = Numbers(direction);
  } else if (const auto* plane = dynamic_cast<const dtu_DatumPlane*>(&datum)) {
    plane->Geometry(point, direction);
    facts["point"] = Numbers(point);
    facts["normal"] = Numbers(direction);
  } else if (datum.DynTypeId() != dtu_Datum::TypeId()) {
    facts["point"] = Numbers(datum.Point());
  }
  return facts;
}
