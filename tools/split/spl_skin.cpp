// skin of a split model: its outside as shells, in a file for each part or in one
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_SkinReport.h"
#include "spl_Commands.h"
#include "spl_Split.h"

#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dst_Extract.h>
#include <CoreGeometry/dst_Faces.h>
#include <CoreGeometry/dst_Join.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <memory>

namespace {
struct Arguments : spl_Arguments {
  cli_OutputArguments output;
  std::vector<std::string> sets;
  bool oneFile = false, edges = false;
  uti_OutputFile OneFile() const { return cli_OpenOutput(output, cli_SkinFormats(), {}); }
  std::string FileOf(unsigned part, unsigned numParts) const {
    return spl_FileOf(output.file, part, numParts);
  }
  uti_OutputFile PartFile(unsigned part, unsigned numParts) const {
    return uti_OutputFile(FileOf(part, numParts), {.force = output.force});
  }
};

/// External faces, and those that more than two solids have.
bme_FEMFaceList OuterFaces(const bme_Mesh& mesh, const dst_FaceWords& faces) {
  return bme_FEMFaceList(mesh, faces.external).Union(bme_FEMFaceList(mesh, faces.shared));
}

/// A face by the number that its element has in the whole.
struct Face {
  std::uint64_t element;
  unsigned face;
};

/// Elements that an outside has something of: those with outer faces, lines, and those whose faces are not known.
bme_FEMElemList Outer(const bme_Mesh& mesh, const dst_FaceWords& faces) {
  const bme_ElementData& elements = mesh.ElementData();
  std::vector<unsigned> chosen;
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    if (type.Shape() && type.Shape()->NumGeomDims() != 1) continue;
    for (const unsigned element : bme_FEMElemList::OfClass(mesh, i)) chosen.push_back(element);
  }
  for (const std::vector<unsigned>* words : {&faces.external, &faces.shared})
    for (const unsigned word : *words) chosen.push_back(bme_ElementOf(word));
  std::ranges::sort(chosen);
  chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
  return {mesh, std::move(chosen)};
}

cli_Json FactsOf(const exo_SkinSummary& made) {
  cli_Json facts = {made.nodes, made.faces, made.shells, made.edges, cli_Json::array()};
  for (const fmt_LedgerEntry& entry : made.ledger)
    facts[4].push_back({entry.what, entry.count, entry.detail});
  return facts;
}

exo_SkinSummary SummaryOf(const cli_Json& facts) {
  const auto count = [&](int i) { return facts[static_cast<std::size_t>(i)].get<long long>(); };
  exo_SkinSummary summary{count(0), count(1), count(2), count(3), {}};
  for (const cli_Json& entry : facts[4])
    summary.ledger.push_back(
        {entry[0].get<std::string>(), entry[1].get<long long>(), entry[2].get<std::string>()});
  return summary;
}

/// The outside as one file, with what one process writes of the whole mesh.
exo_SkinSummary WriteOne(const Arguments& arguments, const spl_Split& split) {
  const dst_Mesh& mesh = split.Mesh();
  dst_Exchange& exchange = mesh.Exchange();
  const dst_FaceSets faces = dst_ComputeFaces(mesh, {.exclude = bme_EXCLUDE_UNSUPPORTED});
  const std::optional<dst_Extract> outer = dst_ExtractElements(
      mesh,
      dst_Elements([&](const dst_OpenPart& part) { return Outer(*part.mesh, faces[part.part->Number()]); }));
  exchange.ForEachPart([&](unsigned number) {
    const dst_OpenPart& part = mesh.Part(number);
    std::vector<Face> own;
    for (const unsigned word : OuterFaces(*part.mesh, faces[number]))
      own.push_back({part.part->ElementNumber(bme_ElementOf(word)), bme_FaceOf(word)});
    exchange.SendRecords(number, 0, own);
  });
  exchange.Deliver();
  return SummaryOf(spl_Gather(exchange, [&](unsigned number) -> cli_Json {
    if (number > 0) return nullptr;
    std::vector<unsigned> words;
    for (const Face& face : exchange.ReceivedRecords<Face>(0))
      words.push_back(bme_FaceWord(outer->FindElement(face.element), face.face));
    uti_OutputFile file = arguments.OneFile();
    return FactsOf(exo_WriteSkin(
        file, outer->mesh,
        bme_OutsideOf(bme_FEMFaceList(outer->mesh, std::move(words)), bme_FEMElemList::All(outer->mesh)),
        arguments.edges));
  })[0]);
}

/// A set that has an outside.
const bme_NamedSet& Choose(std::span<const bme_NamedSet> sets, const cow_String& name,
                           const cow_String& place) {
  if (const bme_NamedSet* set = bme_FindSet(sets, name, place)) {
    if (set->kind != rgnC_NODE_SET) return *set;
    throw nex_TextException("\"" + name + "\" is a set of nodes, which have no outside");
  }
  std::vector<cow_String> names;
  names.reserve(sets.size());
  for (const bme_NamedSet& set : sets) names.push_back(set.name);
  throw nex_TextException(place + ": no set \"" + name + '"' + atr_Alternatives(name, names));
}

