#include "cli_Scene.h"

#include "cli_Console.h"

cli_Scene cli_ReadScene(const cls_Database& model, const cow_String& name) {
  const cow_String root = cli_ChooseMesh(model, name);
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  cli_Scene scene{root, bme_Placement(*mesh), *mesh};
  if (scene.placement.IsTurned()) scene.mesh.ApplyTransform(scene.placement.Turn());
  return scene;
}

std::array<double, 3> cli_DirectionOf(const std::optional<std::array<double, 3>>& given,
                                      const std::array<double, 3>& usual) {
  if (!given) return usual;
  double square = 0;
  for (const double part : *given) square += part * part;
  if (!(square > 0 && square < 1e300))
    throw cli_UsageError("--view is the direction to the viewer, not 0,0,0 or beyond all numbers");
  return *given;
}

void cli_ReportLeftOut(const bme_Outside& outside) {
  if (outside.notFinite > 0)
    cli_Report() << "Left out: " << outside.notFinite
                 << " faces, lines and nodes without finite coordinates\n";
  if (outside.withoutShape > 0)
    cli_Report() << "Left out: " << outside.withoutShape << " elements of types without a shape\n";
}
