// coregeometry extract: elements of sets, or faces of surfaces as shells, as a mesh of their own
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_ExternalFaces.h>

namespace {
struct Arguments : cli_EditArguments {
  std::vector<std::string> sets;
  bool shells = false, outside = false;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  if (arguments.sets.empty() != arguments.outside)
    throw cli_UsageError("what shall be extracted? Give --set, or --outside");
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  std::vector<unsigned> chosen;
  for (const std::string& set : arguments.sets) {
    const auto own = arguments.shells ? cli_FacesOfSet(source, set) : cli_ElementsOfSet(source, set);
    chosen.insert(chosen.end(), own.begin(), own.end());
  }
  if (arguments.outside) {
    const auto faces = bme_ComputeFaces(bme_FEMElemList::All(source.all.mesh));
    if (!faces) throw nex_TextException(source.root + ": has faces that cannot be compared");
    chosen.assign(faces->external.begin(), faces->external.end());
  }
  console.Begin("extracting");
  const bme_Edited edited = arguments.shells || arguments.outside ? bme_ExtractFaces(source.all, chosen)
                                                                  : bme_ExtractElements(source.all, chosen);
  console.End();
  cli_StoreEdited(arguments, source, edited, cli_Json::object());
}
} // namespace

void cli_AddExtract(cli_Command& program) {
  cli_Command command = program.AddCommand("extract", "Store the elements of sets as a mesh of their own");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  cli_AddNames(command, "--set", arguments->sets, "Sets and surfaces whose elements are extracted");
  command.AddFlag("--shells", arguments->shells, "Extract the faces of surfaces as shells instead");
  command.AddFlag("--outside", arguments->outside, "Extract the outside as shells");
  command.Footer(
      "Nodes and elements keep their labels, sets what is left of them. Shells get labels from 1.\n"
      "\n"
      "Example:\n"
      "  coregeometry extract bracket.cgdb --set CLAMP -o clamp.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
