// coregeometry fields: runs of results of a model and what they hold
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_FieldValues.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/odiC_Run.h>
#include <cmath>
#include <set>

namespace {
template<class Enum> const char* Text(Enum value) {
  return omu_FindText(omu_EnumTable<Enum>::entries, static_cast<int>(value));
}

/// What the fields of one variable have in common, over all frames.
class VariableFacts {
public:
  VariableFacts(const odiC_Run& run, int variable) : run_(run), index_(variable) {
    const std::vector<odiC_Step>& steps = run.Header().steps;
    for (int step = 0; step < static_cast<int>(steps.size()); ++step)
      for (int frame = 0; frame < steps[static_cast<std::size_t>(step)].NumFrames(); ++frame)
        if (run.HasField(step, frame, variable)) Add(run.Field(step, frame, variable));
  }

  cli_Json AsJson() const {
    const odiC_Variable& variable = run_.Header().variables[static_cast<std::size_t>(index_)];
    cli_Json components = cli_Json::array(), low = cli_Json::array(), high = cli_Json::array();
    for (int k = 0; k < variable.NumComponents(); ++k) {
      components.push_back(variable.ComponentName(k));
      low.push_back(low_.empty() ? cli_Json() : cli_Finite(low_[static_cast<std::size_t>(k)]));
      high.push_back(high_.empty() ? cli_Json() : cli_Finite(high_[static_cast<std::size_t>(k)]));
    }
    return {{"variable", variable.name},
            {"dataType", Text(variable.dataType)},
            {"unit", variable.unit},
            {"components", components},
            {"pair", Text(variable.pair)},
            {"positions", positions_},
            {"classes", classes_},
            {"storage", storages_},
            {"fields", numFields_},
            {"bytes", bytes_},
            {"low", low},
            {"high", high},
            {"notNumbers", notNumbers_}};
  }

private:
  void Add(const odiC_FieldReader& field) {
    ++numFields_;
    const long long size = field.Storage() == res_STORAGE_DOUBLE ? 8 : 4;
    bytes_ += field.NumRows() * field.NumComponents() * size;
    notNumbers_ += field.NumNotNumbers();
    storages_.insert(Text(field.Storage()));
    for (const odiC_LayoutBlock& block : field.Layout().blocks) {
      positions_.insert(Text(block.position));
      if (block.classIndex >= 0) classes_.insert(block.classIndex);
    }
    const auto join = [](std::vector<double>& all, const std::vector<double>& own, auto better) {
      if (all.empty()) all = own;
      for (std::size_t k = 0; k < own.size(); ++k)
        if (std::isnan(all[k]) || better(own[k], all[k])) all[k] = own[k];
    };
    join(low_, field.Low(), std::less<double>());
    join(high_, field.High(), std::greater<double>());
  }

