// coregeometry measure: lengths, areas, volumes, masses and inertia of a mesh and its parts
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_Regions.h"
#include "cli_Skin.h"
#include "cli_Words.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreUtils/atr_Near.h>
#include <charconv>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <numeric>

namespace {
/// A value by part, as the user gives it: 7.8e-9, or PART=7.8e-9.
struct ValueOption {
  const char *name, *of;
  bme_ElementValue bme_MeasureOptions::*target;
  std::vector<std::string> words = {};
};

struct Arguments {
  std::string file, name, by, csys;
  bool json = false;
  std::array<ValueOption, 4> values = {
      {{"--density", "Density", &bme_MeasureOptions::density},
       {"--thickness", "Thickness of shells, membranes and plane elements", &bme_MeasureOptions::thickness},
       {"--section-area", "Section area of lines", &bme_MeasureOptions::sectionArea},
       {"--point-mass", "Mass of elements of a single node", &bme_MeasureOptions::pointMass}}};
};

struct PartValue {
  cow_String part; ///< empty: all that no other names
  double value;
};

/// Throws nex_TextException when the mesh has no part of that name; an empty one means all.
void ExpectPart(const bme_ElementData& elements, const cow_String& part, const cow_String& place) {
  bool isThere = part.empty();
  for (unsigned i = 0; i < elements.NumClasses() && !isThere; ++i)
    isThere = cli_IsPart(elements.GetClass(i), part);
  if (!isThere)
    throw nex_TextException(place + ": no part \"" + part + '"'
                            + atr_Alternatives(part, cli_PartNames(elements)));
}

bme_ElementValue ParseValues(const ValueOption& option, const bme_ElementData& elements) {
  std::vector<PartValue> values;
  for (const std::string& word : option.words) {
    const std::size_t equals = word.rfind('=');
    const std::string number = equals == std::string::npos ? word : word.substr(equals + 1);
    const auto value = cli_NumberOf(number);
    if (!value || *value < 0)
      throw cli_UsageError(std::string(option.name) + " " + word
                           + ": give a number not below 0, or PART=NUMBER");
    const cow_String part = equals == std::string::npos ? "" : word.substr(0, equals);
    ExpectPart(elements, part, std::string(option.name).append(" ").append(word));
    values.push_back({part, *value});
  }
  if (values.empty()) return {};
  return [values](const bme_ElementClass& type, int) -> std::optional<double> {
    std::optional<double> forAll;
    for (const PartValue& one : values) {
      if (one.part.empty())
        forAll = one.value;
      else if (cli_IsPart(type, one.part))
        return one.value;
    }
    return forAll;
  };
}

/// Some elements under a name.
struct Group {
  cow_String name;
  std::vector<unsigned> elements;
};

std::vector<Group> GroupsOf(const Arguments& arguments, const cls_Database& model, const cow_String& root,
                            const bme_Mesh& mesh) {
  const cls_ReadView view(model);
  std::vector<Group> groups;
  if (arguments.by == "class")
    for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i) {
      const bme_ElementClass& type = mesh.ElementData().GetClass(i);
      const bme_FEMElemList all = bme_FEMElemList::OfClass(mesh, i);
      groups.push_back(
          {"class " + std::to_string(i) + ", " + type.ElemTypeLabel() + ", " + type.CategoryLabel(),
           {all.begin(), all.end()}});
    }
  if (arguments.by == "set") {
    const bme_MeshIndex meshes(model);
    for (const auto& [regionRoot, region] : bme_StoredRegions(model)) {
      if (!region.GetSetData().IsDefined() || meshes.RootOf(region, mesh.Id()) != root) continue;
      const auto contents = region.GetSetData().Resolve(model);
      if (!cli_HoldsElements(*contents, mesh.Id())) continue;
      const auto elements = bme_FEMElemList::FromSet(mesh, *contents);
      groups.push_back({regionRoot, {elements.begin(), elements.end()}});
    }
  }
  std::vector<unsigned> all(mesh.ElementData().NumElements());
  std::iota(all.begin(), all.end(), 0U);
  groups.push_back({"all elements", std::move(all)});
  return groups;
}

template<class Values> cli_Json Numbers(const Values& values) { return {values[0], values[1], values[2]}; }

