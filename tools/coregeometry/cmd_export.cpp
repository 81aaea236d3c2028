// coregeometry export: a mesh of a model as a file for other programs
#include "cli_Console.h"
#include "cli_Ledger.h"
#include "cli_Regions.h"
#include "exo_Export.h"
#include "vtu_Write.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace {
struct Arguments {
  std::string file, name, output;
  bool json = false;
};

struct Format {
  const char *extension, *name;
  exo_Ledger (*write)(const cow_String&, const bme_Mesh&, std::span<const exo_ImportedSet>);
};
constexpr Format kFormats[] = {{".exo", "an Exodus II file", exo_WriteMesh},
                               {".e", "an Exodus II file", exo_WriteMesh},
                               {".g", "an Exodus II file", exo_WriteMesh},
                               {".vtu", "a VTU file", vtu_WriteMesh}};

void Run(const Arguments& arguments) {
  const std::string extension = std::filesystem::path(arguments.output).extension();
  const auto* const format = std::ranges::find(kFormats, extension, &Format::extension);
  if (format == std::end(kFormats))
    throw cli_UsageError("export: the extension of " + arguments.output + " is not .exo, .e, .g or .vtu");
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cls_Database::Open(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  const std::vector<exo_ImportedSet> sets = cli_SetsOfMesh(model, root);
  console.Begin("writing " + arguments.output);
  const exo_Ledger ledger = format->write(arguments.output, *mesh, sets);
  console.End();
  if (arguments.json) {
    cli_PrintJson({{"file", arguments.file},
                   {"mesh", root},
                   {"output", arguments.output},
                   {"nodes", mesh->NodeData().NumNodes()},
                   {"elements", mesh->ElementData().NumElements()},
                   {"sets", sets.size()},
                   {"notCarried", cli_LedgerJson(ledger)}});
    return;
  }
  std::cout << root << " of " << arguments.file << " is written to " << arguments.output << ":\n  "
            << mesh->NodeData().NumNodes() << " nodes, " << mesh->ElementData().NumElements() << " elements, "
            << sets.size() << " sets\n";
  cli_PrintLedger(ledger, "Everything in the mesh was carried over.",
                  cow_String("Not carried over, since ") + format->name + " has no place for it:");
}
} // namespace

void cli_AddExport(CLI::App& app) {
  CLI::App* command = app.add_subcommand("export", "Write a mesh of a model as an Exodus II or VTU file");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(*command, arguments->file, arguments->name, arguments->json);
  command
      ->add_option("-o,--output", arguments->output,
                   "File to write, .exo (.e, .g) or .vtu; one of that name is replaced")
      ->required();
  command->footer(
      "Labels and sets go along, and what the file cannot hold is listed at the end. An Exodus II file\n"
      "becomes the same mesh when it is imported again, except for what is listed. A VTU file has labels\n"
      "and classes as arrays, and sets of nodes and elements as arrays of 0 and 1.\n"
      "\n"
      "Examples:\n"
      "  coregeometry export bracket.cgdb -o bracket.exo\n"
      "  coregeometry export bracket.cgdb -o bracket.vtu");
  command->callback([arguments] { Run(*arguments); });
}
