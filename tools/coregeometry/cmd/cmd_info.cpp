// coregeometry info: what a model file holds
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_Regions.h"

#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <map>

namespace {
struct Arguments {
  std::string file, name;
  bool json = false;
};

cli_Json Range(const cli_LabelRange& range) {
  if (range.count == 0) return nullptr;
  return {{"count", range.count}, {"smallest", range.smallest}, {"largest", range.largest}};
}

cow_String RangeText(const cli_LabelRange& range, bool isStored) {
  if (range.count == 0) return "none";
  return std::to_string(range.smallest) + " to " + std::to_string(range.largest)
         + (isStored ? "" : " (implicit)");
}

cow_String PointText(const cli_Json& point) {
  return "(" + point[0].dump() + ", " + point[1].dump() + ", " + point[2].dump() + ")";
}

cli_LabelRange LabelsOf(const bme_ElementData& elements, const bme_ElementClass& type) {
  cli_LabelRange range;
  if (elements.HasUserElementLabels())
    range.Add(type.UserElementLabels());
  else if (type.NumElements() > 0)
    range = {type.NumElements(), type.FirstElementIndex() + 1LL,
             static_cast<long long>(type.FirstElementIndex()) + type.NumElements()};
  return range;
}

cow_String Plural(std::size_t count, const cow_String& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// The box of the nodes whose coordinates are all finite, in placed space, and how many the others are.
struct FiniteBox {
  explicit FiniteBox(const bme_Mesh& mesh) : placement(mesh), box(placement.Box(mesh.NodeData())) {
    const std::span<const float> all = mesh.NodeData().Coordinates().Const();
    for (std::size_t i = 0; i + 2 < all.size(); i += 3)
      others += !std::ranges::all_of(all.subspan(i, 3), [](float x) { return std::isfinite(x); });
  }
  cli_Json Corner(const gsl_Point& corner) const {
    if (!placement.IsNone()) return {corner[0], corner[1], corner[2]};
    return cli_PlacedPoint(placement, corner);
  }
  cli_Json Origin() const { return Corner(placement.ToPlaced().NewOrigin()); }

  bme_Placement placement;
  gsl_BBox box;
  long long others = 0;
};

/// Ends of lines come from std::endl, alone; within a text they belong to a name.
class NamesOnOneLine : public std::streambuf {
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    cli_Out() << std::string_view(text, static_cast<std::size_t>(count));
    return count;
  }
  int_type overflow(int_type c) override {
    cli_Out() << traits_type::to_char_type(c);
    return traits_type::not_eof(c);
  }
};

void PrintMesh(const cow_String& root, const bme_Mesh& mesh) {
  const bme_ElementData& elements = mesh.ElementData();
  const FiniteBox finite(mesh);
  const gsl_BBox& box = finite.box;
  NamesOnOneLine buffer;
  std::ostream lines(&buffer);
  cli_Out() << "\nMesh " << root << ", " << mesh.NodeData().Dimension() << " dimensions\n";
  mesh.Print(lines);
  cli_Out() << "  Box:            ";
  if (box.IsEmpty())
    cli_Out() << "empty";
  else
    cli_Out() << PointText(finite.Corner(box.Min())) << " to " << PointText(finite.Corner(box.Max()));
  if (finite.others > 0)
    cli_Out() << ", without " << Plural(static_cast<std::size_t>(finite.others), "node")
              << " whose coordinates are not finite";
  cli_Out() << '\n';
  if (!finite.placement.IsNone())
    cli_Out() << "  Placed at:      " << PointText(finite.Origin())
              << (finite.placement.IsTurned() ? ", turned" : "") << '\n';
  cli_Out() << "  Node labels:    " << RangeText(cli_NodeLabels(mesh.NodeData()), true) << '\n';
  cli_Out() << "  Element labels: " << RangeText(cli_ElementLabels(elements), elements.HasUserElementLabels())
            << '\n';
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    cli_Out() << "  Class " << i << ": " << cli_TypeText(type) << ", labels "
              << RangeText(LabelsOf(elements, type), true) << ", category \"" << type.CategoryLabel()
              << "\"\n";
  }
}

