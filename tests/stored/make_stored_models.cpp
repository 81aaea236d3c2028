// Writes the stored models of tests/files: make_stored_models FOLDER [NAME...]. Each is written once, by the
// program of its time; run this for new ones only, old files are never replaced.
#include "OldModels.h"

#include <BasicUtils/cls_Dump.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <filesystem>
#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_stored_models FOLDER\n";
    return 2;
  }
  const DDB_CoreGeometry library;
  for (const OldModel& model : OldModels()) {
    const std::filesystem::path folder = std::filesystem::path(argv[1]) / model.name;
    if (!std::filesystem::create_directories(folder)) continue;
    cls_Database db = cls_Database::Create((folder / "model.cgdb").string(), {512});
    cls_WritePass pass(db);
    model.write(pass, 0);
    pass.Commit();
    std::ofstream dump(folder / "dump.txt");
    cls_Dump(db, dump);
    std::cout << model.name << '\n';
  }
}
