// coregeometry check: what is wrong with a model
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Split.h"

#include <CoreGeometry/odiC_CheckModel.h>

namespace {
struct Arguments {
  std::string file;
  bool json = false;
};

std::vector<chk_Finding> FindingsOf(const std::string& file, cli_Console& console) {
  try {
    console.Begin("checking " + file);
    if (cli_IsSplit(file)) return cli_CheckSplit(file);
    cls_Database model = cli_OpenModel(file);
    return odiC_CheckModel(model);
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    return {odiC_Unreadable(failure.Message())};
  }
}

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

void Run(const Arguments& arguments) {
  cli_Console console;
  const std::vector<chk_Finding> findings = FindingsOf(arguments.file, console);
  console.End();
  long long faults = 0;
  for (const chk_Finding& finding : findings) faults += finding.weight == cls_Finding::Weight::Fault;
  const auto notes = static_cast<long long>(findings.size()) - faults;
  if (arguments.json) {
    cli_Json list = cli_Json::array();
    for (const chk_Finding& finding : findings) list.push_back(FindingJson(finding));
    cli_PrintJson({{"file", arguments.file}, {"faults", faults}, {"notes", notes}, {"findings", list}});
  } else {
    for (const chk_Finding& finding : findings) Print(finding);
    cli_Out() << arguments.file << ": " << (faults == 0 ? "sound" : std::to_string(faults) + " faults")
              << (notes == 0 ? "" : ", " + std::to_string(notes) + (notes == 1 ? " note" : " notes")) << '\n';
  }
  if (faults > 0) throw cli_Incomplete();
}
} // namespace

void cli_AddCheck(cli_Command& program) {
  cli_Command command = program.AddCommand("check", "Check a model: file, checksums, references, meshes");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("MODEL", arguments->file, "Model file (.cgdb)").Required();
  command.AddFlag("--json", arguments->json, "Print the findings as JSON");
  command.Footer(
      "Every page, checksum and reference of the file is checked, every root is read, and meshes are\n"
      "checked for what makes no sense. Meshes are looked at when the file itself is sound; their elements\n"
      "when labels, coordinates and nodes make sense: inside out, without size, bad Jacobians, duplicates,\n"
      "free and hanging nodes, nodes at one place, open and branching edges and turned normals of shells.\n"
      "Exit codes: 0 sound (there may be notes), 1 faults.\n"
      "\n"
      "Example:\n"
      "  coregeometry check wing.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
