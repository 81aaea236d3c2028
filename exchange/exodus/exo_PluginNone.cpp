// For static libraries that are built without the Exodus II library.
#include "exo_Plugin.h"

#include <BasicUtils/nex_Exception.h>

const exo_Functions& exo_Plugin() {
  throw nex_TextException(
      "Exodus II files are not read or written: this program was built without the Exodus II "
      "library (CORE_GEOMETRY_EXODUS)");
}
