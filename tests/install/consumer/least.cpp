// The smallest program: needs one of the libraries, which needs another.
#include <CoreGeometry/gsl_utils.h>

int main() { return gsl_RealEqual(1, 1.5, 1) && !gsl_RealEqual(1, 3, 1) ? 0 : 1; }
