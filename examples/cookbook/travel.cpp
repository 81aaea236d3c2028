#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/gsl_Travel.h>
#include <CoreGeometry/gsl_Vector.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");
  const bme_Mesh& mesh = *read.mesh;
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();

  // how far the boss (class 2) can move along -x before it meets the skin (class 3)
  const auto boss = bme_ComputeFaces(bme_FEMElemList::OfClass(mesh, 2));
  const auto skin = bme_ComputeFaces(bme_FEMElemList::OfClass(mesh, 3));
  if (!boss || !skin) return 1;
  const bme_FaceTriangles moving = bme_Triangulate(boss->external), fixed = bme_Triangulate(skin->external);
  gsl_Travel travel;
  if (!gsl_FindTravel(xyz, fixed.nodes, xyz, moving.nodes, gsl_Vector(-1, 0, 0), travel)) return 1;
  const unsigned met = bme_ElementOf(fixed.words[static_cast<std::size_t>(travel.fixedTriangle)]);
  std::cout << "travel " << travel.distance << ", up to element " << bme_FEMElemList(mesh, {met}).Labels()[0]
            << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
