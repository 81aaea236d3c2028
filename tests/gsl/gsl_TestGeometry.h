// gsl_TestGeometry.h: random geometry for the property tests
#pragma once

#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>
#include <random>

/// Random numbers that are the same in every run.
class RandomGeometry {
public:
  explicit RandomGeometry(unsigned seed) : engine_(seed) {}
  double Real(double low, double high) { return low + (high - low) * engine_() / 4294967296.0; }
  gsl_Point Point(double size = 10) { return {Real(-size, size), Real(-size, size), Real(-size, size)}; }
  gsl_Vector Vector(double size = 10) { return {Real(-size, size), Real(-size, size), Real(-size, size)}; }
  gsl_Matrix Rigid() {
    gsl_Matrix m;
    m.AxisRotation(Point(), Vector(), Real(-7, 7));
    return m;
  }

private:
  std::mt19937 engine_;
};
