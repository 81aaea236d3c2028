// coregeometry import: a mesh file becomes a mesh of a model
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_ImportResults.h"
#include "cli_Ledger.h"
#include "cli_Regions.h"
#include "cli_StoreMesh.h"
#include "cli_Words.h"
#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/bme_RegenerateDatums.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_RunWriter.h>

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/uti_OutputFile.h>
#include <filesystem>
#include <iostream>
#include <optional>

namespace {
namespace fs = std::filesystem;

struct Arguments {
  std::string file, name, format, wedges;
  std::optional<std::string> model;
  std::vector<std::string> words, maps;
  std::string offset;
  bool force = false, json = false;
  cli_ResultsArguments results;
  bool dryRun = false, append = false;
};

/// Words apart from options are the file, and assignments that follow the first one of --map.
void SortWords(Arguments& arguments) {
  std::error_code error;
  for (const std::string& word : arguments.words) {
    const bool isAssignment = word.find('=') != std::string::npos && !fs::exists(word, error);
    if (isAssignment && !arguments.maps.empty())
      arguments.maps.push_back(word);
    else if (arguments.file.empty())
      arguments.file = word;
    else
      throw cli_UsageError("one file at a time, not " + arguments.file + " and " + word);
  }
  if (arguments.file.empty()) throw cli_UsageError("FILE is required");
}

/// A replaced mesh keeps its identifier; a new one gets the next.
int ChooseMeshId(const cls_Database& model, const cli_MeshTarget& target, bool force) {
  if (model.Has(target.root)) {
    if (!force)
      throw nex_TextException(target.file.string() + ": already holds " + target.root
                              + "; choose another --name, or replace it with --force");
    return bme_StoredMeshId(model, target.root);
  }
  int next = 0;
  for (const cow_String& mesh : cli_MeshRoots(model))
    next = std::max(next, bme_StoredMeshId(model, mesh) + 1);
  return next;
}

cli_MeshTarget ChooseTarget(const Arguments& arguments) {
  cli_MeshTarget target;
  target.file = arguments.model.value_or(fs::path(arguments.file).replace_extension(".cgdb").string());
  target.name = arguments.name.empty() ? fs::path(arguments.file).stem().string() : arguments.name;
  target.root = bme_kMeshFolder + target.name;
  cli_ExpectFile(arguments.file, "a mesh");
  cli_ExpectFile(target.file.string(), "a model");
  std::error_code error;
  if (fs::equivalent(target.file, arguments.file, error))
    throw cli_UsageError("the model would overwrite the mesh file " + arguments.file + ", name it with -o");
  target.exists = fs::exists(target.file, error);
  return target;
}

/// Whatever depends on what the model holds is decided here, where nobody else can change it.
void Put(const cls_Database& model, cls_WritePass& pass, const cli_MeshTarget& target, fmt_Import& import,
         bool force) {
  const int meshId = ChooseMeshId(model, target, force);
  if (meshId != import.mesh->Id()) fmt_Renumber(import, static_cast<unsigned>(meshId));
  const bool replaces = model.Has(target.root);
  if (replaces)
    for (const cow_String& root : cli_RegionsOf(model, target)) pass.Remove(root);
  cli_PutMesh(model, pass, target, *import.mesh);
  cli_PutSets(model, pass, target, import.sets);
  cli_PutNotes(model, pass, target, import.notes, replaces);
}

void Store(const cli_MeshTarget& target, fmt_Import& import, bool force) {
  const auto put = [&](const cls_Database& model, cls_WritePass& pass) {
    Put(model, pass, target, import, force);
  };
  if (target.exists) {
    cls_Database model = cli_OpenModel(target.file.string(), cls_Database::Mode::ReadWrite);
    cls_WritePass pass(model);
    put(model, pass);
    pass.Commit();
    return;
  }
  try {
    cls_CreateModel(target.file.string(), cli_OptionsFor(*import.mesh), put);
  } catch (const uti_FileExistsException& error) {
    throw nex_TextException(error.Message()
                            + ", made by another program meanwhile; import again to add the mesh to it");
  }
}

/// In passes after that of the mesh: who is killed leaves the mesh and whole frames.
fmt_ResultsSummary StoreResults(const Arguments& arguments, const fmt_Format& format,
                                const cli_MeshTarget& target, const fmt_Import& import,
                                const fmt_ResultsOptions& options) {
  cls_Database model = cli_OpenModel(target.file.string(), cls_Database::Mode::ReadWrite);
  if (arguments.append && !model.Has(target.root))
    throw nex_TextException(target.file.string() + ": has no " + target.root + " to append results to");
  const cow_String root = odiC_Run::RootOf(
      target.root, arguments.results.run.empty() ? target.name : cow_String(arguments.results.run));
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(target.root);
  if (!arguments.append && model.Has(root)) {
    cls_WritePass pass(model);
    odiC_RemoveRun(model, pass, root);
    pass.Commit();
  }
  odiC_RunWriter run(model, root, *mesh);
  run.HeaderToDescribe().description = import.title;
  return format.readResults(arguments.file, import, &run, options);
}

cli_Json Offset(const bme_Mesh& mesh) {
  if (!mesh.Transform()) return {0.0, 0.0, 0.0};
  const gsl_Point origin = mesh.Transform()->NewOrigin();
  return {origin[0], origin[1], origin[2]};
}

void PrintRounding(const fmt_Rounding& rounding) {
  if (rounding.change == 0) {
    cli_Report() << "No coordinate changed by rounding to single precision.\n";
    return;
  }
  cli_Report() << "Largest change by rounding to single precision: " << rounding.change << " in "
               << rounding.axis << " of node " << rounding.nodeLabel << '\n';
  const auto list = [](const std::vector<int>& labels, const char* what) {
    constexpr std::size_t kMost = 20;
    if (labels.empty()) return;
    cli_Out(std::cerr) << "coregeometry: single precision is too coarse here: " << labels.size() << what
                       << bme_CompactLabels(std::span(labels).first(std::min(kMost, labels.size())))
                       << (labels.size() > kMost ? ", ..." : "") << '\n';
  };
  list(rounding.coarseNodes, " nodes moved by more than a thousandth of an element's edge: ");
  list(rounding.damagedElements, " elements collapsed or turned inside out: ");
  if (!rounding.coarseNodes.empty())
    cli_Out(std::cerr) << "coregeometry: --offset auto keeps the places of nodes far from the origin\n";
}

cli_Json AsJson(const Arguments& arguments, std::string_view format, const cli_MeshTarget& target,
                const fmt_Import& import, const fmt_ResultsSummary& results) {
  const bme_Mesh& mesh = *import.mesh;
  cli_Json classes = cli_Json::array(), sets = cli_Json::array();
  for (const fmt_ImportedBlock& block : import.blocks)
    classes.push_back({{"block", block.id},
                       {"fileType", block.type},
                       {"type", block.label},
                       {"supported", block.supported},
                       {"elements", block.numElements}});
  for (const bme_NamedSet& set : import.sets)
    sets.push_back({{"region", target.RegionRoot(set.Root())},
                    {"kind", cli_KindText(1 << set.kind)},
                    {"items", cli_NumItems(set.data)}});
  cli_Json variables = cli_Json::array();
  for (const fmt_PlannedVariable& planned : results.variables) variables.push_back(cli_VariableJson(planned));
  cli_Json rounding = {{"change", import.rounding.change}};
  if (import.rounding.change > 0) {
    rounding["node"] = import.rounding.nodeLabel;
    rounding["axis"] = std::string(1, import.rounding.axis);
  }
  rounding["coarseNodes"] = import.rounding.coarseNodes;
  rounding["damagedElements"] = import.rounding.damagedElements;
  return {{"file", arguments.file},
          {"format", format},
          {"model", target.file.string()},
          {"mesh", target.root},
          {"title", import.title},
          {"dimensions", mesh.NodeData().Dimension()},
          {"nodes", mesh.NodeData().NumNodes()},
          {"elements", mesh.ElementData().NumElements()},
          {"classes", classes},
          {"sets", sets},
          {"rounding", rounding},
          {"offset", Offset(mesh)},
          {"frames", results.numFrames},
          {"variables", variables},
          {"notCarried", cli_LedgerJson(import.ledger)}};
}

void Print(const Arguments& arguments, const cli_MeshTarget& target, const fmt_Import& import,
           const fmt_ResultsSummary& results) {
  const bme_Mesh& mesh = *import.mesh;
  cli_Report() << arguments.file << " is stored in " << target.file.string() << " as " << target.root
               << ":\n";
  cli_Report() << "  " << mesh.NodeData().NumNodes() << " nodes, " << mesh.ElementData().NumElements()
               << " elements in " << import.blocks.size() << " classes\n";
  unsigned index = 0;
  for (const fmt_ImportedBlock& block : import.blocks) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(index);
    cli_Report() << "  block " << block.id << " (" << block.type << "): class " << index << ", "
                 << block.numElements << " elements "
                 << cli_TypeText(type.ElemTypeLabel(), bme_PyramidNodes(type))
                 << (block.supported ? "" : ", a type without a shape") << '\n';
    ++index;
  }
  for (const char* kind : {"node set", "element set", "surface"}) {
    const auto count = std::ranges::count_if(import.sets, [&](const bme_NamedSet& set) {
      return cli_KindText(1 << set.kind) == cow_String(kind);
    });
    if (count > 0) cli_Report() << "  " << count << ' ' << kind << (count == 1 ? "" : "s") << '\n';
  }
  if (results.numFrames > 0)
    cli_Report() << "  " << results.numFrames << " frames of " << results.variables.size()
                 << " variables (see \"coregeometry fields\")\n";
  if (mesh.Transform()) {
    const cli_Json offset = Offset(mesh);
    cli_Report() << "Coordinates are kept from (" << offset[0] << ", " << offset[1] << ", " << offset[2]
                 << ")\n";
  }
  PrintRounding(import.rounding);
  cli_PrintLedger(import.ledger, "Everything in the file was carried over.",
                  "Not carried over, since a model has no place for it:");
}

