// coregeometry info: what a model file holds
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_Regions.h"

#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/bme_StoredMesh.h>
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

cow_String Plural(std::size_t count, const cow_String& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// What a mesh holds, from one pass over its coordinates and labels.
struct Facts {
  Facts(const cls_Database& model, const cow_String& meshRoot) : root(meshRoot), mesh(model, meshRoot) {
    const bme_Placement& placement = mesh.Placement();
    mesh.ForEachCoordinates([&](std::span<const float> xyz) {
      for (std::size_t i = 0; i + 2 < xyz.size(); i += 3)
        numNotFinite += !std::ranges::all_of(xyz.subspan(i, 3), [](float x) { return std::isfinite(x); });
      box.Add(placement.Box(xyz));
    });
    mesh.ForEachNodeLabels([&](std::span<const int> labels) { nodeLabels.Add(labels); });
    const bool hasLabels = mesh.HasUserElementLabels();
    for (const bme_StoredMesh::Class& type : mesh.Classes()) {
      cli_LabelRange range;
      if (hasLabels)
        mesh.ForEachLabelsOf(type, [&](std::span<const int> labels) { range.Add(labels); });
      else if (type.numElements > 0)
        range = {type.numElements, type.firstElement + 1LL,
                 static_cast<long long>(type.firstElement) + type.numElements};
      labelsOfClass.push_back(range);
      elementLabels.Add(range);
      // whether the rows of a class are pyramids is seen when they are read
      const bool mayBePyramids = bme_PyramidNodes(type.kind) > 0;
      pyramidNodes.push_back(mayBePyramids ? bme_PyramidNodes(*model.GetObject<bme_ElementClass>(type.object))
                                           : 0);
    }
    if (!hasLabels) elementLabels = {mesh.NumElements(), 1, mesh.NumElements()};
  }
  cow_String TypeText(std::size_t i) const {
    return cli_TypeText(mesh.Classes()[i].kind.ElemTypeLabel(), pyramidNodes[i]);
  }
  cli_Json Corner(const gsl_Point& corner) const {
    if (!mesh.Placement().IsNone()) return {corner[0], corner[1], corner[2]};
    return cli_PlacedPoint(mesh.Placement(), corner);
  }
  cli_Json Origin() const { return Corner(mesh.Placement().ToPlaced().NewOrigin()); }

  cow_String root;
  bme_StoredMesh mesh;
  gsl_BBox box; ///< of the nodes whose coordinates are all finite, in placed space
  long long numNotFinite = 0;
  cli_LabelRange nodeLabels, elementLabels;
  std::vector<cli_LabelRange> labelsOfClass;
  std::vector<int> pyramidNodes;
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

void PrintMesh(const Facts& facts) {
  const bme_StoredMesh& mesh = facts.mesh;
  cli_Out() << "\nMesh " << facts.root << ", " << mesh.Dimension() << " dimensions\n";
  NamesOnOneLine buffer;
  std::ostream lines(&buffer);
  mesh.Print(lines);
  cli_Out() << "  Box:            ";
  if (facts.box.IsEmpty())
    cli_Out() << "empty";
  else
    cli_Out() << PointText(facts.Corner(facts.box.Min())) << " to "
              << PointText(facts.Corner(facts.box.Max()));
  if (facts.numNotFinite > 0)
    cli_Out() << ", without " << Plural(static_cast<std::size_t>(facts.numNotFinite), "node")
              << " whose coordinates are not finite";
  cli_Out() << '\n';
  if (!mesh.Placement().IsNone())
    cli_Out() << "  Placed at:      " << PointText(facts.Origin())
              << (mesh.Placement().IsTurned() ? ", turned" : "") << '\n';
  cli_Out() << "  Node labels:    " << RangeText(facts.nodeLabels, true) << '\n';
  cli_Out() << "  Element labels: " << RangeText(facts.elementLabels, mesh.HasUserElementLabels()) << '\n';
  for (std::size_t i = 0; i < mesh.Classes().size(); ++i)
    cli_Out() << "  Class " << i << ": " << facts.TypeText(i) << ", labels "
              << RangeText(facts.labelsOfClass[i], true) << ", category \""
              << mesh.Classes()[i].kind.CategoryLabel() << "\"\n";
}

cli_Json MeshJson(const Facts& facts) {
  const bme_StoredMesh& mesh = facts.mesh;
  cli_Json classes = cli_Json::array();
  for (std::size_t i = 0; i < mesh.Classes().size(); ++i) {
    const bme_StoredMesh::Class& type = mesh.Classes()[i];
    classes.push_back({{"index", i},
                       {"type", type.kind.ElemTypeLabel()},
                       {"supported", type.kind.IsSupported()},
                       {"pyramidNodes", facts.pyramidNodes[i]},
                       {"elements", type.numElements},
                       {"nodesPerElement", type.nodesPerElement},
                       {"elementLabels", Range(facts.labelsOfClass[i])},
                       {"category", type.kind.CategoryLabel()}});
  }
  const gsl_BBox& box = facts.box;
  return {{"mesh", facts.root},
          {"id", mesh.Id()},
          {"dimensions", mesh.Dimension()},
          {"nodes", mesh.NumNodes()},
          {"elements", mesh.NumElements()},
          {"box", box.IsEmpty()
                      ? cli_Json()
                      : cli_Json{{"min", facts.Corner(box.Min())}, {"max", facts.Corner(box.Max())}}},
          {"placedAt", facts.Origin()},
          {"notFinite", facts.numNotFinite},
          {"nodeLabels", Range(facts.nodeLabels)},
          {"elementLabels", Range(facts.elementLabels)},
          {"elementLabelsImplicit", !mesh.HasUserElementLabels()},
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
    const Facts facts(model, root);
    console.End();
    if (arguments.json)
      json["meshes"].push_back(MeshJson(facts));
    else
      PrintMesh(facts);
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
