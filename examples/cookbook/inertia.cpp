#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/fmt_Format.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");

  bme_MeasureOptions options;
  options.density = [](const bme_ElementClass&, int) { return 7850; }; // the same everywhere, kg/m3
  options.thickness = [](const bme_ElementClass&, int) { return 0.002; };
  const bme_Measures measures = bme_CalculateMeasures(*read.mesh, options);
  gsl_Point centre;
  bme_Tensor inertia;
  if (!measures.mass.GetCentre(centre) || !measures.mass.GetInertiaAboutCentre(inertia)) return 1;
  std::cout << "mass " << measures.mass.Total() << ", centre " << centre[0] << ' ' << centre[1] << ' '
            << centre[2] << ", Ixx " << inertia[0][0] << '\n'
            << "not counted: " << measures.noSectionArea.size() << " beams without a section area, "
            << measures.noPointMass.size() << " points without a mass\n";
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
