// cli_CheckReport.h: what is told about the findings of a check
#pragma once

#include <CoreGeometry/chk_Findings.h>
#include <string>

/// Prints the findings about the file. Throws cli_Incomplete when there are faults.
void cli_ReportFindings(const std::string& file, const std::vector<chk_Finding>& findings, bool isJson);
