// For static libraries: the functions are linked in. A plug-in would bring the library, with its tables, a second time.
#include "exo_Plugin.h"

const exo_Functions& exo_Plugin() { return *coregeometry_exodus_functions(); }
