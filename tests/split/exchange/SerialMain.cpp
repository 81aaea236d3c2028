#include "ExchangeUnderTest.h"

#include <CoreGeometry/dst_SerialExchange.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {
class Folder : public testing::Environment {
public:
  void TearDown() override { std::filesystem::remove_all(TestFolder()); }
};
const testing::Environment* const kFolder = testing::AddGlobalTestEnvironment(new Folder);
} // namespace

const std::filesystem::path& TestFolder() {
  static const std::filesystem::path folder = [] {
    const auto path = std::filesystem::temp_directory_path() / ("split_test." + std::to_string(getpid()));
    std::filesystem::create_directories(path);
    return path;
  }();
  return folder;
}

std::unique_ptr<dst_Exchange> MakeExchange() {
  return std::make_unique<dst_SerialExchange>(TestFolder().string(), std::size_t{8} << 10);
}
