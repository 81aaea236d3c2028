#include "cli_Split.h"

#include "cli_Console.h"
#include "cli_Model.h"

#include <CoreGeometry/dst_Check.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Split.h>
#include <CoreGeometry/dst_SplitFolder.h>

std::shared_ptr<const dst_Library> cli_StartSplits() { return std::make_shared<const dst_Library>(); }

bool cli_IsSplit(const std::string& folder) { return dst_SplitFolder::IsOne(folder); }

std::vector<chk_Finding> cli_CheckSplit(const std::string& folder) {
  const auto library = cli_StartSplits();
  std::vector<chk_Finding> findings;
  for (dst_Finding& finding : dst_Check(folder)) {
    // the part that it is about stands before the root
    if (!finding.file.empty() && finding.root != finding.file)
      finding.root = finding.file + (finding.root.empty() ? "" : ": ") + finding.root;
    findings.push_back(std::move(finding));
  }
  return findings;
}

void cli_PrintSplit(const std::string& folder, bool json) {
  const auto library = cli_StartSplits();
  const dst_SplitFolder split(folder);
  const dst_Index& index = split.Index();
  const dst_Origin origin = index.Origin();
  const dst_SplitReport report = dst_ReportOn(index);
  if (json) {
    cli_Json parts = cli_Json::array(), classes = cli_Json::array(), sets = cli_Json::array();
    for (unsigned i = 0; i < split.NumParts(); ++i) {
      const dst_PartFacts part = index.Part(i);
      parts.push_back({{"elements", part.numElements},
                       {"nodes", part.numNodes},
                       {"ownedNodes", part.numOwned},
                       {"sharedNodes", part.numShared},
                       {"neighbours", part.neighbours}});
    }
    for (unsigned i = 0; i < index.NumClasses(); ++i)
      classes.push_back(
          {{"type", index.Class(i).ElemTypeLabel()}, {"elements", index.Class(i).NumElements()}});
    for (unsigned i = 0; i < index.NumSets(); ++i) {
      std::uint64_t entries = 0;
      for (unsigned k = 0; k < index.NumSubsets(i); ++k) entries += index.NumEntries(i, k);
      sets.push_back({{"root", index.SetRoot(i)}, {"entries", entries}});
    }
    return cli_PrintJson({{"folder", folder},
                          {"mesh", origin.mesh},
                          {"source", origin.source},
                          {"method", origin.method},
                          {"identity", origin.identity},
                          {"nodes", index.NumNodes()},
                          {"elements", index.NumElements()},
                          {"nodeLabels", index.HasNodeLabels()},
                          {"elementLabels", index.HasElementLabels()},
                          {"balance", report.balance},
                          {"copies", report.copies},
                          {"mostNeighbours", report.mostNeighbours},
                          {"classes", classes},
                          {"sets", sets},
                          {"parts", parts}});
  }
  cli_Out() << folder << ": mesh \"" << origin.mesh << "\" in " << split.NumParts() << " parts (method "
            << origin.method << ", from " << origin.source << ")\n";
  cli_Out() << "  " << index.NumNodes() << " nodes, " << index.NumElements() << " elements in all\n";
  cli_Out() << "  largest part " << report.balance << " times the mean, " << 100 * report.copies
            << " % copies of nodes, up to " << report.mostNeighbours << " neighbours\n";
  for (unsigned i = 0; i < index.NumClasses(); ++i)
    cli_Out() << "  class " << i << ": " << index.Class(i).ElemTypeLabel() << ", "
              << index.Class(i).NumElements() << " elements\n";
  for (unsigned i = 0; i < index.NumSets(); ++i) cli_Out() << "  " << index.SetRoot(i) << '\n';
}
