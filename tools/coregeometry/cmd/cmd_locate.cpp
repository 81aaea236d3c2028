// coregeometry locate: the elements that hold points
#include "cli_Answers.h"
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"

#include <CoreGeometry/bme_StoredMesh.h>
#include <optional>

namespace {
struct Arguments {
  std::string file, name;
  cli_PointArguments points;
  std::optional<int> element; ///< label of the only one that is asked
  bool json = false;
};

/// The only element that is asked: nothing else of the mesh is read.
cli_Alone ReadAlone(const cls_Database& model, const cow_String& root, int label) {
  const unsigned element = bme_StoredMesh(model, root).FindElements(std::span(&label, 1))[0];
  if (element == bme_kNotFound) cli_RefuseElement(model.File() + ", " + root, label);
  return cli_ReadAlone(model, root, element);
}

void Run(const Arguments& arguments) {
  const std::vector<double> points = arguments.points.Points();
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const auto tell = [&](const bme_Mesh& mesh, const auto& of) {
    console.Begin("making a locator");
    const cli_Answers answers(of);
    console.End();
    cli_PointReport report(arguments.file, root, cli_NumNotFinite(mesh), cli_NumWithoutShape(mesh),
                           arguments.json);
    answers.ForEach(points, [&](const cli_PointAnswer& answer) { report.Add(answer); });
    report.End();
  };
  if (arguments.element) {
    const cli_Alone alone = ReadAlone(model, root, *arguments.element);
    return tell(alone.mesh, alone);
  }
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  tell(*mesh, *mesh);
}
} // namespace

void cli_AddLocate(cli_Command& program) {
  cli_Command command = program.AddCommand("locate", "Find the elements that hold points");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  arguments->points.AddTo(command);
  cli_AddAloneOption(command, arguments->element);
  command.Footer(
      "Prints for each point: inside, with the element and its iso coordinates; on boundary, with all\n"
      "elements that share the place; outside, with the nearest element and its distance; or degenerate\n"
      "element, when it can only be in one that is flat or inside out. On shells and beams a point may be\n"
      "off by a millionth of the element.\n"
      "\n"
      "Examples:\n"
      "  coregeometry locate bracket.cgdb 0.01,0.02,0.002\n"
      "  coregeometry locate bracket.cgdb --points probes.txt --json\n"
      "  coregeometry locate bracket.cgdb 0.01,0.02,0.002 --element 104");
  command.OnRun([arguments] { Run(*arguments); });
}
