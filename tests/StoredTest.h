// StoredTest.h: a round trip through a file, for the tests of the modules' persistent classes
#pragma once

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <ThrownBy.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

/// Starts the library and gives each test a file of its own.
class StoredTest : public testing::Test {
protected:
  StoredTest() {
    DDB_CoreGeometry_initialize(tally_);
    std::filesystem::remove(file_);
  }
  ~StoredTest() override {
    std::filesystem::remove(file_);
    DDB_CoreGeometry_finalize(tally_);
  }

  cls_Database Create() const { return cls_Database::Create(file_, {4096}); }
  /// Writes the object and reads it over another connection.
  template<class T> cow_CountedHld<T> RoundTrip(const T& object) const {
    std::filesystem::remove(file_);
    {
      cls_Database db = Create();
      cls_WritePass pass(db);
      pass.Put("it", object);
      pass.Commit();
    }
    return cls_Database::Open(file_).Get<T>("it");
  }
  /// Stores a row of the given layout as "it".
  void StoreRow(unsigned typeId, int version, const cls_Row& row) const {
    std::filesystem::remove(file_);
    cls_Database db = Create();
    cls_WritePass pass(db);
    pass.PutRow("it", typeId, version, row);
    pass.Commit();
  }

  int tally_ = 0;
  cow_String file_ =
      (std::filesystem::temp_directory_path() / ("stored_" + std::to_string(getpid()) + ".cgdb")).string();
};
