// A mesh file of any bytes. Only files in the classic format reach the format's library.
#include "FuzzFile.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <exo_Import.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  try {
    exo_ReadMesh(FuzzFile(data, size, ".exo"), {});
  } catch (const nex_Exception&) { // NOLINT(bugprone-empty-catch): a clear refusal
  }
  return 0;
}
