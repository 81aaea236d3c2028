// coregeometry compact: gives unused space of a model back to the file system
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"

#include <iostream>

namespace {
struct Arguments {
  std::string file;
  bool json = false;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  console.Begin("compacting " + arguments.file);
  cls_Database model = cli_OpenModel(arguments.file, cls_Database::Mode::ReadWrite);
  const long long before = model.FileSize();
  model.Compact();
  const long long after = model.FileSize();
  console.End();
  if (arguments.json)
    cli_PrintJson({{"file", arguments.file}, {"bytesBefore", before}, {"bytesAfter", after}});
  else
    cli_Report() << arguments.file << ": " << before << " bytes before, " << after << " bytes now\n";
}
} // namespace

void cli_AddCompact(cli_Command& program) {
  cli_Command command =
      program.AddCommand("compact", "Delete what nothing refers to and give the space back");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("MODEL", arguments->file, "Model file (.cgdb)").Required();
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  command.Footer(
      "A model whose meshes were replaced keeps the space of the old ones for new ones; this command\n"
      "returns it. It needs as much free space as the model has, for as long as it runs.\n"
      "\n"
      "Example:\n"
      "  coregeometry compact wing.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
