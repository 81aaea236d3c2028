// SplitTest.h: a folder for split models, and models to compare
#pragma once

#include "MixedMesh.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/cls_Diff.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dst_Library.h>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

class Split : public testing::Test {
protected:
  Split() { fs::create_directories(folder_); }
  ~Split() override { fs::remove_all(folder_); }
  cow_String In(const char* name) const { return (folder_ / name).string(); }
  cow_String Store(const bme_Mesh& mesh, const std::vector<bme_NamedSet>& sets) const {
    fs::remove(In("whole.cgdb"));
    cls_CreateModel(In("whole.cgdb"), {}, [&](const cls_Database&, cls_WritePass& pass) {
      pass.Put("meshes/Wing", mesh);
      for (const bme_NamedSet& set : sets) bme_PutSet(pass, "Wing", set);
    });
    return In("whole.cgdb");
  }

  const DDB_CoreGeometry library_;
  const dst_Library distributed_;
  fs::path folder_ = fs::temp_directory_path() / ("split_" + std::to_string(getpid()));
};

/// What differs, as text.
inline cow_String Differences(const cow_String& a, const cow_String& b) {
  cow_String text;
  for (const cls_Difference& one : cls_Diff(cls_Database::Open(a), cls_Database::Open(b)))
    text += one.place + ": " + one.first + " | " + one.second + "\n";
  return text;
}
