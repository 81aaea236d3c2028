// coregeometry upgrade: objects in superseded layouts are rewritten in the current ones
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"

#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/uti_OutputFile.h>
#include <CoreGeometry/exo_Pyramids.h>
#include <filesystem>
#include <iostream>
#include <optional>

namespace {
struct Arguments {
  std::string file;
  std::optional<std::string> backup;
  bool noBackup = false, dryRun = false, json = false;
};

using Classes = std::vector<cls_Database::StoredClass>;

Classes OutdatedOf(const cls_Database& model) {
  Classes outdated;
  for (const auto& stored : model.Classes())
    if (stored.outdated && stored.objects > 0) outdated.push_back(stored);
  return outdated;
}

/// The file as it is, under another name.
void KeepBackup(const std::string& file, const cow_String& backup) {
  try {
    // SQLite copies from no connection that changes the file, but another one reads beside it
    cli_OpenModel(file).Backup(backup);
  } catch (const uti_FileExistsException& error) {
    throw nex_TextException(error.Message() + "; name another file with --backup");
  }
}

/// Meshes whose pyramids were stored when they had no shape, by their roots.
struct Pyramids {
  std::vector<std::pair<cow_String, bme_Mesh>> meshes; ///< converted
  long long elements = 0;
};

Pyramids PyramidsOf(const cls_Database& model) {
  Pyramids found;
  for (const cow_String& root : cli_MeshRoots(model)) {
    bme_Mesh mesh = *model.Get<bme_Mesh>(root);
    const long long count = exo_ConvertPyramids(mesh);
    found.elements += count;
    if (count > 0) found.meshes.emplace_back(root, std::move(mesh));
  }
  return found;
}

/// All meshes in one pass, made from what nobody else can change any more.
long long ConvertPyramids(const std::string& file, const cow_String& backup, bool& hasBackup) {
  cls_Database model = cli_OpenModel(file, cls_Database::Mode::ReadWrite);
  cls_WritePass pass(model);
  if (!backup.empty() && !hasBackup) {
    KeepBackup(file, backup);
    hasBackup = true;
  }
  const Pyramids found = PyramidsOf(model);
  for (const auto& [root, mesh] : found.meshes) pass.Put(root, mesh);
  pass.Commit();
  return found.elements;
}

/// What was outdated. A backup that is made is of what was upgraded, and stays only with it.
Classes Upgrade(const std::string& file, const cow_String& backup, bool& hasBackup) {
  cls_Database model = cli_OpenModel(file, cls_Database::Mode::ReadWrite);
  Classes outdated;
  try {
    model.Upgrade([&] {
      outdated = OutdatedOf(model);
      if (backup.empty()) return;
      KeepBackup(file, backup);
      hasBackup = true;
    });
  } catch (...) {
    std::error_code error;
    if (hasBackup) std::filesystem::remove(backup, error);
    throw;
  }
  return outdated;
}

void Run(const Arguments& arguments) {
  if (arguments.noBackup && arguments.backup)
    throw cli_UsageError("--backup and --no-backup exclude each other");
  cli_Console console;
  console.Begin("upgrading " + arguments.file);
  cow_String backup = arguments.noBackup ? cow_String() : arguments.backup.value_or(arguments.file + ".bak");
  if (!arguments.noBackup) uti_OutputFile::CheckName(backup);
  bool hasBackup = false;
  Classes outdated;
  bool isOldFile = false;
  long long pyramids = 0;
  {
    const cls_Database model = cli_OpenModel(arguments.file);
    outdated = OutdatedOf(model); // a model that needs nothing may be read-only
    isOldFile = model.Format() < cls_Database::kFormat;
    if (arguments.dryRun) model.Converted(); // proves that every object can be converted
    pyramids = PyramidsOf(model).elements;
  }
  if ((isOldFile || !outdated.empty()) && !arguments.dryRun)
    outdated = Upgrade(arguments.file, backup, hasBackup);
  if (pyramids > 0 && !arguments.dryRun) pyramids = ConvertPyramids(arguments.file, backup, hasBackup);
  if (!hasBackup) backup.clear();
  console.End();

  long long count = 0;
  cli_Json classes = cli_Json::array();
  for (const auto& stored : outdated) {
    count += stored.objects;
    classes.push_back({{"className", stored.name}, {"version", stored.version}, {"objects", stored.objects}});
  }
  if (arguments.json) {
    cli_PrintJson({{"file", arguments.file},
                   {"dryRun", arguments.dryRun},
                   {"upgraded", count},
                   {"fileFormat", isOldFile ? cli_Json(cls_Database::kFormat) : cli_Json()},
                   {"classes", classes},
                   {"pyramids", pyramids},
                   {"backup", backup.empty() ? cli_Json() : cli_Json(backup)}});
    return;
  }
  if (pyramids > 0)
    cli_Report() << "  " << pyramids << (pyramids == 1 ? " pyramid " : " pyramids ")
                 << (arguments.dryRun ? "would become" : "became")
                 << " collapsed hexahedra, which have a shape\n";
  if (count == 0 && !isOldFile && pyramids == 0) {
    cli_Report() << arguments.file << ": every object is stored in its current layout\n";
    return;
  }
  if (count == 0 && isOldFile)
    cli_Report() << arguments.file << ": every object is stored in its current layout; the file "
                 << (arguments.dryRun ? "would get" : "has") << " format " << cls_Database::kFormat << '\n';
  for (const auto& stored : outdated)
    cli_Report() << "  " << stored.name << " version " << stored.version << ": " << stored.objects
                 << (stored.objects == 1 ? " object\n" : " objects\n");
  if (count > 0)
    cli_Report() << arguments.file << ": " << count << (count == 1 ? " object " : " objects ")
                 << (arguments.dryRun ? "would be rewritten" : "rewritten") << " in the current layout\n";
  if (!backup.empty()) cli_Report() << "The file as it was: " << backup << '\n';
}
} // namespace

void cli_AddUpgrade(cli_Command& program) {
  cli_Command command = program.AddCommand("upgrade", "Rewrite objects of older layouts in the current one");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("MODEL", arguments->file, "Model file (.cgdb)").Required();
  command.AddOption("--backup", arguments->backup, "Where the file as it was is kept (default: MODEL.bak)");
  command.AddFlag("--no-backup", arguments->noBackup, "Keep no copy of the file as it was");
  command.AddFlag("--dry-run", arguments->dryRun,
                  "Convert everything in memory and print what would change; the file stays as it is");
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  command.Footer(
      "Reading never needs it: old layouts are converted as they are read. \"coregeometry info\" tells\n"
      "whether a model has any. All objects are rewritten, or none. Pyramids that were stored when they had\n"
      "no shape become collapsed hexahedra, in a pass of their own.\n"
      "\n"
      "Example:\n"
      "  coregeometry upgrade old-wing.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
