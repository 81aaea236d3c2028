// coregeometry export: a mesh of a model as a file for other programs
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Export.h"

namespace {
void Run(const cli_ExportArguments& arguments) {
  cli_Console console;
  uti_OutputFile output = cli_OpenOutput(arguments.output, cli_ExportFormats(), {arguments.file});
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  cli_ExportMesh(arguments, output, model, root, console);
}
} // namespace

void cli_AddExport(cli_Command& program) {
  cli_Command command = program.AddCommand("export", "Write a mesh of a model as a file for other programs");
  auto arguments = std::make_shared<cli_ExportArguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  cli_AddOutputOptions(command, arguments->output, cli_ExportFormats(),
                       "File to write, as .exo, .vtu or .msh; \"coregeometry formats\" lists all");
  arguments->AddTo(command);
  command.Footer(
      "Labels and sets go along, and what the file cannot hold is listed at the end. An Exodus II file\n"
      "becomes the same mesh when it is imported again, except for what is listed. A VTU file has labels\n"
      "and classes as arrays, and sets of nodes and elements as arrays of 0 and 1. Results go along into\n"
      "Exodus II files, into a PVD file with a VTU file for each frame, and the last frame into a VTU file.\n"
      "\n"
      "Examples:\n"
      "  coregeometry export bracket.cgdb -o bracket.exo\n"
      "  coregeometry export bracket.cgdb -o bracket.vtu\n"
      "  coregeometry export bracket.cgdb -o bracket.pvd --separate\n"
      "  coregeometry export bracket.cgdb -o bracket.glb");
  command.OnRun([arguments] { Run(*arguments); });
}
