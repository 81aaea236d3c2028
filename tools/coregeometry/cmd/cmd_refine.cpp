// coregeometry refine: every element in elements of half the size
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"

#include <CoreGeometry/bme_DivideMesh.h>

namespace {
void Run(const cli_EditArguments& arguments) {
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  console.Begin("refining");
  const bme_Edited edited = bme_RefineMesh(source.all);
  console.End();
  cli_StoreEdited(arguments, source, edited,
                  {{"elementsBefore", source.all.mesh.ElementData().NumElements()}});
}
} // namespace

void cli_AddRefine(cli_Command& program) {
  cli_Command command = program.AddCommand("refine", "Divide every element into ones of half the size");
  auto arguments = std::make_shared<cli_EditArguments>();
  cli_AddEditOptions(command, *arguments);
  command.Footer("The first of the new elements keeps the label; sets have all of them.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry refine bracket.cgdb -o fine.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
