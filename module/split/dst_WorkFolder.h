// dst_WorkFolder.h: a folder for the files of a source
#pragma once

#include <CoreUtils/cow_String.h>
#include <filesystem>
#include <vector>

/// Files that are removed at the end, and the folder with them unless others are there, too.
class dst_WorkFolder {
public:
  explicit dst_WorkFolder(const cow_String& name); ///< one for temporary files if empty
  ~dst_WorkFolder();
  dst_WorkFolder(const dst_WorkFolder&) = delete;
  dst_WorkFolder& operator=(const dst_WorkFolder&) = delete;
  cow_String File(const cow_String& name) { return files_.emplace_back(path_ / name).string(); }

private:
  std::filesystem::path path_;
  std::vector<std::filesystem::path> files_;
};
