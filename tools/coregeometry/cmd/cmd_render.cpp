// coregeometry render: a picture of a mesh
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Contour.h"
#include "cli_Datums.h"
#include "cli_Output.h"
#include "cli_Regions.h"
#include "cli_Scene.h"
#include "cli_Words.h"
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_Quality.h>
#include <CoreGeometry/pic_Animation.h>
#include <CoreGeometry/pic_Scene.h>

#include <charconv>
#include <iostream>
#include <set>

namespace {
struct Arguments {
  std::string file, name, size, title, background, quality;
  cli_OutputArguments output;
  std::vector<std::string> sets;
  std::optional<std::array<double, 3>> direction;
  bool json = false, plain = false, edges = false, datums = false;
  cli_ContourArguments contour;

  /// A file for each picture.
  bool AreNumbered() const { return contour.AreGiven() && output.file.find('%') != std::string::npos; }
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

/// One picture, an animation, or numbered files. Answers what was drawn.
cli_Json DrawResults(const Arguments& arguments, const cls_Database& model, const cli_Scene& scene,
                     const bme_Outside& outside, pic_View view, std::span<const dtu_Datum* const> datums,
                     uti_OutputFile* output) {
  cli_Contour contour(model, scene.root, scene.mesh, arguments.contour);
  const std::span<const float> xyz = scene.mesh.NodeData().Coordinates().Const();
  const unsigned count = contour.NumFrames();
  const auto draw = [&](unsigned frame) {
    return pic_Draw(outside, xyz, view, contour.Load(frame, outside), datums);
  };
  if (count == 1 && output) {
    draw(0).WritePng(*output);
    return contour.Facts();
  }
  view.extent.emplace();
  for (unsigned i = 0; i < count; ++i)
    view.extent->Add(pic_ExtentOf(outside, xyz, view, contour.LoadShape(i)));
  std::optional<pic_Animation> animation;
  if (output)
    animation.emplace(*output, count, arguments.contour.rate);
  else
    animation.emplace(arguments.output.file,
                      uti_OutputRules{.force = arguments.output.force,
                                      .inputs = {arguments.file},
                                      .suffixes = Formats()[0].suffixes},
                      count);
  for (unsigned i = 0; i < count; ++i) animation->Add(draw(i));
  return contour.Facts();
}

/// A measure of the form of elements in colours.
cli_Json DrawQuality(const Arguments& arguments, const cli_Scene& scene, const bme_Outside& outside,
                     const pic_View& view, std::span<const dtu_Datum* const> datums, uti_OutputFile& output) {
  const bme_QualityMeasure measure = *bme_FindQualityMeasure(arguments.quality);
  const bme_ElementData& elements = scene.mesh.ElementData();
  std::vector<std::vector<double>> values;
  pic_Values ofClasses{.place = pic_Values::Place::Elements};
  std::optional<pic_Legend::Extreme> ends[2];
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    values.push_back(std::move(bme_Quality(scene.mesh, c, std::span(&measure, 1))[0]));
    for (std::size_t i = 0; i < values.back().size(); ++i)
      for (const std::size_t end : {0U, 1U}) {
        const double value = values.back()[i];
        if (ends[end] && (end == 0 ? value >= ends[0]->value : value <= ends[1]->value)) continue;
        const auto element =
            static_cast<unsigned>(elements.GetClass(c).FirstElementIndex()) + static_cast<unsigned>(i);
        ends[end] = pic_Legend::Extreme{
            value, "element " + std::to_string(bme_FEMElemList(scene.mesh, {element}).Labels()[0])};
      }
  }
  for (const std::vector<double>& own : values) ofClasses.ofClasses.emplace_back(own);
  const pic_Field field(scene.mesh, outside, ofClasses);
  pic_Results results{
      .field = &field, .scale = cli_ScaleOf(arguments.contour), .legend = {.name = arguments.quality}};
  if (!(field.Low() <= field.High()))
    throw nex_TextException(scene.root + ": no element that is drawn has the measure " + arguments.quality);
  if (!results.scale.HasFixedLow()) results.scale.low = field.Low();
  if (!results.scale.HasFixedHigh()) results.scale.high = field.High();
  results.legend.lowest = ends[0];
  results.legend.highest = ends[1];
  pic_Draw(outside, scene.mesh.NodeData().Coordinates().Const(), view, results, datums).WritePng(output);
  return {{"name", arguments.quality},
          {"low", results.scale.low},
          {"high", results.scale.high},
          {"lowest", ends[0]->place},
          {"highest", ends[1]->place}};
}

void CheckQuality(const Arguments& arguments) {
  if (arguments.quality.empty()) return;
  if (arguments.contour.AreGiven()) throw cli_UsageError("--quality is drawn without --field and --deform");
  if (bme_FindQualityMeasure(arguments.quality)) return;
  std::string text = "--quality " + arguments.quality + ": give one of";
  for (const bme_QualityFacts& one : bme_QualityMeasures()) text.append(" ").append(one.name);
  throw cli_UsageError(text);
}

void Run(const Arguments& arguments) {
  CheckQuality(arguments);
  pic_View view = ViewOf(arguments);
  if (arguments.contour.AreGiven()) cli_CheckContour(arguments.contour);
  cli_Console console;
  std::unique_ptr<uti_OutputFile> output;
  if (!arguments.AreNumbered())
    output.reset(new uti_OutputFile(cli_OpenOutput(arguments.output, Formats(), {arguments.file})));
  const cow_String outputName = arguments.output.file;
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
  cli_Json results, quality;
  if (!arguments.quality.empty())
    quality = DrawQuality(arguments, scene, outside, view, drawn, *output);
  else if (arguments.contour.AreGiven())
    results = DrawResults(arguments, model, scene, outside, view, drawn, output.get());
  else
    pic_Draw(outside, scene.mesh.NodeData().Coordinates().Const(), view, drawn).WritePng(*output);
  console.End();

  std::vector<long long> faces(outside.groups.size()), lines(outside.groups.size()),
      nodes(outside.groups.size());
  for (const bme_OuterFace& face : outside.faces) ++faces[static_cast<std::size_t>(face.group)];
  for (const bme_OuterLine& line : outside.lines) ++lines[static_cast<std::size_t>(line.group)];
  for (const bme_OuterPoint& point : outside.points) ++nodes[static_cast<std::size_t>(point.group)];
  cli_Json groups = cli_Json::array();
  if (!arguments.json)
    cli_Report() << root << " of " << arguments.file << " is drawn in " << outputName << ", " << view.width
                 << " x " << view.height << ":\n";
  for (std::size_t i = 0; i < outside.groups.size(); ++i) {
    if (faces[i] + lines[i] + nodes[i] == 0) continue;
    const cow_String colour = pic_ColourName(static_cast<int>(i));
    groups.push_back({{"name", outside.groups[i]},
                      {"colour", colour},
                      {"faces", faces[i]},
                      {"lines", lines[i]},
                      {"nodes", nodes[i]}});
    if (arguments.json || !results.is_null() || !quality.is_null()) continue;
    cli_Report() << "  " << colour << ": " << outside.groups[i];
    for (const auto& [count, what] :
         {std::pair{faces[i], " faces"}, {lines[i], " lines"}, {nodes[i], " nodes"}})
      if (count > 0) cli_Report() << ", " << count << what;
    cli_Report() << '\n';
  }
  if (!arguments.json) cli_ReportContour(results);
  if (!arguments.json && !quality.is_null())
    cli_Report() << "  " << arguments.quality << " from " << quality["low"].dump() << " to "
                 << quality["high"].dump() << ", least at " << quality["lowest"].get<std::string>()
                 << ", largest at " << quality["highest"].get<std::string>() << '\n';
  cli_Json paths = cli_Json::array();
  for (const cli_Datum& one : datums) {
    paths.push_back(one.Path());
    if (!arguments.json) cli_Report() << "  " << one.Path() << ", " << cli_KindText(*one.datum) << '\n';
  }
  if (arguments.datums && datums.empty() && !arguments.json)
    cli_Report() << "  no datums: the model holds none of this mesh\n";
  if (!arguments.json) cli_ReportLeftOut(outside);
  if (!arguments.json) return;
  cli_Json facts = {{"file", arguments.file},
                    {"mesh", root},
                    {"output", outputName},
                    {"width", view.width},
                    {"height", view.height},
                    {"notFinite", outside.notFinite},
                    {"noShape", outside.withoutShape},
                    {"groups", groups},
                    {"datums", paths}};
  if (!results.is_null()) facts["results"] = results;
  if (!quality.is_null()) facts["quality"] = quality;
  cli_PrintJson(facts);
}
} // namespace