std::vector<std::string> ReadFormats() {
  std::vector<std::string> names;
  for (const fmt_Format& format : fmt_Formats())
    if (format.read) names.emplace_back(format.name);
  return names;
}

void Run(const Arguments& arguments) {
  fmt_ReadOptions options;
  for (const std::string& assignment : arguments.maps) {
    try {
      options.types.Override(assignment);
    } catch (const nex_TextException& error) {
      throw cli_UsageError("--map " + error.Message());
    }
  }
  cli_SetOffset(arguments.offset, options.offset, options.chooseOffset);
  options.acceptDamage = arguments.force;
  if (!arguments.wedges.empty())
    options.wedges = arguments.wedges == "plain"      ? exo_VtkWedges::Plain
                     : arguments.wedges == "mirrored" ? exo_VtkWedges::Mirrored
                                                      : exo_VtkWedges::LinearMirrored;
  cli_Console console;
  const cli_MeshTarget target = ChooseTarget(arguments);
  // a likely identifier; what holds is decided when the mesh is stored
  if (target.exists && !arguments.dryRun)
    options.meshId = static_cast<unsigned>(
        ChooseMeshId(cli_OpenModel(target.file.string()), target, arguments.force || arguments.append));
  console.Begin("reading " + arguments.file);
  const fmt_Format& format =
      arguments.format.empty() ? fmt_Recognise(arguments.file) : fmt_Find(arguments.format);
  fmt_Import import = fmt_ReadMesh(arguments.file, format, options);
  fmt_ResultsSummary results;
  const bool hasResults = format.readResults && !arguments.results.isLeftOut;
  const fmt_ResultsOptions resultsOptions = cli_ResultsOptions(arguments.results);
  // what is wrong with the choice of results is told before anything is stored
  if (hasResults) results = format.readResults(arguments.file, import, nullptr, resultsOptions);
  if (arguments.dryRun) {
    console.End();
    cli_Json variables = cli_Json::array();
    for (const fmt_PlannedVariable& planned : results.variables)
      variables.push_back(cli_VariableJson(planned));
    if (arguments.json)
      return cli_PrintJson(
          {{"file", arguments.file}, {"frames", results.numFrames}, {"variables", variables}});
    cli_Report() << arguments.file << ": " << results.numFrames << " frames\n";
    return cli_PrintVariables(results);
  }
  if (!arguments.append) {
    console.Begin("storing " + target.file.string());
    Store(target, import, arguments.force);
  }
  if (results.numFrames > 0) {
    console.Begin("storing results in " + target.file.string());
    results = StoreResults(arguments, format, target, import, resultsOptions);
  }
  if (hasResults) {
    fmt_RemoveCarried(import.ledger);
    import.ledger.insert(import.ledger.end(), results.ledger.begin(), results.ledger.end());
  }
  console.End();
  if (arguments.json)
    cli_PrintJson(AsJson(arguments, format.name, target, import, results));
  else
    Print(arguments, target, import, results);
}
} // namespace

