// ExodusWriter.h: small Exodus II files for tests
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// A folder of the running test alone, removed with the object.
class TestFolder {
public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
  std::filesystem::path path_;
};

struct ExodusBlock {
  std::int64_t id;
  std::string type;
  int nodesPerElement;
  std::vector<std::int64_t> nodes;
  std::string name{};
  std::vector<double> attributes{}; ///< a row for each element
  std::vector<std::string> attributeNames{};
};

struct ExodusSet {
  int type; ///< EX_NODE_SET, EX_SIDE_SET, EX_ELEM_SET
  std::int64_t id;
  std::string name;
  std::vector<std::int64_t> entries, sides{};
  std::vector<double> factors{}; ///< of distribution
};

/// What a file is to hold. Maps and names that are empty are not written.
struct ExodusMesh {
  int dims = 3;
  std::vector<double> xyz; ///< dims numbers a node
  std::vector<ExodusBlock> blocks{};
  std::vector<std::int64_t> nodeLabels{}, elementLabels{};
  std::vector<ExodusSet> sets{};
  std::string title{};
  int mode = 0; ///< flags of ex_create, such as EX_NETCDF4 | EX_ALL_INT64_DB
  bool singlePrecision = false;
  std::function<void(int file)> more{}; ///< writes further things, the file is open

  void Write(const std::string& file) const;
};

/// A unit cube of one HEX8 on nodes 1 to 8, in block 7.
ExodusMesh OneHex();
