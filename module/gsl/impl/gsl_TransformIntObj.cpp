#include <CoreGeometry/gsl_TransformIntObj.h>

cow_String gsl_TransformIntObj::TypeName() const { return "gsl_TransformIntObj"; }
