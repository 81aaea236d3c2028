// coregeometry travel: how far a model moves along a direction until it meets another
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Skin.h"
#include "cli_Words.h"

#include <CoreGeometry/gsl_Travel.h>
#include <CoreGeometry/gsl_Vector.h>
#include <cmath>
#include <sstream>

namespace {
struct Arguments {
  std::vector<std::string> files, names, parts;
  std::optional<std::array<double, 3>> direction;
  bool json = false;
};

/// One of the two that are to meet.
struct Side {
  cow_String file, root, part;
  cow_CountedHld<bme_Mesh> mesh;
  bme_Placement placement;
  bme_FaceTriangles skin;
  std::vector<double> moved;  ///< coordinates in the space of the other mesh
  long long withoutShape = 0; ///< elements that have no faces

  Side(const Arguments& arguments, std::size_t i) {
    const auto choose = [i](const std::vector<std::string>& given) {
      return i < given.size() ? given[i] : cow_String();
    };
    file = arguments.files[std::min(i, arguments.files.size() - 1)];
    part = choose(arguments.parts);
    const cls_Database model = cli_OpenModel(file);
    root = cli_ChooseMesh(model, arguments.names.size() == 1 ? arguments.names[0] : choose(arguments.names));
    mesh = model.Get<bme_Mesh>(root);
    placement = bme_Placement(*mesh);
    skin = cli_MakeSkin(model, root, *mesh, part);
    for (unsigned k = 0; k < mesh->ElementData().NumClasses(); ++k)
      if (const bme_ElementClass& type = mesh->ElementData().GetClass(k);
          !type.IsSupported() && cli_IsPart(type, part))
        withoutShape += type.NumElements();
  }
  int ElementLabel(int triangle) const {
    const unsigned element = bme_ElementOf(skin.words[static_cast<std::size_t>(triangle)]);
    unsigned classIndex = 0, inClass = 0;
    const bme_ElementData& elements = mesh->ElementData();
    if (elements.HasUserElementLabels() && elements.GetClassAndElemIndex(element, classIndex, inClass))
      return elements.GetClass(classIndex).UserElementLabels()[inClass];
    return static_cast<int>(element) + 1;
  }
  /// In the coordinates of the mesh that `local` is the placement of.
  gsl_TriangleTree Tree(const bme_Placement& local, const gsl_Vector& direction) {
    const std::span<const float> own = mesh->NodeData().Coordinates().Const();
    gsl_Matrix into = placement.Into(local);
    if (into.IsIdentity()) return {own, skin.nodes, direction};
    moved.assign(own.begin(), own.end());
    into.Transform(moved);
    return {moved, skin.nodes, direction};
  }
  cli_Json Facts() const {
    cli_Json facts = {
        {"file", file}, {"mesh", root}, {"triangles", skin.words.size()}, {"noShape", withoutShape}};
    if (!part.empty()) facts["part"] = part;
    return facts;
  }
};

cow_String PointText(const std::array<double, 3>& p) {
  std::ostringstream text;
  text.precision(9);
  text << '(' << p[0] << ", " << p[1] << ", " << p[2] << ')';
  return text.str();
}

void Run(const Arguments& arguments) {
  if (arguments.files.size() == 1 && arguments.parts.size() != 2)
    throw cli_UsageError("give two models, or one model and two parts of it");
  const auto& [x, y, z] = *arguments.direction;
  const gsl_Vector direction(x, y, z);
  if (!(direction.Magnitude() > 0 && std::isfinite(direction.Magnitude())))
    throw cli_UsageError("the direction must be finite and longer than zero");
  cli_Console console;
  console.Begin("reading " + arguments.files.front());
  Side moving(arguments, 0);
  console.Begin("reading " + arguments.files.back());
  Side fixed(arguments, 1);
  console.End();

  // searched in the coordinates of what is met, which are exact
  const bme_Placement& local = fixed.placement;
  gsl_Vector along = direction;
  local.ToLocal().Transform(along);
  gsl_Travel travel;
  const bool meets = gsl_FindTravel(fixed.Tree(local, along), moving.Tree(local, along), along, travel);
  for (std::array<double, 3>* point : {&travel.movablePoint, &travel.fixedPoint})
    local.ToPlaced().Transform(std::span<double>(*point));
  if (arguments.json) {
    cli_Json json = {{"moving", moving.Facts()},
                     {"fixed", fixed.Facts()},
                     {"direction", *arguments.direction},
                     {"meets", meets}};
    if (meets) {
      json["distance"] = travel.distance;
      json["moving"].update(
          {{"label", moving.ElementLabel(travel.movableTriangle)}, {"point", travel.movablePoint}});
      json["fixed"].update(
          {{"label", fixed.ElementLabel(travel.fixedTriangle)}, {"point", travel.fixedPoint}});
    }
    return cli_PrintJson(json);
  }
  if (const long long count = moving.withoutShape + fixed.withoutShape; count > 0)
    cli_Out() << "Left out: " << count << " elements of types without a shape\n";
  if (!meets) {
    cli_Out() << "never meets\n";
    return;
  }
  std::ostringstream distance;
  distance.precision(9);
  distance << travel.distance;
  cli_Out() << "distance " << distance.str() << '\n'
            << "element " << moving.ElementLabel(travel.movableTriangle) << " of what moves, at "
            << PointText(travel.movablePoint) << '\n'
            << "element " << fixed.ElementLabel(travel.fixedTriangle) << " of what is met, at "
            << PointText(travel.fixedPoint) << '\n';
}
} // namespace

void cli_AddTravel(cli_Command& program) {
  cli_Command command =
      program.AddCommand("travel", "How far a model moves along a direction until it meets another");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("MODEL", arguments->files, "The model that moves and the one it is to meet (.cgdb)")
      .Required()
      .Words(1, 2);
  cli_AddTriple(command, "--direction", arguments->direction, "Where to; the length does not matter")
      .Required();
  command
      .AddOption(
          "--part", arguments->parts,
          "Part of the first model, then of the second: an element type, a category of elements or its "
          "last piece, a set or a surface. With one model both parts are of it")
      .TypeName("NAME")
      .Words(1, 2);
  command
      .AddOption(
          "--name", arguments->names,
          "Name of the mesh of the first model, then of the second; not needed when a model has one mesh")
      .TypeName("NAME")
      .Words(1, 2);
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  command.Footer(
      "Prints the distance, and the elements and points that meet; 0 when they touch or overlap. Shells and "
      "the\n"
      "outside of solids count, with straight edges between corners. Exit code 0 also when they never meet.\n"
      "\n"
      "Example: two parts of one model\n"
      "  coregeometry travel press.cgdb --direction 0,0,-1 --part punch sheet");
  command.OnRun([arguments] { Run(*arguments); });
}
