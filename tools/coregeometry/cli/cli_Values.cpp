#include "cli_Values.h"

#include "cli_Console.h"
#include "cli_Words.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Invariant.h>
#include <CoreUtils/atr_Near.h>
#include <cmath>
#include <cstring>

namespace {
constexpr double kDegree = 3.14159265358979323846 / 180;

template<class Enum> const char* Text(Enum value) {
  return omu_FindText(omu_EnumTable<Enum>::entries, static_cast<int>(value));
}

/// The value of an enumeration by its text in any case; the other texts when it is none.
template<class Enum> Enum ParseEnum(const char* option, const std::string& text) {
  std::vector<cow_String> names;
  for (const omu_EnumEntry& entry : omu_EnumTable<Enum>::entries) {
    if (cli_Lower(entry.text) == cli_Lower(text)) return static_cast<Enum>(entry.value);
    names.push_back(cli_Lower(entry.text));
  }
  throw cli_UsageError(std::string(option) + " " + text + ": no such " + (option + 2)
                       + atr_Alternatives(cli_Lower(text), names));
}

int WholeNumber(const char* option, const std::string& text) {
  const auto number = cli_NumberOf(text);
  if (!number || *number != std::floor(*number) || std::abs(*number) > 2147483647)
    throw cli_UsageError(std::string(option) + " " + text + ": not a whole number");
  return static_cast<int>(*number);
}

odiC_Selection WithFrames(odiC_Selection where, const cli_ValueArguments& arguments,
                          cli_FrameDefault otherwise) {
  if (!arguments.step.empty()) where = where.Step(arguments.step);
  if (!arguments.value.empty()) {
    const std::vector<std::string> words = cli_Split(arguments.value, ',');
    const auto number = cli_NumberOf(words[0]);
    const std::string how = words.size() > 1 ? words[1] : "nearest";
    constexpr const char* kHow[] = {"nearest", "exact", "interpolated"};
    for (int i = 0; i < 3; ++i)
      if (number && words.size() <= 2 && how == kHow[i])
        return where.Value(*number, static_cast<odiC_AtValue>(i));
    throw cli_UsageError("--value " + arguments.value + ": give NUMBER or NUMBER,nearest|exact|interpolated");
  }
  const std::string frame = !arguments.frame.empty()              ? arguments.frame
                            : otherwise == cli_FrameDefault::Last ? "last"
                                                                  : "all";
  if (frame == "last") return where.Frame(-1);
  if (frame == "all") return where;
  const std::vector<std::string> words = cli_Split(frame, ':');
  if (words.size() == 1) return where.Frame(WholeNumber("--frame", frame));
  if (words.size() > 3) throw cli_UsageError("--frame " + frame + ": give N, last, all or FIRST:LAST:STEP");
  const auto part = [&](std::size_t i) { return WholeNumber("--frame", words[i]); };
  const int stride = words.size() == 3 ? part(2) : 1;
  if (stride < 1) throw cli_UsageError("--frame " + frame + ": the step is below 1");
  return where.Frames(part(0), part(1), stride);
}

/// Nodes in a box of placed space.
std::vector<unsigned> NodesIn(const bme_Mesh& mesh, const std::string& text) {
  const std::vector<std::string> corners = cli_Split(text, ':');
  const auto low = cli_TripleOf(corners[0]), high = cli_TripleOf(corners.back());
  if (corners.size() != 2 || !low || !high)
    throw cli_UsageError("--box " + text + ": give the two corners, X,Y,Z:X,Y,Z");
  const bme_Placement placement(mesh);
  const std::span<const float> local = mesh.NodeData().Coordinates().Const();
  std::vector<double> placed(local.size());
  placement.Place(local, placed);
  std::vector<unsigned> nodes;
  for (std::size_t node = 0; node < placed.size() / 3; ++node) {
    bool isIn = true;
    for (std::size_t k = 0; k < 3; ++k)
      isIn = isIn && placed[3 * node + k] >= (*low)[k] && placed[3 * node + k] <= (*high)[k];
    if (isIn) nodes.push_back(static_cast<unsigned>(node));
  }
  return nodes;
}

odiC_Selection WithPlaces(odiC_Selection where, const odiC_Run& run, const cli_ValueArguments& arguments) {
  if (!arguments.set.empty()) where = where.Region(arguments.set);
  if (arguments.classIndex >= 0) where = where.Class(arguments.classIndex);
  if (!arguments.category.empty()) where = where.Category(arguments.category);
  if (!arguments.nodes.empty()) where = where.NodeLabels(cli_LabelsOf("--node", arguments.nodes));
  if (!arguments.elements.empty()) where = where.ElementLabels(cli_LabelsOf("--element", arguments.elements));
  if (!arguments.points.empty()) where = where.Points(cli_LabelsOf("--point-number", arguments.points));
  if (!arguments.box.empty()) where = where.Nodes(NodesIn(run.Mesh(), arguments.box));
  if (!arguments.position.empty())
    where = where.Position(ParseEnum<res_OutputPositionEnm>("--position", arguments.position));
  if (arguments.section.empty()) return where;
  constexpr const char* kSections[] = {"bottom", "top", "both", "envelope"};
  for (int i = 0; i < 4; ++i)
    if (arguments.section == kSections[i]) return where.SectionPoint(static_cast<res_SectionResultsEnm>(i));
  return where.SectionPoint(cow_String(arguments.section));
}

odiC_Selection WithQuantity(odiC_Selection where, const odiC_Run& run, const std::string& variable,
                            const cli_ValueArguments& arguments) {
  if (!arguments.component.empty()) where = where.Component(arguments.component);
  if (!arguments.invariant.empty()) {
    const odiC_Variable& of = run.Header().variables[static_cast<std::size_t>(run.VariableIndex(variable))];
    try {
      where = where.Invariant(odiC_FindInvariant(of, arguments.invariant));
    } catch (const odiC_Exception& error) {
      throw odiC_Exception(run.Model().File() + ", " + run.Root() + ": " + error.Message());
    }
  }
  if (arguments.csys == "global")
    where = where.System(res_GLOBAL);
  else if (arguments.csys == "local")
    where = where.System(res_LOCAL);
  else if (!arguments.csys.empty())
    where = where.System(cow_String(arguments.csys));
  if (arguments.complex.empty()) return where;
  if (arguments.complex == "peak") return where.Peak();
  constexpr std::pair<const char*, res_ComplexDisplayEnm> kDisplays[] = {{"real", res_REAL},
                                                                         {"imaginary", res_IMAGINARY},
                                                                         {"magnitude", res_COMPLEX_MAGNITUDE},
                                                                         {"phase", res_COMPLEX_PHASE}};
  for (const auto& [name, display] : kDisplays)
    if (arguments.complex == name) return where.Display(display);
  const auto degrees = cli_NumberOf(arguments.complex);
  if (!degrees)
    throw cli_UsageError("--complex " + arguments.complex
                         + ": give real, imaginary, magnitude, phase, peak or an angle in degrees");
  return where.Display(res_COMPLEX_VAL_AT_ANGLE, *degrees * kDegree);
}

void AddQuantity(cli_Command command, cli_ValueArguments& a) {
  const char* what = "Quantity";
  const auto component =
      command.AddOption("--component", a.component, "Component, such as xx or y").Group(what);
  command.AddOption("--invariant", a.invariant, "mises, tresca, max_principal, magnitude ...")
      .Group(what)
      .Excludes(component);
  command.AddOption("--csys", a.csys, "Axes: global, local or the name of a coordinate system").Group(what);
  command.AddOption("--complex", a.complex, "real, imaginary, magnitude, phase, peak or an angle in degrees")
      .Group(what);
}
} // namespace

