// cli_Split.h: split folders as arguments of commands on models
#pragma once

#include <CoreGeometry/chk_Findings.h>
#include <memory>
#include <string>
#include <vector>

/// True for a folder that holds a split model, finished or not; false for anything else, and in a program that is
/// built without split models.
bool cli_IsSplit(const std::string& folder);
/// Everything that is wrong with its files and across them.
std::vector<chk_Finding> cli_CheckSplit(const std::string& folder);
/// Totals, parts, classes and sets of its index.
void cli_PrintSplit(const std::string& folder, bool json);
/// Of a program that knows split models.
class dst_Library;
std::shared_ptr<const dst_Library> cli_StartSplits();
