#include <CoreGeometry/rgnC_RegionTable.h>

#include <BasicUtils/cls_RunningUpgrade.h>
#include <CoreGeometry/rgnC_Region.h>

namespace {
/// The path reference of a row, whose cell names an embedded object.
rgnC_SetDataShortcut SetDataOf(const dbc_Row& row, const cls_Database& database) {
  const cls_Cell* cell = row.Find("setData");
  const auto* id = cell ? std::get_if<long long>(cell) : nullptr;
  if (!id) return {};
  return rgnC_SetDataShortcut(database.GetObject<rgnC_SetDataShortcut>({.row = *id})->Path());
}
} // namespace

bool rgnC_RegionTable::AddNewRegion(const dbc_Row& row, const cow_String& name) {
  const cls_RunningUpgrade* const upgrade = cls_RunningUpgrade::Current();
  if (!upgrade) return false;
  const cow_String root = "regions/" + name;
  if (upgrade->Database().Has(root)) return true;
  rgnC_Region region;
  region.SetName(name);
  region.SetSetData(SetDataOf(row, upgrade->Database()));
  upgrade->Put(root, region);
  return true;
}