void cli_AddValueOptions(cli_Command command, cli_ValueArguments& a, bool hasQuantity) {
  const char* frames = "Frames";
  command.AddOption("--run", a.run, "Name of the run, when there are several").Group(frames);
  command.AddOption("--step", a.step, "Step by name, or by number from 1").Group(frames);
  const auto frame =
      command.AddOption("--frame", a.frame, "N (from 0), last, all or FIRST:LAST:STEP").Group(frames);
  command.AddOption("--value", a.value, "Frame at a time or frequency: NUMBER,nearest|exact|interpolated")
      .Group(frames)
      .Excludes(frame);
  const char* places = "Places";
  command.AddOption("--set", a.set, "Set or surface").Group(places);
  command.AddOption("--class", a.classIndex, "Element class, from 0").Group(places).NonNegative();
  command.AddOption("--category", a.category, "Category of the run or of element classes").Group(places);
  cli_AddLabels(command, "--node", a.nodes, "Node labels");
  cli_AddLabels(command, "--element", a.elements, "Element labels");
  cli_AddLabels(command, "--point-number", a.points, "Integration points or element nodes, from 1");
  for (const char* name : {"--node", "--element", "--point-number"}) command.Option(name).Group(places);
  command.AddOption("--box", a.box, "Nodes and whole elements in a box, X,Y,Z:X,Y,Z").Group(places);
  command.AddOption("--position", a.position, "Where values sit: nodal, integration_point, whole_element ...")
      .Group(places);
  command.AddOption("--section", a.section, "Section points: bottom, top, both, envelope or a label")
      .Group(places);
  if (hasQuantity) AddQuantity(command, a);
  const char* carried = "At nodes";
  const auto atNodes =
      command.AddFlag("--at-nodes", a.atNodes, "Extrapolate to nodes and average there").Group(carried);
  if (hasQuantity) {
    const auto atElements =
        command.AddFlag("--at-element-nodes", a.atElementNodes, "Extrapolate to the nodes of each element")
            .Group(carried)
            .Excludes(atNodes);
    command.AddFlag("--at-centroids", a.atCentroids, "Mean of each element")
        .Group(carried)
        .Excludes(atNodes)
        .Excludes(atElements);
  }
  command
      .AddOption("--borders", a.borders,
                 "No averaging across: category (default), class, none or names of sets")
      .Group(carried)
      .Needs(atNodes);
  command
      .AddOption("--normals", a.normals,
                 "Nor across edges of surfaces with normals further apart, degrees; 0: off")
      .Group(carried)
      .Needs(atNodes)
      .Between(0.0, 180.0)
      .ShowDefault();
  command
      .AddOption("--threshold", a.threshold,
                 "Average where values differ by no more than this part of the range, %")
      .Group(carried)
      .Needs(atNodes)
      .Between(0.0, 100.0)
      .ShowDefault();
  command.AddOption("--order", a.order, "Invariant before averaging (default), after it or at points")
      .Group(carried)
      .Needs(atNodes)
      .OneOf({"before", "after", "points"});
  command.AddOption("--weights", a.weights, "Elements count equally (default) or by measure")
      .Group(carried)
      .Needs(atNodes)
      .OneOf({"equal", "measure"});
}

