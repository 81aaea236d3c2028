// cli_Sweep.h: what the sub-commands that sweep surfaces to solids share
#pragma once

#include "cli_Edit.h"

#include <CoreGeometry/bme_SweepMesh.h>
#include <functional>

struct cli_SweepArguments : cli_EditArguments {
  std::vector<std::string> sets, map;
  int layers = 1;
};
void cli_AddSweepOptions(cli_Command command, cli_SweepArguments& arguments);

/// Reads the mesh, or the elements or faces of sets of it, sweeps and stores it.
void cli_Sweep(const cli_SweepArguments& arguments,
               const std::function<bme_Swept(const bme_MeshAndSets&, const bme_TypeChoice&)>& sweep);