void cli_AddImport(cli_Command& program) {
  cli_Command command =
      program.AddCommand("import", "Read a mesh file and store its mesh and sets in a model");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("FILE", arguments->words, "Mesh file; \"coregeometry formats\" lists what is read")
      .Required()
      .TypeName("TEXT");
  command.AddOption("-o,--output", arguments->model, "Model file; FILE with the extension .cgdb by default");
  command
      .AddOption("--format", arguments->format,
                 "Format of the file; by its content, then its suffix, if not given")
      .OneOf(ReadFormats());
  command.AddOption("--name", arguments->name, "Name of the mesh in the model; the file name by default");
  command
      .AddOption("--map", arguments->maps,
                 "Element label for a type with that many nodes, as HEX8=C3D8R; several in a row, or again")
      .TypeName("TYPE=LABEL")
      .Repeatable();
  command
      .AddOption("--vtk-wedges", arguments->wedges,
                 "Order of the nodes of wedges in a file of VTK, as in export; by their volumes if not given")
      .OneOf({"plain", "linear-mirrored", "mirrored"});
  command
      .AddOption(
          "--offset", arguments->offset,
          "Keep coordinates from X,Y,Z, or from a point near the first nodes (auto), as single precision "
          "is coarse far from the origin; every answer and export is in the coordinates of the file")
      .TypeName("X,Y,Z|auto");
  command.AddFlag(
      "--force", arguments->force,
      "Replace a mesh of the same name, and its regions; its datums stay. Also accept elements that "
      "single precision collapses or turns inside out");
  cli_AddResultsOptions(command, arguments->results);
  command.AddFlag("--dry-run", arguments->dryRun, "Print what the variables become, and store nothing");
  command.AddFlag("--append", arguments->append,
                  "Go on with the results of a mesh that is in the model, after its last frame");
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  command.Footer(
      "A model that exists gets the mesh as one more. Element blocks become element classes in their\n"
      "order, number maps become user labels. Node sets, side sets, element sets and blocks become regions\n"
      "of the mesh (see \"coregeometry sets\"). What a model cannot hold yet is listed at the end.\n"
      "\n"
      "Example: hexahedra with reduced integration, in a model of its own\n"
      "  coregeometry import bracket.exo -o bracket.cgdb --map HEX8=C3D8R");
  command.OnRun([arguments] {
    SortWords(*arguments);
    Run(*arguments);
  });
}
