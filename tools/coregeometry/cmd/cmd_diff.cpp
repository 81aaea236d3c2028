// coregeometry diff: how two models differ
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Differences.h"
#include "cli_Model.h"

namespace {
struct Arguments {
  std::string first, second;
  double tolerance = 0;
  bool json = false;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  console.Begin("comparing " + arguments.first + " and " + arguments.second);
  const auto differences =
      cls_Diff(cli_OpenModel(arguments.first), cli_OpenModel(arguments.second), arguments.tolerance);
  console.End();
  if (arguments.json) {
    cli_PrintJson({{"first", arguments.first},
                   {"second", arguments.second},
                   {"tolerance", arguments.tolerance},
                   {"differences", cli_DifferencesJson(differences)}});
  } else {
    cli_PrintDifferences(differences);
  }
  if (!differences.empty()) throw cli_Incomplete();
}
} // namespace

void cli_AddDiff(cli_Command& program) {
  cli_Command command = program.AddCommand("diff", "Print where two models differ, by root and field");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("FIRST", arguments->first, "Model file (.cgdb)").Required();
  command.AddOption("SECOND", arguments->second, "Model file (.cgdb)").Required();
  command
      .AddOption("--tolerance", arguments->tolerance,
                 "Real numbers a and b are equal when |a - b| <= TOLERANCE * max(1, |a|, |b|)")
      .NonNegative()
      .ShowDefault();
  command.AddFlag("--json", arguments->json, "Print the differences as JSON");
  command.Footer("Exit codes: 0 no differences, 1 differences or wrong input.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry diff wing.cgdb wing-moved.cgdb --tolerance 1e-6");
  command.OnRun([arguments] { Run(*arguments); });
}
