// coregeometry join: the model of which a split was made
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Split.h"

#include <CoreGeometry/dst_Join.h>
#include <filesystem>

namespace {
struct Arguments {
  std::string folder, output, set;
  bool force = false, json = false;
};

void Run(Arguments arguments) {
  namespace fs = std::filesystem;
  while (arguments.folder.size() > 1 && arguments.folder.back() == '/') arguments.folder.pop_back();
  if (arguments.output.empty())
    arguments.output = fs::path(arguments.folder).replace_extension(".cgdb").string();
  bme_Mesh ofSet;
  cli_ExpectFile(arguments.output, "a model");
  cli_Console console;
  const auto library = cli_StartSplits();
  console.Begin("joining " + arguments.folder);
  const dst_SplitFolder split(arguments.folder);
  const auto join = [&](const std::string& file) {
    if (arguments.set.empty())
      dst_Join(split, file);
    else
      ofSet = dst_JoinSet(split, dst_FindSet(split, arguments.set), file);
  };
  if (fs::exists(arguments.output)) {
    if (!arguments.force) throw nex_TextException(arguments.output + ": exists already; --force replaces it");
    cls_Database::Open(arguments.output); // nothing but a model is replaced
    const std::string joined = arguments.output + ".joined";
    fs::remove(joined);
    join(joined);
    fs::rename(joined, arguments.output);
  } else {
    join(arguments.output);
  }
  console.End();
  const dst_Index& index = split.Index();
  const bool isWhole = arguments.set.empty();
  const std::uint64_t numNodes = isWhole ? index.NumNodes() : ofSet.NodeData().NumNodes(),
                      numElements = isWhole ? index.NumElements() : ofSet.ElementData().NumElements();
  if (arguments.json)
    cli_PrintJson({{"folder", arguments.folder},
                   {"file", arguments.output},
                   {"parts", split.NumParts()},
                   {"nodes", numNodes},
                   {"elements", numElements},
                   {"sets", index.NumSets()}});
  else
    cli_Report() << arguments.output << ": " << numNodes << " nodes and " << numElements << " elements of "
                 << split.NumParts() << " parts\n";
}
} // namespace

void cli_AddJoin(cli_Command& program) {
  cli_Command command = program.AddCommand("join", "Make one model of the parts of a split");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("SPLIT", arguments->folder, "Folder that split has made").Required();
  command.AddOption("-o,--output", arguments->output, "Model file; default: the folder's name with .cgdb");
  command.AddOption("--set", arguments->set, "Only the elements and nodes of this set, without results");
  command.AddFlag("--force", arguments->force, "Replace a model that is there");
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  command.Footer(
      "It is the model that was split, sets, labels and results included: \"diff\" finds nothing.\n"
      "\n"
      "Example:\n"
      "  coregeometry join bracket.split -o again.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
