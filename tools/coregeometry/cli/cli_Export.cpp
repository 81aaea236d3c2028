#include "cli_Export.h"

#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_Ledger.h"
#include "cli_Regions.h"
#include "cli_Values.h"

#include <CoreGeometry/fmt_Format.h>
#include <optional>

namespace {
exo_VtkWedges WedgesOf(const cli_ExportArguments& arguments) {
  if (arguments.wedges == "mirrored") return exo_VtkWedges::Mirrored;
  return arguments.wedges == "linear-mirrored" ? exo_VtkWedges::LinearMirrored : exo_VtkWedges::Plain;
}

fmt_Encoding EncodingOf(const cli_ExportArguments& arguments) {
  if (arguments.encoding == "ascii") return fmt_Encoding::Ascii;
  if (arguments.encoding == "compressed") return fmt_Encoding::Compressed;
  return arguments.encoding == "binary" ? fmt_Encoding::Binary : fmt_Encoding::Default;
}

/// No file has a place for them.
void AddDatums(fmt_Ledger& ledger, const std::vector<cli_Datum>& datums) {
  if (datums.empty()) return;
  fmt_LedgerEntry entry{"datums", static_cast<long long>(datums.size()), {}};
  for (const cli_Datum& one : datums) entry.detail += (entry.detail.empty() ? "" : ", ") + one.name;
  ledger.push_back(entry);
}

/// The run that is asked for, or the only one of the mesh.
std::optional<odiC_Run> RunOf(const cli_ExportArguments& arguments, const fmt_Format& format,
                              const cls_Database& model, const cow_String& root, fmt_Ledger& ledger) {
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
} // namespace

const std::vector<cli_FileFormat>& cli_ExportFormats() {
  static const std::vector<cli_FileFormat> all = [] {
    std::vector<cli_FileFormat> written;
    for (const fmt_Format& format : fmt_Formats())
      if (format.write) written.push_back({format.name.data(), format.suffixes});
    return written;
  }();
  return all;
}

void cli_ExportMesh(const cli_ExportArguments& arguments, uti_OutputFile& output, const cls_Database& model,
                    const cow_String& root, cli_Console& console) {
  const fmt_Format& format =
      fmt_Find(cli_ExportFormats()[cli_ChooseFormat(arguments.output, cli_ExportFormats())].name);
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  const std::vector<bme_NamedSet> sets = bme_SetsOfMesh(model, root);
  console.Begin("writing " + output.Name());
  const cow_CountedHld<bme_MeshNotes> notes = cli_NotesOf(model, root);
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

std::vector<cli_Option> cli_ExportArguments::AddTo(cli_Command command) {
  std::vector<cli_Option> options;
  const auto text = [&](const char* option, std::string& value, const char* help) {
    options.push_back(command.AddOption(option, value, help));
    return options.back();
  };
  const auto flag = [&](const char* option, bool& value, const char* help) {
    options.push_back(command.AddFlag(option, value, help));
    return options.back();
  };
  text("--vtk-wedges", wedges,
       "Order of the nodes of wedges in a VTU file: plain for VTK 9.7 and later, linear-mirrored for "
       "9.5 and 9.6, mirrored for 9.1")
      .OneOf({"plain", "linear-mirrored", "mirrored"});
  text("--surface", surface,
       "Set to write to a file of surfaces (STL, OBJ, PLY, glb), instead of the whole outside");
  const cli_Option oneRun = text("--run", run, "Run of results to write, when there are several");
  flag("--no-results", noResults, "Write the mesh alone").Excludes(oneRun);
  const cli_Option cells =
      flag("--as-cells", asCells, "VTU: values at integration points as means of elements, not at nodes");
  flag("--separate", separate, "VTU: every element has points of its own, so that values jump between them")
      .Excludes(cells);
  flag("--at-nodes", atNodes,
       "Exodus II: values at element nodes, which have no place there, as means at nodes");
  text("--encoding", encoding,
       "Form of the numbers, of formats that have a choice: binary, also by default, compressed "
       "(zlib) or ascii")
      .OneOf({"default", "ascii", "binary", "compressed"});
  return options;
}
