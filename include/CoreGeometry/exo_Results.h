// exo_Results.h: time steps and variables of an Exodus II file as a run
#pragma once

#include <CoreGeometry/fmt_Results.h>

/// Imports the variables of a file into a run of the mesh that was imported from it, in passes of whole
/// frames; without a run it only reports what they would become. A run that already has the first frames is
/// continued.
///
/// Global variables become histories; those of nodes, blocks and sets become fields at nodes, elements,
/// integration points and faces. Scalars are grouped by fmt_GroupNames. Decreasing times begin a new step.
///
/// Errors     nex_TextException naming file, variable and time step; wip_Cancelled when the host asks to
///            stop, which leaves the frames that were committed.
/// Cost       one pass over the frames; in memory are one field, one slice of the file, and the frames that
///            are not committed yet.
CORE_GEOMETRY_EXCHANGE_API fmt_ResultsSummary exo_ReadResults(const cow_String& fileName,
                                                              const fmt_Import& import, odiC_RunWriter* run,
                                                              const fmt_ResultsOptions& options = {});
