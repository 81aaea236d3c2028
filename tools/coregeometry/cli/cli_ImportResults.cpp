#include "cli_ImportResults.h"

#include "cli_Console.h"
#include "cli_Words.h"

#include <algorithm>
#include <charconv>

namespace {
/// "A:B" or "A:B:STRIDE", -1 the last.
void SetFrames(fmt_ResultsOptions& options, const std::string& text) {
  int numbers[3] = {0, -1, 1};
  std::size_t at = 0;
  int count = 0;
  for (; at <= text.size() && count < 3; ++count) {
    const std::size_t colon = std::min(text.find(':', at), text.size());
    const auto [end, error] = std::from_chars(text.data() + at, text.data() + colon, numbers[count]);
    if (error != std::errc() || end != text.data() + colon) count = 9;
    at = colon + 1;
  }
  if (count > 3 || at <= text.size())
    throw cli_UsageError("--frames " + text + ": give FIRST:LAST or FIRST:LAST:STRIDE");
  if (count == 1) numbers[1] = numbers[0];
  options.firstFrame = numbers[0];
  options.lastFrame = numbers[1];
  options.stride = numbers[2];
}

} // namespace

void cli_AddResultsOptions(cli_Command command, cli_ResultsArguments& arguments) {
  command.AddFlag("--no-results", arguments.isLeftOut, "Leave time steps and variables alone");
  command.AddOption("--run", arguments.run, "Name of the run of results; that of the mesh by default");
  cli_AddNames(command, "--variables", arguments.variables, "Carry these variables alone");
  command.AddOption("--frames", arguments.frames, "Time steps FIRST:LAST:STRIDE, from 0; -1 is the last")
      .TypeName("A:B:S");
  command.AddOption("--storage", arguments.storage, "Precision of results: float or double")
      .OneOf({"float", "double"});
  command.AddOption("--step-kind", arguments.stepKind,
                    "What the steps are: static, frequency, buckling, transient, harmonic or steady");
  command
      .AddOption("--group", arguments.groups,
                 "Scalars that make one variable, NAME=a,b,c or NAME=a,b,c:TYPE; can be given again")
      .Repeatable();
  cli_AddNames(command, "--no-group", arguments.ungrouped, "Variables whose scalars stay apart; all for all");
  command.AddOption("--point-order", arguments.pointOrder,
                    "Number in the file of each integration point of ours, as 1,2,4,3");
}

fmt_ResultsOptions cli_ResultsOptions(const cli_ResultsArguments& arguments) {
  fmt_ResultsOptions options;
  if (arguments.run.find('/') != std::string::npos)
    throw cli_UsageError("--run " + arguments.run + ": the name of a run has no /");
  options.variables.assign(arguments.variables.begin(), arguments.variables.end());
  if (!arguments.frames.empty()) SetFrames(options, arguments.frames);
  options.isDouble = arguments.storage == "double";
  if (!arguments.stepKind.empty()) {
    cow_String text = arguments.stepKind;
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const omu_EnumEntry* kind = omu_FindValue(omu_EnumTable<odiC_StepKindEnm>::entries, text);
    if (!kind) throw cli_UsageError("--step-kind " + arguments.stepKind + " is no kind of step");
    options.stepKind = static_cast<odiC_StepKindEnm>(kind->value);
  }
  try {
    for (const std::string& group : arguments.groups) options.rules.AddOwn(group);
  } catch (const nex_TextException& error) {
    throw cli_UsageError("--group: " + error.Message());
  }
  options.rules.ungrouped.assign(arguments.ungrouped.begin(), arguments.ungrouped.end());
  if (!arguments.pointOrder.empty()) {
    options.pointOrder = cli_LabelsOf("--point-order", {arguments.pointOrder});
    std::vector<int> sorted = options.pointOrder;
    std::ranges::sort(sorted);
    for (std::size_t i = 0; i < sorted.size(); ++i)
      if (sorted[i] != static_cast<int>(i) + 1)
        throw cli_UsageError("--point-order " + arguments.pointOrder + ": give each point from 1 once");
  }
  return options;
}

cli_Json cli_VariableJson(const fmt_PlannedVariable& planned) {
  const auto text = [](auto value) {
    return omu_FindText(omu_EnumTable<decltype(value)>::entries, static_cast<int>(value));
  };
  return {{"variable", planned.variable.name},
          {"dataType", text(planned.variable.dataType)},
          {"pair", text(planned.variable.pair)},
          {"positions", planned.positions},
          {"from", planned.scalars}};
}

void cli_PrintVariables(const fmt_ResultsSummary& results) {
  for (const fmt_PlannedVariable& planned : results.variables) {
    const cli_Json facts = cli_VariableJson(planned);
    cli_Report() << "  " << planned.variable.name << ": " << facts["dataType"].get<std::string>()
                 << (planned.variable.IsComplex() ? ", complex" : "");
    const char* separator = ", ";
    for (const cow_String& position : planned.positions) {
      cli_Report() << separator << position;
      separator = "; ";
    }
    constexpr std::size_t kMost = 9;
    if (planned.scalars.size() > 1) cli_Report() << ", from";
    for (std::size_t i = 0; planned.scalars.size() > 1 && i < std::min(kMost, planned.scalars.size()); ++i)
      cli_Report() << ' ' << planned.scalars[i];
    if (planned.scalars.size() > kMost) cli_Report() << " and " << planned.scalars.size() - kMost << " more";
    cli_Report() << '\n';
  }
}