cli_Json Rows(const bme_Tensor& tensor) {
  return {Numbers(tensor[0]), Numbers(tensor[1]), Numbers(tensor[2])};
}

cli_Json Describe(const bme_Moments& own, const gsl_Matrix& frame) {
  const bme_Moments moments = own.In(frame);
  cli_Json json = {{"total", moments.Total()}, {"signedTotal", moments.SignedTotal()}};
  gsl_Point centre;
  if (!moments.GetCentre(centre)) return json;
  json["centre"] = Numbers(centre);
  bme_Tensor inertia;
  std::array<double, 3> principal;
  std::array<gsl_Vector, 3> axes;
  if (!moments.GetInertiaAboutCentre(inertia) || !moments.GetPrincipal(principal, axes)) return json;
  json["inertiaAboutCentre"] = Rows(inertia);
  json["inertiaAboutOrigin"] = Rows(moments.InertiaAbout(gsl_Point(0, 0, 0)));
  json["principalMoments"] = Numbers(principal);
  json["principalAxes"] = {Numbers(axes[0]), Numbers(axes[1]), Numbers(axes[2])};
  return json;
}

/// What the totals lack of what was asked for.
enum class Lack { Nothing, Mass, Everything };

struct LabelList {
  const char *key, *text;
  std::vector<int> bme_Measures::*labels;
  Lack lack;
};
constexpr LabelList kLists[] = {
    {"inverted", "inside out", &bme_Measures::inverted, Lack::Nothing},
    {"zero", "without extent", &bme_Measures::zero, Lack::Nothing},
    {"withoutShape", "not measured, the type has no shape", &bme_Measures::withoutShape, Lack::Mass},
    {"withoutNodes", "not measured, nodes are missing or not finite", &bme_Measures::withoutNodes,
     Lack::Everything},
    {"noThickness", "not in the volume, no --thickness", &bme_Measures::noThickness, Lack::Mass},
    {"noSectionArea", "not in the volume, no --section-area", &bme_Measures::noSectionArea, Lack::Mass},
    {"noDensity", "not in the mass, no --density", &bme_Measures::noDensity, Lack::Mass},
    {"noPointMass", "not in the mass, no --point-mass", &bme_Measures::noPointMass, Lack::Mass}};

struct Kind {
  const char* key;
  bme_Moments bme_Measures::*moments;
};
constexpr Kind kKinds[] = {{"length", &bme_Measures::length},
                           {"area", &bme_Measures::area},
                           {"volume", &bme_Measures::volume},
                           {"mass", &bme_Measures::mass}};

/// All facts for JSON; for text without the kinds that a group has nothing of.
cli_Json Describe(const Group& group, const bme_Measures& measures, const gsl_Matrix& frame, bool hasMass,
                  bool isJson) {
  cli_Json json = {{"name", group.name}, {"elements", measures.numElements}};
  for (const Kind& kind : kKinds) {
    const bool isMass = kind.moments == &bme_Measures::mass;
    if (isMass ? hasMass : isJson || (measures.*kind.moments).Total() != 0)
      json[kind.key] = Describe(measures.*kind.moments, frame);
  }
  if (isJson)
    for (const LabelList& list : kLists) json[list.key] = measures.*list.labels;
  return json;
}

cow_String Text(const cli_Json& number) {
  char text[40];
  return {text,
          std::to_chars(text, text + sizeof text, number.get<double>(), std::chars_format::general, 9).ptr};
}
cow_String Triple(const cli_Json& values) {
  return "(" + Text(values[0]) + ", " + Text(values[1]) + ", " + Text(values[2]) + ")";
}

