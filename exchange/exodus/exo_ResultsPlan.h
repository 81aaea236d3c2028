// exo_ResultsPlan.h: what the variables of an Exodus II file become
#pragma once

#include "exo_File.h"

#include <CoreGeometry/exo_Sides.h>
#include <CoreGeometry/fmt_Results.h>

/// Where one block of a layout comes from.
struct exo_Source {
  int type; ///< ex_entity_type
  std::int64_t id;
  std::int64_t numEntities; ///< in the file
  std::vector<std::int64_t>
      order;                ///< position in the file of each of our entities; none when they are the same
  std::vector<int> scalars; ///< as fmt_Group has them
  odiC_LayoutBlock block;
  bool areEdges = false; ///< its facets are those of edges
};

struct exo_PlannedVariable {
  odiC_Variable variable;
  std::vector<exo_Source> sources; ///< in the order of the layout
  int layout = -1, index = -1;     ///< in the run
};

inline constexpr int exo_kNeedsPointSet = 1 << 30; ///< as the point set of a block until it has one

struct exo_ResultsPlan {
  std::vector<exo_PlannedVariable> variables;
  std::vector<fmt_PlannedVariable> told; ///< the same, to be shown
  fmt_Ledger ledger;
};

/// Groups the variables of all kinds and finds the places of their values in the mesh of the import.
exo_ResultsPlan exo_PlanResults(const exo_File& file, const fmt_Import& import,
                                const fmt_ResultsOptions& options);

/// Names of the variables of a kind (ex_entity_type).
std::vector<cow_String> exo_VariableNames(const exo_File& file, int kind);
