#include <CoreGeometry/fmt_Import.h>

#include <CoreGeometry/fmt_MissingLibrary.h>
#include <CoreGeometry/fmt_Results.h>
#include <algorithm>

fmt_MissingLibrary::~fmt_MissingLibrary() = default;

void fmt_Renumber(fmt_Import& import, unsigned meshId) {
  import.mesh = std::make_unique<bme_Mesh>(*import.mesh, meshId);
  bme_ElementData& elements = import.mesh->ElementDataToModify();
  for (unsigned i = 0; i < elements.NumClasses(); ++i)
    elements.GetClassToModify(i).SetMeshIndex(static_cast<int>(meshId));
  for (bme_NamedSet& set : import.sets) {
    rgnC_SetData made;
    made.SetLabel(set.data.GetSetLabel());
    made.SetIndex(set.data.GetSetIndex());
    made.SetType(set.data.GetSetType());
    for (int i = 0; i < set.data.NumSubset(); ++i) {
      const rgnC_SubsetData& old = set.data.SubSet(i);
      if (old.IsUnsorted()) made.SetUnsorted(true);
      made.AppendSubset(rgnC_SubsetData(
          static_cast<int>(meshId), old.ClassIndex(), i, old.GetSetIndex(), old.SubsetType(),
          old.IsUnsorted(), rgnC_SubsetData::Ids(old.IdArray()), rgnC_SubsetData::Ids(old.FacetIdArray())));
    }
    made.SetConstructionOk(true);
    set.data = made;
  }
}

void fmt_RemoveCarried(fmt_Ledger& ledger) {
  constexpr std::string_view kCarried[] = {"time steps",           "global variables",   "nodal variables",
                                           "element variables",    "node set variables", "side set variables",
                                           "element set variables"};
  std::erase_if(ledger, [&](const fmt_LedgerEntry& entry) {
    return std::ranges::find(kCarried, entry.what) != std::end(kCarried);
  });
}
