// A shortcut path of any bytes, in a model with lists, maps and embedded objects.
#include "FuzzFile.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/rgnC_Region.h>
#include <CoreGeometry/rgnC_SetData.h>
#include <string_view>

namespace {
cls_Database Model() {
  const std::string file = FuzzFile(nullptr, 0, ".cgdb");
  std::filesystem::remove(file);
  cls_Database db = cls_Database::Create(file);
  cls_WritePass pass(db);
  bme_Mesh mesh;
  mesh.ElementDataToModify().AddElementClass(new bme_ElementClass(2, "C3D8", 0, 0, 0, "", 0, bme_CONSTANT));
  rgnC_SetData set;
  set.AppendSubset(rgnC_SubsetData(0, 0, 0, 0, res_NODE_SET, false, {}, {}));
  pass.Put("m", mesh);
  pass.Put("a.b[0]", mesh);
  pass.Put("s", set);
  pass.Commit();
  return db;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  static const cls_Database db = Model();
  try {
    db.Resolve(cow_String(reinterpret_cast<const char*>(data), size));
  } catch (const nex_TextException&) { // NOLINT(bugprone-empty-catch): a clear refusal
  }
  return 0;
}
