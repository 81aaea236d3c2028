// exo_ExportResults.h: the fields of a run as variables of an Exodus II file
#pragma once

#include "exo_Write.h"

#include <CoreGeometry/fmt_Ledger.h>
#include <CoreGeometry/odiC_Run.h>
#include <map>
#include <memory>

/// A set as it stands in the file, with what its entries are in the mesh.
struct exo_SetEntries {
  cow_String root; ///< of the set in the model
  exo_SetKind kind;
  std::int64_t id = 0;
  std::vector<int> entities;  ///< mesh indices of nodes or elements
  std::vector<int> facets;    ///< of each side
  std::vector<char> areEdges; ///< whether the facet is that of an edge
};

/// Values of a run for the blocks and sets of a file, which must be complete. What has no place is added to the ledger.
/// Values at element nodes are left out, or with `atNodes` averaged there.
std::unique_ptr<exo_OutResults> exo_ResultsOf(const odiC_Run& run, bool atNodes, const exo_OutMesh& file,
                                              std::span<const exo_SetEntries> sets, fmt_Ledger& ledger);
