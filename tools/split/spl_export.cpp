// export of a split model: Exodus II or VTU files, one for each part
#include "cli_Console.h"
#include "cli_Export.h"
#include "cli_Ledger.h"
#include "spl_Commands.h"
#include "spl_Split.h"
#include "spl_Vtu.h"

#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/dst_CommonFaces.h>
#include <CoreGeometry/dst_Join.h>
#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/vtu_Write.h>
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

namespace {
namespace fs = std::filesystem;

struct Arguments : spl_Arguments {
  cli_ExportArguments to;
  bool oneFile = false;
};

/// Of files for each part.
const std::vector<cli_FileFormat>& Formats() {
  static const std::vector<cli_FileFormat> all = {{"exodus", {".exo", ".e", ".g"}}, {"vtu", {".pvtu"}}};
  return all;
}

/// How many nodes the pyramids of each class have, where all parts agree on it.
std::vector<int> PyramidNodes(const dst_Mesh& mesh) {
  constexpr std::int64_t kNone = 1000;
  std::vector<std::int64_t> least(mesh.Index().NumClasses(), kNone), most(mesh.Index().NumClasses(), -kNone);
  mesh.Exchange().ForEachPart([&](unsigned number) {
    const bme_ElementData& elements = mesh.Part(number).mesh->ElementData();
    for (unsigned i = 0; i < elements.NumClasses(); ++i) {
      if (elements.GetClass(i).NumElements() == 0) continue;
      const std::int64_t nodes = bme_PyramidNodes(elements.GetClass(i));
      least[i] = std::min(least[i], nodes);
      most[i] = std::max(most[i], nodes);
    }
  });
  mesh.Exchange().Min(least);
  mesh.Exchange().Max(most);
  std::vector<int> agreed(least.size(), 0);
  for (std::size_t i = 0; i < agreed.size(); ++i)
    if (least[i] == most[i]) agreed[i] = static_cast<int>(least[i]);
  return agreed;
}

/// How many axes the coordinates of all nodes need.
int DimensionsOf(const spl_Split& split) {
  if (!split.Placement().IsNone()) return 3;
  int dimensions = 1;
  const gsl_BBox box = split.Index().Box();
  for (unsigned axis = 0; axis < 3; ++axis)
    if (box.Min()[axis] != 0 || box.Max()[axis] != 0) dimensions = static_cast<int>(axis) + 1;
  return dimensions;
}

/// Entries of the subsets of a set in the whole.
std::vector<std::uint64_t> SizesOf(const spl_Split& split, const bme_NamedSet& set) {
  const dst_Index& index = split.Index();
  const cow_String root = split.ContentsOf(set);
  std::vector<std::uint64_t> sizes;
  for (unsigned i = 0; i < index.NumSets(); ++i)
    if (index.SetRoot(i) == root)
      for (unsigned k = 0; k < index.NumSubsets(i); ++k) sizes.push_back(index.NumEntries(i, k));
  if (sizes.size() != static_cast<std::size_t>(set.data.NumSubset()))
    throw nex_TextException("set \"" + set.name + "\": the index of the split knows "
                            + std::to_string(sizes.size()) + " subsets of it, not "
                            + std::to_string(set.data.NumSubset()));
  return sizes;
}

/// What the part has in common with each of the others.
std::vector<exo_Neighbour> NeighboursOf(const dst_Part& part, std::span<const dst_CommonFace> faces) {
  std::map<unsigned, exo_Neighbour> byPart;
  for (unsigned i = 0; i < part.NumShared(); ++i)
    for (const unsigned other : part.OtherHolders(i))
      byPart[other].nodes.push_back(static_cast<int>(part.SharedNodes()[i]));
  for (const dst_CommonFace& face : faces) byPart[face.part].faces.push_back(face.word);
  std::vector<exo_Neighbour> neighbours;
  for (auto& [other, neighbour] : byPart) {
    neighbour.part = other;
    neighbours.push_back(std::move(neighbour));
  }
  return neighbours;
}

cli_Json LedgerOf(const fmt_Ledger& ledger) {
  cli_Json told = cli_Json::array();
  for (const fmt_LedgerEntry& entry : ledger)
    told.push_back({entry.what, entry.count, entry.detail, entry.isOfEveryPart});
  return told;
}

/// What no file of a part carries, with the counts of all parts.
fmt_Ledger Sum(const std::vector<cli_Json>& ledgers) {
  fmt_Ledger sum;
  for (const cli_Json& ledger : ledgers)
    for (const cli_Json& entry : ledger) {
      const auto what = entry[0].get<std::string>();
      const auto count = entry[1].get<long long>();
      const auto known = std::ranges::find(sum, what, &fmt_LedgerEntry::what);
      if (known == sum.end())
        sum.push_back({what, count, entry[2].get<std::string>(), entry[3].get<bool>()});
      else if (known->count >= 0 && !known->isOfEveryPart)
        known->count = count < 0 ? count : known->count + count;
    }
  return sum;
}

std::vector<cli_Json> WriteExodus(const Arguments& arguments, const spl_Split& split) {
  const dst_Mesh& mesh = split.Mesh();
  const std::vector<int> pyramidNodes = PyramidNodes(mesh);
  const dst_OfParts<std::vector<dst_CommonFace>> faces = dst_FindCommonFaces(mesh);
  return spl_Gather(split.Exchange(), [&](unsigned number) {
    const dst_OpenPart& open = mesh.Part(number);
    exo_Part part{.number = number,
                  .count = mesh.NumParts(),
                  .numDims = DimensionsOf(split),
                  .numNodes = mesh.NumNodes(),
                  .numElements = mesh.NumElements(),
                  .nodeNumbers = open.part->NodeNumbers(),
                  .elementNumbers = open.part->ElementNumbers(),
                  .pyramidNodes = pyramidNodes,
                  .neighbours = NeighboursOf(*open.part, faces[number])};
    for (unsigned i = 0; i < mesh.Index().NumClasses(); ++i)
      part.classSizes.push_back(mesh.Index().Class(i).NumElements());
    const std::vector<bme_NamedSet> sets = bme_SetsOfMesh(open.model, split.Folder().MeshRoot());
    for (const bme_NamedSet& set : sets) part.setSizes.push_back(SizesOf(split, set));
    uti_OutputFile file(spl_FileOf(arguments.to.output.file, number, mesh.NumParts()),
                        {.force = arguments.to.output.force});
    return LedgerOf(exo_WritePart(file, *open.mesh, sets, part));
  });
}

std::vector<cli_Json> WriteVtu(const Arguments& arguments, const spl_Split& split) {
  const dst_Mesh& mesh = split.Mesh();
  std::vector<cli_Json> ledgers = spl_Gather(split.Exchange(), [&](unsigned number) {
    const dst_OpenPart& open = mesh.Part(number);
    uti_OutputFile file(spl_VtuFileOf(arguments.to.output.file, number, mesh.NumParts()),
                        {.force = arguments.to.output.force});
    return LedgerOf(vtu_WriteMesh(file, *open.mesh, bme_SetsOfMesh(open.model, split.Folder().MeshRoot())));
  });
  split.Exchange().OnFirstRank(
      [&] { spl_WritePvtu(arguments.to.output.file, mesh.NumParts(), arguments.to.output.force); });
  split.Exchange().Agree();
  return ledgers;
}

/// The formats of whole meshes are written from the whole mesh, by one process.
void OneFile(const Arguments& arguments, const spl_Split& split) {
  split.Exchange().OnFirstRank([&] {
    uti_OutputFile output =
        cli_OpenOutput(arguments.to.output, cli_ExportFormats(), {split.Folder().IndexFile()});
    const spl_TemporaryModel joined(arguments.folder);
    joined.Run([&] {
      cli_Console console;
      console.Begin("joining " + arguments.folder);
      dst_Join(split.Folder(), joined.File());
      cli_ExportArguments to = arguments.to;
      to.file = arguments.folder;
      to.json = arguments.json;
      cli_ExportMesh(to, output, cls_Database::Open(joined.File()), split.Folder().MeshRoot(), console);
    });
  });
  split.Exchange().Agree();
}

/// True for VTU files. A format without a form for parts is wrong usage, which names the remedy.
bool IsVtu(const cli_OutputArguments& output) {
  const std::string remedy =
      ": a file for each part is Exodus II (.exo, .e, .g), or VTU with the list .pvtu; "
      "--one-file writes the other formats";
  if (uti_OutputFile::IsStandardOutput(output.file)) throw cli_UsageError("-o -" + remedy);
  if (!output.format.empty() && !std::ranges::count(Formats(), output.format, &cli_FileFormat::name))
    throw cli_UsageError("--format " + output.format + remedy);
  if (output.format.empty() && std::ranges::none_of(Formats(), [&](const cli_FileFormat& format) {
        return uti_OutputFile::HasSuffix(output.file, format.suffixes);
      }))
    throw cli_UsageError(output.file + remedy);
  return cli_ChooseFormat(output, Formats()) == 1;
}

void Run(const Arguments& arguments, dst_Exchange& exchange) {
  if (arguments.oneFile) {
    cli_ChooseFormat(arguments.to.output, cli_ExportFormats());
    return OneFile(arguments, spl_Split(arguments, exchange));
  }
  const bool isVtu = IsVtu(arguments.to.output);
  const spl_Split split(arguments, exchange);
  const unsigned numParts = split.Index().NumParts();
  const std::string& name = arguments.to.output.file;
  const auto fileOf = [&](unsigned part) {
    return isVtu ? spl_VtuFileOf(name, part, numParts) : spl_FileOf(name, part, numParts);
  };
  exchange.ForEachPart([&](unsigned part) { // before any work
    const uti_OutputFile mayBe(fileOf(part), {.force = arguments.to.output.force});
    if (!isVtu || part > 0) return;
    const uti_OutputFile listMayBe(name, {.force = arguments.to.output.force});
  });
  exchange.Agree();
  fmt_Ledger ledger = Sum(isVtu ? WriteVtu(arguments, split) : WriteExodus(arguments, split));
  exchange.OnFirstRank([&] { // which alone prints
    const auto runs = odiC_Run::RootsOf(split.Folder().OpenPartFile(0), split.Folder().MeshRoot());
    if (!runs.empty())
      ledger.push_back(
          {"runs of results", static_cast<long long>(runs.size()), "join the split to write them"});
  });
  exchange.Agree();
  if (arguments.json)
    return cli_PrintJson({{"file", arguments.folder},
                          {"mesh", split.Folder().MeshRoot()},
                          {"output", isVtu ? name : fileOf(0)},
                          {"files", numParts},
                          {"nodes", split.Index().NumNodes()},
                          {"elements", split.Index().NumElements()},
                          {"sets", split.Sets().size()},
                          {"notCarried", cli_LedgerJson(ledger)}});
  cli_Report() << split.Folder().MeshRoot() << " of " << arguments.folder << " is written to " << numParts
               << " files " << fileOf(0) << ", ...\n";
  cli_PrintLedger(ledger, "Everything in the mesh was carried over.", "Not carried over:");
}
} // namespace

void spl_AddExport(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command =
      program.AddCommand("export", "Write a split mesh for other programs, a file for each part");
  auto arguments = std::make_shared<Arguments>();
  spl_AddOptions(command, *arguments);
  cli_AddOutputOptions(
      command, arguments->to.output, cli_ExportFormats(),
      "Files to write: NAME.exo becomes NAME.exo.64.00 and so on, NAME.pvtu lists NAME_00.vtu and so on");
  const cli_Option oneFile = command.AddFlag("--one-file", arguments->oneFile,
                                             "Write one file, in any format: that of the whole model");
  for (cli_Option option : arguments->to.AddTo(command)) option.Needs(oneFile);
  command.Footer(
      "Each Exodus II file has all blocks and sets, numbers in the whole as id maps, user labels as maps of\n"
      "the name user_label, and communication maps. For --one-file one process joins the whole mesh, in a\n"
      "model among the temporary files (TMPDIR), and within the limits of one model.\n"
      "\n"
      "Examples:\n"
      "  coregeometry export wing.split -o wing.exo\n"
      "  coregeometry export wing.split -o wing.pvtu\n"
      "  coregeometry export wing.split -o wing.msh --one-file");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
