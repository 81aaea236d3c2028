#include "gsl_TriangleArrays.h"

#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <string>

void gsl_CheckTriangles(std::span<const int> triangles, std::size_t numPoints) {
  const std::span<const int> whole = triangles.first(triangles.size() / 3 * 3);
  const auto isThere = [numPoints](int point) {
    return point >= 0 && static_cast<std::size_t>(point) < numPoints;
  };
  const auto bad = std::ranges::find_if_not(whole, isThere);
  if (bad == whole.end()) return;
  throw nex_TextException("triangle " + std::to_string((bad - whole.begin()) / 3) + ": point "
                          + std::to_string(*bad) + " is not one of " + std::to_string(numPoints) + " points");
}
