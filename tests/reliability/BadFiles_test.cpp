// Files that were once too much for the program: each ends in one clear error, or in a result.
#include "Models.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <gtest/gtest.h>
#include <iostream>

TEST(BadFiles, EndInAClearErrorOrAResult) {
  const DDB_CoreGeometry library;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(TEST_FILES "/bad_database")) {
    const std::string file = entry.path().string();
    const std::string content = ContentOf(file);
    if (content.starts_with("error: ")) {
      EXPECT_TRUE(content.starts_with("error: " + file + ": ")) << content.substr(0, 300);
    }
    ++files;
  }
  EXPECT_GT(files, 0);
}
