// make_sample.cpp: writes a small part as an Exodus II file
//
// The part is an angle bracket, 40 x 30 x 35 mm: a base plate and an upright (8-node hexahedra), two ribs in
// the corner (hexahedra, and 6-node wedges along the slope), a boss (20-node hexahedra, which share their
// corners with the plate), a skin on the back (shells), a stiffener along the top edge (beams) and a mass on
// the boss. Node sets, surfaces and an element set name places of it.
//
// Its results are those of pure bending about an axis along y at the height of 15 mm, in three steps of the load: a
// solution of linear elasticity whose largest stress, 200 MPa, is at the top edge. Stresses stand at the
// integration points of the plate, and at the centres of the ribs and the boss.
//
//   make_sample bracket.exo
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exodusII.h>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {
/// Twice the position in cells, so that middles of edges are whole numbers too.
using Position = std::array<int, 3>;

struct Block {
  int id;
  const char* type;
  const char* name;
  int nodesPerElement;
  int firstLabel; ///< of its elements, in steps of 3
  std::vector<int> nodes{};
  int NumElements() const { return static_cast<int>(nodes.size()) / nodesPerElement; }
};

void Check(int status, const char* what) {
  if (status < 0) throw std::runtime_error(std::string("cannot write ") + what);
}

class Part {
public:
  Part() { Build(); }
  void Write(const char* file) const;

private:
  static constexpr double kCell = 0.0025; ///< metres

  /// Nodes get their labels, in steps of 2, where they are first used.
  int Node(const Position& at) {
    const auto [entry, isNew] = numberOf_.try_emplace(at, static_cast<int>(positions_.size()) + 1);
    if (isNew) {
      positions_.push_back(at);
      labels_.push_back(nextLabel_);
      nextLabel_ += 2;
    }
    return entry->second;
  }
  void Add(Block& block, const Position& cell, std::initializer_list<Position> corners) {
    for (const Position& corner : corners)
      block.nodes.push_back(
          Node({2 * cell[0] + corner[0], 2 * cell[1] + corner[1], 2 * cell[2] + corner[2]}));
  }
  void AddHex8(Block& block, const Position& cell) {
    Add(block, cell,
        {{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {0, 0, 2}, {2, 0, 2}, {2, 2, 2}, {0, 2, 2}});
  }
  void AddHex20(Block& block, const Position& cell) {
    AddHex8(block, cell);
    Add(block, cell,
        {{1, 0, 0},
         {2, 1, 0},
         {1, 2, 0},
         {0, 1, 0},
         {0, 0, 1},
         {2, 0, 1},
         {2, 2, 1},
         {0, 2, 1},
         {1, 0, 2},
         {2, 1, 2},
         {1, 2, 2},
         {0, 1, 2}});
  }
  void Build();
  void WriteResults(int file) const;
  double Height(int node, double offset) const; ///< above the neutral plane; of a node and cells above it

  Block plate_{10, "HEX8", "plate", 8, 101}, ribs_{20, "WEDGE6", "slope", 6, 2501},
      boss_{30, "HEX20", "boss", 20, 3001}, skin_{40, "SHELL4", "skin", 4, 4001},
      stiffener_{50, "BEAM2", "stiffener", 2, 5001}, mass_{60, "SPHERE", "mass", 1, 6001};
  std::map<Position, int> numberOf_; ///< from 1
  std::vector<Position> positions_;
  std::vector<int> labels_;
  int nextLabel_ = 1000;
};

void Part::Build() {
  constexpr int kLength = 16, kWidth = 12, kThickness = 2, kHeight = 14, kRib = 6;
  for (int x = 0; x < kLength; ++x)
    for (int y = 0; y < kWidth; ++y)
      for (int z = 0; z < kThickness; ++z) AddHex8(plate_, {x, y, z});
  nextLabel_ = 4000;
  for (int x = 0; x < kThickness; ++x)
    for (int y = 0; y < kWidth; ++y)
      for (int z = kThickness; z < kHeight; ++z) AddHex8(plate_, {x, y, z});
  nextLabel_ = 7000;
  for (const int y : {2, 3, 8, 9})
    for (int i = 0; i < kRib; ++i)
      for (int k = 0; i + k < kRib; ++k) {
        const Position cell = {kThickness + i, y, kThickness + k};
        if (i + k < kRib - 1)
          AddHex8(plate_, cell);
        else
          Add(ribs_, cell, {{0, 0, 0}, {0, 0, 2}, {2, 0, 0}, {0, 2, 0}, {0, 2, 2}, {2, 2, 0}});
      }
  nextLabel_ = 9000;
  for (int x = 10; x < 14; ++x)
    for (int y = 4; y < 8; ++y)
      for (int z = kThickness; z < 2 * kThickness; ++z) AddHex20(boss_, {x, y, z});
  for (int y = 0; y < kWidth; ++y)
    for (int z = kThickness; z < kHeight; ++z)
      Add(skin_, {0, y, z}, {{0, 0, 0}, {0, 0, 2}, {0, 2, 2}, {0, 2, 0}});
  for (int y = 0; y < kWidth; ++y) Add(stiffener_, {0, y, kHeight}, {{0, 0, 0}, {0, 2, 0}});
  Add(mass_, {12, 6, 2 * kThickness}, {{0, 0, 0}});
}

void Part::Write(const char* fileName) const {
  const Block* const blocks[] = {&plate_, &ribs_, &boss_, &skin_, &stiffener_, &mass_};
  std::vector<int> elementLabels, fixedNodes, bossTop, backElements, backSides, seatElements, seatSides,
      skinElements, skinSides, underBoss;
  for (const Block* block : blocks)
    for (int i = 0; i < block->NumElements(); ++i) elementLabels.push_back(block->firstLabel + 3 * i);
  int top = 0;
  for (const int node : boss_.nodes) top = std::max(top, positions_[static_cast<std::size_t>(node - 1)][2]);
  for (std::size_t i = 0; i < positions_.size(); ++i) {
    const int number = static_cast<int>(i) + 1;
    if (positions_[i][2] == 0) fixedNodes.push_back(number);
    if (positions_[i][2] == top && std::ranges::find(boss_.nodes, number) != boss_.nodes.end())
      bossTop.push_back(number);
  }
  constexpr int kBackSide = 4, kSeatSide = 5; // of a hexahedron, -x and -z
  for (int i = 0; i < plate_.NumElements(); ++i) {
    const int firstNode = plate_.nodes[std::size_t{8} * static_cast<std::size_t>(i)];
    const Position& corner = positions_[static_cast<std::size_t>(firstNode - 1)];
    if (corner[0] == 0) {
      backElements.push_back(i + 1);
      backSides.push_back(kBackSide);
    }
    if (corner[2] == 0) {
      seatElements.push_back(i + 1);
      seatSides.push_back(kSeatSide);
    }
    const bool isUnder = corner[0] >= 20 && corner[0] < 28 && corner[1] >= 8 && corner[1] < 16;
    if (isUnder && corner[2] < 4) underBoss.push_back(i + 1);
  }
  constexpr int kSkinOutside = 1, kSkinTopEdge = 4; // of a shell, the side its normal points to, and +z
  const int firstShell = plate_.NumElements() + ribs_.NumElements() + boss_.NumElements();
  for (int i = 0; i < skin_.NumElements(); ++i) {
    skinElements.push_back(firstShell + i + 1);
    skinSides.push_back(kSkinOutside);
    const int secondNode = skin_.nodes[std::size_t{4} * static_cast<std::size_t>(i) + 1];
    if (positions_[static_cast<std::size_t>(secondNode - 1)][2] < 28) continue;
    skinElements.push_back(firstShell + i + 1);
    skinSides.push_back(kSkinTopEdge);
  }

  int realSize = sizeof(double), storedSize = sizeof(float);
  const int file = ex_create(fileName, EX_CLOBBER | EX_LARGE_MODEL, &realSize, &storedSize);
  Check(file, fileName);
  const auto numNodes = static_cast<int>(positions_.size());
  ex_init_params sizes = {};
  std::strcpy(sizes.title, "Angle bracket");
  sizes.num_dim = 3;
  sizes.num_nodes = numNodes;
  sizes.num_elem = static_cast<std::int64_t>(elementLabels.size());
  sizes.num_elem_blk = std::size(blocks);
  sizes.num_node_sets = 2;
  sizes.num_side_sets = 3;
  sizes.num_elem_sets = 1;
  Check(ex_put_init_ext(file, &sizes), "sizes");
  std::vector<double> coordinates[3];
  for (const Position& at : positions_)
    for (std::size_t axis = 0; axis < 3; ++axis) coordinates[axis].push_back(at[axis] * kCell / 2);
  Check(ex_put_coord(file, coordinates[0].data(), coordinates[1].data(), coordinates[2].data()),
        "coordinates");
  Check(ex_put_id_map(file, EX_NODE_MAP, labels_.data()), "node labels");
  Check(ex_put_id_map(file, EX_ELEM_MAP, elementLabels.data()), "element labels");
  for (const Block* block : blocks) {
    Check(ex_put_block(file, EX_ELEM_BLOCK, block->id, block->type, block->NumElements(),
                       block->nodesPerElement, 0, 0, 0),
          block->name);
    Check(ex_put_name(file, EX_ELEM_BLOCK, block->id, block->name), block->name);
    Check(ex_put_conn(file, EX_ELEM_BLOCK, block->id, block->nodes.data(), nullptr, nullptr), block->name);
  }

  const auto PutSet = [file](ex_entity_type type, int id, const char* name, const std::vector<int>& entries,
                             const std::vector<int>& sides) {
    Check(ex_put_set_param(file, type, id, static_cast<int>(entries.size()), 0), name);
    Check(ex_put_set(file, type, id, entries.data(), sides.empty() ? nullptr : sides.data()), name);
    Check(ex_put_name(file, type, id, name), name);
  };
  PutSet(EX_NODE_SET, 1, "fixed", fixedNodes, {});
  PutSet(EX_NODE_SET, 2, "boss_top", bossTop, {});
  PutSet(EX_SIDE_SET, 1, "back", backElements, backSides);
  PutSet(EX_SIDE_SET, 2, "seat", seatElements, seatSides);
  PutSet(EX_SIDE_SET, 3, "skin_outside", skinElements, skinSides);
  PutSet(EX_ELEM_SET, 1, "under_boss", underBoss, {});

  char program[] = "make_sample", version[] = "1", date[] = "2024/01/01", time[] = "00:00:00";
  char* record[1][4] = {{program, version, date, time}};
  Check(ex_put_qa(file, 1, record), "QA record");
  WriteResults(file);
  Check(ex_close(file), fileName);
  std::printf("%s: %d nodes, %zu elements\n", fileName, numNodes, elementLabels.size());
}

double Part::Height(int node, double offset) const {
  constexpr double kNeutral = 0.015;
  return (positions_[static_cast<std::size_t>(node - 1)][2] / 2.0 + offset) * kCell - kNeutral;
}

/// Stress xx = E k h and the displacements k x h, -k nu y h, k (nu (y^2 - h^2) - x^2) / 2 of pure bending with the
/// curvature k, h above the neutral plane (S. Timoshenko, J. Goodier, Theory of Elasticity, 1951, article 88).
void Part::WriteResults(int file) const {
  constexpr double kModulus = 210e9, kPoisson = 0.3, kLargestStress = 200e6, kLargestHeight = 0.02;
  constexpr double kCurvature = kLargestStress / (kModulus * kLargestHeight), kLoads[] = {0, 0.5, 1};
  constexpr const char *kAxes[] = {"x", "y", "z"}, *kComponents[] = {"xx", "yy", "zz", "xy", "yz", "zx"};
  constexpr int kPoints = 8, kNumComponents = 6;
  const Block* const blocks[] = {&plate_, &ribs_, &boss_, &skin_, &stiffener_, &mass_};

  std::vector<std::string> names;
  std::vector<int> truth;
  for (const char* component : kComponents)
    for (int point = 1; point <= kPoints; ++point)
      names.push_back(std::string("stress_") + component + "_" + std::to_string(point));
  for (const char* component : kComponents) names.push_back(std::string("stress_") + component);
  const std::size_t numAtPoints = std::size_t{kPoints} * kNumComponents;
  for (const Block* block : blocks)
    for (std::size_t i = 0; i < names.size(); ++i)
      truth.push_back(i < numAtPoints ? block == &plate_ : block == &ribs_ || block == &boss_);
  const auto numVariables = static_cast<int>(names.size());
  Check(ex_put_variable_param(file, EX_NODAL, 3), "variables");
  for (int axis = 0; axis < 3; ++axis)
    Check(ex_put_variable_name(file, EX_NODAL, axis + 1, (std::string("disp_") + kAxes[axis]).c_str()),
          "variables");
  Check(ex_put_variable_param(file, EX_ELEM_BLOCK, numVariables), "variables");
  for (int i = 0; i < numVariables; ++i)
    Check(ex_put_variable_name(file, EX_ELEM_BLOCK, i + 1, names[static_cast<std::size_t>(i)].c_str()),
          "variables");
  Check(ex_put_truth_table(file, EX_ELEM_BLOCK, std::size(blocks), numVariables, truth.data()),
        "truth table");

  for (int step = 1; step <= static_cast<int>(std::size(kLoads)); ++step) {
    const double load = kLoads[step - 1], curvature = load * kCurvature;
    Check(ex_put_time(file, step, &load), "time");
    std::vector<double> displacements[3];
    for (std::size_t i = 0; i < positions_.size(); ++i) {
      const double x = positions_[i][0] * kCell / 2, y = positions_[i][1] * kCell / 2 - 6 * kCell;
      const double height = Height(static_cast<int>(i) + 1, 0);
      displacements[0].push_back(curvature * x * height);
      displacements[1].push_back(-curvature * kPoisson * y * height);
      displacements[2].push_back(curvature * (kPoisson * (y * y - height * height) - x * x) / 2);
    }
    for (int axis = 0; axis < 3; ++axis)
      Check(ex_put_var(file, step, EX_NODAL, axis + 1, 1, static_cast<std::int64_t>(positions_.size()),
                       displacements[axis].data()),
            "displacements");
    for (const Block* block : {&plate_, &ribs_, &boss_})
      for (int i = 0; i < numVariables; ++i) {
        const int row = block == &plate_ ? 0 : block == &ribs_ ? 1 : 2;
        if (truth[static_cast<std::size_t>(row) * names.size() + static_cast<std::size_t>(i)] == 0) continue;
        // points of a hexahedron at +-1/sqrt(3), the upper four last; the centre of the others
        const bool isAtPoints = i < static_cast<int>(numAtPoints),
                   isAlongX = isAtPoints ? i < kPoints : i == kPoints * kNumComponents;
        const double offset = !isAtPoints       ? 0.5
                              : i % kPoints < 4 ? 0.5 - 0.28867513459481287
                                                : 0.5 + 0.28867513459481287;
        std::vector<double> stresses;
        for (int element = 0; element < block->NumElements(); ++element) {
          const int first = block->nodes[static_cast<std::size_t>(element)
                                         * static_cast<std::size_t>(block->nodesPerElement)];
          // the centre of a rib's slope is a third of a cell up
          const double up = block == &ribs_ ? 1.0 / 3 : offset;
          stresses.push_back(isAlongX ? kModulus * curvature * Height(first, up) : 0);
        }
        Check(ex_put_var(file, step, EX_ELEM_BLOCK, i + 1, block->id, block->NumElements(), stresses.data()),
              "stresses");
      }
  }
}
} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_sample FILE\n");
    return 2;
  }
  try {
    Part().Write(argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "make_sample: %s\n", error.what());
    return 1;
  }
  return 0;
}