odiC_Run cli_OpenRun(const cls_Database& model, const cow_String& meshName, const cow_String& name) {
  const cow_String mesh = meshName.empty() ? cow_String() : cli_ChooseMesh(model, meshName);
  const std::vector<cow_String> roots = odiC_Run::RootsOf(model, mesh);
  if (roots.empty())
    throw nex_TextException(model.File() + ": no results" + (mesh.empty() ? "" : " of " + mesh));
  std::vector<cow_String> found, names;
  for (const cow_String& root : roots) {
    const cow_String own = root.substr(root.rfind('/') + 1);
    names.push_back(own);
    if (name.empty() || name == own || name == root || odiC_kRunFolder + name == root) found.push_back(root);
  }
  if (found.size() == 1) return odiC_Run::Open(model, found[0]);
  if (found.empty())
    throw nex_TextException(model.File() + ": no run \"" + name + '"' + atr_Alternatives(name, names));
  throw nex_TextException(model.File() + ": several runs, choose one with --run"
                          + atr_Alternatives("", found));
}

odiC_ToNodes cli_ToNodesOf(const cli_ValueArguments& arguments) {
  odiC_ToNodes options;
  options.threshold = arguments.threshold;
  options.normals = arguments.normals;
  if (arguments.weights == "measure") options.weights = odiC_Weights::Measure;
  if (arguments.order == "after") options.order = odiC_Order::After;
  if (arguments.order == "points") options.order = odiC_Order::AtPoints;
  if (arguments.borders == "none") {
    options.borders = odiC_Borders::None;
  } else if (arguments.borders == "class") {
    options.borders = odiC_Borders::Class;
  } else if (!arguments.borders.empty() && arguments.borders != "category") {
    options.borders = odiC_Borders::Regions;
    for (const std::string& region : cli_Split(arguments.borders, ',')) options.regions.emplace_back(region);
  }
  return options;
}
odiC_Selection cli_SelectionOf(const odiC_Run& run, const cli_ValueArguments& arguments,
                               cli_FrameDefault frames) {
  return WithPlaces(WithFrames({}, arguments, frames), run, arguments);
}

