// skin of a split model: its outside as shells, in a file for each part or in one
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_SkinReport.h"
#include "spl_Commands.h"
#include "spl_Split.h"

#include <CoreGeometry/dst_Extract.h>
#include <CoreGeometry/dst_Faces.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <memory>

namespace {
struct Arguments : spl_Arguments {
  std::string output;
  bool force = false, oneFile = false;
  uti_OutputFile File(const std::string& name) const { return uti_OutputFile(name, {.force = force}); }
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

/// The outside as one file, with what one process writes of the whole mesh.
exo_SkinSummary WriteOne(const Arguments& arguments, const dst_Mesh& mesh, const dst_FaceSets& faces) {
  dst_Exchange& exchange = mesh.Exchange();
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
  const std::vector<cli_Json> told = spl_Gather(exchange, [&](unsigned number) -> cli_Json {
    if (number > 0) return nullptr;
    std::vector<unsigned> words;
    for (const Face& face : exchange.ReceivedRecords<Face>(0))
      words.push_back(bme_FaceWord(outer->FindElement(face.element), face.face));
    uti_OutputFile file = arguments.File(arguments.output);
    const exo_SkinSummary made = exo_WriteSkin(
        file, outer->mesh,
        bme_OutsideOf(bme_FEMFaceList(outer->mesh, std::move(words)), bme_FEMElemList::All(outer->mesh)),
        false);
    cli_Json facts = {made.nodes, made.faces, made.shells, cli_Json::array()};
    for (const fmt_LedgerEntry& entry : made.ledger)
      facts[3].push_back({entry.what, entry.count, entry.detail});
    return facts;
  });
  exo_SkinSummary summary{
      told[0][0].get<long long>(), told[0][1].get<long long>(), told[0][2].get<long long>(), 0, {}};
  for (const cli_Json& entry : told[0][3])
    summary.ledger.push_back(
        {entry[0].get<std::string>(), entry[1].get<long long>(), entry[2].get<std::string>()});
  return summary;
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
    if (arguments.output.empty()) return;
    const bme_Mesh& local = *mesh.Part(part).mesh;
    uti_OutputFile file = arguments.File(spl_FileOf(arguments.output, part, mesh.NumParts()));
    const bme_Outside outside = bme_OutsideOf(OuterFaces(local, own), bme_FEMElemList::All(local));
    counts[3] += exo_WriteSkin(file, local, outside, false).shells;
  });
  exchange.Sum(counts);
  const std::string first = spl_FileOf(arguments.output, 0, mesh.NumParts());
  if (arguments.json) {
    cli_Json json = {{"file", arguments.folder},
                     {"mesh", split.Folder().MeshRoot()},
                     {"external", counts[0]},
                     {"shared", counts[1]},
                     {"collapsed", counts[2]}};
    if (!arguments.output.empty())
      json.update({{"output", first}, {"files", mesh.NumParts()}, {"shells", counts[3]}});
    return cli_PrintJson(json);
  }
  cli_Out() << arguments.folder << ", " << split.Folder().MeshRoot() << ": " << counts[0]
            << " external faces, " << counts[1] << " of more than two solids, " << counts[2]
            << " collapsed\n";
  if (!arguments.output.empty())
    cli_Report() << counts[3] << " shells are written to " << mesh.NumParts() << " files " << first
                 << ", ...\n";
}

void Run(const Arguments& arguments, dst_Exchange& exchange) {
  const spl_Split split(arguments, exchange);
  const dst_Mesh& mesh = split.Mesh();
  exchange.ForEachPart([&](unsigned part) { // before any work
    if (arguments.oneFile ? part == 0 : !arguments.output.empty())
      arguments.File(arguments.oneFile ? arguments.output
                                       : spl_FileOf(arguments.output, part, mesh.NumParts()));
  });
  exchange.Agree();
  const dst_FaceSets faces = dst_ComputeFaces(mesh, {.exclude = bme_EXCLUDE_UNSUPPORTED});
  if (!arguments.oneFile) return EachPart(arguments, split, faces);
  const exo_SkinSummary summary = WriteOne(arguments, mesh, faces);
  cli_ReportSkin(
      {{"file", arguments.folder}, {"mesh", split.Folder().MeshRoot()}, {"output", arguments.output}},
      summary, false, arguments.json);
}
} // namespace

void spl_AddSkin(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command =
      program.AddCommand("skin", "Count the outer faces of a split mesh, or write them as shells");
  auto arguments = std::make_shared<Arguments>();
  spl_AddOptions(command, *arguments);
  const cli_Option output = command.AddOption("-o,--output", arguments->output,
                                              "Exodus II files to write, one a part: NAME.64.07 and so on");
  cli_Option(output).TypeName("NAME");
  command.AddFlag("--one-file", arguments->oneFile, "Write one file: that of the whole model").Needs(output);
  command.AddFlag("--force", arguments->force, "Replace files that are there");
  command.Footer("Each part writes the faces of its own elements. A part without outer faces writes a file "
                 "without shells.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry skin wing.split -o wing-skin.exo --one-file");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
