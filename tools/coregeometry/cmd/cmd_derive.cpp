// coregeometry derive: a new variable computed from those of a run
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Values.h"

#include <CoreGeometry/odiC_Expression.h>
#include <CoreGeometry/odiC_RunWriter.h>

namespace {
struct Arguments {
  std::string file, mesh, name, formula, unit, storage = "float";
  bool json = false;
  cli_ValueArguments values;
};

template<class T> cow_ArrayCOW<T> Array(const std::vector<double>& values) {
  const std::vector<T> numbers(values.begin(), values.end());
  cow_ArrayCOW<T> array;
  array.Append(std::span<const T>(numbers));
  return array;
}

void Run(const Arguments& arguments) {
  cli_Console console;
  cls_Database model = cli_OpenModel(arguments.file, cls_Database::Mode::ReadWrite);
  const odiC_Run run = cli_OpenRun(model, arguments.mesh, arguments.values.run);
  const odiC_Expression expression(
      run, arguments.formula, cli_SelectionOf(run, arguments.values, cli_FrameDefault::All),
      arguments.values.atNodes ? std::optional(cli_ToNodesOf(arguments.values)) : std::nullopt);
  odiC_RunWriter writer(model, run.Root(), run.Mesh());
  odiC_Variable made(arguments.name, res_SCALAR, arguments.unit);
  made.description = arguments.formula;
  const int variable = writer.AddVariable(made);
  const std::vector<odiC_When> frames = expression.Frames();
  for (const odiC_When& when : frames) // before any work
    if (run.HasField(when.step, when.frame, run.Header().FindVariable(arguments.name)))
      throw nex_TextException(run.Root() + ": " + cli_WhenText(run, when) + " has " + arguments.name
                              + " already");
  long long numValues = 0, notNumbers = 0;
  for (const odiC_When& when : frames) {
    const odiC_Gathered gathered = odiC_Gather(*expression.Open(when));
    if (gathered.values.empty()) continue;
    numValues += static_cast<long long>(gathered.values.size());
    notNumbers += std::ranges::count_if(gathered.values, [](double value) { return std::isnan(value); });
    writer.GoTo(when.step, when.frame);
    const int layout = writer.AddLayout(gathered.layout);
    if (arguments.storage == "double")
      writer.PutField(variable, layout, Array<double>(gathered.values));
    else
      writer.PutField(variable, layout, Array<float>(gathered.values));
    writer.Commit();
  }
  if (arguments.json)
    return cli_PrintJson({{"file", arguments.file},
                          {"run", run.Root()},
                          {"variable", arguments.name},
                          {"formula", arguments.formula},
                          {"frames", frames.size()},
                          {"values", numValues},
                          {"notNumbers", notNumbers}});
  cli_Report() << "stored " << arguments.name << " in " << frames.size() << " frames of " << run.Root()
               << ", " << numValues << " values";
  if (notNumbers > 0) cli_Report() << ", of which " << notNumbers << " are not numbers";
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
  cli_AddValueOptions(command, arguments->values);
  command.Footer(
      "+ - * / ^ ( ), < <= > >= == != (0 or 1), abs sqrt cbrt exp log sin cos tan atan2 min max sign\n"
      "if(c, a, b); X Y Z of the place, T of the frame; NAME.xx, NAME.mises; \"any name\".xx in quotes.\n"
      "Angles are in radians. It is computed in every frame that has the variables, or in those chosen.\n"
      "\n"
      "Example:\n"
      "  coregeometry derive wing.cgdb utilisation \"S.mises / 235\"");
  command.OnRun([arguments] { Run(*arguments); });
}
