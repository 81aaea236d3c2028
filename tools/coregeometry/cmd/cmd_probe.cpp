// coregeometry probe: values at points and along lines
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_ValueTable.h"
#include "cli_Words.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/odiC_Probe.h>
#include <charconv>
#include <cmath>
#include <fstream>

namespace {
using Point = std::array<double, 3>;

struct Arguments {
  std::string file, mesh, variable, pointFile, line;
  std::vector<std::string> points;
  bool json = false, nearest = false;
  cli_ValueArguments values;
  cli_OutputArguments output;
};

/// Three numbers a line, with commas or blanks between them; lines that begin with # are left out.
std::vector<double> PointsOfFile(const std::string& file) {
  std::ifstream in(file);
  if (!in) throw nex_TextException(file + ": cannot be opened");
  std::vector<double> points;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    std::ranges::replace(line, ';', ',');
    std::ranges::replace(line, '\t', ' ');
    const std::size_t begin = line.find_first_not_of(" \r");
    if (begin == std::string::npos || line[begin] == '#') continue;
    std::ranges::replace(line, ' ', ',');
    std::ranges::replace(line, '\r', ',');
    std::vector<std::string> words;
    for (const std::string& word : cli_Split(line, ','))
      if (!word.empty()) words.push_back(word);
    for (std::size_t k = 0; k < 3; ++k) {
      const auto value = words.size() == 3 ? cli_NumberOf(words[k]) : std::nullopt;
      if (!value) throw nex_TextException(file + ", line " + std::to_string(number) + ": not three numbers");
      points.push_back(*value);
    }
  }
  return points;
}

std::vector<double> PointsOf(const Arguments& arguments) {
  std::vector<double> points;
  for (const std::string& text : arguments.points) {
    const auto point = cli_TripleOf(text);
    if (!point) throw cli_UsageError("--point " + text + ": give X,Y,Z");
    points.insert(points.end(), point->begin(), point->end());
  }
  if (!arguments.pointFile.empty()) {
    const std::vector<double> more = PointsOfFile(arguments.pointFile);
    points.insert(points.end(), more.begin(), more.end());
  }
  if (!arguments.line.empty()) {
    const std::vector<std::string> words = cli_Split(arguments.line, ':');
    const auto from = cli_TripleOf(words[0]), to = words.size() == 3 ? cli_TripleOf(words[1]) : std::nullopt;
    const double count = words.size() == 3 ? cli_NumberOf(words[2]).value_or(0) : 0;
    if (!from || !to || count < 1 || count > 1e7 || count != std::floor(count))
      throw cli_UsageError("--line " + arguments.line + ": give X,Y,Z:X,Y,Z:N");
    const std::vector<double> more = odiC_LinePoints(*from, *to, static_cast<int>(count));
    points.insert(points.end(), more.begin(), more.end());
  }
  if (points.empty()) throw cli_UsageError("probe: where? Give --point, --points or --line");
  return points;
}

/// From placed space to that of the nodes.
std::vector<double> ToLocal(const bme_Mesh& mesh, std::vector<double> points) {
  const bme_Placement placement(mesh);
  if (placement.IsNone()) return points;
  for (std::size_t i = 0; i < points.size(); i += 3) {
    gsl_Point point(points[i], points[i + 1], points[i + 2]);
    point.Transform(placement.ToLocal());
    for (unsigned axis = 0; axis < 3; ++axis) points[i + axis] = point[axis];
  }
  return points;
}

