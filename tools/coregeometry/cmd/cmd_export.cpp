// coregeometry export: a mesh of a model as a file for other programs
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_Ledger.h"
#include "cli_Output.h"
#include "cli_Regions.h"
#include "cli_Values.h"
#include <CoreGeometry/fmt_Format.h>

#include <BasicUtils/cls_ReadView.h>
#include <iostream>
#include <optional>

namespace {
struct Arguments {
  std::string file, name;
  cli_OutputArguments output;
  std::string wedges, encoding, surface, run;
  bool json = false, noResults = false, asCells = false, separate = false, atNodes = false;
};

exo_VtkWedges WedgesOf(const Arguments& arguments) {
  if (arguments.wedges == "mirrored") return exo_VtkWedges::Mirrored;
  return arguments.wedges == "linear-mirrored" ? exo_VtkWedges::LinearMirrored : exo_VtkWedges::Plain;
}

fmt_Encoding EncodingOf(const Arguments& arguments) {
  if (arguments.encoding == "ascii") return fmt_Encoding::Ascii;
  if (arguments.encoding == "compressed") return fmt_Encoding::Compressed;
  return arguments.encoding == "binary" ? fmt_Encoding::Binary : fmt_Encoding::Default;
}

const std::vector<cli_FileFormat>& Formats() {
  static const std::vector<cli_FileFormat> all = [] {
    std::vector<cli_FileFormat> written;
    for (const fmt_Format& format : fmt_Formats())
      if (format.write) written.push_back({format.name.data(), format.suffixes});
    return written;
  }();
  return all;
}

/// No file has a place for them.
void AddDatums(fmt_Ledger& ledger, const std::vector<cli_Datum>& datums) {
  if (datums.empty()) return;
  fmt_LedgerEntry entry{"datums", static_cast<long long>(datums.size()), {}};
  for (const cli_Datum& one : datums) entry.detail += (entry.detail.empty() ? "" : ", ") + one.name;
  ledger.push_back(entry);
}

/// The run that is asked for, or the only one of the mesh.
std::optional<odiC_Run> RunOf(const Arguments& arguments, const fmt_Format& format, const cls_Database& model,
                              const cow_String& root, fmt_Ledger& ledger) {
  const std::vector<cow_String> runs = odiC_Run::RootsOf(model, root);
  if (!arguments.run.empty() && !format.writesResults)
    throw cli_UsageError("--run " + arguments.run + ": " + std::string(format.title)
                         + " has no place for results");
  if (arguments.noResults || runs.empty()) return std::nullopt;
  if (!arguments.run.empty() || (runs.size() == 1 && format.writesResults))
    return cli_OpenRun(model, root, arguments.run);
  cow_String names;
  for (const cow_String& run : runs) names += (names.empty() ? "" : ", ") + run;
  ledger.push_back({"runs of results", static_cast<long long>(runs.size()),
                    names + (format.writesResults ? "; choose one with --run" : "")});
  return std::nullopt;
}

void Run(const Arguments& arguments) {
  const fmt_Format& format = fmt_Find(Formats()[cli_ChooseFormat(arguments.output, Formats())].name);
  cli_Console console;
  uti_OutputFile output = cli_OpenOutput(arguments.output, Formats(), {arguments.file});
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  const std::vector<bme_NamedSet> sets = bme_SetsOfMesh(model, root);
  const cow_CountedHld<bme_MeshNotes> notes = cli_NotesOf(model, root);
  console.Begin("writing " + output.Name());
  fmt_WriteOptions options;
  options.encoding = EncodingOf(arguments);
  options.wedges = WedgesOf(arguments);
  options.surface = arguments.surface;
  options.notes = notes.Get();
  fmt_Ledger results;
  const std::optional<odiC_Run> run = RunOf(arguments, format, model, root, results);
  if (run) options.run = &*run;
  options.fields = arguments.asCells    ? fmt_FieldPlace::Cells
                   : arguments.separate ? fmt_FieldPlace::Separate
                                        : fmt_FieldPlace::Nodes;
  options.atNodes = arguments.atNodes;
  options.force = arguments.output.force;
  fmt_Ledger ledger = fmt_WriteMesh(output, format, *mesh, sets, options);
  ledger.insert(ledger.end(), results.begin(), results.end());
  AddDatums(ledger, cli_Datums(model, root));
  console.End();
  if (arguments.json) {
    cli_PrintJson({{"file", arguments.file},
                   {"mesh", root},
                   {"output", output.Name()},
                   {"nodes", mesh->NodeData().NumNodes()},
                   {"elements", mesh->ElementData().NumElements()},
                   {"sets", sets.size()},
                   {"notCarried", cli_LedgerJson(ledger)}});
    return;
  }
  cli_Report() << root << " of " << arguments.file << " is written to " << output.Name() << ":\n  "
               << mesh->NodeData().NumNodes() << " nodes, " << mesh->ElementData().NumElements()
               << " elements, " << sets.size() << " sets\n";
  cli_PrintLedger(ledger, "Everything in the mesh was carried over.",
                  "Not carried over, since " + cow_String(format.title) + " has no place for it:");
}
} // namespace

void cli_AddExport(cli_Command& program) {
  cli_Command command = program.AddCommand("export", "Write a mesh of a model as a file for other programs");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  cli_AddOutputOptions(command, arguments->output, Formats(),
                       "File to write, as .exo, .vtu or .msh; \"coregeometry formats\" lists all");
  command
      .AddOption(
          "--vtk-wedges", arguments->wedges,
          "Order of the nodes of wedges in a VTU file: plain for VTK 9.7 and later, linear-mirrored for "
          "9.5 and 9.6, mirrored for 9.1")
      .OneOf({"plain", "linear-mirrored", "mirrored"});
  command.AddOption("--surface", arguments->surface,
                    "Set to write to a file of surfaces (STL, OBJ, PLY, glb), instead of the whole outside");
  const auto run =
      command.AddOption("--run", arguments->run, "Run of results to write, when there are several");
  command.AddFlag("--no-results", arguments->noResults, "Write the mesh alone").Excludes(run);
  const auto asCells =
      command.AddFlag("--as-cells", arguments->asCells,
                      "VTU: values at integration points as means of elements, not at nodes");
  command
      .AddFlag("--separate", arguments->separate,
               "VTU: every element has points of its own, so that values jump between them")
      .Excludes(asCells);
  command.AddFlag("--at-nodes", arguments->atNodes,
                  "Exodus II: values at element nodes, which have no place there, as means at nodes");
  command
      .AddOption("--encoding", arguments->encoding,
                 "Form of the numbers, of formats that have a choice: binary, also by default, compressed "
                 "(zlib) or ascii")
      .OneOf({"default", "ascii", "binary", "compressed"});
  command.Footer(
      "Labels and sets go along, and what the file cannot hold is listed at the end. An Exodus II file\n"
      "becomes the same mesh when it is imported again, except for what is listed. A VTU file has labels\n"
      "and classes as arrays, and sets of nodes and elements as arrays of 0 and 1. Results go along into\n"
      "Exodus II files, into a PVD file with a VTU file for each frame, and the last frame into a VTU file.\n"
      "\n"
      "Examples:\n"
      "  coregeometry export bracket.cgdb -o bracket.exo\n"
      "  coregeometry export bracket.cgdb -o bracket.vtu\n"
      "  coregeometry export bracket.cgdb -o bracket.pvd --separate\n"
      "  coregeometry export bracket.cgdb -o bracket.glb");
  command.OnRun([arguments] { Run(*arguments); });
}
