// coregeometry derive: a new variable computed from those of a run
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Values.h"

#include <CoreGeometry/odiC_Derive.h>

namespace {
struct Arguments {
  std::string file, mesh, name, formula, unit, storage = "float";
  bool json = false;
  cli_ValueArguments values;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  cls_Database model = cli_OpenModel(arguments.file, cls_Database::Mode::ReadWrite);
  const odiC_Run run = cli_OpenRun(model, arguments.mesh, arguments.values.run);
  const odiC_Expression expression(
      run, arguments.formula, cli_SelectionOf(run, arguments.values, cli_FrameDefault::All),
      arguments.values.atNodes ? std::optional(cli_ToNodesOf(arguments.values)) : std::nullopt);
  const odiC_Derived derived = odiC_Derive(
      model, run, expression,
      {.name = arguments.name, .unit = arguments.unit, .isDouble = arguments.storage == "double"});
  if (arguments.json)
    return cli_PrintJson({{"file", arguments.file},
                          {"run", run.Root()},
                          {"variable", arguments.name},
                          {"formula", arguments.formula},
                          {"frames", derived.numFrames},
                          {"values", derived.numValues},
                          {"notNumbers", derived.notNumbers}});
  cli_Report() << "stored " << arguments.name << " in " << derived.numFrames << " frames of " << run.Root()
               << ", " << derived.numValues << " values";
  if (derived.notNumbers > 0) cli_Report() << ", of which " << derived.notNumbers << " are not numbers";
  cli_Report() << '\n';
}
} // namespace

void cli_AddDerive(cli_Command& program) {
  cli_Command command = program.AddCommand("derive", "Store a variable that a formula computes from others");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->mesh, arguments->json);
  command.AddOption("variable", arguments->name, "Name of the new variable").Required();
  command.AddOption("formula", arguments->formula, "Such as \"S.mises / 235\"").Required();
  command.AddOption("--unit", arguments->unit, "Unit of the new variable");
  command.AddOption("--storage", arguments->storage, "float or double")
      .OneOf({"float", "double"})
      .ShowDefault();
  cli_AddValueOptions(command, arguments->values, /*hasQuantity=*/false);
  command.Footer(
      "+ - * / ^ ( ), < <= > >= == != (0 or 1), abs sqrt cbrt exp log sin cos tan atan2 min max sign\n"
      "if(c, a, b); X Y Z of the place, T of the frame; NAME.xx, NAME.mises; \"any name\".xx in quotes.\n"
      "Angles are in radians. It is computed in every frame that has the variables, or in those chosen.\n"
      "\n"
      "Example:\n"
      "  coregeometry derive wing.cgdb utilisation \"S.mises / 235\"");
  command.OnRun([arguments] { Run(*arguments); });
}
