// exo_Read.h: a mesh from an Exodus II file, within the plug-in
#pragma once

#include <CoreGeometry/exo_Import.h>

/// See exo_ReadMesh.
fmt_Import exo_Read(const cow_String& fileName, const fmt_ReadOptions& options);
/// See exo_OpenRanges.
std::unique_ptr<fmt_Ranges> exo_Ranges(const cow_String& fileName, const fmt_ReadOptions& options);
/// See exo_ReadResults.
fmt_ResultsSummary exo_CarryResults(const cow_String& fileName, const fmt_Import& import, odiC_RunWriter* run,
                                    const fmt_ResultsOptions& options);
