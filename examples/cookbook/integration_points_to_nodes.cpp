#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const shp_Shape& shape = *thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape("C3D8");

  // one component at the 8 integration points of two elements: xi itself, and a constant
  std::vector<float> values;
  for (const shp_IsoPoint& point : shape.IntPtCoordinates()) values.push_back(static_cast<float>(point[0]));
  values.insert(values.end(), 8, 7.0F);
  std::vector<float> atNodes(2 * 8);
  shape.ExtrapolateEachToNodes(2, values, res_INTEGRATION_POINT, atNodes, 1);
  for (const float value : atNodes) std::cout << value << ' ';
  std::cout << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
