#include "cli_Differences.h"

#include "cli_Console.h"

cli_Json cli_DifferencesJson(std::span<const cls_Difference> differences) {
  cli_Json list = cli_Json::array();
  for (const cls_Difference& difference : differences)
    list.push_back({{"place", difference.place},
                    {"first", difference.first},
                    {"second", difference.second},
                    {"numbers", difference.numbers},
                    {"largest", difference.largest}});
  return list;
}

void cli_PrintDifferences(std::span<const cls_Difference> differences) {
  for (const cls_Difference& difference : differences) {
    cli_Out() << difference.place << ": " << difference.first << " against " << difference.second;
    if (difference.numbers > 1)
      cli_Out() << "; " << difference.numbers << " numbers differ, by at most " << difference.largest;
    cli_Out() << '\n';
  }
  if (differences.empty()) cli_Out() << "no differences\n";
}
