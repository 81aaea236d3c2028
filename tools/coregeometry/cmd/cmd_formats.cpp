// coregeometry formats: the formats that meshes are read from and written in
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"

#include <CoreGeometry/fmt_Format.h>

namespace {
cli_Json AsJson(const fmt_Format& format) {
  return {{"format", format.name},
          {"suffixes", format.suffixes},
          {"reads", format.read != nullptr},
          {"writes", format.write != nullptr},
          {"cannotHold", format.cannotHold}};
}

void Run(bool asJson) {
  if (asJson) {
    cli_Json formats = cli_Json::array();
    for (const fmt_Format& format : fmt_Formats()) formats.push_back(AsJson(format));
    cli_PrintJson({{"formats", formats}});
    return;
  }
  for (const fmt_Format& format : fmt_Formats()) {
    cow_String suffixes;
    for (const cow_String& suffix : format.suffixes) suffixes += (suffixes.empty() ? "" : " ") + suffix;
    const char* does = !format.write ? "read" : !format.read ? "written" : "read and written";
    cli_Report() << format.name << ": " << format.title << " (" << suffixes << "), " << does << '\n';
    if (!format.cannotHold.empty()) cli_Report() << "  has no place for " << format.cannotHold << '\n';
  }
}
} // namespace

void cli_AddFormats(cli_Command& program) {
  cli_Command command =
      program.AddCommand("formats", "List the formats that meshes are read from and written in");
  auto asJson = std::make_shared<bool>(false);
  command.AddFlag("--json", *asJson, "Print the formats as JSON");
  command.Footer(
      "The content of a file decides, then its suffix, unless --format of import or export names one.");
  command.OnRun([asJson] { Run(*asJson); });
}
