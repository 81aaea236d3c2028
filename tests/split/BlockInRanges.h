// BlockInRanges.h: a block of hexahedra that is never held as a whole: its ranges are computed
#pragma once

#include <CoreGeometry/dst_Source.h>
#include <array>

/// nx x ny x nz hexahedra.
class Block : public dst_Source {
public:
  explicit Block(std::array<std::uint64_t, 3> size) : size_(size) {
    facts_.mesh = "Block";
    facts_.shell = bme_Mesh(1, new bme_NodeData(uti_CoordCont3D(), 3), nullptr, bme_NATIVE_MESH, nullptr);
    facts_.numNodes = (size[0] + 1) * (size[1] + 1) * (size[2] + 1);
    facts_.classes.emplace_back(bme_ElementClass("C3D8", cls_xp2DArrayInt(8, {})));
    facts_.classes[0].SetNumbers(0, size[0] * size[1] * size[2]);
  }
  void ReadCoordinates(std::uint64_t firstNode, std::span<float> xyz) const override {
    for (std::size_t i = 0; i < xyz.size(); i += 3, ++firstNode) {
      xyz[i] = static_cast<float>(firstNode % (size_[0] + 1));
      xyz[i + 1] = static_cast<float>(firstNode / (size_[0] + 1) % (size_[1] + 1));
      xyz[i + 2] = static_cast<float>(firstNode / ((size_[0] + 1) * (size_[1] + 1)));
    }
  }
  void ReadConnectivity(unsigned /*classIndex*/, std::uint64_t element,
                        std::span<unsigned> nodes) const override {
    const std::uint64_t row = size_[0] + 1, plane = row * (size_[1] + 1);
    for (std::size_t i = 0; i < nodes.size(); i += 8, ++element) {
      const std::uint64_t x = element % size_[0], y = element / size_[0] % size_[1],
                          z = element / (size_[0] * size_[1]);
      const std::uint64_t first = x + row * y + plane * z;
      const std::uint64_t corners[] = {0, 1, row + 1, row, plane, plane + 1, plane + row + 1, plane + row};
      for (std::size_t k = 0; k < 8; ++k) nodes[i + k] = static_cast<unsigned>(first + corners[k]);
    }
  }
  void ReadNodeLabels(std::uint64_t /*first*/, std::span<int> /*labels*/) const override {}
  void ReadElementLabels(unsigned /*classIndex*/, std::uint64_t /*first*/,
                         std::span<int> /*labels*/) const override {}
  void ReadEntries(unsigned /*set*/, unsigned /*subset*/, std::uint64_t /*first*/,
                   std::span<unsigned> /*numbers*/, std::span<int> /*facets*/) const override {}
  void PutBeside(cls_WritePass& /*index*/) const override {}
  void PutRegions(cls_WritePass& /*part*/) const override {}

private:
  std::array<std::uint64_t, 3> size_;
};
