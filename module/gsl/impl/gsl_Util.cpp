#include <CoreGeometry/gsl_Util.h>

#include <CoreUtils/omi_timers.h>

gsl_Util::gsl_Util() : startTime_(omi_gettimecounter()) {}
