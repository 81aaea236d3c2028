// cli_SkinReport.h: what is told about an outside that was written
#pragma once

#include "cli_Json.h"
#include "cli_Output.h"

#include <CoreGeometry/exo_Skin.h>

/// Prints the facts with what was written: "file", "mesh" and "output" are there already.
void cli_ReportSkin(cli_Json facts, const exo_SkinSummary& summary, bool hasEdges, bool isJson);

const std::vector<cli_FileFormat>& cli_SkinFormats();
/// --sets and --edges, which are returned.
std::vector<cli_Option> cli_AddSkinOptions(cli_Command command, std::vector<std::string>& sets, bool& edges);