void cli_AddRender(cli_Command& program) {
  cli_Command command = program.AddCommand("render", "Draw a mesh as a picture (PNG)");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  cli_AddOutputOptions(command, arguments->output, Formats(), "Picture to write, .png");
  cli_AddNames(command, "--sets", arguments->sets,
               "Draw these sets and surfaces alone, each in a colour of its own; nodes as dots");
  command.AddFlag("--edges", arguments->edges, "Draw the edges of all faces, too");
  command.AddFlag("--datums", arguments->datums,
                  "Draw the points, axes, planes and coordinate systems of the mesh, too");
  cli_AddContourOptions(command, arguments->contour);
  command.AddOption("--quality", arguments->quality, "Draw a measure of elements, such as scaled_jacobian")
      .TypeName("MEASURE");
  cli_AddTriple(command, "--view", arguments->direction, "Direction to the viewer; 1,-1.5,1 by default");
  command.AddOption("--title", arguments->title, "Line at the top; the name of the mesh by default");
  command.AddFlag("--plain", arguments->plain, "Neither title, legend, scale nor axes");
  command.AddOption("--background", arguments->background, "What is behind the mesh")
      .OneOf({"shaded", "white", "transparent"});
  command.AddOption("--size", arguments->size, "WIDTHxHEIGHT in pixels; 1200x900 by default");
  command.Footer(
      "Shows what is seen from outside: shells, and faces of solids that no other solid has, with the edges\n"
      "where they turn by more than 30 degrees; line elements as lines. Colours tell element classes apart,\n"
      "or sets. Sets of nodes alone are dots on the whole mesh. The bar is a length in the model.\n"
      "Points, and types without a shape, are not drawn. No display is needed; the same mesh gives\n"
      "the same bytes. Datums are thin where the part is before them; the axes of a system have the colours "
      "of\n"
      "those in the corner.\n"
      "\n"
      "--field shows a variable of the results in colours: means at nodes of what stands at integration "
      "points,\n"
      "with jumps at the borders of --borders. Several frames become an animated PNG, or a file each when\n"
      "the output has a place for numbers.\n"
      "\n"
      "Examples:\n"
      "  coregeometry render bracket.cgdb -o bracket.png --edges\n"
      "  coregeometry render bracket.cgdb -o skin.png --sets skin_outside --view 0,-1,0 --size 800x600\n"
      "  coregeometry render wing.cgdb -o mises.png --field S --deform U\n"
      "  coregeometry render wing.cgdb -o pull_%04d.png --field U --frames all --range 0,0.02");
  command.OnRun([arguments] { Run(*arguments); });
}
