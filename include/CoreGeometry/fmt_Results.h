// fmt_Results.h: the results of a file as a run of a model
#pragma once

#include <CoreGeometry/fmt_Grouping.h>
#include <CoreGeometry/fmt_Import.h>
#include <CoreGeometry/odiC_RunWriter.h>

struct fmt_ResultsOptions {
  std::vector<cow_String> variables{}; ///< only these, by name of the group or of a scalar; all if empty
  int firstFrame = 0, lastFrame = -1, stride = 1; ///< of the file, from 0; -1 is the last
  bool isDouble = false;                          ///< keep double precision
  odiC_StepKindEnm stepKind = odiC_UNDEFINED_STEP;
  fmt_GroupRules rules{};
  std::vector<int> pointOrder{}; ///< position, from 1, in the file of each of our integration points
  bool isCount = false;          ///< only count the frames: plan and import nothing
  std::size_t passBytes = std::size_t{32} << 20; ///< size of a pass before its commit, at most 20 frames
};

/// A variable as it will be imported, for a preview.
struct fmt_PlannedVariable {
  odiC_Variable variable;
  std::vector<cow_String> positions; ///< "NODAL", "INTEGRATION_POINT (8), block 10" ...
  std::vector<cow_String> scalars;   ///< of the file that it is made of
};

struct fmt_ResultsSummary {
  std::vector<fmt_PlannedVariable> variables;
  int numFrames = 0;    ///< of those that were asked for
  int numNewFrames = 0; ///< that the run did not have before
  fmt_Ledger ledger;
};

/// Takes from the ledger of a mesh what its results have taken over: time steps and variables.
CORE_GEOMETRY_EXCHANGE_API void fmt_RemoveCarried(fmt_Ledger& ledger);