odiC_Values cli_ValuesOf(const odiC_Run& run, const std::string& variable,
                         const cli_ValueArguments& arguments, cli_FrameDefault frames) {
  const odiC_Selection where = cli_SelectionOf(run, arguments, frames);
  const odiC_Values values(run, variable, WithQuantity(where, run, variable, arguments));
  if (arguments.atNodes) return values.AtNodes(cli_ToNodesOf(arguments));
  if (arguments.atElementNodes) return values.AtElementNodes();
  return arguments.atCentroids ? values.AtCentroids() : values;
}

cli_Json cli_ChoicesJson(const odiC_Values& values) {
  cli_Json choices = {{"run", values.Run().Root()},
                      {"variable", values.Variable().name},
                      {"unit", values.Variable().unit},
                      {"components", values.Components()}};
  for (const auto& [name, text] : values.Choices()) choices[name] = text;
  return choices;
}

void cli_PrintChoices(const cli_Json& choices) {
  cli_Out() << choices["variable"].get<std::string>();
  std::string components;
  for (const cli_Json& one : choices["components"])
    components += (components.empty() ? " " : ", ") + one.get<std::string>();
  cli_Out() << (components == " " ? std::string() : components);
  if (choices["unit"] != "") cli_Out() << " [" << choices["unit"].get<std::string>() << ']';
  cli_Out() << " of " << choices["run"].get<std::string>();
  for (const auto& [name, text] : choices.items())
    if (name != "run" && name != "variable" && name != "unit" && name != "components")
      cli_Out() << ", " << name << ' ' << text.get<std::string>();
  cli_Out() << '\n';
}

cow_String cli_ShortNumber(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

cow_String cli_WhenText(const odiC_Run& run, const odiC_When& when) {
  const odiC_Step& step = run.Header().steps[static_cast<std::size_t>(when.step)];
  cow_String text = "step \"" + step.name + "\", frame " + std::to_string(when.frame);
  if (when.next >= 0) text += " to " + std::to_string(when.next);
  if (step.domain != odiC_NO_DOMAIN)
    text += ", " + cli_Lower(Text(step.domain)) + " " + cli_ShortNumber(when.value);
  return text;
}

cli_Json cli_WhenJson(const odiC_Run& run, const odiC_When& when) {
  cli_Json json = {{"step", run.Header().steps[static_cast<std::size_t>(when.step)].name},
                   {"frame", when.frame},
                   {"value", when.value}};
  if (when.next >= 0) json["nextFrame"] = when.next;
  return json;
}

cli_Json cli_Finite(double value) { return std::isfinite(value) ? cli_Json(value) : cli_Json(); }

cli_Json cli_PlaceJson(const odiC_PlaceLabel& place) {
  cli_Json json = {{"position", Text(place.position)}};
  if (place.label != 0) json["label"] = place.label;
  if (place.point != 0) json["point"] = place.point;
  if (place.node != 0) json["node"] = place.node;
  if (!place.sectionPoint.empty()) json["sectionPoint"] = place.sectionPoint;
  if (!place.region.empty()) json["set"] = place.region;
  return json;
}
