// coregeometry envelope: the worst of several frames, place by place
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_ValueTable.h"
#include "cli_Words.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/odiC_Derive.h>
#include <CoreGeometry/odiC_OverFrames.h>
#include <CoreGeometry/odiC_RunWriter.h>

namespace {
constexpr std::pair<const char*, odiC_OverFrames> kKinds[] = {
    {"max", odiC_OverFrames::Max},     {"min", odiC_OverFrames::Min},   {"absmax", odiC_OverFrames::AbsMax},
    {"range", odiC_OverFrames::Range}, {"mean", odiC_OverFrames::Mean}, {"rms", odiC_OverFrames::Rms}};

struct Arguments {
  std::string file, mesh, variable, kind, stored;
  bool json = false;
  int limit = 100;
  cli_ValueArguments values;
  cli_OutputArguments output;
};

odiC_OverFrames KindOf(const std::string& text) {
  for (const auto& [name, kind] : kKinds)
    if (text == name) return kind;
  throw cli_UsageError("--kind " + text + ": give max, min, absmax, range, mean or rms");
}

/// The number of the frame for each row, or of the frames looked at when they are of several steps.
std::vector<int> FrameNumbers(const odiC_FramesResult& result) {
  const bool isOneStep = result.frames.front().step == result.frames.back().step;
  std::vector<int> numbers;
  numbers.reserve(result.frameOf.size());
  for (const int at : result.frameOf)
    numbers.push_back(at < 0      ? odiC_kMissingInteger
                      : isOneStep ? result.frames[static_cast<std::size_t>(at)].frame
                                  : at);
  return numbers;
}

/// Means and ranges are of no single frame.
bool HasFrames(const odiC_FramesResult& result) {
  return std::ranges::any_of(result.frameOf, [](int frame) { return frame >= 0; });
}

void Store(const Arguments& arguments, cls_Database& model, const odiC_Values& values,
           odiC_FramesResult& result) {
  const odiC_Gathered gathered = odiC_Gather(*result.values);
  if (gathered.values.empty()) throw nex_TextException(arguments.file + ": no values to store");
  const std::vector<int> numbers = FrameNumbers(result);
  std::vector<double> frames;
  frames.reserve(numbers.size());
  for (const int number : numbers) frames.push_back(number == odiC_kMissingInteger ? std::nan("") : number);
  const odiC_SourcePointer ofRows = odiC_Kept(result.values->Places(), 1, std::move(frames));
  const odiC_Gathered gatheredFrames = odiC_Gather(*ofRows);
  odiC_RunWriter run(model, values.Run().Root(), values.Run().Mesh());
  odiC_Variable made(arguments.stored, res_SCALAR, values.Variable().unit);
  made.description = arguments.kind + " of " + values.Text();
  const int variable = run.AddVariable(made), layout = run.AddLayout(gathered.layout);
  run.BeginStep(arguments.kind + " of " + arguments.stored, odiC_UNDEFINED_STEP, odiC_NO_DOMAIN);
  run.BeginFrame({.description = made.description});
  odiC_PutValues(run, variable, layout, gathered.values);
  if (HasFrames(result)) {
    std::vector<int> integers;
    for (const double frame : gatheredFrames.values)
      integers.push_back(std::isnan(frame) ? odiC_kMissingInteger : static_cast<int>(frame));
    cow_ArrayCOW<int> array;
    array.Append(std::span<const int>(integers));
    run.PutField(run.AddVariable(odiC_Variable(arguments.stored + " frame", res_INTEGER)), layout, array);
  }
  run.Commit();
  const cow_String step = run.Header().steps.back().name;
  if (arguments.json)
    return cli_PrintJson({{"file", arguments.file},
                          {"run", values.Run().Root()},
                          {"variable", arguments.stored},
                          {"step", step},
                          {"frames", result.frames.size()},
                          {"values", gathered.values.size()}});
  cli_Report() << "stored " << arguments.stored << " in step \"" << step << "\" of " << values.Run().Root()
               << '\n';
}

void Run(const Arguments& arguments) {
  const odiC_OverFrames kind = KindOf(arguments.kind);
  cli_Console console;
  cls_Database model =
      cli_OpenModel(arguments.file,
                    arguments.stored.empty() ? cls_Database::Mode::ReadOnly : cls_Database::Mode::ReadWrite);
  const odiC_Run run = cli_OpenRun(model, arguments.mesh, arguments.values.run);
  const odiC_Values values = cli_ValuesOf(run, arguments.variable, arguments.values, cli_FrameDefault::All);
  odiC_FramesResult result = odiC_Over(values, kind);
  if (!arguments.stored.empty()) return Store(arguments, model, values, result);
  cli_Json choices = cli_ChoicesJson(values);
  choices["kind"] = arguments.kind;
  choices["frames"] = std::to_string(result.frames.size());
  const bool hasFrames = HasFrames(result);
  std::vector<cow_String> columns = {arguments.kind};
  if (hasFrames) columns.emplace_back("frame");
  cli_TableRows rows({&arguments.output, {arguments.file}, arguments.json, arguments.limit}, run, choices,
                     columns, result.values->Places().NumRows());
  if (!arguments.json && arguments.output.file.empty())
    cli_Out() << "columns: " << arguments.kind << (hasFrames ? "; frame\n" : "\n");
  const std::vector<int> numbers = FrameNumbers(result);
  rows.Add(*result.values, nullptr, [&](int row, std::vector<double>& numbersOfRow) {
    if (!hasFrames) return;
    const int number = numbers[static_cast<std::size_t>(row)];
    numbersOfRow.push_back(number == odiC_kMissingInteger ? std::nan("") : number);
  });
  rows.End();
}
} // namespace

void cli_AddEnvelope(cli_Command& program) {
  cli_Command command = program.AddCommand("envelope", "Worst or mean of several frames at each place");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->mesh, arguments->json);
  command.AddOption("variable", arguments->variable, "Name of the variable").Required();
  command.AddOption("--kind", arguments->kind, "max, min, absmax, range, mean or rms").Required();
  command.AddOption("--store", arguments->stored, "Store it as this variable, in a step of its own");
  cli_AddValueOptions(command, arguments->values);
  cli_AddTableOptions(command, arguments->output, arguments->limit);
  command.Footer(
      "An invariant is taken in each frame first. The frame of the worst value is printed beside it, the\n"
      "first of equal ones; means are weighted by time in steps over time.\n"
      "\n"
      "Example:\n"
      "  coregeometry envelope wing.cgdb S --invariant mises --kind max -o worst.csv");
  command.OnRun([arguments] { Run(*arguments); });
}
