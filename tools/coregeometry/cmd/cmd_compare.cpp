// coregeometry compare: how two mesh files differ
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Differences.h"
#include "cli_Ledger.h"
#include "cli_Model.h"

#include <CoreGeometry/fmt_Compare.h>

namespace {
struct Arguments {
  std::string first, second;
  double tolerance = fmt_kSinglePrecision;
  bool json = false;
};

void Run(const Arguments& arguments) {
  for (const std::string& file : {arguments.first, arguments.second}) cli_ExpectFile(file, "a mesh");
  cli_Console console;
  console.Begin("comparing " + arguments.first + " and " + arguments.second);
  const fmt_Comparison found = fmt_CompareFiles(arguments.first, arguments.second, arguments.tolerance);
  console.End();
  if (arguments.json) {
    cli_PrintJson({{"first", arguments.first},
                   {"second", arguments.second},
                   {"tolerance", arguments.tolerance},
                   {"differences", cli_DifferencesJson(found.differences)},
                   {"notCompared", cli_LedgerJson(found.notCompared)}});
  } else {
    cli_PrintDifferences(found.differences);
    if (!found.notCompared.empty()) cli_PrintLedger(found.notCompared, "", "Counted, but not compared:");
  }
  if (!found.differences.empty()) throw cli_Incomplete();
}
} // namespace

void cli_AddCompare(cli_Command& program) {
  cli_Command command = program.AddCommand("compare", "Print where two mesh files differ");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("FIRST", arguments->first, "Mesh file; \"coregeometry formats\" lists what is read")
      .Required();
  command.AddOption("SECOND", arguments->second, "Mesh file").Required();
  command
      .AddOption("--tolerance", arguments->tolerance,
                 "Coordinates a and b are equal when |a - b| <= TOLERANCE * the largest of both files,\n"
                 "other real numbers when |a - b| <= TOLERANCE * max(|a|, |b|)")
      .NonNegative()
      .ShowDefault();
  command.AddFlag("--json", arguments->json, "Print the differences as JSON");
  command.Footer(
      "Two Exodus II files are compared by all that they hold of a mesh: coordinates, number maps, blocks,\n"
      "sets, attributes, distribution factors, properties, title, records; time steps and variables are\n"
      "left out. Other files are compared by the meshes and sets that they are read as.\n"
      "Exit codes: 0 no differences, 1 differences or wrong input.\n"
      "\n"
      "Example: what an import and an export changed\n"
      "  coregeometry compare bracket.exo exported.exo");
  command.OnRun([arguments] { Run(*arguments); });
}
