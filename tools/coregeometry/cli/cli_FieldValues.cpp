#include "cli_FieldValues.h"

#include "cli_Console.h"
#include "cli_ValueTable.h"
#include "cli_Words.h"

#include <CoreGeometry/odiC_Integral.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <cmath>

namespace {
cli_Json ExtremeJson(const odiC_Run& run, const odiC_Extreme& extreme) {
  cli_Json json = {{"value", cli_Finite(extreme.value)}};
  json.update(cli_PlaceJson(extreme.place));
  const cli_Json when = cli_WhenJson(run, extreme.when);
  json["step"] = when["step"];
  json["frame"] = when["frame"];
  json["frameValue"] = when["value"];
  return json;
}

class Reductions {
public:
  Reductions(const odiC_Values& values, const cli_FieldArguments& arguments)
      : values_(values), arguments_(arguments), choices_(cli_ChoicesJson(values)) {}

  void Print() {
    cli_Json answer = {{"choices", choices_}};
    if (!arguments_.json) cli_PrintChoices(choices_);
    bool hasValues = true;
    if (arguments_.max || arguments_.min || arguments_.absMax || arguments_.mean || arguments_.sum)
      hasValues = AddReduced(answer);
    if (arguments_.integral) AddIntegrals(answer);
    if (arguments_.flux) AddFlux(answer);
    if (arguments_.resultant) AddResultant(answer);
    if (arguments_.histogram > 0) AddHistogram(answer);
    if (arguments_.json) cli_PrintJson(answer);
    if (hasValues) return;
    std::cerr << "no values: " << cli_Printable(values_.Text()) << '\n';
    throw cli_Incomplete();
  }

private:
  bool AddReduced(cli_Json& answer) {
    const std::vector<odiC_Reduced> frames =
        odiC_Reduce(values_, arguments_.mean || arguments_.sum ? odiC_Wanted::All : odiC_Wanted::Extremes);
    long long count = 0, notNumbers = 0;
    for (const odiC_Reduced& frame : frames) {
      count += frame.count;
      notNumbers += frame.notNumbers;
    }
    answer["count"] = count;
    answer["notNumbers"] = notNumbers;
    AddExtreme(answer, "max", arguments_.max, frames, &odiC_Reduced::max, [](double v) { return v; });
    AddExtreme(answer, "min", arguments_.min, frames, &odiC_Reduced::min, [](double v) { return -v; });
    AddExtreme(answer, "absMax", arguments_.absMax, frames, &odiC_Reduced::absMax,
               [](double v) { return std::abs(v); });
    AddTotal(answer, "mean", arguments_.mean, frames, &odiC_Reduced::mean);
    AddTotal(answer, "sum", arguments_.sum, frames, &odiC_Reduced::sum);
    if (notNumbers > 0 && !arguments_.json)
      cli_Out() << notNumbers << " values are not numbers and are left out\n";
    return count > 0;
  }

  template<class Measure>
  void AddExtreme(cli_Json& answer, const char* name, bool isWanted, const std::vector<odiC_Reduced>& frames,
                  std::optional<odiC_Extreme> odiC_Reduced::*which, const Measure& measure) {
    if (!isWanted) return;
    const odiC_Extreme* best = nullptr;
    for (const odiC_Reduced& frame : frames)
      if (const auto& one = frame.*which; one && (!best || measure(one->value) > measure(best->value)))
        best = &*one;
    if (!best) return;
    answer[name] = ExtremeJson(values_.Run(), *best);
    if (!arguments_.json)
      cli_Out() << name << ": " << cli_ShortNumber(best->value) << " at " << best->place.Text() << ", "
                << cli_WhenText(values_.Run(), best->when) << '\n';
  }

  void AddTotal(cli_Json& answer, const char* name, bool isWanted, const std::vector<odiC_Reduced>& frames,
                double odiC_Reduced::*which) {
    if (!isWanted) return;
    answer[name] = cli_Json::array();
    for (const odiC_Reduced& frame : frames) {
      cli_Json one = cli_WhenJson(values_.Run(), frame.when);
      one[name] = cli_Finite(frame.*which);
      one["count"] = frame.count;
      answer[name].push_back(one);
      if (!arguments_.json)
        cli_Out() << name << ": " << cli_ShortNumber(frame.*which) << " of " << frame.count << " values, "
                  << cli_WhenText(values_.Run(), frame.when) << '\n';
    }
  }

  void AddIntegrals(cli_Json& answer) {
    constexpr const char* kOver[] = {"", "length", "area", "volume"};
    const std::vector<cow_String> components = values_.Components();
    answer["integral"] = cli_Json::array();
    for (const odiC_IntegralOf& one : odiC_Integrate(values_)) {
      const char* over = kOver[one.dims];
      cli_Json json = cli_WhenJson(values_.Run(), one.when);
      json["over"] = over;
      json["integrals"] = one.integrals;
      json["measure"] = one.measure;
      json["elements"] = one.numElements;
      json["inverted"] = one.inverted;
      json["notNumbers"] = one.notNumbers;
      answer["integral"].push_back(json);
      if (arguments_.json) continue;
      for (std::size_t k = 0; k < components.size(); ++k)
        cli_Out() << "integral" << (components[k].empty() ? cow_String() : " of " + components[k])
                  << " over the " << over << ' ' << cli_ShortNumber(one.measure) << " of " << one.numElements
                  << " elements: " << cli_ShortNumber(one.integrals[k]) << ", mean "
                  << cli_ShortNumber(one.Mean(k)) << ", " << cli_WhenText(values_.Run(), one.when) << '\n';
      if (!one.inverted.empty())
        cli_Out() << one.inverted.size() << " elements are inside out and count negative\n";
      if (one.notNumbers > 0) cli_Out() << one.notNumbers << " elements have values that are no numbers\n";
    }
  }

