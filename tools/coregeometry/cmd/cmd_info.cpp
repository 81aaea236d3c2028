// coregeometry info: what a model file holds
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Regions.h"

#include <CoreGeometry/shp_Shape.h>
#include <iostream>
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

cow_String PointText(const gsl_Point& point) {
  return "(" + cli_Text(static_cast<float>(point[0])) + ", " + cli_Text(static_cast<float>(point[1])) + ", "
         + cli_Text(static_cast<float>(point[2])) + ")";
}

cli_Json PointJson(const gsl_Point& point) {
  return {cli_Number(static_cast<float>(point[0])), cli_Number(static_cast<float>(point[1])),
          cli_Number(static_cast<float>(point[2]))};
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

void PrintMesh(const cow_String& root, const bme_Mesh& mesh) {
  const bme_ElementData& elements = mesh.ElementData();
  const gsl_BBox box = mesh.GetBBox();
  std::cout << "\nMesh " << root << ", " << mesh.NodeData().Dimension() << " dimensions\n";
  mesh.Print(std::cout);
  std::cout << "  Box:            ";
  if (box.IsEmpty())
    std::cout << "empty\n";
  else
    std::cout << PointText(box.Min()) << " to " << PointText(box.Max()) << '\n';
  std::cout << "  Node labels:    " << RangeText(cli_NodeLabels(mesh.NodeData()), true) << '\n';
  std::cout << "  Element labels: " << RangeText(cli_ElementLabels(elements), elements.HasUserElementLabels())
            << '\n';
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    std::cout << "  Class " << i << ": " << type.ElemTypeLabel() << ", labels "
              << RangeText(LabelsOf(elements, type), true) << ", category \"" << type.CategoryLabel()
              << "\"\n";
  }
}

cli_Json MeshJson(const cow_String& root, const bme_Mesh& mesh) {
  const bme_ElementData& elements = mesh.ElementData();
  const gsl_BBox box = mesh.GetBBox();
  cli_Json classes = cli_Json::array();
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    classes.push_back({{"index", i},
                       {"type", type.ElemTypeLabel()},
                       {"supported", type.IsSupported()},
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
          {"box", box.IsEmpty() ? cli_Json()
                                : cli_Json{{"min", PointJson(box.Min())}, {"max", PointJson(box.Max())}}},
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
  if (!arguments.json) std::cout << arguments.file << ": " << model.FileSize() << " bytes\n";

  json["roots"] = cli_Json::array();
  if (!arguments.json) std::cout << "Roots:\n";
  for (const cow_String& root : model.Roots()) {
    json["roots"].push_back(root);
    if (!arguments.json) std::cout << "  " << root << '\n';
  }
  std::map<cow_String, std::size_t> kinds;
  for (const cli_RegionRoot& one : cli_Regions(model)) ++kinds[cli_KindText(one.region.GetSetTypeBits())];
  const std::size_t numDatums = cli_DatumRoots(model).size();
  json["regions"] = cli_Json::object();
  for (const auto& [kind, count] : kinds) {
    json["regions"][kind] = count;
    if (!arguments.json) std::cout << Plural(count, kind) << " (see \"coregeometry sets\")\n";
  }
  json["datums"] = numDatums;
  if (!arguments.json && numDatums > 0)
    std::cout << Plural(numDatums, "datum") << " (see \"coregeometry csys\")\n";

  json["stored"] = cli_Json::array();
  if (!arguments.json) std::cout << "Stored classes:\n";
  for (const auto& stored : model.Classes()) {
    json["stored"].push_back({{"className", stored.name},
                              {"version", stored.version},
                              {"objects", stored.objects},
                              {"outdated", stored.outdated}});
    if (!arguments.json)
      std::cout << "  " << stored.name << " version " << stored.version << ": " << stored.objects
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

void cli_AddInfo(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("info", "Print what a model holds: meshes, boxes, label ranges, classes");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(*command, arguments->file, arguments->name, arguments->json);
  command->footer("Example: node count of the first mesh\n"
                  "  coregeometry info bracket.cgdb --json | jq .meshes[0].nodes");
  command->callback([arguments] { Run(*arguments); });
}
