// coregeometry upgrade: objects in superseded layouts are rewritten in the current ones
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
  console.Begin("upgrading " + arguments.file);
  cls_Database model = cls_Database::Open(arguments.file, cls_Database::Mode::ReadWrite);
  const long long count = model.Upgrade();
  console.End();
  if (arguments.json)
    cli_PrintJson({{"file", arguments.file}, {"upgraded", count}});
  else if (count == 0)
    std::cout << arguments.file << ": every object is stored in its current layout\n";
  else
    std::cout << arguments.file << ": " << count << " objects rewritten in their current layout\n";
}
} // namespace

void cli_AddUpgrade(CLI::App& app) {
  CLI::App* command = app.add_subcommand("upgrade", "Rewrite objects of older layouts in the current one");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("MODEL", arguments->file, "Model file (.cgdb)")->required();
  command->add_flag("--json", arguments->json, "Print the facts as JSON");
  command->footer(
      "Reading never needs it: old layouts are converted as they are read. \"coregeometry info\" tells\n"
      "whether a model has any. All objects are rewritten, or none.\n"
      "\n"
      "Example:\n"
      "  coregeometry upgrade old-wing.cgdb");
  command->callback([arguments] { Run(*arguments); });
}
