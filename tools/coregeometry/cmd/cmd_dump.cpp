// coregeometry dump: everything in a model as text
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"

#include <BasicUtils/cls_Dump.h>
#include <iostream>

void cli_AddDump(cli_Command& program) {
  cli_Command command =
      program.AddCommand("dump", "Print everything in a model as text, for comparing and reading");
  auto file = std::make_shared<std::string>();
  command.AddOption("MODEL", *file, "Model file (.cgdb)").Required();
  command.Footer(
      "The same content gives the same text: roots are sorted, shared objects numbered, identifiers\n"
      "and time stamps left out, old layouts printed as what they are converted to.\n"
      "\n"
      "Example: what changed between two models\n"
      "  diff <(coregeometry dump old.cgdb) <(coregeometry dump new.cgdb)");
  command.OnRun([file] {
    cli_Console console;
    cls_Dump(cli_OpenModel(*file), std::cout);
  });
}
