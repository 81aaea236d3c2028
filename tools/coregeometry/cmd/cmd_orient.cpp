// coregeometry orient: shells that look the same way, or elements reversed
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_OrientMesh.h>

namespace {
struct Arguments : cli_EditArguments {
  std::vector<std::string> sets, seeds;
  std::optional<std::array<double, 3>> direction, awayFrom;
  bool reverse = false;
};

std::vector<unsigned> SeedsOf(const cli_EditSource& source, const Arguments& arguments) {
  std::vector<unsigned> seeds;
  for (const int label : cli_LabelsOf("--seed", arguments.seeds)) {
    const unsigned element = source.all.mesh.ElementData().GetMeshElemIndexFromLabel(label);
    if (element >= source.all.mesh.ElementData().NumElements())
      throw nex_TextException(source.root + ": has no element " + std::to_string(label));
    seeds.push_back(element);
  }
  return seeds;
}

void Run(const Arguments& arguments) {
  cli_Console console;
  if (arguments.reverse && arguments.sets.empty()) throw cli_UsageError("--reverse needs --set");
  if (arguments.reverse && (!arguments.seeds.empty() || arguments.direction || arguments.awayFrom))
    throw cli_UsageError("--reverse turns the whole set, so there is no seed and no direction with it");
  if (arguments.direction && arguments.awayFrom)
    throw cli_UsageError("give --direction or --away-from, not both");
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  std::vector<unsigned> chosen;
  for (const std::string& set : arguments.sets) {
    const std::vector<unsigned> own = cli_ElementsOfSet(source, set);
    chosen.insert(chosen.end(), own.begin(), own.end());
  }
  console.Begin("turning");
  if (arguments.reverse) {
    const bme_Edited edited = bme_ReverseElements(source.all, chosen);
    console.End();
    return cli_StoreEdited(arguments, source, edited, {{"turned", cli_ElementLabelList(source, chosen)}});
  }
  const std::vector<unsigned> seeds = SeedsOf(source, arguments);
  bme_OrientOptions options{
      .elements = {}, .seeds = seeds, .direction = arguments.direction, .awayFrom = arguments.awayFrom};
  if (!arguments.sets.empty()) options.elements = std::span<const unsigned>(chosen);
  const bme_Oriented oriented = bme_OrientMesh(source.all, options);
  console.End();
  cli_StoreEdited(arguments, source, oriented,
                  {{"patches", oriented.numPatches},
                   {"turned", cli_ElementLabelList(source, oriented.turned)},
                   {"branching", cli_ElementLabelList(source, oriented.branching)},
                   {"oneSided", cli_ElementLabelList(source, oriented.oneSided)}});
}
} // namespace

void cli_AddOrient(cli_Command& program) {
  cli_Command command = program.AddCommand("orient", "Turn shells so that neighbours look to the same side");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  cli_AddNames(command, "--set", arguments->sets, "Only the shells of these sets");
  cli_AddLabels(command, "--seed", arguments->seeds, "Elements that their neighbours follow");
  cli_AddTriple(command, "--direction", arguments->direction, "Where the other shells look, on the whole");
  cli_AddTriple(command, "--away-from", arguments->awayFrom,
                "They look away from this point; of closed shells any point turns them outwards");
  command.AddFlag("--reverse", arguments->reverse, "Turn all elements of --set instead");
  command.Footer("Shells are connected by edges that two of them have. Without a seed, a direction or a "
                 "point as few as\n"
                 "possible are turned. Shells at an edge of three or more (\"branching\") and those of "
                 "one-sided surfaces\n"
                 "(\"oneSided\", which stay) are listed. Surfaces stay on their side of the shells.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry orient bracket.cgdb --away-from 0,0,0 -o oriented.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
