// coregeometry extrude: surfaces along a vector, or shells to solids of a thickness
#include "cli_Commands.h"
#include "cli_Sweep.h"
#include "cli_Words.h"

#include <cmath>

namespace {
struct Arguments : cli_SweepArguments {
  std::optional<std::array<double, 3>> vector, direction;
  std::optional<double> distance, thickness;
  std::string side = "top";
};

/// The vector, if there is no thickness.
std::array<double, 3> VectorOf(const Arguments& arguments) {
  if (arguments.vector) return *arguments.vector;
  std::array<double, 3> vector = *arguments.direction;
  const double length = std::hypot(vector[0], vector[1], vector[2]);
  if (length == 0) throw cli_UsageError("--direction 0,0,0 is no direction");
  for (double& part : vector) part *= *arguments.distance / length;
  return vector;
}

void Run(const Arguments& arguments) {
  if (arguments.direction.has_value() != arguments.distance.has_value())
    throw cli_UsageError("--direction and --distance belong together");
  if (arguments.vector.has_value() + arguments.direction.has_value() + arguments.thickness.has_value() != 1)
    throw cli_UsageError("give --vector, --direction with --distance, or --thickness");
  const auto layers = static_cast<unsigned>(arguments.layers);
  if (arguments.thickness) {
    const bme_OffsetSide side = arguments.side == "top"      ? bme_OffsetSide::Top
                                : arguments.side == "bottom" ? bme_OffsetSide::Bottom
                                                             : bme_OffsetSide::Both;
    return cli_Sweep(arguments, [&](const bme_MeshAndSets& all, const bme_TypeChoice& types) {
      return bme_OffsetMesh(all, *arguments.thickness, side, layers, types);
    });
  }
  const std::array<double, 3> vector = VectorOf(arguments);
  cli_Sweep(arguments, [&](const bme_MeshAndSets& all, const bme_TypeChoice& types) {
    return bme_ExtrudeMesh(all, vector, layers, types);
  });
}
} // namespace

void cli_AddExtrude(cli_Command& program) {
  cli_Command command =
      program.AddCommand("extrude", "Sweep surfaces along a vector, or shells by a thickness");
  auto arguments = std::make_shared<Arguments>();
  cli_AddSweepOptions(command, *arguments);
  cli_AddTriple(command, "--vector", arguments->vector, "From the surface to the far end");
  cli_AddTriple(command, "--direction", arguments->direction, "The same as a direction, with --distance");
  command.AddOption("--distance", arguments->distance, "Along --direction").TypeName("D");
  command.AddOption("--thickness", arguments->thickness, "Along the normals of the shells").TypeName("T");
  command.AddOption("--side", arguments->side, "Of the shells, with --thickness (default top)")
      .OneOf({"top", "bottom", "both"});
  command.Footer("Quadrilaterals become hexahedra, triangles wedges. The result has the surfaces \"bottom\" "
                 "and \"top\".\n"
                 "Sets of nodes and elements have what their items were swept to, sides of shells the faces "
                 "that look the\n"
                 "same way, edges the sides. Results are left out. Coordinates are those of the mesh, "
                 "without its placement.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry extrude bracket.cgdb --set HOLE --thickness 0.002 --layers 2 -o liner.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
