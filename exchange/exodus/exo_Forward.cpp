// What the exchange library leaves to the plug-in.
#include "exo_Plugin.h"

#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/exo_Results.h>
#include <CoreGeometry/fmt_Ranges.h>

fmt_Import exo_ReadMesh(const cow_String& fileName, const fmt_ReadOptions& options) {
  return exo_Plugin().readMesh(fileName, options);
}

std::unique_ptr<fmt_Ranges> exo_OpenRanges(const cow_String& fileName, const fmt_ReadOptions& options) {
  return exo_Plugin().openRanges(fileName, options);
}

fmt_ResultsSummary exo_ReadResults(const cow_String& fileName, const fmt_Import& import, odiC_RunWriter* run,
                                   const fmt_ResultsOptions& options) {
  return exo_Plugin().readResults(fileName, import, run, options);
}

void exo_WriteFile(uti_OutputFile& output, const exo_OutMesh& mesh) { exo_Plugin().writeFile(output, mesh); }
