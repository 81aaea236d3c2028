// coregeometry dump: everything in a model as text
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"

#include <BasicUtils/cls_Dump.h>
#include <iostream>

void cli_AddDump(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("dump", "Print everything in a model as text, for comparing and reading");
  auto file = std::make_shared<std::string>();
  command->add_option("MODEL", *file, "Model file (.cgdb)")->required();
  command->footer(
      "The same content gives the same text: roots are sorted, shared objects numbered, identifiers\n"
      "and time stamps left out, old layouts printed as what they are converted to.\n"
      "\n"
      "Example: what changed between two models\n"
      "  diff <(coregeometry dump old.cgdb) <(coregeometry dump new.cgdb)");
  command->callback([file] {
    cli_Console console;
    cls_Dump(cli_OpenModel(*file), std::cout);
  });
}
