#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/shp_Shape.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");
  const bme_Mesh& mesh = *read.mesh;

  std::vector<float> temperature; // of each node: 20 degrees, and 1000 a metre of height
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  for (std::size_t i = 2; i < xyz.size(); i += 3) temperature.push_back(20 + 1000 * xyz[i]);

  const bme_ElementLocator locator(mesh); // once, for any number of points
  const bme_ElementHit hit = locator.Find({0.011, 0.021, 0.002});
  if (hit.element == bme_kNotFound) return 1;
  unsigned classIndex = 0, inClass = 0;
  mesh.ElementData().GetClassAndElemIndex(hit.element, classIndex, inClass);
  const bme_ElementClass& type = mesh.ElementData().GetClass(classIndex);
  std::vector<float> values;
  for (const int node : type.Connectivity(static_cast<int>(inClass)))
    values.push_back(temperature[static_cast<std::size_t>(node)]);
  std::cout << "element " << bme_FEMElemList(mesh, {hit.element}).Labels()[0] << ", " << type.ElemTypeLabel()
            << ": temperature " << type.Shape()->InterpolateResultFromNodes(values, hit.iso) << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
