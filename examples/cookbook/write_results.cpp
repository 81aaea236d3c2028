#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const float nodes[] = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  const bme_Mesh mesh = bme_MeshBuilder(nodes).Add({"C3D8", {0, 1, 2, 3, 4, 5, 6, 7}}).Build();
  cls_CreateModel("cube.cgdb", {},
                  [&](const cls_Database&, cls_WritePass& pass) { pass.Put("meshes/cube", mesh); });

  cls_Database model = cls_Database::Open("cube.cgdb", cls_Database::Mode::ReadWrite);
  odiC_RunWriter writer(model, "results/cube/pull", mesh);
  const int u = writer.AddVariable(odiC_Variable("U", res_VECTOR, "mm"));
  const int atNodes = writer.AddLayout(odiC_FullLayout(mesh, res_NODAL));
  writer.BeginStep("Pull", odiC_STATIC);
  for (int frame = 0; frame < 3; ++frame) {
    std::vector<float> values; // the solver's: here a stretch along x
    for (int i = 0; i < 8; ++i)
      values.insert(values.end(), {0.001F * static_cast<float>(frame) * nodes[3 * i], 0, 0});
    writer.BeginFrame({.value = 0.5 * frame, .increment = frame});
    writer.PutField(u, atNodes, cow_ArrayCOW<float>(values));
    writer.Commit(); // the frame is stored now, whatever happens to the program
  }

  const odiC_Run run = odiC_Run::Open(model, "results/cube/pull");
  for (const odiC_Reduced& frame : odiC_Reduce(odiC_Values(run, "U").Component("x")))
    std::cout << "time " << frame.when.value << ": at most " << frame.max->value << " at "
              << frame.max->place.Text() << '\n';
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
