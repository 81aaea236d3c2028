// Layouts of any numbers: one in which nothing is wrong has a place and a label for each of its rows.
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/odiC_Places.h>
#include <CoreGeometry/odiC_Run.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {
class Bytes {
public:
  Bytes(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}
  bool IsEmpty() const noexcept { return left_ == 0; }
  /// Mostly small; after a byte of 255 any number.
  int Number() {
    if (left_ == 0) return 0;
    const int first = static_cast<std::int8_t>(*data_);
    ++data_;
    --left_;
    if (first != -1 || left_ < sizeof(int)) return first;
    int number;
    std::memcpy(&number, data_, sizeof number);
    data_ += sizeof number;
    left_ -= sizeof number;
    return number;
  }
  cow_ArrayCOW<int> Numbers() {
    std::vector<int> all(static_cast<std::size_t>(Number() & 15));
    for (int& one : all) one = Number();
    return cow_ArrayCOW<int>(all);
  }

private:
  const std::uint8_t* data_;
  std::size_t left_;
};

bme_Mesh Mesh() {
  std::vector<float> xyz(3 * 12);
  for (std::size_t i = 0; i < xyz.size(); ++i) xyz[i] = static_cast<float>(i * i % 7);
  return bme_MeshBuilder(xyz)
      .Add({"C3D8", {0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11}})
      .Add({"S4", {0, 1, 2, 3}})
      .Build();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  static const bme_Mesh mesh = Mesh();
  Bytes bytes(data, size);
  odiC_Layout layout;
  layout.numRows = bytes.Number();
  while (!bytes.IsEmpty()) {
    odiC_LayoutBlock& block = layout.blocks.emplace_back();
    block.position = static_cast<res_OutputPositionEnm>(bytes.Number());
    block.classIndex = bytes.Number();
    block.sectionPoint = bytes.Number();
    block.pointSet = bytes.Number();
    block.valuesPerEntity = bytes.Number();
    block.firstRow = bytes.Number();
    block.numEntities = bytes.Number();
    block.entities = bytes.Numbers();
    block.faces = bytes.Numbers();
  }
  constexpr int kPoints[] = {3, 8};
  if (!odiC_WhatIsWrong(layout, mesh, kPoints).empty()) return 0;
  for (int row = 0; row < std::min(layout.numRows, 1000); ++row) {
    const odiC_Place place = odiC_PlaceOf(layout, row);
    const odiC_LayoutBlock& block = layout.blocks[static_cast<std::size_t>(place.block)];
    if (row < block.firstRow || row >= block.firstRow + block.NumRows()) std::abort();
    odiC_LabelOf(mesh, block, place).Text();
  }
  return 0;
}
