#include "exo_MeshReader.h"

#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>

namespace {
/// Answers the position of the first number that does not fit 32 bits, else the count.
template<class Int> std::size_t Narrow(std::span<const Int> numbers, std::span<int> narrow) {
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    narrow[i] = static_cast<int>(numbers[i]);
    if (narrow[i] != numbers[i]) return i;
  }
  return numbers.size();
}
} // namespace

exo_MeshReader::exo_MeshReader(const cow_String& fileName, const exo_TypeMap& types)
    : file_(fileName), nodeMap_(file_.FindMap(true, "user_label")),
      elementMap_(file_.FindMap(false, "user_label")), places_(exo_PlaceBlocks(file_)) {
  for (std::size_t i = 0; i < places_.size(); ++i) {
    exo_BlockPlace& place = places_[i];
    if (place.classIndex < 0) continue;
    placeOfClass_.push_back(i);
    types_.push_back(
        types.Find(place.block->type, static_cast<int>(place.block->nodesPerElement), file_.NumDims()));
    const exo_ElementType& type = types_.back();
    place.sides = type.sides;
    if (!type.supported) continue;
    const auto made = MakeClass(types_.size() - 1, 0, {});
    place.sideNodes = exo_CountSideNodes(type.sides, type.order, *made->Shape());
  }
}

std::int64_t exo_MeshReader::NumColumns(std::size_t classIndex) const {
  const exo_Block& block = *PlaceOf(classIndex).block;
  const std::vector<int>& order = types_[classIndex].order;
  return block.numElements == 0 ? 0
         : order.empty()        ? block.nodesPerElement
                                : static_cast<std::int64_t>(order.size());
}

std::int64_t exo_MeshReader::RowsPerSlice(std::size_t classIndex) const {
  return std::max<std::int64_t>(1, kSlice / std::max<std::int64_t>(1, NumColumns(classIndex)));
}

std::unique_ptr<bme_ElementClass> exo_MeshReader::MakeClass(std::size_t classIndex, unsigned meshId,
                                                            cow_ArrayCOW<int> rows) const {
  const exo_ElementType& type = types_[classIndex];
  const std::int64_t columns = rows.IsEmpty() ? 0 : NumColumns(classIndex);
  auto made = std::make_unique<bme_ElementClass>(
      type.label, cls_xp2DArrayInt(static_cast<std::size_t>(columns), std::move(rows)));
  made->SetMeshIndex(static_cast<int>(meshId));
  made->SetCategoryLabel(CategoryOf(*PlaceOf(classIndex).block, type.arePyramids));
  return made;
}

fmt_ImportedBlock exo_MeshReader::Describe(std::size_t classIndex) const {
  const exo_Block& block = *PlaceOf(classIndex).block;
  const exo_ElementType& type = types_[classIndex];
  return {block.id, block.type, type.label, type.supported, block.numElements};
}

cow_String exo_MeshReader::CategoryOf(const exo_Block& block, bool arePyramids) const {
  const cow_String name = block.name.empty() ? "block " + std::to_string(block.id) : block.name;
  if (arePyramids) return bme_PyramidCategory(file_.Title(), name, static_cast<int>(block.nodesPerElement));
  return file_.Title().empty() ? name : file_.Title() + "/" + name;
}

void exo_MeshReader::ReadCoordinates(std::int64_t first, std::span<double> xyz) const {
  const std::size_t count = xyz.size() / 3;
  const auto dims = static_cast<std::size_t>(file_.NumDims());
  for (std::size_t axis = 0; axis < dims; ++axis) axes_[axis].resize(count);
  file_.ReadCoordinates(first, axes_[0], axes_[1], axes_[2]);
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (std::size_t i = 0; i < count; ++i) xyz[3 * i + axis] = axis < dims ? axes_[axis][i] : 0;
}

void exo_MeshReader::ReadNodeLabels(std::int64_t first, std::span<int> labels) const {
  wide_.resize(labels.size());
  file_.ReadNodeLabels(first, wide_);
  const std::size_t fitting = Narrow(std::span<const std::int64_t>(wide_), labels);
  if (fitting < labels.size())
    Fail("node " + std::to_string(first + static_cast<std::int64_t>(fitting) + 1) + ": label "
         + std::to_string(wide_[fitting]) + " does not fit 32 bits");
}

void exo_MeshReader::ReadElementLabels(std::size_t classIndex, std::int64_t first,
                                       std::span<int> labels) const {
  const exo_BlockPlace& place = PlaceOf(classIndex);
  wide_.resize(labels.size());
  file_.ReadElementLabels(place.firstInFile + first, wide_);
  const std::size_t fitting = Narrow(std::span<const std::int64_t>(wide_), labels);
  if (fitting < labels.size())
    Fail(TextOf(*place.block) + ", element " + std::to_string(first + static_cast<std::int64_t>(fitting) + 1)
         + ": label " + std::to_string(wide_[fitting]) + " does not fit 32 bits");
}

void exo_MeshReader::ReadUserLabels(bool isOfNodes, std::int64_t first, std::span<int> labels) const {
  std::vector<long long> read(labels.size());
  file_.ReadMap(isOfNodes, isOfNodes ? nodeMap_ : elementMap_, first, read);
  const std::size_t fitting = Narrow(std::span<const long long>(read), labels);
  if (fitting < labels.size())
    Fail((isOfNodes ? "node " : "element ") + std::to_string(first + static_cast<std::int64_t>(fitting) + 1)
         + ": user label " + std::to_string(read[fitting]) + " does not fit 32 bits");
}