void Print(const cli_Json& group, const bme_Measures& measures) {
  cli_Out() << group["name"].get<std::string>() << ": " << group["elements"]
            << (measures.numElements == 1 ? " element\n" : " elements\n");
  for (const Kind& kind : kKinds) {
    if (!group.contains(kind.key) || group[kind.key]["total"] == 0) continue;
    const cli_Json& facts = group[kind.key];
    cli_Out() << "  " << std::left << std::setw(8) << kind.key << std::setw(16) << Text(facts["total"])
              << std::right;
    if (facts["total"] != facts["signedTotal"]) cli_Out() << "signed " << Text(facts["signedTotal"]) << "  ";
    if (facts.contains("centre")) cli_Out() << "centre " << Triple(facts["centre"]);
    cli_Out() << '\n';
    const bool isBody = kind.moments == &bme_Measures::mass
                        || (kind.moments == &bme_Measures::volume && !group.contains("mass"));
    if (!isBody || !facts.contains("principalMoments")) continue;
    cli_Out() << "    principal moments about the centre " << Triple(facts["principalMoments"]) << '\n';
    for (const cli_Json& axis : facts["principalAxes"]) cli_Out() << "      axis " << Triple(axis) << '\n';
  }
  constexpr std::size_t kMost = 20;
  for (const LabelList& list : kLists) {
    const std::vector<int>& labels = measures.*list.labels;
    if (labels.empty()) continue;
    cli_Out() << "  " << labels.size() << ' ' << list.text << ": "
              << bme_CompactLabels(std::span(labels).first(std::min(kMost, labels.size())))
              << (labels.size() > kMost ? ", ..." : "") << '\n';
  }
}

gsl_Matrix FrameOf(const Arguments& arguments, const cls_Database& model, const cow_String& root) {
  gsl_Matrix frame;
  if (arguments.csys.empty()) return frame;
  const std::vector<cli_Datum> datums = cli_Datums(model, root);
  const cli_Datum& chosen = cli_ChooseDatum(model, datums, arguments.csys, "datum");
  const auto* csys = dynamic_cast<const dtu_DatumCsys*>(&*chosen.datum);
  if (csys && bme_GetFrame(*csys, frame)) return frame;
  throw nex_TextException(arguments.file + ", " + chosen.Path() + ": has no axes to measure in");
}

void Run(const Arguments& arguments) {
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  bme_MeasureOptions options;
  for (const ValueOption& value : arguments.values)
    options.*value.target = ParseValues(value, mesh->ElementData());
  gsl_Matrix frame = FrameOf(arguments, model, root);
  frame.Concatenate(bme_Placement(*mesh).ToLocal());
  const std::vector<Group> groups = GroupsOf(arguments, model, root, *mesh);
  console.End();
  cli_Json json = {{"file", arguments.file}, {"mesh", root}, {"groups", cli_Json::array()}};
  bool isIncomplete = false;
  for (const Group& group : groups) {
    const bme_Measures measures = bme_CalculateMeasures(*mesh, group.elements, options);
    cli_Json facts = Describe(group, measures, frame, static_cast<bool>(options.density), arguments.json);
    if (arguments.json)
      json["groups"].push_back(std::move(facts));
    else
      Print(facts, measures);
    for (const LabelList& list : kLists)
      if (list.lack == Lack::Everything || (list.lack == Lack::Mass && options.density))
        isIncomplete |= !(measures.*list.labels).empty();
  }
  if (arguments.json) cli_PrintJson(json);
  if (isIncomplete) {
    cli_Out(std::cerr) << "coregeometry: " << arguments.file << ", " << root
                       << ": the totals lack elements, which are listed\n";
    throw cli_Incomplete();
  }
}
} // namespace

void cli_AddMeasure(cli_Command& program) {
  cli_Command command =
      program.AddCommand("measure", "Lengths, areas, volumes, masses and inertia of a mesh");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  command.AddOption("--by", arguments->by, "Also measure each element class or each set by itself")
      .OneOf({"class", "set"});
  for (ValueOption& value : arguments->values)
    command
        .AddOption(value.name, value.words,
                   std::string(value.of) + ": a number for all, PART=NUMBER for a class by its type or name")
        .Delimiter(',')
        .TypeName("VALUE")
        .Repeatable();
  command.AddOption("--csys", arguments->csys,
                    "Datum in whose origin and axes centres and inertia are given");
  command.Footer(
      "Measures are of the curved elements. The volume is that of the body: solids, axisymmetric elements\n"
      "in a full turn, shells and plane elements with a thickness, lines with a section area. What is not\n"
      "known is listed by label, never taken as zero; where mass was asked for and some is not known, the\n"
      "exit code is 1. Totals are of absolute values; a signed total is given where it differs.\n"
      "\n"
      "Example:\n"
      "  coregeometry measure bracket.cgdb --by class --density 7850 --thickness 0.002");
  command.OnRun([arguments] { Run(*arguments); });
}
