// cli_ImportResults.h: what `import` is told about results, and what it tells
#pragma once

#include "cli_Command.h"
#include "cli_Json.h"

#include <CoreGeometry/fmt_Results.h>

struct cli_ResultsArguments {
  std::string run, frames, storage = "float", stepKind, pointOrder;
  std::vector<std::string> variables, groups, ungrouped;
  bool isLeftOut = false;
};
void cli_AddResultsOptions(cli_Command command, cli_ResultsArguments& arguments);
fmt_ResultsOptions cli_ResultsOptions(const cli_ResultsArguments& arguments); ///< throws cli_UsageError

cli_Json cli_VariableJson(const fmt_PlannedVariable& planned);
void cli_PrintVariables(const fmt_ResultsSummary& results);
