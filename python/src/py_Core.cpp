// The extension module: starts the library once, and never stops it, as objects may live longer than the module.
#include "py_Connect.h"
#include "py_Csys.h"
#include "py_Errors.h"
#include "py_Lists.h"
#include "py_Model.h"
#include "py_Results.h"
#include "py_Split.h"
#include "py_Work.h"

#include <CoreGeometry/DDB_CoreGeometry.h>

NB_MODULE(_core, module) {
  int tally = 0;
  DDB_CoreGeometry_initialize(tally);
  module.attr("version") = CORE_GEOMETRY_VERSION;
  py_BindErrors();
  py_BindWork(module);
  py_BindBlock(module);
  py_BindMesh(module);
  py_BindLists(module);
  py_BindSelections(module);
  py_BindFaces(module);
  py_BindCsys(module);
  py_BindModel(module);
  py_BindField(module);
  py_BindResults(module);
  py_BindReductions(module);
  py_BindRunWriter(module);
  py_BindConnect(module);
  py_BindLocate(module);
  py_BindMeasures(module);
  py_BindExtrapolate(module);
  py_BindFiles(module);
  py_BindEdit(module);
  py_BindEditor(module);
  py_BindSolids(module);
  py_BindMapping(module);
  py_BindPicture(module);
  py_BindShapes(module);
  py_BindSplit(module);
}
