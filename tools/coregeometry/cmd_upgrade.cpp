// coregeometry upgrade: objects in superseded layouts are rewritten in the current ones
#include "cli_Console.h"
#include "cli_Model.h"

#include <filesystem>
#include <iostream>

namespace {
struct Arguments {
  std::string file, backup;
  bool noBackup = false, dryRun = false, json = false;
};

void Run(const Arguments& arguments) {
  if (arguments.noBackup && !arguments.backup.empty())
    throw cli_UsageError("--backup and --no-backup exclude each other");
  cli_Console console;
  console.Begin("upgrading " + arguments.file);
  std::vector<cls_Database::StoredClass> outdated;
  cow_String backup;
  {
    const cls_Database model = cls_Database::Open(arguments.file);
    for (const auto& stored : model.Classes())
      if (stored.outdated && stored.objects > 0) outdated.push_back(stored);
    if (arguments.dryRun) {
      model.Converted(); // proves that every object can be converted
    } else if (!outdated.empty() && !arguments.noBackup) {
      backup = arguments.backup.empty() ? arguments.file + ".bak" : arguments.backup;
      if (std::filesystem::exists(backup))
        throw nex_TextException(backup + ": exists already; name another file with --backup");
      model.Backup(backup);
    }
  }
  if (!outdated.empty() && !arguments.dryRun)
    cls_Database::Open(arguments.file, cls_Database::Mode::ReadWrite).Upgrade();
  console.End();

  long long count = 0;
  cli_Json classes = cli_Json::array();
  for (const auto& stored : outdated) {
    count += stored.objects;
    classes.push_back({{"class", stored.name}, {"version", stored.version}, {"objects", stored.objects}});
  }
  if (arguments.json) {
    cli_PrintJson({{"file", arguments.file},
                   {"dryRun", arguments.dryRun},
                   {"upgraded", count},
                   {"classes", classes},
                   {"backup", backup.empty() ? cli_Json() : cli_Json(backup)}});
    return;
  }
  if (count == 0) {
    std::cout << arguments.file << ": every object is stored in its current layout\n";
    return;
  }
  for (const auto& stored : outdated)
    std::cout << "  " << stored.name << " version " << stored.version << ": " << stored.objects
              << (stored.objects == 1 ? " object\n" : " objects\n");
  std::cout << arguments.file << ": " << count << (count == 1 ? " object " : " objects ")
            << (arguments.dryRun ? "would be rewritten" : "rewritten") << " in the current layout\n";
  if (!backup.empty()) std::cout << "The file as it was: " << backup << '\n';
}
} // namespace

void cli_AddUpgrade(CLI::App& app) {
  CLI::App* command = app.add_subcommand("upgrade", "Rewrite objects of older layouts in the current one");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("MODEL", arguments->file, "Model file (.cgdb)")->required();
  command->add_option("--backup", arguments->backup, "Where the file as it was is kept (default: MODEL.bak)");
  command->add_flag("--no-backup", arguments->noBackup, "Keep no copy of the file as it was");
  command->add_flag("--dry-run", arguments->dryRun,
                    "Convert everything in memory and print what would change; the file stays as it is");
  command->add_flag("--json", arguments->json, "Print the facts as JSON");
  command->footer(
      "Reading never needs it: old layouts are converted as they are read. \"coregeometry info\" tells\n"
      "whether a model has any. All objects are rewritten, or none.\n"
      "\n"
      "Example:\n"
      "  coregeometry upgrade old-wing.cgdb");
  command->callback([arguments] { Run(*arguments); });
}
