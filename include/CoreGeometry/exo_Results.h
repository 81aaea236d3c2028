// exo_Results.h: time steps and variables of an Exodus II file as a run
#pragma once

#include <CoreGeometry/fmt_Results.h>

/// Carries the variables of a file into a run of the mesh that was imported from it, in passes of whole frames; without a
/// writer it only says what they would become. A run that has the first frames already is gone on with.
///
/// global variables are histories; those of nodes, blocks and sets fields at nodes, elements, integration points and
/// faces. Scalars are grouped by fmt_GroupNames. Times that fall begin a new step.
///
/// Errors     nex_TextException naming file, variable and time step; wip_Cancelled when the host asks to stop, which
///            leaves the frames that were committed.
/// Cost       one pass over the frames; one field and one slice of the file in memory at a time, beside what waits for its
///            pass.
CORE_GEOMETRY_EXCHANGE_API fmt_ResultsSummary exo_ReadResults(const cow_String& fileName,
                                                              const fmt_Import& import, odiC_RunWriter* run,
                                                              const fmt_ResultsOptions& options = {});
