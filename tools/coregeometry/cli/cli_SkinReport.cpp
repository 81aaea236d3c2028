#include "cli_SkinReport.h"

#include "cli_Console.h"
#include "cli_Ledger.h"
#include "cli_Model.h"
#include "cli_Words.h"

void cli_ReportSkin(cli_Json facts, const exo_SkinSummary& summary, bool hasEdges, bool isJson) {
  if (isJson) {
    facts.update({{"nodes", summary.nodes},
                  {"faces", summary.faces},
                  {"shells", summary.shells},
                  {"edges", summary.edges},
                  {"notCarried", cli_LedgerJson(summary.ledger)}});
    return cli_PrintJson(facts);
  }
  const auto text = [&](const char* key) { return facts[key].get<std::string>(); };
  cli_Report() << "The outside of " << text("mesh") << " of " << text("file") << " is written to "
               << text("output") << ":\n  " << summary.nodes << " nodes, " << summary.faces << " faces as "
               << summary.shells << " shells";
  if (hasEdges) cli_Report() << ", " << summary.edges << " feature edges as beams";
  cli_Report() << '\n';
  cli_PrintLedger(summary.ledger, "Every face was carried over whole.",
                  "Not carried over, since an Exodus II file has no place for it:");
}

const std::vector<cli_FileFormat>& cli_SkinFormats() {
  static const std::vector<cli_FileFormat> all = {{"exodus", {".exo", ".e", ".g"}}};
  return all;
}

std::vector<cli_Option> cli_AddSkinOptions(cli_Command command, std::vector<std::string>& sets, bool& edges) {
  return {cli_AddNames(command, "--sets", sets, "The outside of these sets, and these surfaces, alone"),
          command.AddFlag("--edges", edges, "Write feature edges as beams, too")};
}
