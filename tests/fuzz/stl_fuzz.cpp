// An STL file of any bytes.
#include "FuzzFile.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/fmt_Format.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  try {
    fmt_ReadMesh(FuzzFile(data, size, ".stl"), fmt_Find("stl"));
  } catch (const nex_Exception&) { // NOLINT(bugprone-empty-catch): a clear refusal
  }
  return 0;
}
