// coregeometry quality: the form of elements, class by class
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_Quality.h>
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <numeric>

namespace {
constexpr std::size_t kBins = 10;

struct Arguments {
  std::string file, name, set;
  bool json = false;
  int worst = 5;
  std::vector<std::string> measures, require;
};

struct Requirement {
  bme_QualityMeasure measure;
  double limit;
  long long failed = 0;
};

bme_QualityMeasure MeasureOf(const std::string& name) {
  if (const auto measure = bme_FindQualityMeasure(name)) return *measure;
  std::string all;
  for (const bme_QualityFacts& facts : bme_QualityMeasures())
    all += (all.empty() ? "" : ", ") + std::string(facts.name);
  throw cli_UsageError("no measure is called " + name + "; there are " + all);
}

/// Values of some elements of a class.
struct Row {
  const bme_ElementClass* type;
  bme_QualityMeasure measure;
  std::vector<double> values;
  std::vector<unsigned> elements; ///< mesh indices

  const bme_QualityFacts& Facts() const { return bme_QualityMeasures()[static_cast<std::size_t>(measure)]; }
  std::vector<std::size_t> WorstFirst(std::size_t count) const {
    std::vector<std::size_t> order(values.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto middle = order.begin() + static_cast<std::ptrdiff_t>(std::min(count, order.size()));
    std::partial_sort(order.begin(), middle, order.end(), [&](std::size_t a, std::size_t b) {
      if (values[a] == values[b]) return a < b;
      return Facts().isMoreBetter ? values[a] < values[b] : values[a] > values[b];
    });
    order.erase(middle, order.end());
    return order;
  }
};

std::vector<std::size_t> Histogram(const std::vector<double>& values, double low, double high) {
  std::vector<std::size_t> counts(kBins, 0);
  for (const double value : values) {
    const double part = high > low ? (value - low) / (high - low) * kBins : 0;
    ++counts[std::min(kBins - 1, static_cast<std::size_t>(std::max(0.0, part)))];
  }
  return counts;
}

cli_Json Describe(const Row& row, const bme_Mesh& mesh, std::size_t numWorst) {
  const auto [low, high] = std::ranges::minmax(row.values);
  cli_Json worst = cli_Json::array();
  for (const std::size_t i : row.WorstFirst(numWorst))
    worst.push_back(
        {{"label", bme_FEMElemList(mesh, {row.elements[i]}).Labels()[0]}, {"value", row.values[i]}});
  double sum = 0;
  for (const double value : row.values) sum += value;
  return {{"class", row.type->ClassIndex()},
          {"type", row.type->ElemTypeLabel()},
          {"measure", row.Facts().name},
          {"elements", row.values.size()},
          {"least", low},
          {"mean", sum / static_cast<double>(row.values.size())},
          {"greatest", high},
          {"worst", worst},
          {"histogram", Histogram(row.values, low, high)}};
}

void Print(const cli_Json& row) {
  std::cout << "class " << row["class"].get<int>() << ", " << cli_Printable(row["type"].get<std::string>())
            << ", " << std::left << std::setw(16) << row["measure"].get<std::string>() << std::right
            << std::setprecision(4) << " least " << std::setw(10) << row["least"].get<double>() << "  mean "
            << std::setw(10) << row["mean"].get<double>() << "  greatest " << std::setw(10)
            << row["greatest"].get<double>() << "  worst";
  for (const cli_Json& one : row["worst"]) std::cout << ' ' << one["label"].get<int>();
  std::cout << "\n    ";
  for (const cli_Json& count : row["histogram"]) std::cout << ' ' << std::setw(8) << count.get<std::size_t>();
  std::cout << '\n';
}

void Run(const Arguments& arguments) {
  cli_Console console;
  std::vector<bme_QualityMeasure> measures;
  for (const std::string& name : arguments.measures) measures.push_back(MeasureOf(name));
  std::vector<Requirement> required;
  for (const std::string& text : arguments.require) {
    const std::size_t equals = text.find('=');
    const auto limit = equals == std::string::npos ? std::nullopt : cli_NumberOf(text.substr(equals + 1));
    if (!limit) throw cli_UsageError("--require " + text + ": give MEASURE=NUMBER");
    required.push_back({MeasureOf(text.substr(0, equals)), *limit});
    if (!measures.empty() && std::ranges::find(measures, required.back().measure) == measures.end())
      measures.push_back(required.back().measure);
  }
  for (std::size_t i = 0; arguments.measures.empty() && i < bme_QualityMeasures().size(); ++i)
    measures.push_back(static_cast<bme_QualityMeasure>(i));
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cli_EditSource source = cli_ReadMeshAndSets(model, cli_ChooseMesh(model, arguments.name));
  const bme_Mesh& mesh = source.all.mesh;
  std::vector<unsigned char> isMeant(mesh.ElementData().NumElements(), arguments.set.empty() ? 1 : 0);
  if (!arguments.set.empty())
    for (const unsigned element : cli_ElementsOfSet(source, arguments.set)) isMeant[element] = 1;
  console.Begin("measuring");
  cli_Json rows = cli_Json::array();
  for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(c);
    const auto all = bme_Quality(mesh, c, measures);
    for (std::size_t m = 0; m < measures.size(); ++m) {
      Row row{&type, measures[m], {}, {}};
      for (std::size_t i = 0; i < all[m].size(); ++i) {
        const auto element = static_cast<unsigned>(type.FirstElementIndex()) + static_cast<unsigned>(i);
        if (isMeant[element] == 0) continue;
        row.values.push_back(all[m][i]);
        row.elements.push_back(element);
      }
      if (row.values.empty()) continue;
      for (Requirement& one : required)
        if (one.measure == row.measure)
          one.failed += std::ranges::count_if(
              row.values, [&](double v) { return row.Facts().isMoreBetter ? v < one.limit : v > one.limit; });
      rows.push_back(Describe(row, mesh, static_cast<std::size_t>(arguments.worst)));
    }
  }
  console.End();
  cli_Json requirements = cli_Json::array();
  bool isMet = true;
  for (const Requirement& one : required) {
    requirements.push_back({{"measure", bme_QualityMeasures()[static_cast<std::size_t>(one.measure)].name},
                            {"limit", one.limit},
                            {"failed", one.failed}});
    isMet &= one.failed == 0;
  }
  if (arguments.json) {
    cli_PrintJson(
        {{"file", arguments.file}, {"mesh", source.root}, {"rows", rows}, {"required", requirements}});
  } else {
    for (const cli_Json& row : rows) Print(row);
    for (const cli_Json& one : requirements)
      std::cout << one["measure"].get<std::string>() << " of " << one["limit"].get<double>()
                << " is not met by " << one["failed"].get<long long>() << " elements\n";
  }
  if (!isMet) throw cli_Incomplete();
}
} // namespace

void cli_AddQuality(cli_Command& program) {
  cli_Command command = program.AddCommand("quality", "Tell how well elements are formed");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  command.AddOption("--set", arguments->set, "Only elements of this set");
  cli_AddNames(command, "--measures", arguments->measures, "These measures; all of them otherwise");
  command.AddOption("--worst", arguments->worst, "So many of the worst elements of each class")
      .NonNegative()
      .ShowDefault();
  command.AddOption("--require", arguments->require, "Exit code 1 when an element does not meet it")
      .TypeName("MEASURE=NUMBER")
      .Repeatable();
  command.Footer(
      "Measures: size, edge_ratio, aspect_ratio, scaled_jacobian, minimum_angle, maximum_angle, warpage,\n"
      "skew, taper, mid_node_offset, mid_node_height. Below each line are the numbers of elements in ten\n"
      "equal steps from the least to the greatest value.\n"
      "\n"
      "Example:\n"
      "  coregeometry quality bracket.cgdb --measures scaled_jacobian --require scaled_jacobian=0.2");
  command.OnRun([arguments] { Run(*arguments); });
}
