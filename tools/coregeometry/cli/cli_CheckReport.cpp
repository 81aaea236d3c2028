#include "cli_CheckReport.h"

#include "cli_Console.h"
#include "cli_Model.h"

namespace {
const char* WeightName(const chk_Finding& finding) {
  return finding.weight == cls_Finding::Weight::Fault ? "fault" : "note";
}

cli_Json FindingJson(const chk_Finding& finding) {
  return {{"weight", WeightName(finding)}, {"root", finding.root},   {"className", finding.className},
          {"object", finding.object},      {"field", finding.field}, {"what", finding.what},
          {"labels", finding.labels},      {"count", finding.count}, {"advice", finding.advice}};
}

void Print(const chk_Finding& finding) {
  cli_Out() << WeightName(finding) << ": ";
  cow_String place = finding.root;
  const auto add = [&](const cow_String& part) { place += (place.empty() ? "" : ", ") + part; };
  if (finding.object != 0)
    add("object " + std::to_string(finding.object)
        + (finding.className.empty() ? "" : " of " + finding.className));
  else if (!finding.className.empty())
    add(finding.className);
  if (!finding.field.empty()) add("field " + finding.field);
  cli_Out() << place << (place.empty() ? "" : ": ") << finding.what << '\n';
  if (!finding.labels.empty()) {
    cli_Out() << "  labels:";
    for (const long long label : finding.labels) cli_Out() << ' ' << label;
    if (const auto more = finding.count - static_cast<long long>(finding.labels.size()); more > 0)
      cli_Out() << " and " << more << " more";
    cli_Out() << '\n';
  }
  cli_Out() << "  advice: " << finding.advice << '\n';
}
} // namespace

void cli_ReportFindings(const std::string& file, const std::vector<chk_Finding>& findings, bool isJson) {
  long long faults = 0;
  for (const chk_Finding& finding : findings) faults += finding.weight == cls_Finding::Weight::Fault;
  const auto notes = static_cast<long long>(findings.size()) - faults;
  if (isJson) {
    cli_Json list = cli_Json::array();
    for (const chk_Finding& finding : findings) list.push_back(FindingJson(finding));
    cli_PrintJson({{"file", file}, {"faults", faults}, {"notes", notes}, {"findings", list}});
  } else {
    for (const chk_Finding& finding : findings) Print(finding);
    cli_Out() << file << ": " << (faults == 0 ? "sound" : std::to_string(faults) + " faults")
              << (notes == 0 ? "" : ", " + std::to_string(notes) + (notes == 1 ? " note" : " notes")) << '\n';
  }
  if (faults > 0) throw cli_Incomplete();
}
