// coregeometry revolve: surfaces about an axis
#include "cli_Commands.h"
#include "cli_Sweep.h"
#include "cli_Words.h"

#include <numbers>

namespace {
struct Arguments : cli_SweepArguments {
  std::optional<std::array<double, 3>> about, axis;
  double angle = 360;
};

void Run(const Arguments& arguments) {
  cli_Sweep(arguments, [&](const bme_MeshAndSets& all, const bme_TypeChoice& types) {
    return bme_RevolveMesh(all, arguments.about.value_or(std::array<double, 3>{}),
                           arguments.axis.value_or(std::array<double, 3>{0, 0, 1}),
                           arguments.angle * std::numbers::pi / 180, static_cast<unsigned>(arguments.layers),
                           types);
  });
}
} // namespace

void cli_AddRevolve(cli_Command& program) {
  cli_Command command = program.AddCommand("revolve", "Sweep surfaces about an axis");
  auto arguments = std::make_shared<Arguments>();
  cli_AddSweepOptions(command, *arguments);
  command.AddOption("--angle", arguments->angle, "At most 360, which closes the mesh (default)")
      .TypeName("DEGREES");
  cli_AddTriple(command, "--axis", arguments->axis, "Direction of the axis (default 0,0,1)");
  cli_AddTriple(command, "--about", arguments->about, "A point of the axis (default origin)");
  command.Footer(
      "As extrude. Nodes on the axis stay where they are: quadrilaterals with an edge there become wedges,\n"
      "triangles tetrahedra. A closed mesh has no \"bottom\" and \"top\".\n"
      "\n"
      "Example:\n"
      "  coregeometry revolve bracket.cgdb --set RIM --about 0,0,1 --axis 0,1,0 --angle 90 --layers 8 -o "
      "ring.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
