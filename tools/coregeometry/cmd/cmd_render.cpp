// coregeometry render: a picture of a mesh
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_Output.h"
#include "cli_Regions.h"
#include "cli_Scene.h"
#include "cli_Words.h"
#include <CoreGeometry/pic_Scene.h>

#include <charconv>
#include <iostream>
#include <set>

namespace {
struct Arguments {
  std::string file, name, size, title, background;
  cli_OutputArguments output;
  std::vector<std::string> sets;
  std::optional<std::array<double, 3>> direction;
  bool json = false, plain = false, edges = false, datums = false;
};

const std::vector<cli_FileFormat>& Formats() {
  static const std::vector<cli_FileFormat> all = {{"png", {".png"}}};
  return all;
}

pic_View ViewOf(const Arguments& arguments) {
  pic_View view;
  view.hasMeshEdges = arguments.edges;
  view.hasLegend = view.hasAxes = !arguments.plain;
  view.background = arguments.background == "white"         ? pic_Background::White
                    : arguments.background == "transparent" ? pic_Background::Transparent
                                                            : pic_Background::Shaded;
  view.direction = cli_DirectionOf(arguments.direction, view.direction);
  if (arguments.size.empty()) return view;
  constexpr int kLeast = 16, kMost = 4096;
  const char *text = arguments.size.data(), *end = text + arguments.size.size();
  const auto [x, first] = std::from_chars(text, end, view.width);
  const bool hasX = first == std::errc() && x != end && (*x == 'x' || *x == 'X');
  const auto [rest, second] = std::from_chars(hasX ? x + 1 : end, end, view.height);
  const auto isGood = [](int length) { return length >= kLeast && length <= kMost; };
  if (!hasX || second != std::errc() || rest != end || !isGood(view.width) || !isGood(view.height))
    throw cli_UsageError("--size " + arguments.size + " is not WIDTHxHEIGHT with " + std::to_string(kLeast)
                         + " to " + std::to_string(kMost) + " pixels each");
  return view;
}

void Run(const Arguments& arguments) {
  pic_View view = ViewOf(arguments);
  cli_Console console;
  uti_OutputFile output = cli_OpenOutput(arguments.output, Formats(), {arguments.file});
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cli_Scene scene = cli_ReadScene(model, arguments.name);
  const cow_String& root = scene.root;
  console.Begin("drawing " + root);
  if (!arguments.plain)
    view.title = arguments.title.empty() ? root.substr(root.rfind('/') + 1) : cow_String(arguments.title);
  const std::vector<bme_NamedSet> sets =
      arguments.sets.empty() ? std::vector<bme_NamedSet>() : bme_SetsOfMesh(model, root);
  const bme_Outside outside = bme_FindOutside(scene.mesh, sets, arguments.sets, arguments.file + ", " + root);
  const std::vector<cli_Datum> datums = arguments.datums ? cli_Datums(model, root) : std::vector<cli_Datum>();
  std::vector<const dtu_Datum*> drawn;
  drawn.reserve(datums.size());
  gsl_Matrix toPicture = scene.placement.ToLocal();
  toPicture.Concatenate(scene.placement.Turn());
  std::vector<std::unique_ptr<dtu_Datum>> moved;
  for (const cli_Datum& one : datums) {
    moved.emplace_back(one.datum->Copy())->TransformData(toPicture);
    drawn.push_back(moved.back().get());
  }
  pic_Draw(outside, scene.mesh.NodeData().Coordinates().Const(), view, drawn).WritePng(output);
  console.End();

  std::vector<long long> faces(outside.groups.size()), lines(outside.groups.size()),
      nodes(outside.groups.size());
  for (const bme_OuterFace& face : outside.faces) ++faces[static_cast<std::size_t>(face.group)];
  for (const bme_OuterLine& line : outside.lines) ++lines[static_cast<std::size_t>(line.group)];
  for (const bme_OuterPoint& point : outside.points) ++nodes[static_cast<std::size_t>(point.group)];
  cli_Json groups = cli_Json::array();
  if (!arguments.json)
    cli_Report() << root << " of " << arguments.file << " is drawn in " << output.Name() << ", " << view.width
                 << " x " << view.height << ":\n";
  for (std::size_t i = 0; i < outside.groups.size(); ++i) {
    if (faces[i] + lines[i] + nodes[i] == 0) continue;
    const cow_String colour = pic_ColourName(static_cast<int>(i));
    groups.push_back({{"name", outside.groups[i]},
                      {"colour", colour},
                      {"faces", faces[i]},
                      {"lines", lines[i]},
                      {"nodes", nodes[i]}});
    if (arguments.json) continue;
    cli_Report() << "  " << colour << ": " << outside.groups[i];
    for (const auto& [count, what] :
         {std::pair{faces[i], " faces"}, {lines[i], " lines"}, {nodes[i], " nodes"}})
      if (count > 0) cli_Report() << ", " << count << what;
    cli_Report() << '\n';
  }
  cli_Json paths = cli_Json::array();
  for (const cli_Datum& one : datums) {
    paths.push_back(one.Path());
    if (!arguments.json) cli_Report() << "  " << one.Path() << ", " << cli_KindText(*one.datum) << '\n';
  }
  if (arguments.datums && datums.empty() && !arguments.json)
    cli_Report() << "  no datums: the model holds none of this mesh\n";
  if (!arguments.json) cli_ReportLeftOut(outside);
  if (arguments.json)
    cli_PrintJson({{"file", arguments.file},
                   {"mesh", root},
                   {"output", output.Name()},
                   {"width", view.width},
                   {"height", view.height},
                   {"notFinite", outside.notFinite},
                   {"noShape", outside.withoutShape},
                   {"groups", groups},
                   {"datums", paths}});
}
} // namespace

