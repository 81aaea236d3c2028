// gsl_TriangleSets.h: triangle sets for the tests of the directional distance
#pragma once

#include <CoreGeometry/gsl_Matrix.h>
#include <span>
#include <vector>

struct TriangleSet {
  std::vector<double> xyz;
  std::vector<int> triangles;

  void Add(const gsl_Point& a, const gsl_Point& b, const gsl_Point& c) {
    for (const gsl_Point* p : {&a, &b, &c}) {
      triangles.push_back(static_cast<int>(xyz.size() / 3));
      for (unsigned i = 0; i < 3; ++i) xyz.push_back((*p)[i]);
    }
  }
  void Move(const gsl_Matrix& matrix) { matrix.Transform(std::span<double>(xyz)); }
  void Shift(double x, double y, double z) {
    for (std::size_t i = 0; i < xyz.size(); ++i) xyz[i] += i % 3 == 0 ? x : i % 3 == 1 ? y : z;
  }
};

/// Both sides of a box, outwards.
inline TriangleSet BoxSet(double x, double y, double z) {
  TriangleSet set;
  for (int i = 0; i < 8; ++i) set.xyz.insert(set.xyz.end(), {i & 1 ? x : 0, i & 2 ? y : 0, i & 4 ? z : 0});
  set.triangles = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                   2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};
  return set;
}
