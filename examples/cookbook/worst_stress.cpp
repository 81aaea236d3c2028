#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Results.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <iostream>

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");
  cls_CreateModel("results.cgdb", {},
                  [&](const cls_Database&, cls_WritePass& pass) { pass.Put("meshes/bracket", *read.mesh); });
  cls_Database model = cls_Database::Open("results.cgdb", cls_Database::Mode::ReadWrite);
  odiC_RunWriter writer(model, "results/bracket/static", *read.mesh);
  exo_ReadResults("bracket.exo", read, &writer);

  const odiC_Run run = odiC_Run::Open(model, "results/bracket/static");
  const odiC_Values mises = odiC_Values(run, "stress").Invariant(res_MISES).AtNodes();
  if (const auto worst = odiC_Max(mises))
    std::cout << "largest Mises stress: " << worst->value / 1e6 << " MPa at " << worst->place.Text()
              << ", frame " << worst->when.frame << '\n';
  const odiC_Values top(run, "disp", odiC_Selection().Frame(-1).NodeLabels({9438}));
  const auto source = top.Open(top.Frames().front());
  odiC_ForEachRange(*source, [](const odiC_Range& range) {
    std::cout << "displacement: " << range.values[0] << ' ' << range.values[1] << ' ' << range.values[2]
              << '\n';
  });
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
