// exo_Ledger.h: what a file holds that a model has no place for
#pragma once

#include <CoreUtils/cow_String.h>
#include <vector>

class exo_File;

struct exo_LedgerEntry {
  cow_String what;   ///< in plural, like "node sets"
  long long count;   ///< -1 when the file does not tell
  cow_String detail; ///< may be empty
};
using exo_Ledger = std::vector<exo_LedgerEntry>;

/// Everything in the file but nodes, element blocks, their number maps, node, side and element sets.
/// Variables of the file that the Exodus II format does not know are listed by name.
exo_Ledger exo_ListNotCarried(const exo_File& file);
