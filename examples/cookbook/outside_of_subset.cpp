#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/fmt_Format.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");
  const bme_Mesh& mesh = *read.mesh;

  const bme_FEMElemList solids = bme_FEMElemList::OfClass(mesh, 0).Union(bme_FEMElemList::OfClass(mesh, 1));
  bme_FaceOptions options;
  options.wantInterior = true;
  const auto faces = bme_ComputeFaces(solids, options);
  if (!faces) return 1; // what was wrong has gone to the host's channel
  std::cout << solids.Count() << " solids: " << faces->external.Count() << " faces outside, "
            << faces->interior.Count() / 2 << " between two of them\n";
  const bme_FaceLabel first = faces->external.Labels().front();
  std::cout << "the first is face " << first.face << " of element " << first.element << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