cli_Json MeshJson(const cow_String& root, const bme_Mesh& mesh) {
  const bme_ElementData& elements = mesh.ElementData();
  const FiniteBox finite(mesh);
  const gsl_BBox& box = finite.box;
  cli_Json classes = cli_Json::array();
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    classes.push_back({{"index", i},
                       {"type", type.ElemTypeLabel()},
                       {"supported", type.IsSupported()},
                       {"pyramidNodes", bme_PyramidNodes(type)},
                       {"elements", type.NumElements()},
                       {"nodesPerElement", type.NumNodesPerElem()},
                       {"elementLabels", Range(LabelsOf(elements, type))},
                       {"category", type.CategoryLabel()}});
  }
  return {{"mesh", root},
          {"id", mesh.Id()},
          {"dimensions", mesh.NodeData().Dimension()},
          {"nodes", mesh.NodeData().NumNodes()},
          {"elements", elements.NumElements()},
          {"box", box.IsEmpty()
                      ? cli_Json()
                      : cli_Json{{"min", finite.Corner(box.Min())}, {"max", finite.Corner(box.Max())}}},
          {"placedAt", finite.Origin()},
          {"notFinite", finite.others},
          {"nodeLabels", Range(cli_NodeLabels(mesh.NodeData()))},
          {"elementLabels", Range(cli_ElementLabels(elements))},
          {"elementLabelsImplicit", !elements.HasUserElementLabels()},
          {"classes", classes}};
}

void Run(const Arguments& arguments) {
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const std::vector<cow_String> roots =
      arguments.name.empty() ? cli_MeshRoots(model) : std::vector{cli_ChooseMesh(model, arguments.name)};
  cli_Json json = {{"file", arguments.file},
                   {"bytes", model.FileSize()},
                   {"fileFormat", model.Format()},
                   {"outdated", model.IsOutdated()}};
  if (!arguments.json) cli_Out() << arguments.file << ": " << model.FileSize() << " bytes\n";

  json["roots"] = cli_Json::array();
  if (!arguments.json) cli_Out() << "Roots:\n";
  const std::vector<cow_String> runs = odiC_Run::RootsOf(model);
  const auto isOfRun = [&](const cow_String& root) {
    return std::ranges::any_of(runs, [&](const cow_String& run) { return root.starts_with(run + "/"); });
  };
  for (const cow_String& root : model.Roots()) {
    if (isOfRun(root)) continue; // one for each field
    json["roots"].push_back(root);
    if (!arguments.json) cli_Out() << "  " << root << '\n';
  }
  std::map<cow_String, std::size_t> kinds;
  for (const bme_RegionRoot& one : bme_StoredRegions(model))
    ++kinds[cli_KindText(one.region.GetSetTypeBits())];
  const std::size_t numDatums = cli_Datums(model).size();
  json["regions"] = cli_Json::object();
  for (const auto& [kind, count] : kinds) {
    json["regions"][kind] = count;
    if (!arguments.json) cli_Out() << Plural(count, kind) << " (see \"coregeometry sets\")\n";
  }
  json["runs"] = runs.size();
  if (!arguments.json && !runs.empty())
    cli_Out() << Plural(runs.size(), "run") << " of results (see \"coregeometry fields\")\n";
  json["datums"] = numDatums;
  if (!arguments.json && numDatums > 0)
    cli_Out() << Plural(numDatums, "datum") << " (see \"coregeometry csys\")\n";

  json["stored"] = cli_Json::array();
  if (!arguments.json) cli_Out() << "Stored classes:\n";
  for (const auto& stored : model.Classes()) {
    json["stored"].push_back({{"className", stored.name},
                              {"version", stored.version},
                              {"objects", stored.objects},
                              {"outdated", stored.outdated}});
    if (!arguments.json)
      cli_Out() << "  " << stored.name << " version " << stored.version << ": " << stored.objects
                << " objects" << (stored.outdated ? ", outdated (see \"coregeometry upgrade\")" : "") << '\n';
  }
  json["meshes"] = cli_Json::array();
  for (const cow_String& root : roots) {
    const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
    console.End();
    if (arguments.json)
      json["meshes"].push_back(MeshJson(root, *mesh));
    else
      PrintMesh(root, *mesh);
  }
  if (arguments.json) cli_PrintJson(json);
}
} // namespace

void cli_AddInfo(cli_Command& program) {
  cli_Command command =
      program.AddCommand("info", "Print what a model holds: meshes, boxes, label ranges, classes");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  command.Footer("Example: node count of the first mesh\n"
                 "  coregeometry info bracket.cgdb --json | jq .meshes[0].nodes");
  command.OnRun([arguments] { Run(*arguments); });
}
