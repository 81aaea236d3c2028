// coregeometry measure: lengths, areas, volumes, masses and inertia of a mesh and its parts
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_Measures.h"
#include "cli_Regions.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <numeric>

namespace {
struct Arguments {
  std::string file, name, by, csys;
  bool json = false;
  cli_MeasureValues values;
};

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

void Run(const Arguments& arguments) {
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  const bme_MeasureOptions options = arguments.values.For(mesh->ElementData());
  gsl_Matrix frame =
      cli_FrameOf(model, arguments.csys.empty() ? std::vector<cli_Datum>() : cli_Datums(model, root),
                  arguments.csys, arguments.file);
  frame.Concatenate(bme_Placement(*mesh).ToLocal());
  const std::vector<Group> groups = GroupsOf(arguments, model, root, *mesh);
  console.End();
  cli_MeasureReport report(arguments.file, root, frame, static_cast<bool>(options.density), arguments.json);
  for (const Group& group : groups)
    report.Add(group.name, bme_CalculateMeasures(*mesh, group.elements, options));
  report.End();
}
} // namespace

void cli_AddMeasure(cli_Command& program) {
  cli_Command command =
      program.AddCommand("measure", "Lengths, areas, volumes, masses and inertia of a mesh");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  command.AddOption("--by", arguments->by, "Also measure each element class or each set by itself")
      .OneOf({"class", "set"});
  arguments->values.AddTo(command);
  cli_AddFrameOption(command, arguments->csys);
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
