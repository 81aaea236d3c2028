// coregeometry history: quantities over the frames of a run
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_ValueTable.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreUtils/atr_Near.h>
#include <cmath>
#include <map>

namespace {
struct Arguments {
  std::string file, mesh, name;
  bool json = false;
  cli_ValueArguments values;
  cli_OutputArguments output;

  bool HasPlaces() const {
    const cli_ValueArguments& v = values;
    return !v.nodes.empty() || !v.elements.empty() || !v.set.empty() || !v.box.empty() || !v.category.empty()
           || v.classIndex >= 0;
  }
};

struct StoredHistory {
  int step;
  odiC_History history;
};
std::vector<StoredHistory> HistoriesOf(const odiC_Run& run) {
  std::vector<StoredHistory> all;
  for (int step = 0; step < static_cast<int>(run.Header().steps.size()); ++step)
    for (int i = 0; i < run.Header().steps[static_cast<std::size_t>(step)].numHistories; ++i)
      all.push_back({step, run.History(step, i)});
  return all;
}

void List(const odiC_Run& run, const Arguments& arguments) {
  cli_Json histories = cli_Json::array();
  for (const auto& [step, history] : HistoriesOf(run)) {
    const auto [low, high] = std::ranges::minmax_element(history.values);
    odiC_PlaceLabel place{.position = history.position,
                          .label = history.label,
                          .point = history.point,
                          .sectionPoint = {},
                          .region = history.region};
    histories.push_back({{"history", history.name},
                         {"step", run.Header().steps[static_cast<std::size_t>(step)].name},
                         {"values", history.values.size()},
                         {"low", history.values.empty() ? cli_Json() : cli_Finite(*low)},
                         {"high", history.values.empty() ? cli_Json() : cli_Finite(*high)}});
    histories.back().update(cli_PlaceJson(place));
  }
  if (arguments.json) return cli_PrintJson({{"run", run.Root()}, {"histories", histories}});
  cli_Out() << run.Root() << ": " << histories.size() << " histories\n";
  for (const cli_Json& one : histories)
    cli_Out() << "  " << one["history"].get<std::string>() << ", step \"" << one["step"].get<std::string>()
              << "\", " << one["values"] << " values from " << one["low"] << " to " << one["high"] << '\n';
}

/// Rows of frames, with one column for each quantity.
class Table {
public:
  Table(const odiC_Run& run, const Arguments& arguments) : run_(run), arguments_(arguments) {}

  void Put(int step, double value, int frame, const cow_String& column, double number) {
    const auto known = std::ranges::find(columns_, column);
    const auto at = static_cast<std::size_t>(known - columns_.begin());
    if (known == columns_.end()) columns_.push_back(column);
    std::vector<double>& row = rows_[{step, frame, value}];
    row.resize(std::max(row.size(), at + 1), std::nan(""));
    row[at] = number;
  }

