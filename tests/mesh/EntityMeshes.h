// EntityMeshes.h: small meshes and the channel, for tests of entity lists
#pragma once

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_Mesh.h>
#include <ThrownBy.h>
#include <array>
#include <gtest/gtest.h>
#include <memory>

struct MeshMaker {
  std::vector<float> xyz;
  std::vector<bme_ElementClass*> classes;

  MeshMaker& Nodes(int count) {
    xyz.resize(3 * static_cast<std::size_t>(count));
    return *this;
  }
  MeshMaker& Class(const cow_String& type, std::size_t columns, const std::vector<int>& rows,
                   const std::vector<int>& labels = {}) {
    cow_ArrayCOW<int> values;
    values.Append(std::span<const int>(rows));
    classes.push_back(new bme_ElementClass(type, cls_xp2DArrayInt(columns, values)));
    EXPECT_TRUE(classes.back()->SetUserElementLabels(labels));
    return *this;
  }
  /// a x b x c unit cubes of further nodes x + (a + 1)(y + (b + 1) z); hexahedra, or five tetrahedra each.
  MeshMaker& Box(int a, int b, int c, bool areTetrahedra = false) {
    const auto first = static_cast<int>(xyz.size() / 3);
    const auto node = [&](int x, int y, int z) { return first + x + (a + 1) * (y + (b + 1) * z); };
    for (int z = 0; z <= c; ++z)
      for (int y = 0; y <= b; ++y)
        for (int x = 0; x <= a; ++x)
          for (const int value : {x, y, z}) xyz.push_back(static_cast<float>(value));
    std::vector<int> rows;
    for (int z = 0; z < c; ++z)
      for (int y = 0; y < b; ++y)
        for (int x = 0; x < a; ++x) {
          std::array<int, 8> h{};
          for (int i = 0; i < 8; ++i) // corners in the order of a hexahedron
            h[i] = node(x + ((i + 1) / 2 % 2), y + (i / 2 % 2), z + i / 4);
          if (!areTetrahedra) {
            rows.insert(rows.end(), h.begin(), h.end());
            continue;
          }
          // of two neighbours one is cut the other way round, so that diagonals meet
          if ((x + y + z) % 2 == 0) h = {h[1], h[2], h[3], h[0], h[5], h[6], h[7], h[4]};
          for (const auto& t :
               {std::array{0, 1, 3, 4}, {1, 2, 3, 6}, {1, 4, 6, 3}, {1, 6, 4, 5}, {3, 4, 6, 7}})
            for (const int corner : t) rows.push_back(h[static_cast<std::size_t>(corner)]);
        }
    return areTetrahedra ? Class("C3D4", 4, rows) : Class("C3D8", 8, rows);
  }
  /// Must stay where it is: lists refer to it.
  std::unique_ptr<bme_Mesh> Make(unsigned id = 1) {
    cow_ArrayCOW<float> values;
    values.Append(std::span<const float>(xyz));
    uti_CoordCont3D coordinates(values);
    auto mesh = std::make_unique<bme_Mesh>(id, static_cast<unsigned>(xyz.size() / 3), coordinates,
                                           static_cast<unsigned>(classes.size()), classes.data(),
                                           bme_ORPHAN_MESH, 3, nullptr);
    classes.clear();
    return mesh;
  }
};

/// Name of a test on a box of these numbers of cubes, of tetrahedra when the last one is not 0.
inline std::string BoxName(const testing::TestParamInfo<std::array<int, 4>>& info) {
  const auto [a, b, c, areTetrahedra] = info.param;
  return std::to_string(a) + "x" + std::to_string(b) + "x" + std::to_string(c)
         + (areTetrahedra != 0 ? "_tetrahedra" : "_hexahedra");
}

/// Hears what work on this thread says.
class Listener : public wip_WIPBase {
public:
  Listener() { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(this); }
  ~Listener() override { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(nullptr); }
  void Error(const cow_String& message) override { errors.push_back(message); }
  void Status(const cow_String& message) override { states.push_back(message); }
  void Progress(double fraction) override {
    EXPECT_GE(fraction, lastFraction);
    lastFraction = fraction;
  }
  bool IsCancelled() override { return cancel; }

  std::vector<cow_String> errors, states;
  double lastFraction = 0;
  bool cancel = false;
};
