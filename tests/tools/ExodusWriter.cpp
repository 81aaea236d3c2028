#include "ExodusWriter.h"

#include <algorithm>
#include <exodusII.h>
#include <gtest/gtest.h>
#include <unistd.h>

TestFolder::TestFolder() {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  std::string name =
      std::string(test->test_suite_name()) + "." + test->name() + "." + std::to_string(getpid());
  for (char& c : name)
    if (c == '/') c = '_';
  path_ = std::filesystem::temp_directory_path() / name;
  std::filesystem::create_directories(path_);
}

TestFolder::~TestFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

void ExodusMesh::Write(const std::string& fileName) const {
  int realSize = sizeof(double), storedSize = singlePrecision ? sizeof(float) : sizeof(double);
  const int file = ex_create(fileName.c_str(), EX_CLOBBER | mode, &realSize, &storedSize);
  ASSERT_GE(file, 0) << fileName;
  ex_set_int64_status(file, EX_ALL_INT64_API);
  const auto numNodes = xyz.size() / static_cast<std::size_t>(dims);
  std::int64_t numElements = 0;
  for (const ExodusBlock& block : blocks)
    numElements += static_cast<std::int64_t>(block.nodes.size()) / std::max(1, block.nodesPerElement);
  const auto count = [&](int type) { return std::ranges::count(sets, type, &ExodusSet::type); };
  ex_init_params sizes = {};
  title.copy(sizes.title, MAX_LINE_LENGTH);
  sizes.num_dim = dims;
  sizes.num_nodes = static_cast<std::int64_t>(numNodes);
  sizes.num_elem = numElements;
  sizes.num_elem_blk = static_cast<std::int64_t>(blocks.size());
  sizes.num_node_sets = count(EX_NODE_SET);
  sizes.num_side_sets = count(EX_SIDE_SET);
  sizes.num_elem_sets = count(EX_ELEM_SET);
  ASSERT_EQ(ex_put_init_ext(file, &sizes), 0);
  std::vector<double> axes[3];
  for (std::size_t i = 0; i < xyz.size(); ++i) axes[i % static_cast<std::size_t>(dims)].push_back(xyz[i]);
  if (numNodes > 0) {
    ASSERT_EQ(ex_put_coord(file, axes[0].data(), dims > 1 ? axes[1].data() : nullptr,
                           dims > 2 ? axes[2].data() : nullptr),
              0);
  }
  for (const ExodusBlock& block : blocks) {
    const auto count = static_cast<std::int64_t>(block.nodes.size()) / std::max(1, block.nodesPerElement);
    const auto attributes =
        static_cast<std::int64_t>(block.attributes.size()) / std::max<std::int64_t>(1, count);
    ASSERT_EQ(ex_put_block(file, EX_ELEM_BLOCK, block.id, block.type.c_str(), count, block.nodesPerElement, 0,
                           0, attributes),
              0);
    if (attributes > 0) ex_put_attr(file, EX_ELEM_BLOCK, block.id, block.attributes.data());
    std::vector<std::string> titles = block.attributeNames;
    std::vector<char*> pointers;
    for (std::string& text : titles) pointers.push_back(text.data());
    if (!titles.empty()) ex_put_attr_names(file, EX_ELEM_BLOCK, block.id, pointers.data());
    if (!block.name.empty()) ex_put_name(file, EX_ELEM_BLOCK, block.id, block.name.c_str());
    if (count > 0) {
      ASSERT_EQ(ex_put_conn(file, EX_ELEM_BLOCK, block.id, block.nodes.data(), nullptr, nullptr), 0);
    }
  }
  for (const ExodusSet& set : sets) {
    const auto type = static_cast<ex_entity_type>(set.type);
    ASSERT_EQ(ex_put_set_param(file, type, set.id, static_cast<std::int64_t>(set.entries.size()),
                               static_cast<std::int64_t>(set.factors.size())),
              0);
    if (!set.name.empty()) ex_put_name(file, type, set.id, set.name.c_str());
    if (set.entries.empty()) continue;
    ASSERT_EQ(
        ex_put_set(file, type, set.id, set.entries.data(), set.sides.empty() ? nullptr : set.sides.data()),
        0);
    if (!set.factors.empty()) ex_put_set_dist_fact(file, type, set.id, set.factors.data());
  }
  if (!nodeLabels.empty()) {
    ASSERT_EQ(ex_put_id_map(file, EX_NODE_MAP, nodeLabels.data()), 0);
  }
  if (!elementLabels.empty()) {
    ASSERT_EQ(ex_put_id_map(file, EX_ELEM_MAP, elementLabels.data()), 0);
  }
  if (more) more(file);
  ASSERT_EQ(ex_close(file), 0);
}

ExodusMesh OneHex() {
  ExodusMesh mesh;
  mesh.xyz = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  mesh.blocks = {{7, "HEX8", 8, {1, 2, 3, 4, 5, 6, 7, 8}}};
  return mesh;
}
