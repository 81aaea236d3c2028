#include "exo_Streams.h"

#include <cstdio>
#include <exodusII.h>

// Debian's archive of the Exodus II library is compiled for programs and reads the C library's variable directly, which
// code in a shared library cannot: the linker (--wrap=stderr) hands it this one instead. Programs that link the archive
// themselves have no such second variable.
extern "C" {
__attribute__((visibility("hidden"))) std::FILE* __wrap_stderr =
    nullptr;                                           // NOLINT(bugprone-reserved-identifier)
__attribute__((weak)) extern std::FILE* __real_stderr; // NOLINT(bugprone-reserved-identifier)
}

void exo_QuietLibrary() {
  if (&__real_stderr) __wrap_stderr = __real_stderr;
  ex_opts(EX_DEFAULT);
}
