// fmt_Ledger.h: list of the contents that a conversion between a file and a model cannot keep
#pragma once

#include <CoreUtils/cow_String.h>
#include <vector>

struct fmt_LedgerEntry {
  cow_String what;   ///< in plural, like "node sets"
  long long count;   ///< -1 when the file does not tell
  cow_String detail; ///< may be empty
  /// Counts classes, sets or their names: each part of a split mesh has all of them, so that parts tell the same.
  bool isOfEveryPart = false;
};
using fmt_Ledger = std::vector<fmt_LedgerEntry>;
