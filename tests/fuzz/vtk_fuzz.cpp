// A grid of any bytes in the legacy form of VTK, ascii or binary.
#include "FuzzFile.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/vtu_Read.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  try {
    vtu_ReadLegacy(FuzzFile(data, size, ".vtk"), {});
  } catch (const nex_Exception&) { // NOLINT(bugprone-empty-catch): a clear refusal
  }
  return 0;
}
