// coregeometry order: linear elements to quadratic ones, or back
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_ExternalFaces.h>

namespace {
struct Arguments : cli_EditArguments {
  bool quadratic = false, linear = false;
  std::vector<std::string> map;
  std::string surface, surfaceSet;
  double distance = 0;
};

/// Faces of the set, or else the outside, of the mesh in a model.
bme_Projected Project(const bme_Edited& edited, const Arguments& arguments) {
  const cls_Database model = cli_OpenModel(arguments.surface);
  const cli_EditSource source = cli_ReadMeshAndSets(model, cli_ChooseMesh(model, ""));
  if (!arguments.surfaceSet.empty())
    return bme_ProjectNodes(edited, {source.all.mesh, cli_FacesOfSet(source, arguments.surfaceSet)},
                            arguments.distance);
  const auto faces = bme_ComputeFaces(bme_FEMElemList::All(source.all.mesh));
  if (!faces) throw nex_TextException(arguments.surface + ": has faces that cannot be compared");
  return bme_ProjectNodes(edited, faces->external, arguments.distance);
}

void Run(const Arguments& arguments) {
  cli_Console console;
  if (arguments.quadratic == arguments.linear) throw cli_UsageError("give --quadratic or --linear");
  if (arguments.surface.empty() != (arguments.distance == 0))
    throw cli_UsageError("--surface and --distance belong together");
  if (arguments.linear && !arguments.surface.empty()) throw cli_UsageError("--surface needs --quadratic");
  const bme_TypeChoice types = cli_TypeChoice(arguments.map);
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  console.Begin("changing the order");
  const bme_Edited edited = bme_ChangeOrder(source.all, arguments.quadratic, types);
  cli_Json facts = {{"nodesBefore", source.all.mesh.NodeData().NumNodes()}};
  if (arguments.surface.empty()) {
    console.End();
    return cli_StoreEdited(arguments, source, edited, facts);
  }
  console.Begin("moving mid nodes");
  const bme_Projected projected = Project(edited, arguments);
  console.End();
  facts["moved"] = projected.moved.size();
  facts["largestMove"] = projected.largest;
  facts["folded"] = bme_CompactLabels(bme_FEMElemList(projected.result.mesh, projected.folded).Labels());
  cli_StoreEdited(arguments, source, projected, facts);
}
} // namespace

void cli_AddOrder(cli_Command& program) {
  cli_Command command = program.AddCommand("order", "Make linear elements quadratic, or back");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  command.AddFlag("--quadratic", arguments->quadratic, "Add mid nodes");
  command.AddFlag("--linear", arguments->linear, "Drop mid nodes");
  cli_AddNames(command, "--map", arguments->map, "Types to use, as C3D8=C3D27");
  command
      .AddOption("--surface", arguments->surface, "Model to whose surface mid nodes of the outside are moved")
      .TypeName("MODEL");
  command.AddOption("--surface-set", arguments->surfaceSet, "Surface of that model (default its outside)")
      .TypeName("SET");
  command.AddOption("--distance", arguments->distance, "Within which nodes are on that surface")
      .NonNegative();
  command.Footer("Mid nodes are shared by neighbours, and join the node sets that have both ends.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry order bracket.cgdb --quadratic -o quadratic.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
