#include "PresentModel.h"

#include "OldModels.h"

#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_ModelSegment.h>
#include <CoreGeometry/gsl_ObjectArray.h>
#include <CoreGeometry/gsl_PersistentMatrix.h>
#include <CoreGeometry/gsl_PersistentVector.h>
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_Segment.h>
#include <CoreGeometry/gsl_StLine.h>
#include <CoreGeometry/odiC_Exception.h>
#include <cmath>

void WritePresentModel(cls_Database& database) {
  {
    cls_WritePass pass(database);
    OldModels().front().write(pass, 0); // a mesh
    pass.Commit();
  }
  database.Upgrade();
  const gsl_Point point(1.5, -2.25, std::nan(""));
  gsl_Matrix turn;
  turn.AxisRotation(gsl_Point(1, 2, 3), gsl_Vector(1, 1, 1), 0.5);
  gsl_StLine line(gsl_Point(1, 2, 3), gsl_Vector(1, 2, 3));
  line.SetParentIds(std::vector<int>{5, -6});
  gsl_Plane plane(gsl_Point(1, 2, 3), gsl_Vector(0, 0, 9));
  plane.SetFlipped(true);
  const gsl_PersistentVector vector(gsl_Vector(3, 4, 12));
  const gsl_PersistentMatrix matrix(turn);
  const gsl_Segment segment(point, gsl_Point(4, 5, 6));
  const gsl_BBox box(gsl_Point(1, 2, 3), gsl_Point(4, 5, 6));
  const gsl_Dot dot(4, 99);
  const gsl_ModelSegment modelSegment(gsl_Dot(0, 0, 0), gsl_Dot(1e-300, 1e300, 0.1));
  const odiC_Exception failure("frame 3: no field \"S\"");
  gsl_DotArray dots;
  gsl_LineArray lines;
  gsl_PlaneArray planes;
  dots.Append(dot);
  lines.Append(line);
  planes.Append(plane);
  cls_WritePass pass(database);
  pass.Put("geometry/dots", dots);
  pass.Put("geometry/lines", lines);
  pass.Put("geometry/planes", planes);
  pass.Put("geometry/point", point);
  pass.Put("geometry/vector", vector);
  pass.Put("geometry/matrix", matrix);
  pass.Put("geometry/line", line);
  pass.Put("geometry/plane", plane);
  pass.Put("geometry/segment", segment);
  pass.Put("geometry/box", box);
  pass.Put("geometry/dot", dot);
  pass.Put("geometry/modelSegment", modelSegment);
  pass.Put("failure", failure);
  pass.Commit();
}
