// coregeometry section: a mesh cut by a plane
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_SectionMesh.h>
#include <numbers>

namespace {
struct Arguments : cli_EditArguments {
  std::string plane;
  int refine = 0;
};

bme_CutPlane PlaneOf(const Arguments& arguments) {
  const std::vector<std::string> parts = cli_Split(arguments.plane, ':');
  if (parts.size() == 2) {
    const auto point = cli_TripleOf(parts[0]), normal = cli_TripleOf(parts[1]);
    if (point && normal) return {*point, *normal, static_cast<unsigned>(arguments.refine)};
  }
  throw cli_UsageError("--plane " + arguments.plane + ": write a point and a normal, such as 0,0,0.5:0,0,1");
}

cli_Json FactsOf(const bme_Section& section) {
  const bme_SectionMoments& moments = section.moments;
  return {{"area", moments.area},
          {"centre", moments.centre},
          {"firstAxis", moments.first},
          {"secondAxis", moments.second},
          {"aboutFirst", moments.aboutFirst},
          {"aboutSecond", moments.aboutSecond},
          {"product", moments.product},
          {"largest", moments.largest},
          {"least", moments.least},
          {"angle", moments.angle * 180 / std::numbers::pi},
          {"length", section.length},
          {"lineCentre", section.lineCentre}};
}

void Print(const Arguments& arguments, const cli_EditSource& source, const bme_Section& section) {
  const cli_Json facts = FactsOf(section);
  if (arguments.json) {
    cli_Json json = {{"file", arguments.file}, {"mesh", source.root}};
    json.update(facts);
    return cli_PrintJson(json);
  }
  cli_Report() << "section of " << source.root << ":\n";
  for (const auto& [key, value] : facts.items()) cli_Report() << "  " << key << ": " << value.dump() << '\n';
}

void Run(const Arguments& arguments) {
  cli_Console console;
  const bme_CutPlane plane = PlaneOf(arguments);
  const bool isStored = !arguments.output.empty() || !arguments.as.empty() || arguments.replace;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cli_EditSource source = isStored ? cli_ReadEditSource(arguments)
                                         : cli_ReadMeshAndSets(model, cli_ChooseMesh(model, arguments.name));
  console.Begin("cutting");
  const bme_Section section = bme_CutMesh(source.all, plane);
  console.End();
  if (isStored)
    cli_StoreEdited(arguments, source, section, FactsOf(section));
  else
    Print(arguments, source, section);
}
} // namespace

void cli_AddSection(cli_Command& program) {
  cli_Command command = program.AddCommand("section", "Cut a mesh by a plane: its section, area and moments");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  command.AddOption("--plane", arguments->plane, "A point of the plane and its normal")
      .TypeName("X,Y,Z:X,Y,Z")
      .Required();
  command
      .AddOption("--refine", arguments->refine,
                 "Refine elements that are cut so many times, when there are some with mid nodes (default 0)")
      .Between(0, 6);
  command.Footer("Elements are cut through their corners, as if edges were straight; --refine follows curved "
                 "ones. Solids\n"
                 "give triangles and quadrilaterals, surfaces lines. Stored with -o or --as, the section has "
                 "the values of\n"
                 "nodes, interpolated, and of whole elements; values at integration points and element nodes "
                 "become values\n"
                 "at the nodes of the section's elements. Coordinates are those of the mesh, without its "
                 "placement.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry section bracket.cgdb --plane 0.01,0,0:1,0,0 -o section.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
