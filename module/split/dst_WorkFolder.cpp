#include "dst_WorkFolder.h"

#include <atomic>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
fs::path Temporary() {
  static std::atomic<int> number = 0;
  return fs::temp_directory_path()
         / ("split_source_" + std::to_string(getpid()) + "_" + std::to_string(++number));
}
} // namespace

dst_WorkFolder::dst_WorkFolder(const cow_String& name) : path_(name.empty() ? Temporary() : fs::path(name)) {
  fs::create_directories(path_);
}

dst_WorkFolder::~dst_WorkFolder() {
  std::error_code ignored;
  for (const fs::path& file : files_) fs::remove(file, ignored);
  fs::remove(path_, ignored);
}
