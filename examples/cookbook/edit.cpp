// edit.cpp: a plate to solids, refined and cut, with its set through every step
//
//   edit
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_OrientMesh.h>
#include <CoreGeometry/bme_SectionMesh.h>
#include <CoreGeometry/bme_SweepMesh.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const std::vector<float> xyz{0, 0, 0, 1, 0, 0, 2, 0, 0, 0, 1, 0, 1, 1, 0, 2, 1, 0};
  bme_MeshAndSets plate{
      bme_MeshBuilder(xyz).Add({.type = "S4", .connectivity = {0, 1, 4, 3, 1, 4, 5, 2}}).Build(1)};
  plate.sets.push_back({"left", rgnC_ELEMENT_SET, bme_FEMElemList(plate.mesh, {0}).ToSet()});

  const bme_Oriented oriented = bme_OrientMesh(plate, {.direction = std::array{0., 0., 1.}});
  std::cout << "turned: element " << oriented.turned[0] + 1 << '\n';
  const bme_Swept solid = bme_OffsetMesh(oriented.result, 0.5, bme_OffsetSide::Top, 2);
  const bme_Edited fine = bme_RefineMesh(solid.result);
  std::cout << fine.result.mesh.ElementData().NumElements() << " elements of volume "
            << bme_CalculateMeasures(fine.result.mesh).volume.Total() << ", in sets";
  for (const bme_NamedSet& set : fine.result.sets) std::cout << ' ' << set.name;
  const auto left = bme_FEMElemList::FromSet(fine.result.mesh, fine.result.sets[0].data);
  std::cout << "; left has " << left.Count() << '\n';
  const bme_Section section = bme_CutMesh(fine.result, {{0.7, 0, 0}, {1, 0, 0}});
  std::cout << "section of area " << section.moments.area << ", second moments " << section.moments.least
            << " and " << section.moments.largest << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
