// coregeometry combine: meshes of several models as one
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"

#include <CoreGeometry/bme_CombineMeshes.h>
#include <cstring>
#include <filesystem>

namespace {
struct Arguments : cli_EditArguments {
  std::vector<std::string> files;
  std::string labels = "offset";
};

void Run(Arguments arguments) {
  cli_Console console;
  if (arguments.output.empty()) throw cli_UsageError("-o NEW.cgdb is required");
  std::vector<cli_EditSource> sources;
  for (const std::string& file : arguments.files) {
    console.Begin("reading " + file);
    const cls_Database model = cli_OpenModel(file);
    for (const cow_String& root : cli_MeshRoots(model)) sources.push_back(cli_ReadMeshAndSets(model, root));
  }
  std::vector<bme_MeshToCombine> meshes;
  std::vector<cow_String> names;
  cli_Json parts = cli_Json::array();
  for (const cli_EditSource& source : sources) {
    cow_String name = source.root.substr(std::strlen(bme_kMeshFolder));
    const cow_String own = name;
    for (int i = 2; std::ranges::find(names, name) != names.end(); ++i) name = own + "-" + std::to_string(i);
    names.push_back(name);
    meshes.push_back({name, &source.all});
  }
  console.Begin("combining");
  const bme_Combined combined =
      bme_CombineMeshes(meshes, arguments.labels == "keep" ? bme_Labels::Keep : bme_Labels::Offset);
  for (std::size_t i = 0; i < names.size(); ++i)
    parts.push_back({{"mesh", names[i]},
                     {"firstNode", combined.parts[i].firstNode},
                     {"nodes", combined.parts[i].numNodes},
                     {"firstElement", combined.parts[i].firstElement},
                     {"elements", combined.parts[i].numElements}});
  console.End();
  if (arguments.as.empty()) arguments.as = std::filesystem::path(arguments.output).stem().string();
  arguments.file = arguments.files[0];
  std::vector<cli_EditPart> all;
  const bme_Placement placement(sources[0].all.mesh);
  std::size_t firstSet = 0;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const bme_MeshAndSets& one = sources[i].all;
    all.push_back({&sources[i],
                   names[i],
                   {cli_ImageIn(combined, i, one, firstSet, bme_Placement(one.mesh).Into(placement))}});
    firstSet += one.sets.size();
  }
  cli_StoreEdited(arguments, all, combined.result, combined.remarks, {{"parts", parts}});
}
} // namespace

void cli_AddCombine(cli_Command& program) {
  cli_Command command = program.AddCommand("combine", "Store all meshes of some models as one");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("model", arguments->files, "Model files").Required();
  command.AddOption("-o,--output", arguments->output, "New model file for the result").TypeName("NEW.cgdb");
  command.AddOption("--as", arguments->as, "Name of the result; that of the file otherwise").TypeName("NAME");
  command.AddOption("--labels", arguments->labels, "Labels of later meshes: keep refuses two of one label")
      .OneOf({"offset", "keep"})
      .ShowDefault();
  command.AddFlag("--no-results", arguments->noResults, "Leave the results of the meshes out");
  command.AddFlag("--json", arguments->json, "Print the summary as JSON");
  command.Footer("Sets, datums and runs of results of one name in several meshes are called MESH.NAME.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry combine bracket.cgdb bolt.cgdb -o assembly.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
