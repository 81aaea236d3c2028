// coregeometry check: what is wrong with a model
#include "cli_CheckReport.h"
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"

#include <CoreGeometry/odiC_CheckModel.h>

namespace {
struct Arguments {
  std::string file;
  bool json = false;
};

std::vector<chk_Finding> FindingsOf(const std::string& file, cli_Console& console) {
  try {
    console.Begin("checking " + file);
    cls_Database model = cli_OpenModel(file);
    return odiC_CheckModel(model);
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    return {odiC_Unreadable(failure.Message())};
  }
}

void Run(const Arguments& arguments) {
  cli_Console console;
  const std::vector<chk_Finding> findings = FindingsOf(arguments.file, console);
  console.End();
  cli_ReportFindings(arguments.file, findings, arguments.json);
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
