// exo_Plugin.h: the functions that call the Exodus II library, behind one table
#pragma once

#include "exo_Write.h"

#include <CoreGeometry/fmt_Compare.h>
#include <CoreGeometry/fmt_Format.h>

/// What the plug-in does. Both sides are built together: types go across as they are.
struct exo_Functions {
  int tableVersion;        ///< exo_kTableVersion of the one who built it; stays first
  const char* coreVersion; ///< of the project; stays second
  fmt_Import (*readMesh)(const cow_String& file, const fmt_ReadOptions& options);
  std::unique_ptr<fmt_Ranges> (*openRanges)(const cow_String& file, const fmt_ReadOptions& options);
  fmt_ResultsSummary (*readResults)(const cow_String& file, const fmt_Import& import, odiC_RunWriter* run,
                                    const fmt_ResultsOptions& options);
  void (*writeFile)(uti_OutputFile& output, const exo_OutMesh& mesh);
  fmt_Comparison (*compareFiles)(const cow_String& first, const cow_String& second, double tolerance);
};
inline constexpr int exo_kTableVersion = 2;

/// The only symbol that is looked up.
extern "C" __attribute__((visibility("default"))) const exo_Functions* coregeometry_exodus_functions();

/// The functions, from the plug-in beside this library at the first call, or linked in.
/// Errors     nex_TextException naming the file of the plug-in and its package, when it is not there or of another build.
const exo_Functions& exo_Plugin();
