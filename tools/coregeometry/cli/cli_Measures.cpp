#include "cli_Measures.h"

#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Skin.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_EntityList.h>
#include <CoreUtils/atr_Near.h>
#include <charconv>
#include <cmath>
#include <iomanip>
#include <iostream>

namespace {
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
cli_Json Describe(const std::string& name, const bme_Measures& measures, const gsl_Matrix& frame,
                  bool hasMass, bool isJson) {
  cli_Json json = {{"name", name}, {"elements", measures.numElements}};
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
} // namespace

bme_ElementValue cli_MeasureValues::Parse(const Option& option, const bme_ElementData& elements) {
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

bme_MeasureOptions cli_MeasureValues::For(const bme_ElementData& elements) const {
  bme_MeasureOptions options;
  for (const Option& option : options_) options.*option.target = Parse(option, elements);
  return options;
}

void cli_MeasureValues::AddTo(cli_Command command) {
  for (Option& option : options_)
    command
        .AddOption(option.name, option.words,
                   std::string(option.of) + ": a number for all, PART=NUMBER for a class by its type or name")
        .Delimiter(',')
        .TypeName("VALUE")
        .Repeatable();
}

cli_MeasureReport::cli_MeasureReport(std::string file, std::string mesh, const gsl_Matrix& frame,
                                     bool hasMass, bool isJson)
    : file_(std::move(file)), mesh_(std::move(mesh)), frame_(frame), hasMass_(hasMass), isJson_(isJson),
      json_({{"file", file_}, {"mesh", mesh_}, {"groups", cli_Json::array()}}) {}

void cli_MeasureReport::Add(const std::string& name, const bme_Measures& measures) {
  cli_Json facts = Describe(name, measures, frame_, hasMass_, isJson_);
  if (isJson_)
    json_["groups"].push_back(std::move(facts));
  else
    Print(facts, measures);
  for (const LabelList& list : kLists)
    if (list.lack == Lack::Everything || (list.lack == Lack::Mass && hasMass_))
      isIncomplete_ |= !(measures.*list.labels).empty();
}

void cli_MeasureReport::End() {
  if (isJson_) cli_PrintJson(json_);
  if (!isIncomplete_) return;
  cli_Out(std::cerr) << "coregeometry: " << file_ << ", " << mesh_
                     << ": the totals lack elements, which are listed\n";
  throw cli_Incomplete();
}
