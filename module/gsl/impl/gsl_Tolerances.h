// gsl_Tolerances.h: the tolerances in force, for the module's own tests
#pragma once

#include <CoreGeometry/gsl_Util.h>

inline double gsl_Tol() { return omi_Singleton<gsl_Util>::Instance().Tolerance(); }
inline double gsl_TolSquared() { return omi_Singleton<gsl_Util>::Instance().TolSquared(); }
inline double gsl_RelTol() { return omi_Singleton<gsl_Util>::Instance().RelTolerance(); }
