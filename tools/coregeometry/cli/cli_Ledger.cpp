#include "cli_Ledger.h"

#include "cli_Console.h"

#include <iostream>

cli_Json cli_LedgerJson(const fmt_Ledger& ledger) {
  cli_Json list = cli_Json::array();
  for (const fmt_LedgerEntry& entry : ledger)
    list.push_back({{"what", entry.what},
                    {"count", entry.count < 0 ? cli_Json() : cli_Json(entry.count)},
                    {"detail", entry.detail}});
  return list;
}

void cli_PrintLedger(const fmt_Ledger& ledger, const char* nothing, const cow_String& heading) {
  cli_Report() << (ledger.empty() ? cow_String(nothing) : heading) << '\n';
  for (const fmt_LedgerEntry& entry : ledger) {
    cli_Report() << "  " << entry.what << ": "
                 << (entry.count < 0 ? "unknown count" : std::to_string(entry.count));
    if (!entry.detail.empty()) cli_Report() << " (" << entry.detail << ')';
    cli_Report() << '\n';
  }
}