  void AddFlux(cli_Json& answer) {
    if (arguments_.values.set.empty())
      throw cli_UsageError("--flux: through which surface? Name it with --set");
    answer["flux"] = cli_Json::array();
    for (const odiC_FaceIntegralOf& one : odiC_IntegrateFaces(values_, arguments_.values.set, true)) {
      cli_Json json = cli_WhenJson(values_.Run(), one.when);
      json["flux"] = one.integrals[0];
      json["area"] = one.area;
      json["faces"] = one.numFaces;
      json["notNumbers"] = one.notNumbers;
      answer["flux"].push_back(json);
      if (!arguments_.json)
        cli_Out() << "flux through " << one.numFaces << " faces of area " << cli_ShortNumber(one.area) << ": "
                  << cli_ShortNumber(one.integrals[0]) << ", " << cli_WhenText(values_.Run(), one.when)
                  << '\n';
    }
  }

  void AddResultant(cli_Json& answer) {
    answer["resultant"] = cli_Json::array();
    for (const odiC_ResultantOf& one : odiC_Resultant(values_, *arguments_.resultant)) {
      cli_Json json = cli_WhenJson(values_.Run(), one.when);
      json["force"] = one.force;
      json["moment"] = one.moment;
      json["notNumbers"] = one.notNumbers;
      answer["resultant"].push_back(json);
      const auto triple = [](const std::array<double, 3>& v) {
        return cli_ShortNumber(v[0]) + " " + cli_ShortNumber(v[1]) + " " + cli_ShortNumber(v[2]);
      };
      if (!arguments_.json)
        cli_Out() << "force " << triple(one.force) << ", moment " << triple(one.moment) << ", "
                  << cli_WhenText(values_.Run(), one.when) << '\n';
    }
  }

  void AddHistogram(cli_Json& answer) {
    const odiC_Histogram histogram = odiC_HistogramOf(values_, arguments_.histogram);
    answer["histogram"] = {{"low", histogram.low}, {"high", histogram.high}, {"counts", histogram.counts}};
    if (arguments_.json) return;
    const auto count = static_cast<double>(histogram.counts.size());
    for (std::size_t i = 0; i < histogram.counts.size(); ++i) {
      const auto border = [&](std::size_t k) {
        return histogram.low + (histogram.high - histogram.low) * static_cast<double>(k) / count;
      };
      cli_Out() << cli_ShortNumber(border(i)) << " to " << cli_ShortNumber(border(i + 1)) << ": "
                << histogram.counts[i] << '\n';
    }
  }

  const odiC_Values& values_;
  const cli_FieldArguments& arguments_;
  cli_Json choices_;
};

/// Rows of all frames, up to the limit on the screen.
void PrintRows(const odiC_Values& values, const cli_FieldArguments& arguments) {
  const std::vector<odiC_When> frames = values.Frames();
  std::vector<odiC_SourcePointer> sources;
  long long numRows = 0;
  for (const odiC_When& when : frames) {
    sources.push_back(values.Open(when));
    numRows += sources.back()->Places().NumRows();
  }
  cli_TableRows rows({&arguments.output, {arguments.file}, arguments.json, arguments.limit}, values.Run(),
                     cli_ChoicesJson(values), values.Components(), numRows);
  for (std::size_t i = 0; i < frames.size(); ++i) rows.Add(*sources[i], &frames[i]);
  rows.End();
}
} // namespace

void cli_AddFieldOptions(cli_Command command, cli_FieldArguments& arguments) {
  cli_AddValueOptions(command, arguments.values);
  const char* group = "Answers";
  command
      .AddFlag("--max", arguments.max,
               "Largest value with its place and frame; of all frames unless some are chosen")
      .Group(group);
  command.AddFlag("--min", arguments.min, "Least value").Group(group);
  command.AddFlag("--absmax", arguments.absMax, "Value farthest from zero, with its sign").Group(group);
  command.AddFlag("--mean", arguments.mean, "Mean of the values of each frame").Group(group);
  command.AddFlag("--sum", arguments.sum, "Sum of the values of each frame").Group(group);
  command
      .AddFlag("--integral", arguments.integral,
               "Integral and mean over volumes, areas and lengths of elements")
      .Group(group);
  command.AddFlag("--flux", arguments.flux, "Integral of a vector's normal part over the surface of --set")
      .Group(group);
  cli_AddTriple(command, "--resultant", arguments.resultant,
                "Sum of nodal vectors, and of their moments about a point")
      .Group(group);
  command.AddOption("--histogram", arguments.histogram, "Counts in N equal intervals")
      .Group(group)
      .Between(1, 10000);
  cli_AddTableOptions(command, arguments.output, arguments.limit);
}

void cli_PrintFieldValues(const cls_Database& model, const cli_FieldArguments& arguments) {
  if (arguments.AreReduced() && !arguments.output.file.empty())
    throw cli_UsageError("--output " + arguments.output.file
                         + ": a file takes values, not extremes and sums; --json prints those as data");
  const odiC_Run run = cli_OpenRun(model, arguments.mesh, arguments.values.run);
  const odiC_Values values =
      cli_ValuesOf(run, arguments.variable, arguments.values,
                   arguments.AreReduced() ? cli_FrameDefault::All : cli_FrameDefault::Last);
  if (arguments.AreReduced())
    Reductions(values, arguments).Print();
  else
    PrintRows(values, arguments);
}
