#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/dtu_Mapping.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const dtu_DatumCsys hole(1, 0, gsl_Point(2, 2, 0), gsl_Vector(1, 0, 0), gsl_Vector(0, 1, 0),
                           gsl_Vector(0, 0, 1), dtu_CYLINDRICAL);
  const gsl_Point local = dtu_MapGlobalIntoLocal(gsl_Point(2, 5, 7), &hole, /*inDegrees=*/true);
  std::cout << "radius " << local[0] << ", angle " << local[1] << ", height " << local[2] << '\n';
  const gsl_Point back = dtu_MapLocalIntoGlobal(local, &hole);
  std::cout << "back at " << back[0] + 0.0 << ' ' << back[1] << ' ' << back[2] << '\n';

  // a force along y, in the directions at that point
  const float at[] = {2, 5, 7};
  float force[] = {0, 10, 0};
  dtu_RotateVectorsIntoLocal(at, hole, force);
  std::cout << "radial force " << force[0] << '\n';

  dtu_DatumContainer datums; // of the mesh "meshes/plate"
  datums.SetOwnerNames({"plate"});
  datums.Add(hole, "hole");
  cls_CreateModel("hole.cgdb", {},
                  [&](const cls_Database&, cls_WritePass& pass) { pass.Put("datums/plate", datums); });
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
