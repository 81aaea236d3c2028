// coregeometry transform: moves, turns, scales, mirrors and repeats a mesh
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_CombineMeshes.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>
#include <cmath>
#include <numbers>

namespace {
using Triple = std::optional<std::array<double, 3>>;

struct Arguments : cli_EditArguments {
  Triple translate, about, axis, scale, mirror;
  std::optional<double> rotate;
  int copies = 0;
};

gsl_Vector VectorOf(const std::array<double, 3>& v) { return {v[0], v[1], v[2]}; }

/// v -> linear (v - centre) + centre + shift
gsl_Matrix About(const double (&linear)[3][3], const std::array<double, 3>& centre) {
  double all[4][4] = {};
  for (std::size_t i = 0; i < 3; ++i) {
    all[i][3] = centre[i];
    for (std::size_t k = 0; k < 3; ++k) {
      all[i][k] = linear[i][k];
      all[i][3] -= linear[i][k] * centre[k];
    }
  }
  all[3][3] = 1;
  return gsl_Matrix(all);
}

/// What is asked for, `times` times: scale, mirror, rotation, translation.
gsl_Matrix MatrixOf(const Arguments& arguments, int times) {
  const std::array<double, 3> centre = arguments.about.value_or(std::array<double, 3>{});
  gsl_Matrix matrix;
  if (arguments.scale) {
    const auto& s = *arguments.scale;
    const double linear[3][3] = {
        {std::pow(s[0], times), 0, 0}, {0, std::pow(s[1], times), 0}, {0, 0, std::pow(s[2], times)}};
    matrix.Concatenate(About(linear, centre));
  }
  if (arguments.mirror && times % 2 != 0) {
    const auto& n = *arguments.mirror;
    const double squared = n[0] * n[0] + n[1] * n[1] + n[2] * n[2];
    double linear[3][3];
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t k = 0; k < 3; ++k) linear[i][k] = (i == k ? 1 : 0) - 2 * n[i] * n[k] / squared;
    matrix.Concatenate(About(linear, centre));
  }
  if (arguments.rotate) {
    gsl_Matrix turn;
    turn.AxisRotation(gsl_Point(centre[0], centre[1], centre[2]),
                      VectorOf(arguments.axis.value_or(std::array<double, 3>{0, 0, 1})),
                      *arguments.rotate * times * std::numbers::pi / 180);
    matrix.Concatenate(turn);
  }
  if (arguments.translate) {
    gsl_Matrix shift;
    const auto& t = *arguments.translate;
    shift.SetTranslation(gsl_Vector(t[0] * times, t[1] * times, t[2] * times));
    matrix.Concatenate(shift);
  }
  return matrix;
}

void Check(const Arguments& arguments) {
  if (!arguments.translate && !arguments.rotate && !arguments.scale && !arguments.mirror)
    throw cli_UsageError("give --translate, --rotate, --scale or --mirror");
  const auto isZero = [](const Triple& v) { return v && (*v)[0] == 0 && (*v)[1] == 0 && (*v)[2] == 0; };
  if (isZero(arguments.mirror)) throw cli_UsageError("--mirror 0,0,0 is no normal of a plane");
  if (isZero(arguments.axis)) throw cli_UsageError("--axis 0,0,0 is no direction");
  if (arguments.axis && !arguments.rotate) throw cli_UsageError("--axis needs --rotate");
}

void Run(const Arguments& arguments) {
  cli_Console console;
  Check(arguments);
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  console.Begin("transforming");
  if (arguments.copies == 0) {
    const gsl_Matrix matrix = MatrixOf(arguments, 1);
    const bme_Edited edited = bme_TransformMesh(source.all, matrix);
    console.End();
    cli_StoreEdited(arguments, source, edited, {{"copies", 0}}, cli_InMesh(source.all.mesh, matrix));
    return;
  }
  std::vector<gsl_Matrix> matrices;
  for (int i = 1; i <= arguments.copies; ++i) matrices.push_back(MatrixOf(arguments, i));
  const bme_Combined combined = bme_CopyMesh(source.all, matrices);
  cli_EditPart part{&source, {}, {}};
  for (std::size_t i = 0; i < combined.parts.size(); ++i)
    part.images.push_back(cli_ImageIn(combined, i, source.all, i * source.all.sets.size(),
                                      i == 0 ? gsl_Matrix() : cli_InMesh(source.all.mesh, matrices[i - 1])));
  console.End();
  cli_StoreEdited(arguments, std::span(&part, 1), combined.result, combined.remarks,
                  {{"copies", arguments.copies}});
}
} // namespace

void cli_AddTransform(cli_Command& program) {
  cli_Command command = program.AddCommand("transform", "Move, turn, scale, mirror or repeat a mesh");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  cli_AddTriple(command, "--translate", arguments->translate, "Move by this vector");
  command.AddOption("--rotate", arguments->rotate, "Turn by this angle").TypeName("DEGREES");
  cli_AddTriple(command, "--axis", arguments->axis, "Direction of the axis of --rotate (default 0,0,1)");
  cli_AddTriple(command, "--scale", arguments->scale, "Multiply coordinates by these factors");
  cli_AddTriple(command, "--mirror", arguments->mirror, "Mirror at the plane with this normal");
  cli_AddTriple(command, "--about", arguments->about,
                "Point that --rotate, --scale and --mirror keep (default origin)");
  command
      .AddOption("--copies", arguments->copies, "Keep the mesh, and add so many copies, each a step further")
      .Between(0, 1000000);
  command.Footer(
      "The order is scale, mirror, rotate, translate, in the space that the mesh is placed in. A mirror\n"
      "reverses elements, so that none is inside out. Labels of copies are offset, their sets are called\n"
      "NAME-1, NAME-2, ... Results turn with the mesh; they are not scaled, and a mirror treats every vector "
      "as an\n"
      "arrow.\n"
      "\n"
      "Example:\n"
      "  coregeometry transform bracket.cgdb --rotate 30 --copies 11 -o ring.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
