// coregeometry-mpi skin: the outside of a split mesh as shells, a file for each part
#include "cli_Console.h"
#include "cli_Model.h"
#include "spl_Split.h"

#include <CoreGeometry/dst_Faces.h>
#include <CoreGeometry/exo_Skin.h>
#include <memory>

namespace {
struct Arguments : spl_Arguments {
  std::string output;
  bool force = false;
};

/// "skin.exo.64.07": the name, the number of parts, and the part with as many digits.
std::string FileOf(const std::string& name, unsigned part, unsigned numParts) {
  const std::string all = std::to_string(numParts), one = std::to_string(part);
  return name + "." + all + "." + std::string(all.size() - one.size(), '0') + one;
}

void Run(const Arguments& arguments, dst_Exchange& exchange) {
  const spl_Split split(arguments, exchange);
  const dst_Mesh& mesh = split.Mesh();
  exchange.ForEachPart([&](unsigned part) { // before any work
    if (!arguments.output.empty())
      uti_OutputFile(FileOf(arguments.output, part, mesh.NumParts()), {.force = arguments.force});
  });
  exchange.Agree();
  const dst_FaceSets faces = dst_ComputeFaces(mesh, {.exclude = bme_EXCLUDE_UNSUPPORTED});
  std::array<std::int64_t, 4> counts{}; // external, shared, collapsed, shells
  exchange.ForEachPart([&](unsigned part) {
    const dst_FaceWords& own = faces[part];
    counts[0] += static_cast<std::int64_t>(own.external.size());
    counts[1] += static_cast<std::int64_t>(own.shared.size());
    counts[2] += static_cast<std::int64_t>(own.collapsed.size());
    if (arguments.output.empty()) return;
    const bme_Mesh& local = *mesh.Part(part).mesh;
    const bme_FEMFaceList outer =
        bme_FEMFaceList(local, own.external).Union(bme_FEMFaceList(local, own.shared));
    uti_OutputFile file(FileOf(arguments.output, part, mesh.NumParts()), {.force = arguments.force});
    counts[3] += exo_WriteSkin(file, local, bme_OutsideOf(outer), false).shells;
  });
  exchange.Sum(counts);
  if (arguments.json) {
    cli_Json json = {{"file", arguments.folder},
                     {"mesh", split.Folder().MeshRoot()},
                     {"external", counts[0]},
                     {"shared", counts[1]},
                     {"collapsed", counts[2]}};
    if (!arguments.output.empty()) {
      json["output"] = FileOf(arguments.output, 0, mesh.NumParts());
      json["files"] = mesh.NumParts();
      json["shells"] = counts[3];
    }
    return cli_PrintJson(json);
  }
  cli_Out() << arguments.folder << ", " << split.Folder().MeshRoot() << ": " << counts[0]
            << " external faces, " << counts[1] << " of more than two solids, " << counts[2]
            << " collapsed\n";
  if (!arguments.output.empty())
    cli_Report() << counts[3] << " shells are written to " << mesh.NumParts() << " files "
                 << FileOf(arguments.output, 0, mesh.NumParts()) << ", ...\n";
}
} // namespace

void spl_AddSkin(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command =
      program.AddCommand("skin", "Count the outer faces of a split mesh, or write them as shells");
  auto arguments = std::make_shared<Arguments>();
  spl_AddOptions(command, *arguments);
  command
      .AddOption("-o,--output", arguments->output,
                 "Exodus II files to write, one a part: NAME.64.07 and so on")
      .TypeName("NAME");
  command.AddFlag("--force", arguments->force, "Replace files that are there");
  command.Footer("Each part writes the faces of its own elements. A part without outer faces writes a file "
                 "without shells.\n"
                 "\n"
                 "Example:\n"
                 "  mpirun -n 4 coregeometry-mpi skin wing.split -o wing-skin.exo");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
