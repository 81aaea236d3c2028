// check of a split model: each file, and across them
#include "cli_CheckReport.h"
#include "spl_Commands.h"
#include "spl_Split.h"

#include <CoreGeometry/dst_Check.h>
#include <memory>

namespace {
struct Arguments {
  std::string folder;
  bool json = false;
};

void Run(const Arguments& arguments, dst_Exchange& exchange) {
  std::vector<chk_Finding> findings;
  for (dst_Finding& finding : dst_Check(arguments.folder, exchange)) {
    // the part that it is about stands before the root
    if (!finding.file.empty() && finding.root != finding.file)
      finding.root = finding.file + (finding.root.empty() ? "" : ": ") + finding.root;
    findings.push_back(std::move(finding));
  }
  cli_ReportFindings(arguments.folder, findings, arguments.json);
}
} // namespace

void spl_AddCheck(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command =
      program.AddCommand("check", "Check a split model: each file as a model of its own, and across them");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("SPLIT", arguments->folder, "Folder of a split model").Required().TypeName("FOLDER");
  command.AddFlag("--json", arguments->json, "Print the findings as JSON");
  command.Footer(
      "Across the files: one identity, every element in one part, every node with the same coordinates,\n"
      "label, sets and results in all parts that hold it, and what the index says about each part.\n"
      "Exit codes: 0 sound (there may be notes), 1 faults.\n"
      "\n"
      "Example:\n"
      "  coregeometry check wing.split");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