  const odiC_Run& run_;
  int index_;
  std::set<cow_String> positions_, storages_;
  std::set<int> classes_;
  long long numFields_ = 0, bytes_ = 0, notNumbers_ = 0;
  std::vector<double> low_, high_;
};

cli_Json StepJson(const odiC_Step& step) {
  cli_Json values = cli_Json::array();
  for (const double value : step.values) values.push_back(value);
  return {{"step", step.name},
          {"kind", Text(step.kind)},
          {"domain", Text(step.domain)},
          {"startTime", step.startTime},
          {"frames", step.NumFrames()},
          {"values", values},
          {"histories", step.numHistories}};
}

cli_Json RunJson(const odiC_Run& run) {
  const odiC_Results& header = run.Header();
  cli_Json steps = cli_Json::array(), variables = cli_Json::array();
  for (const odiC_Step& step : header.steps) steps.push_back(StepJson(step));
  for (int i = 0; i < static_cast<int>(header.variables.size()); ++i)
    variables.push_back(VariableFacts(run, i).AsJson());
  return {{"run", run.Root()},         {"mesh", header.meshRoot}, {"description", header.description},
          {"program", header.program}, {"units", header.units},   {"steps", steps},
          {"variables", variables}};
}

cow_String Joined(const cli_Json& list) {
  cow_String text;
  for (const cli_Json& one : list)
    text += (text.empty() ? "" : ", ") + (one.is_string() ? one.get<std::string>() : one.dump());
  return text;
}

void PrintVariable(const cli_Json& facts) {
  cli_Out() << "  " << facts["variable"].get<std::string>() << ": " << facts["dataType"].get<std::string>();
  if (facts["components"].size() > 1) cli_Out() << " (" << Joined(facts["components"]) << ')';
  if (!facts["unit"].get<std::string>().empty()) cli_Out() << " in " << facts["unit"].get<std::string>();
  cli_Out() << ", " << (facts["fields"] == 0 ? cow_String("no field") : Joined(facts["positions"]));
  if (!facts["classes"].empty()) cli_Out() << ", classes " << Joined(facts["classes"]);
  cli_Out() << ", " << facts["fields"] << " fields of " << Joined(facts["storage"]) << ", " << facts["bytes"]
            << " bytes\n";
  if (facts["fields"] != 0)
    cli_Out() << "    from " << Joined(facts["low"]) << "\n    to   " << Joined(facts["high"]) << '\n';
  if (facts["notNumbers"] != 0) cli_Out() << "    " << facts["notNumbers"] << " values are not numbers\n";
}

void Print(const cli_Json& run) {
  cli_Out() << run["run"].get<std::string>() << ", of " << run["mesh"].get<std::string>() << '\n';
  for (const cli_Json& step : run["steps"]) {
    cli_Out() << "  step \"" << step["step"].get<std::string>() << "\", " << step["kind"].get<std::string>()
              << ", " << step["frames"] << " frames";
    if (!step["values"].empty())
      cli_Out() << ", " << step["domain"].get<std::string>() << ' ' << step["values"].front() << " to "
                << step["values"].back();
    if (step["histories"] != 0) cli_Out() << ", " << step["histories"] << " histories";
    cli_Out() << '\n';
  }
  for (const cli_Json& variable : run["variables"]) PrintVariable(variable);
}

void List(const cli_FieldArguments& arguments) {
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  cli_Json runs = cli_Json::array();
  {
    const cls_ReadView view(model);
    const cow_String mesh = arguments.mesh.empty() ? cow_String() : cli_ChooseMesh(model, arguments.mesh);
    for (const cow_String& root : odiC_Run::RootsOf(model, mesh))
      runs.push_back(RunJson(odiC_Run::Open(model, root)));
  }
  console.End();
  if (arguments.json) return cli_PrintJson({{"file", arguments.file}, {"runs", runs}});
  if (runs.empty()) cli_Out() << arguments.file << ": no results\n";
  for (const cli_Json& run : runs) Print(run);
}

void Run(const cli_FieldArguments& arguments) {
  if (arguments.variable.empty()) {
    if (arguments.AreReduced() || !arguments.output.file.empty())
      throw cli_UsageError("fields: of which variable? Give its name after the model");
    return List(arguments);
  }
  cli_Console console;
  const cls_Database model = cli_OpenModel(arguments.file);
  const cls_ReadView view(model);
  cli_PrintFieldValues(model, arguments);
}
} // namespace

void cli_AddFields(cli_Command& program) {
  cli_Command command =
      program.AddCommand("fields", "List results; print values, extremes and sums of a variable");
  auto arguments = std::make_shared<cli_FieldArguments>();
  cli_AddModelOptions(command, arguments->file, arguments->mesh, arguments->json);
  command.AddOption("variable", arguments->variable, "Name of a variable; without one all are listed");
  cli_AddFieldOptions(command, *arguments);
  command.Footer(
      "Without a variable: each run with its steps and variables, where the values sit, and the least and\n"
      "largest number of each component over all frames.\n"
      "With one: its values in the last frame, or in those that are chosen, or what is computed of them. "
      "The\n"
      "choices in force are printed first.\n"
      "\n"
      "Examples:\n"
      "  coregeometry fields wing.cgdb\n"
      "  coregeometry fields wing.cgdb S --invariant mises --max\n"
      "  coregeometry fields wing.cgdb U --set Tip --frame all -o tip.csv");
  command.OnRun([arguments] { Run(*arguments); });
}
