#include <CoreGeometry/gsl_ThreePoints.h>

#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>

bool gsl_NormalToThreePoints(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3,
                             gsl_Vector& n) noexcept {
  n = gsl_Vector(p1, p2, p3);
  return n.Magnitude() > gsl_Tol();
}

bool gsl_ComputeCircumCircle(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3, gsl_Point& centre,
                             gsl_Vector& normal) noexcept {
  const gsl_Vector a(p1, p2), b(p1, p3), n = a.CrossProduct(b);
  gsl_Point middle;
  middle = p1;
  const bool round = gsl_NormalToThreePoints(p1, p2, p3, normal);
  if (round) {
    const double aa = a.DotProduct(a), bb = b.DotProduct(b), nn = n.DotProduct(n);
    middle = p1 + (n.CrossProduct(a) * bb + b.CrossProduct(n) * aa) * (0.5 / nn);
  }
  centre = middle; // may be one of the points
  return round;
}

void gsl_Transcribe3PointsIntoOriginAndAxes(bool circular, const gsl_Point& p1, const gsl_Point& p2,
                                            const gsl_Point& p3, gsl_Point& origin, gsl_Vector& x,
                                            gsl_Vector& y, gsl_Vector& z) noexcept {
  gsl_Point start;
  start = p1; // with its uid
  if (circular) {
    gsl_ComputeCircumCircle(p1, p2, p3, start, z);
    x = gsl_Vector(start, p1);
  } else {
    x = gsl_Vector(p1, p2);
    z = x.CrossProduct(gsl_Vector(p1, p3));
  }
  y = z.CrossProduct(x);
  origin = start;
  x.Normalize();
  y.Normalize();
  z.Normalize();
}
