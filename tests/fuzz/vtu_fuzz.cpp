// A grid of any bytes in the XML form of VTK: plain, compressed, in base64 or in ascii.
#include "FuzzFile.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/vtu_Read.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  try {
    vtu_ReadMesh(FuzzFile(data, size, ".vtu"), {});
  } catch (const nex_Exception&) { // NOLINT(bugprone-empty-catch): a clear refusal
  }
  return 0;
}