void cli_AddRender(CLI::App& app) {
  CLI::App* command = app.add_subcommand("render", "Draw a mesh as a picture (PNG)");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(*command, arguments->file, arguments->name, arguments->json);
  cli_AddOutputOptions(*command, arguments->output, Formats(), "Picture to write, .png");
  cli_AddNames(*command, "--sets", arguments->sets,
               "Draw these sets and surfaces alone, each in a colour of its own; nodes as dots");
  command->add_flag("--edges", arguments->edges, "Draw the edges of all faces, too");
  command->add_flag("--datums", arguments->datums,
                    "Draw the points, axes, planes and coordinate systems of the mesh, too");
  cli_AddTriple(*command, "--view", arguments->direction, "Direction to the viewer; 1,-1.5,1 by default");
  command->add_option("--title", arguments->title, "Line at the top; the name of the mesh by default");
  command->add_flag("--plain", arguments->plain, "Neither title, legend, scale nor axes");
  command->add_option("--background", arguments->background, "What is behind the mesh")
      ->check(CLI::IsMember({"shaded", "white", "transparent"}));
  command->add_option("--size", arguments->size, "WIDTHxHEIGHT in pixels; 1200x900 by default");
  command->footer(
      "Shows what is seen from outside: shells, and faces of solids that no other solid has, with the edges\n"
      "where they turn by more than 30 degrees; line elements as lines. Colours tell element classes apart,\n"
      "or sets. Sets of nodes alone are dots on the whole mesh. The bar is a length in the model.\n"
      "Points, and types without a shape, are not drawn. No display is needed; the same mesh gives\n"
      "the same bytes. Datums are thin where the part is before them; the axes of a system have the colours "
      "of\n"
      "those in the corner.\n"
      "\n"
      "Examples:\n"
      "  coregeometry render bracket.cgdb -o bracket.png --edges\n"
      "  coregeometry render bracket.cgdb -o skin.png --sets skin_outside --view 0,-1,0 --size 800x600");
  command->callback([arguments] { Run(*arguments); });
}
