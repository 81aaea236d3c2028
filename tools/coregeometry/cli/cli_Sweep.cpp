#include "cli_Sweep.h"

#include "cli_Console.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/odiC_Run.h>

void cli_AddSweepOptions(cli_Command command, cli_SweepArguments& arguments) {
  cli_AddEditOptions(command, arguments);
  cli_AddNames(command, "--set", arguments.sets, "Only the elements of these sets, or the faces of surfaces");
  command.AddOption("--layers", arguments.layers, "Solids one after the other (default 1)")
      .Between(1, 1000000);
  cli_AddNames(command, "--map", arguments.map, "Types to use, as S4=C3D8R");
}

namespace {
/// The whole mesh, or what is chosen of it.
bme_Edited Chosen(const cli_EditSource& source, const std::vector<std::string>& sets) {
  if (sets.empty()) return {source.all, bme_Renumbering::Identity(source.all.mesh)};
  std::vector<unsigned> faces, elements;
  for (const std::string& name : sets) {
    const bme_NamedSet* set = bme_FindSet(source.all.sets, name, source.root);
    const bool isSurface = set && set->kind != rgnC_ELEMENT_SET;
    const auto own = isSurface ? cli_FacesOfSet(source, name) : cli_ElementsOfSet(source, name);
    (isSurface ? faces : elements).insert((isSurface ? faces : elements).end(), own.begin(), own.end());
  }
  if (!faces.empty() && !elements.empty())
    throw cli_UsageError("--set names surfaces or sets of elements, not both");
  return faces.empty() ? bme_ExtractElements(source.all, elements) : bme_ExtractFaces(source.all, faces);
}
} // namespace

void cli_Sweep(const cli_SweepArguments& arguments,
               const std::function<bme_Swept(const bme_MeshAndSets&, const bme_TypeChoice&)>& sweep) {
  cli_Console console;
  const bme_TypeChoice types = cli_TypeChoice(arguments.map);
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  console.Begin("sweeping");
  const bme_Edited chosen = Chosen(source, arguments.sets);
  bme_Edited swept = sweep(chosen.result, types);
  console.End();
  swept.renumbering = chosen.renumbering.Then(swept.renumbering);
  swept.remarks.insert(swept.remarks.begin(), chosen.remarks.begin(), chosen.remarks.end());
  cli_EditArguments withoutResults = arguments;
  withoutResults.noResults = true;
  if (!arguments.noResults && !odiC_Run::RootsOf(cli_OpenModel(arguments.file), source.root).empty())
    swept.remarks.push_back("results are left out, since solids have other places than surfaces");
  cli_StoreEdited(withoutResults, source, swept,
                  {{"elementsBefore", chosen.result.mesh.ElementData().NumElements()}});
}
