// coregeometry order: linear elements to quadratic ones, or back
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_DivideMesh.h>

namespace {
struct Arguments : cli_EditArguments {
  bool quadratic = false, linear = false;
  std::vector<std::string> map;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  if (arguments.quadratic == arguments.linear) throw cli_UsageError("give --quadratic or --linear");
  const bme_TypeChoice types = cli_TypeChoice(arguments.map);
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  console.Begin("changing the order");
  const bme_Edited edited = bme_ChangeOrder(source.all, arguments.quadratic, types);
  console.End();
  cli_StoreEdited(arguments, source, edited, {{"nodesBefore", source.all.mesh.NodeData().NumNodes()}});
}
} // namespace

void cli_AddOrder(cli_Command& program) {
  cli_Command command = program.AddCommand("order", "Make linear elements quadratic, or back");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  command.AddFlag("--quadratic", arguments->quadratic, "Add mid nodes");
  command.AddFlag("--linear", arguments->linear, "Drop mid nodes");
  cli_AddNames(command, "--map", arguments->map, "Types to use, as C3D8=C3D27");
  command.Footer("Mid nodes are shared by neighbours, and join the node sets that have both ends.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry order bracket.cgdb --quadratic -o quadratic.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