void exo_MeshReader::ReadUserNodeLabels(std::int64_t first, std::span<int> labels) const {
  ReadUserLabels(true, first, labels);
}

void exo_MeshReader::ReadUserElementLabels(std::size_t classIndex, std::int64_t first,
                                           std::span<int> labels) const {
  ReadUserLabels(false, PlaceOf(classIndex).firstInFile + first, labels);
}

void exo_MeshReader::ReadRows(std::size_t classIndex, std::int64_t first, std::span<int> nodes) const {
  if (file_.HasWideNumbers())
    ReadSlices(classIndex, first, nodes, wide_);
  else
    ReadSlices(classIndex, first, nodes, narrow_);
}

template<class Int>
void exo_MeshReader::ReadSlices(std::size_t classIndex, std::int64_t first, std::span<int> nodes,
                                std::vector<Int>& buffer) const {
  const exo_Block& block = *PlaceOf(classIndex).block;
  const std::span<const int> order = types_[classIndex].order;
  const std::int64_t columns = block.nodesPerElement, ours = NumColumns(classIndex);
  if (columns == 0 || nodes.empty()) return;
  const auto numNodes = static_cast<std::uint64_t>(file_.NumNodes());
  const std::int64_t end = first + static_cast<std::int64_t>(nodes.size()) / ours,
                     most = std::max<std::int64_t>(1, kSlice / columns);
  int* target = nodes.data();
  for (; first < end; first += most) {
    const std::int64_t rows = std::min(most, end - first);
    const auto count = static_cast<std::size_t>(rows * columns);
    buffer.resize(count);
    file_.ReadConnectivity(block, first, rows, buffer.data());
    const std::span<const Int> read(buffer);
    bool isInside = true;
    for (std::size_t i = 0; i < count; ++i)
      isInside &= static_cast<std::uint64_t>(std::int64_t{read[i]} - 1) < numNodes;
    if (!isInside) {
      const auto at = std::ranges::find_if(
          read, [&](Int node) { return static_cast<std::uint64_t>(std::int64_t{node} - 1) >= numNodes; });
      Fail(TextOf(block) + ", element " + std::to_string(first + (at - read.begin()) / columns + 1)
           + ": node " + std::to_string(static_cast<long long>(*at)) + " is outside 1.."
           + std::to_string(numNodes));
    }
    for (std::size_t i = 0; order.empty() && i < count; ++i) *target++ = static_cast<int>(read[i] - 1);
    for (std::size_t row = 0; !order.empty() && row < count; row += static_cast<std::size_t>(columns))
      for (const int from : order)
        *target++ = static_cast<int>(read[row + static_cast<std::size_t>(from)] - 1);
  }
}

void exo_MeshReader::FailAtNodeLabel(const omi_Duplicate& twice) const {
  Fail("node label " + std::to_string(twice.label) + " is given twice, to nodes "
       + std::to_string(twice.first + 1) + " and " + std::to_string(twice.second + 1));
}

void exo_MeshReader::FailAtElementLabel(const omi_Duplicate& twice) const {
  const auto place = [&](std::size_t position) {
    std::size_t i = 0;
    while (position >= static_cast<std::size_t>(PlaceOf(i).block->numElements))
      position -= static_cast<std::size_t>(PlaceOf(i++).block->numElements);
    return TextOf(*PlaceOf(i).block) + ", element " + std::to_string(position + 1);
  };
  Fail("element label " + std::to_string(twice.label) + " is given twice, to " + place(twice.first)
       + " and to " + place(twice.second));
}

void exo_MeshReader::Fail(const cow_String& why) const { throw nex_TextException(file_.Name() + ": " + why); }

cow_String exo_MeshReader::TextOf(const exo_Block& block) {
  return "block " + std::to_string(block.id) + " (" + block.type + ")";
}

long long exo_CountCurvedPyramids(const bme_Mesh& mesh) {
  constexpr double kRounding = 2.4e-7; // of coordinates in single precision, of the sum of four
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  const bme_ElementData& elements = mesh.ElementData();
  long long count = 0;
  for (unsigned i = 0; i < elements.NumClasses(); ++i) {
    const bme_ElementClass& type = elements.GetClass(i);
    if (bme_PyramidNodes(type) != 13) continue;
    const shp_Shape& shape = *type.Shape();
    for (int e = 0; e < type.NumElements(); ++e) {
      const std::span<const int> row = type.Connectivity(e);
      bool isCurved = false;
      for (int edge = 0; edge < 4; ++edge) {
        const std::span<const int> local = shape.EdgeNodes(0, edge);
        for (std::size_t axis = 0; axis < 3; ++axis) {
          const auto at = [&](std::size_t k) {
            const auto node = static_cast<std::size_t>(row[static_cast<std::size_t>(local[k])]);
            return static_cast<double>(xyz[3 * node + axis]);
          };
          const double a = at(0), middle = at(1), b = at(2);
          isCurved |= std::abs(a + b - 2 * middle) > kRounding * (std::abs(a) + std::abs(b));
        }
      }
      count += isCurved;
    }
  }
  return count;
}

void exo_NoteCurvedPyramids(long long count, fmt_Ledger& ledger) {
  if (count > 0)
    ledger.push_back({"pyramids of 13 nodes with a curved edge of the base", count,
                      "faces at such an edge, as collapsed faces of C3D20, are not quite the triangles of "
                      "six nodes that they were"});
}
