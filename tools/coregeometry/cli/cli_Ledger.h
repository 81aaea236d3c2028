// cli_Ledger.h: what one form of a mesh has no place for, as the sub-commands tell it
#pragma once

#include "cli_Command.h"
#include "cli_Json.h"
#include <CoreGeometry/fmt_Ledger.h>

cli_Json cli_LedgerJson(const fmt_Ledger& ledger);

/// To stdout: `nothing` when the ledger is empty, else `heading` and a line for each entry.
void cli_PrintLedger(const fmt_Ledger& ledger, const char* nothing, const cow_String& heading);