void Run(const Arguments& arguments) {
  cli_Console console;
  const cls_Database model = cli_OpenModel(arguments.file);
  const cls_ReadView view(model);
  const odiC_Run run = cli_OpenRun(model, arguments.mesh, arguments.values.run);
  const odiC_Values values = cli_ValuesOf(run, arguments.variable, arguments.values, cli_FrameDefault::Last);
  const std::vector<double> points = PointsOf(arguments);
  const odiC_Probe probe(values, ToLocal(run.Mesh(), points), arguments.nearest);
  const cli_Json choices = cli_ChoicesJson(values);
  const std::vector<odiC_When> frames = values.Frames();
  if (!arguments.json && arguments.output.file.empty()) {
    cli_PrintChoices(choices);
    if (frames.size() == 1) cli_Out() << cli_WhenText(run, frames[0]) << '\n';
  }
  const std::size_t count = points.size() / 3 * frames.size();
  cli_ValueTable table(arguments.output, {arguments.file}, arguments.json, {{"choices", choices}},
                       values.Components(), static_cast<long long>(count));
  const bme_ElementData& elements = run.Mesh().ElementData();
  const auto width = static_cast<std::size_t>(probe.NumComponents());
  long long outside = 0;
  for (const odiC_When& when : frames) {
    const cli_Json frame = cli_WhenJson(run, when);
    const std::vector<double> read = probe.Read(when);
    double along = 0;
    for (std::size_t i = 0; i < points.size() / 3; ++i) {
      const double* p = points.data() + 3 * i;
      if (i > 0) along += std::hypot(p[0] - p[-3], p[1] - p[-2], p[2] - p[-1]);
      const bme_NearestElement& place = probe.Places()[i];
      const bool isIn = place.element != bme_kNotFound;
      outside += !isIn && &when == &frames.front();
      cli_Json label;
      if (isIn) {
        const unsigned classIndex = elements.GetClassIndex(place.element);
        label =
            elements.HasUserElementLabels()
                ? elements.GetClass(classIndex).UserElementLabels()[elements.GetClassElemIndex(place.element)]
                : static_cast<int>(place.element) + 1;
      }
      const cli_Column before[] = {{"step", frame["step"]},
                                   {"frame", frame["frame"]},
                                   {"frameValue", frame["value"]},
                                   {"distance", along},
                                   {"x", p[0]},
                                   {"y", p[1]},
                                   {"z", p[2]},
                                   {"element", label},
                                   {"off", isIn ? cli_Json(place.distance) : cli_Json()}};
      cow_String text = cli_ShortNumber(along) + ", " + cli_ShortNumber(p[0]) + " " + cli_ShortNumber(p[1])
                        + " " + cli_ShortNumber(p[2])
                        + (isIn ? ", element " + label.dump() : cow_String(", outside"));
      if (isIn && place.distance > 0) text += " at a distance of " + cli_ShortNumber(place.distance);
      if (frames.size() > 1) text += ", " + cli_WhenText(run, when);
      table.Row(before, text, std::span(read).subspan(i * width, width));
    }
  }
  table.End({{"points", points.size() / 3}, {"outside", outside}});
  if (outside > 0) {
    std::cerr << outside << " of " << points.size() / 3
              << " points lie outside of all elements with values\n";
    throw cli_Incomplete();
  }
}
} // namespace

void cli_AddProbe(cli_Command& program) {
  cli_Command command = program.AddCommand("probe", "Print values of a variable at points or along a line");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->mesh, arguments->json);
  command.AddOption("variable", arguments->variable, "Name of the variable").Required();
  command.AddOption("--point", arguments->points, "A point, X,Y,Z; the option may be given again");
  command.AddOption("--points", arguments->pointFile, "File with three numbers a line");
  command.AddOption("--line", arguments->line, "N points from one to another, X,Y,Z:X,Y,Z:N");
  command.AddFlag("--nearest", arguments->nearest, "For points outside the closest place, with its distance");
  cli_AddValueOptions(command, arguments->values);
  cli_AddOutputOptions(command, arguments->output, cli_kTableFormats,
                       "File for all values: .csv, .json or .npy");
  command.Option("--output").Required(false);
  command.Footer(
      "Prints the distance along the points, the point, the element and the values. They are interpolated "
      "in\n"
      "the body as it is meshed: from values at nodes, with --at-nodes from means there, else from those of\n"
      "the element alone. The exit code is 1 when a point is outside.\n"
      "\n"
      "Example:\n"
      "  coregeometry probe wing.cgdb S --invariant mises --line 0,0,0:0,2,0:21");
  command.OnRun([arguments] { Run(*arguments); });
}
