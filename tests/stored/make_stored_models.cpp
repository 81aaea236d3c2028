// Writes the stored models of tests/files: make_stored_models FOLDER VERSION. Each is written once, by the
// program of its time: folders that exist stay as they are.
//
//   FOLDER/<class>_<version>   one for each superseded layout
//   FOLDER/present_<VERSION>   an object of every class in the layouts of that version of the program
//   FOLDER/meshes_<VERSION>    two meshes that share an array, with sets; of releases only
//
// A release takes its number as VERSION. What changed since the last one, as a new class, is in present_after_<release>:
// remove that folder and write it again, for example
//   rm -r tests/files/present_after_0.1.0 && make_stored_models tests/files after_0.1.0
#include "OldModels.h"
#include "OneOfEach.h"
#include "TwoMeshes.h"

#include <BasicUtils/cls_Dump.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

namespace {
void Make(const std::filesystem::path& folder, const std::function<void(cls_Database&)>& write) {
  if (!std::filesystem::create_directories(folder)) return;
  cls_Database db = cls_Database::Create((folder / "model.cgdb").string(), {512});
  write(db);
  std::ofstream dump(folder / "dump.txt");
  cls_Dump(db, dump);
  std::cout << folder.string() << '\n';
}
} // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: make_stored_models FOLDER VERSION\n";
    return 2;
  }
  const DDB_CoreGeometry library;
  const std::filesystem::path folder = argv[1];
  for (const OldModel& model : OldModels())
    Make(folder / model.name, [&](cls_Database& db) {
      cls_WritePass pass(db);
      model.write(pass, 0);
      pass.Commit();
    });
  const std::string version = argv[2];
  Make(folder / ("present_" + version), WriteOneOfEach);
  if (!version.starts_with("after_")) Make(folder / ("meshes_" + version), WriteTwoMeshes);
}
