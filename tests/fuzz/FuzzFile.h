// FuzzFile.h: bytes as a file, for readers that want a file
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

/// The name of a file of this process with these bytes; the same file each time.
inline std::string FuzzFile(const std::uint8_t* data, std::size_t size, const char* ending) {
  static const std::string name =
      (std::filesystem::temp_directory_path() / ("fuzz_" + std::to_string(getpid()) + ending)).string();
  std::FILE* const file = std::fopen(name.c_str(), "wb");
  if (!file || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) std::abort();
  static const bool removed = std::atexit([] { std::filesystem::remove(name); }) == 0;
  static_cast<void>(removed);
  return name;
}
