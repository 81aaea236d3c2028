// cli_Differences.h: where two models or two files differ, as words and as data
#pragma once

#include "cli_Command.h"
#include "cli_Json.h"

#include <BasicUtils/cls_Diff.h>
#include <span>

cli_Json cli_DifferencesJson(std::span<const cls_Difference> differences);
void cli_PrintDifferences(std::span<const cls_Difference> differences); ///< "no differences" for none
