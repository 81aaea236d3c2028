// coregeometry skin: the outside of a mesh as shells of a file of its own
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Output.h"
#include "cli_Regions.h"
#include "cli_SkinReport.h"
#include "cli_Words.h"
#include <CoreGeometry/bme_Outside.h>

namespace {
struct Arguments {
  std::string file, name;
  cli_OutputArguments output;
  std::vector<std::string> sets;
  bool json = false, edges = false;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  uti_OutputFile output = cli_OpenOutput(arguments.output, cli_SkinFormats(), {arguments.file});
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  const std::vector<bme_NamedSet> sets =
      arguments.sets.empty() ? std::vector<bme_NamedSet>() : bme_SetsOfMesh(model, root);
  console.Begin("writing " + output.Name());
  const bme_Outside outside = bme_FindOutside(*mesh, sets, arguments.sets, arguments.file + ", " + root);
  const exo_SkinSummary summary = exo_WriteSkin(output, *mesh, outside, arguments.edges);
  console.End();
  cli_ReportSkin({{"file", arguments.file}, {"mesh", root}, {"output", output.Name()}}, summary,
                 arguments.edges, arguments.json);
}
} // namespace

void cli_AddSkin(cli_Command& program) {
  cli_Command command = program.AddCommand("skin", "Write the outside of a mesh as shells (Exodus II)");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  cli_AddOutputOptions(command, arguments->output, cli_SkinFormats(), "File to write, .exo (.e, .g)");
  cli_AddSkinOptions(command, arguments->sets, arguments->edges);
  command.Footer(
      "Shells and faces of solids that no other solid has; a block for each number of nodes in each element\n"
      "class or set. Nodes keep their labels. Two element maps, source_element and source_face, tell the\n"
      "label of the element that a shell was a face of, and which face, from 1; of a beam, one of its "
      "faces.\n"
      "\n"
      "Example:\n"
      "  coregeometry skin bracket.cgdb -o bracket-skin.exo --edges");
  command.OnRun([arguments] { Run(*arguments); });
}
