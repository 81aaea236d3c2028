// cli_SkinReport.h: what is told about an outside that was written
#pragma once

#include "cli_Json.h"

#include <CoreGeometry/exo_Skin.h>

/// Prints the facts with what was written: "file", "mesh" and "output" are there already.
void cli_ReportSkin(cli_Json facts, const exo_SkinSummary& summary, bool hasEdges, bool isJson);
