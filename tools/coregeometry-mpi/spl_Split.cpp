#include "spl_Split.h"

#include "cli_Console.h"
#include "cli_Model.h"

#include <CoreGeometry/bme_StoredSets.h>

void spl_AddOptions(cli_Command command, spl_Arguments& arguments) {
  command.AddOption("MODEL.split", arguments.folder, "Folder of a split model").Required().TypeName("FOLDER");
  command.AddOption("--name", arguments.name, "Name of its mesh").TypeName("MESH");
  command.AddFlag("--json", arguments.json, "Print the answer as JSON");
}

spl_Split::spl_Split(const spl_Arguments& arguments, dst_Exchange& exchange)
    : model_(arguments.folder, exchange),
      mesh_(arguments.name.empty() ? model_.Mesh() : model_.Mesh(arguments.name)) {
  exchange.OnEachRank([&] {
    const unsigned numIdle =
        exchange.NumRanks() > Index().NumParts() ? exchange.NumRanks() - Index().NumParts() : 0;
    if (exchange.IsFirstRank() && numIdle > 0)
      cli_Out(std::cerr) << "coregeometry-mpi: -n " << exchange.NumRanks() << " ranks, " << Index().NumParts()
                         << " parts: " << numIdle << " ranks have nothing to do\n";
    for (unsigned c = 0; c < Index().NumClasses(); ++c)
      classes_.AddElementClass(Index().Class(c).MakeClass({}, {}));
    const cls_Database first = Folder().OpenPartFile(0);
    const cow_String root = Folder().MeshRoot();
    toLocal_ = cli_PlacementOf(first, root).ToLocal();
    const bme_MeshIndex meshes(first);
    const int id = bme_StoredMeshId(first, root);
    for (const auto& [region, contents] : bme_StoredRegions(first))
      if (contents.GetSetData().IsDefined() && meshes.RootOf(contents, id) == root)
        sets_.push_back({region, contents.GetSetData().Path()});
  });
  exchange.Agree();
}
