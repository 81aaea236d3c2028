// A model file of any bytes: checked, dumped, converted, read by class; nothing but exceptions of ours may
// come.
#include "FuzzFile.h"

#include <BasicUtils/cls_Check.h>
#include <BasicUtils/cls_Dump.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <ostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  const std::string file = FuzzFile(data, size, ".cgdb");
  try {
    const cls_Database db = cls_Database::Open(file);
    cls_Check(db);
    std::ostream nowhere(nullptr);
    cls_Dump(db, nowhere);
  } catch (const nex_Exception&) {  // NOLINT(bugprone-empty-catch): a clear refusal
  } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): SQLite's word for some damage
  }
  return 0;
}
