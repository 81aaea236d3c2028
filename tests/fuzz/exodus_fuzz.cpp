// A mesh file of any bytes. Only files in the classic format reach the format's library, which must not be
// left with a file open that it refused.
#include "FuzzFile.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Import.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {
int LowestFreeDescriptor() {
  const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
  close(descriptor);
  return descriptor;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  const int before = LowestFreeDescriptor();
  try {
    exo_ReadMesh(FuzzFile(data, size, ".exo"), {});
  } catch (const nex_Exception&) { // NOLINT(bugprone-empty-catch): a clear refusal
  }
  if (LowestFreeDescriptor() != before) {
    std::fputs("ERROR: a file is left open\n", stderr);
    std::abort();
  }
  return 0;
}