  void Print(const cli_Json& choices) {
    if (arguments_.output.file.empty() && !arguments_.json) {
      cli_PrintChoices(choices);
      cli_Out() << "columns: ";
      for (std::size_t i = 0; i < columns_.size(); ++i) cli_Out() << (i > 0 ? "; " : "") << columns_[i];
      cli_Out() << '\n';
    }
    cli_ValueTable table(arguments_.output, {arguments_.file}, arguments_.json,
                         {{"choices", choices}, {"columns", columns_}}, columns_,
                         static_cast<long long>(rows_.size()));
    for (auto& [key, values] : rows_) {
      const auto& [stepIndex, frame, value] = key;
      const odiC_Step& step = run_.Header().steps[static_cast<std::size_t>(stepIndex)];
      values.resize(columns_.size(), std::nan(""));
      const double total = step.domain == odiC_TIME ? step.startTime + value : std::nan("");
      const cli_Column before[] = {
          {"step", step.name}, {"frame", frame}, {"value", value}, {"totalTime", cli_Finite(total)}};
      cow_String text = cli_WhenText(run_, {stepIndex, frame, value});
      if (!std::isnan(total) && step.startTime != 0) text += ", total time " + cli_ShortNumber(total);
      table.Row(before, text, values);
    }
    table.End();
  }

private:
  const odiC_Run& run_;
  const Arguments& arguments_;
  std::vector<cow_String> columns_;
  std::map<std::tuple<int, int, double>, std::vector<double>> rows_; ///< by step, frame and value
};

void PrintStored(const odiC_Run& run, const Arguments& arguments) {
  const std::vector<StoredHistory> all = HistoriesOf(run);
  Table table(run, arguments);
  bool isThere = false;
  std::vector<cow_String> names;
  for (const auto& [step, history] : all) {
    names.push_back(history.name);
    if (history.name != arguments.name) continue;
    isThere = true;
    for (std::size_t i = 0; i < history.values.size(); ++i)
      table.Put(step, history.domainValues[i], static_cast<int>(i), history.name, history.values[i]);
  }
  if (!isThere) {
    if (run.Header().FindVariable(arguments.name) >= 0)
      throw cli_UsageError(
          "history " + arguments.name
          + ": a variable has values at many places; choose some with --node, --element or --set");
    throw nex_TextException(run.Root() + ": no history \"" + arguments.name + '"'
                            + atr_Alternatives(arguments.name, names));
  }
  table.Print(
      {{"run", run.Root()}, {"variable", arguments.name}, {"unit", ""}, {"components", cli_Json::array()}});
}

void PrintValues(const odiC_Run& run, const Arguments& arguments) {
  const odiC_Values values = cli_ValuesOf(run, arguments.name, arguments.values, cli_FrameDefault::All);
  const std::vector<cow_String> components = values.Components();
  Table table(run, arguments);
  constexpr long long kMostColumns = 10000;
  for (const odiC_When& when : values.Frames()) {
    const odiC_SourcePointer source = values.Open(when);
    const auto width = static_cast<std::size_t>(source->NumComponents());
    if (source->Places().NumRows() * static_cast<long long>(width) > kMostColumns)
      throw cli_UsageError("history " + arguments.name + ": " + std::to_string(source->Places().NumRows())
                           + " places; choose fewer, or use fields --frame all");
    odiC_ForEachRange(*source, [&](const odiC_Range& range) {
      for (const odiC_RowRun& rows : range.rows)
        for (int row = rows.first; row < rows.End(); ++row) {
          const odiC_PlaceLabel place = odiC_LabelOf(run, *source, row);
          for (std::size_t k = 0; k < width; ++k)
            table.Put(when.step, when.value, when.frame,
                      place.Text() + (components[k].empty() ? "" : " " + components[k]),
                      range.values[static_cast<std::size_t>(row - range.firstRow) * width + k]);
        }
    });
  }
  table.Print(cli_ChoicesJson(values));
}

void Run(const Arguments& arguments) {
  cli_Console console;
  const cls_Database model = cli_OpenModel(arguments.file);
  const cls_ReadView view(model);
  const odiC_Run run = cli_OpenRun(model, arguments.mesh, arguments.values.run);
  if (arguments.name.empty()) return List(run, arguments);
  if (arguments.HasPlaces()) return PrintValues(run, arguments);
  PrintStored(run, arguments);
}
} // namespace

void cli_AddHistory(cli_Command& program) {
  cli_Command command =
      program.AddCommand("history", "Print stored histories, or values at some places over all frames");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->mesh, arguments->json);
  command.AddOption("history", arguments->name,
                    "A history, or a variable together with places; without one all are listed");
  cli_AddValueOptions(command, arguments->values);
  cli_AddOutputOptions(command, arguments->output, cli_kTableFormats,
                       "File for the table: .csv, .json or .npy");
  command.Option("--output").Required(false);
  command.Footer("One line for each frame, one column for each place and component.\n"
                 "\n"
                 "Examples:\n"
                 "  coregeometry history wing.cgdb\n"
                 "  coregeometry history wing.cgdb U --node 1012 -o tip.csv");
  command.OnRun([arguments] { Run(*arguments); });
}