/// The outside of sets needs no more than their elements, which one process puts together.
cli_Json WriteSets(const Arguments& arguments, const spl_Split& split) {
  const cow_String& root = split.Folder().MeshRoot();
  const cow_String place = arguments.folder + ", " + root;
  const std::vector<bme_NamedSet> ofPart = bme_SetsOfMesh(split.Folder().OpenPartFile(0), root);
  std::vector<cow_String> contents;
  contents.reserve(arguments.sets.size());
  for (const std::string& name : arguments.sets)
    contents.push_back(split.ContentsOf(Choose(ofPart, name, place)));
  const spl_TemporaryModel joined(arguments.folder);
  cli_Json facts;
  joined.Run([&] {
    const bme_Mesh mesh = dst_JoinSet(split.Folder(), contents, joined.File());
    const std::vector<bme_NamedSet> sets = bme_SetsOfMesh(cls_Database::Open(joined.File()), root);
    uti_OutputFile file = arguments.OneFile();
    facts = FactsOf(
        exo_WriteSkin(file, mesh, bme_FindOutside(mesh, sets, arguments.sets, place), arguments.edges));
  });
  return facts;
}

void OneFile(const Arguments& arguments, const spl_Split& split) {
  exo_SkinSummary summary;
  std::string name;
  split.Exchange().OnFirstRank([&] { name = arguments.OneFile().Name(); }); // before any work
  split.Exchange().Agree();
  if (arguments.sets.empty())
    summary = WriteOne(arguments, split);
  else {
    split.Exchange().OnFirstRank([&] { summary = SummaryOf(WriteSets(arguments, split)); });
    split.Exchange().Agree();
  }
  cli_ReportSkin({{"file", arguments.folder}, {"mesh", split.Folder().MeshRoot()}, {"output", name}}, summary,
                 arguments.edges, arguments.json);
}

/// Counts, and writes a file for each part.
void EachPart(const Arguments& arguments, const spl_Split& split, const dst_FaceSets& faces) {
  const dst_Mesh& mesh = split.Mesh();
  dst_Exchange& exchange = split.Exchange();
  std::array<std::int64_t, 4> counts{}; // external, shared, collapsed, shells
  exchange.ForEachPart([&](unsigned part) {
    const dst_FaceWords& own = faces[part];
    counts[0] += static_cast<std::int64_t>(own.external.size());
    counts[1] += static_cast<std::int64_t>(own.shared.size());
    counts[2] += static_cast<std::int64_t>(own.collapsed.size());
    if (arguments.output.file.empty()) return;
    const bme_Mesh& local = *mesh.Part(part).mesh;
    uti_OutputFile file = arguments.PartFile(part, mesh.NumParts());
    const bme_Outside outside = bme_OutsideOf(OuterFaces(local, own), bme_FEMElemList::All(local));
    counts[3] += exo_WriteSkin(file, local, outside, false).shells;
  });
  exchange.Sum(counts);
  const std::string first = arguments.FileOf(0, mesh.NumParts());
  if (arguments.json) {
    cli_Json json = {{"file", arguments.folder},
                     {"mesh", split.Folder().MeshRoot()},
                     {"external", counts[0]},
                     {"shared", counts[1]},
                     {"collapsed", counts[2]}};
    if (!arguments.output.file.empty())
      json.update({{"output", first}, {"files", mesh.NumParts()}, {"shells", counts[3]}});
    return cli_PrintJson(json);
  }
  cli_Out() << arguments.folder << ", " << split.Folder().MeshRoot() << ": " << counts[0]
            << " external faces, " << counts[1] << " of more than two solids, " << counts[2]
            << " collapsed\n";
  if (!arguments.output.file.empty())
    cli_Report() << counts[3] << " shells are written to " << mesh.NumParts() << " files " << first
                 << ", ...\n";
}

void Run(const Arguments& arguments, dst_Exchange& exchange) {
  if (!arguments.output.file.empty()) cli_ChooseFormat(arguments.output, cli_SkinFormats());
  if (!arguments.oneFile && uti_OutputFile::IsStandardOutput(arguments.output.file))
    throw cli_UsageError("-o -: the standard output takes one file, with --one-file");
  const spl_Split split(arguments, exchange);
  if (arguments.oneFile) return OneFile(arguments, split);
  exchange.ForEachPart([&](unsigned part) { // before any work
    if (!arguments.output.file.empty()) arguments.PartFile(part, split.Mesh().NumParts());
  });
  exchange.Agree();
  EachPart(arguments, split, dst_ComputeFaces(split.Mesh(), {.exclude = bme_EXCLUDE_UNSUPPORTED}));
}
} // namespace

void spl_AddSkin(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command =
      program.AddCommand("skin", "Count the outer faces of a split mesh, or write them as shells");
  auto arguments = std::make_shared<Arguments>();
  spl_AddOptions(command, *arguments);
  cli_AddOutputOptions(command, arguments->output, cli_SkinFormats(),
                       "Exodus II files to write, one a part: NAME.64.07 and so on");
  const cli_Option output = command.Option("-o").Required(false);
  const cli_Option oneFile =
      command.AddFlag("--one-file", arguments->oneFile, "Write one file: that of the whole model")
          .Needs(output);
  for (cli_Option option : cli_AddSkinOptions(command, arguments->sets, arguments->edges))
    option.Needs(oneFile);
  command.Footer("Each part writes the faces of its own elements. A part without outer faces writes a file "
                 "without shells.\n"
                 "With --sets the elements of the sets are put together in one process.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry skin wing.split -o wing-skin.exo --one-file");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
