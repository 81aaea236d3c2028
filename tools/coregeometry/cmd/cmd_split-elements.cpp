// coregeometry split-elements: hexahedra and wedges to tetrahedra, quadrilaterals to triangles
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_DivideMesh.h>

namespace {
struct Arguments : cli_EditArguments {
  std::vector<std::string> map;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  const bme_TypeChoice types = cli_TypeChoice(arguments.map);
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  console.Begin("splitting");
  const bme_Edited edited = bme_SplitElements(source.all, types);
  console.End();
  cli_StoreEdited(arguments, source, edited,
                  {{"elementsBefore", source.all.mesh.ElementData().NumElements()}});
}
} // namespace

void cli_AddSplitElements(cli_Command& program) {
  cli_Command command = program.AddCommand("split-elements", "Split elements into tetrahedra and triangles");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  cli_AddNames(command, "--map", arguments->map, "Types to use, as C3D8R=C3D4H");
  command.Footer(
      "Every quadrilateral is cut through its corner with the lowest label, so that neighbours agree.\n"
      "\n"
      "Example:\n"
      "  coregeometry split-elements bracket.cgdb -o tetrahedra.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
