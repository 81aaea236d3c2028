// coregeometry view: a page for browsers that shows a mesh
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Contour.h"
#include "cli_Output.h"
#include "cli_Regions.h"
#include "cli_Scene.h"
#include "cli_Words.h"
#include <CoreGeometry/pic_Page.h>

namespace {
struct Arguments {
  std::string file, name, title;
  cli_OutputArguments output;
  std::vector<std::string> sets;
  std::optional<std::array<double, 3>> direction;
  bool json = false;
  cli_ContourArguments contour;
};

const std::vector<cli_FileFormat>& Formats() {
  static const std::vector<cli_FileFormat> all = {{"html", {".html", ".htm"}}};
  return all;
}

/// The sets that are asked for, or all; their names in the order of the page.
std::vector<std::string> AddSets(pic_Page& page, const Arguments& arguments, const cli_Scene& scene,
                                 const std::vector<bme_NamedSet>& sets) {
  std::vector<std::string> wanted = arguments.sets, names;
  const bool isAll = wanted.empty();
  if (isAll)
    for (const bme_NamedSet& set : sets) wanted.push_back(set.Root());
  if (wanted.empty()) return names;
  const cow_String place = arguments.file + ", " + scene.root;
  bme_Outside outside;
  try {
    outside = bme_FindOutside(scene.mesh, sets, wanted, place);
  } catch (const nex_TextException& failure) {
    if (!isAll) throw;
    cli_Report() << "The sets are left out: " << failure.Message() << '\n';
    return names;
  }
  const std::size_t first =
      outside.groups.size() - wanted.size(); // before them the whole mesh, if only nodes are in them
  for (std::size_t i = first; i < outside.groups.size(); ++i) {
    if (isAll) outside.groups[i] = sets[i - first].name;
    names.push_back(outside.groups[i]);
  }
  page.AddSets(outside, first, !isAll);
  return names;
}

/// The frames, and the end of the page. Answers what they are.
cli_Json EndWithResults(pic_Page& page, const pic_PageView& view, const Arguments& arguments,
                        const cls_Database& model, const cli_Scene& scene, const bme_Outside& outside) {
  cli_Contour contour(model, scene.root, scene.mesh, arguments.contour);
  pic_Results last;
  for (unsigned i = 0; i < contour.NumFrames(); ++i) {
    last = contour.Load(i, outside);
    page.AddFrame(last.legend.frame, last.field, last.displacement);
  }
  last.legend.frame = "";
  if (last.field) page.Reach(last.scale.low, last.scale.high);
  page.End(view, last);
  return contour.Facts();
}

void Run(const Arguments& arguments) {
  pic_PageView view;
  view.direction = cli_DirectionOf(arguments.direction, view.direction);
  view.rate = arguments.contour.rate;
  if (arguments.contour.AreGiven()) cli_CheckContour(arguments.contour);
  cli_Console console;
  uti_OutputFile output = cli_OpenOutput(arguments.output, Formats(), {arguments.file});
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cli_Scene scene = cli_ReadScene(model, arguments.name);
  console.Begin("writing " + scene.root);
  view.title =
      arguments.title.empty() ? scene.root.substr(scene.root.rfind('/') + 1) : cow_String(arguments.title);
  const bme_Outside outside = bme_FindOutside(scene.mesh, {}, {}, arguments.file + ", " + scene.root);
  pic_Page page(output, scene.mesh, outside);
  const std::vector<std::string> sets = AddSets(page, arguments, scene, bme_SetsOfMesh(model, scene.root));
  cli_Json results;
  if (arguments.contour.AreGiven())
    results = EndWithResults(page, view, arguments, model, scene, outside);
  else
    page.End(view);
  console.End();

  if (arguments.json) {
    cli_Json facts = {{"file", arguments.file},
                      {"mesh", scene.root},
                      {"output", output.Name()},
                      {"faces", outside.faces.size()},
                      {"lines", outside.lines.size()},
                      {"notFinite", outside.notFinite},
                      {"noShape", outside.withoutShape},
                      {"classes", outside.groups},
                      {"sets", sets}};
    if (!results.is_null()) facts["results"] = results;
    return cli_PrintJson(facts);
  }
  cli_Report() << scene.root << " of " << arguments.file << " is shown by " << output.Name() << ": "
               << outside.faces.size() << " faces and " << outside.lines.size() << " lines, "
               << outside.groups.size() << " classes, " << sets.size() << " sets\n";
  cli_ReportContour(results);
  cli_ReportLeftOut(outside);
}
} // namespace

void cli_AddView(cli_Command& program) {
  cli_Command command = program.AddCommand("view", "Write a page for browsers that shows a mesh (HTML)");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  cli_AddOutputOptions(command, arguments->output, Formats(), "Page to write, .html");
  cli_AddNames(command, "--sets", arguments->sets,
               "Have these sets and surfaces alone in the page, and show them at first");
  cli_AddContourOptions(command, arguments->contour);
  cli_AddTriple(command, "--view", arguments->direction,
                "Direction to the viewer at first; 1,-1.5,1 by default");
  command.AddOption("--title", arguments->title, "Title; the name of the mesh by default");
  command.Footer(
      "The page is one file that needs no other and no network. It shows the outside of the mesh in a\n"
      "browser with WebGL: drag to turn it, scroll to come closer, drag with the right button to move it,\n"
      "and click to see the label and class of an element and the label of the nearest node. Classes, sets\n"
      "and edges are switched on and off there. Sets are switched off at first, unless --sets names them.\n"
      "\n"
      "Example:\n"
      "  coregeometry view bracket.cgdb -o bracket.html");
  command.OnRun([arguments] { Run(*arguments); });
}
