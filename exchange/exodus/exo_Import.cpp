#include "exo_Read.h"

#include "exo_File.h"
#include "exo_Notes.h"
#include "fmt_Coordinates.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/omi_Duplicates.h>
#include <algorithm>
#include <cmath>

namespace {
constexpr std::int64_t kSlice = 1 << 17; ///< numbers read at a time: they stay in the cache

/// Appends the numbers as labels. Answers the position of the first that does not fit 32 bits, else the count.
std::size_t AppendLabels(std::span<const std::int64_t> numbers, cls_xp1DArrayListInt& labels) {
  std::vector<int> narrow(numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    narrow[i] = static_cast<int>(numbers[i]);
    if (narrow[i] != numbers[i]) return i;
  }
  labels.Append(narrow);
  return numbers.size();
}

/// Tells the host how much of the file's numbers has been read.
class Progress {
public:
  explicit Progress(const exo_File& file) : total_(3.0 * static_cast<double>(file.NumNodes())) {
    for (const exo_Block& block : file.Blocks())
      total_ += static_cast<double>(block.numElements) * static_cast<double>(block.nodesPerElement + 1);
  }
  void Add(std::int64_t numbers) {
    done_ += static_cast<double>(numbers);
    channel_.CheckCancelled();
    if (total_ > 0) channel_.Progress(std::min(1.0, done_ / total_));
  }

private:
  wip_WIP& channel_ = thr_ThreadSingleton<wip_WIP>::Instance();
  double total_, done_ = 0;
};

/// One block's elements in the order of their positions in the file.
struct LabelledBlock {
  const exo_Block* block;
  std::int64_t firstElement; ///< position in the whole file
  cls_xp1DArrayListInt labels;
};

class Importer {
public:
  Importer(const cow_String& fileName, const fmt_ReadOptions& options)
      : file_(fileName), types_(options.types), progress_(file_),
        coordinates_(file_.Name(), static_cast<std::size_t>(file_.NumNodes()), options) {}
  fmt_Import Run(unsigned meshId);

private:
  [[noreturn]] void Fail(const cow_String& why) const { throw nex_TextException(file_.Name() + ": " + why); }
  void ReadCoordinates();
  cls_xp1DArrayListInt ReadNodeLabels();
  std::vector<LabelledBlock> ReadElementLabels();
  bme_ElementClass* ReadBlock(const exo_Block& block, unsigned meshId, exo_BlockPlace& place);
  template<class Int> void ReadRows(const exo_Block& block, std::span<const int> order, std::span<int> nodes);
  [[noreturn]] void FailAtNode(const exo_Block& block, std::int64_t element, long long node) const;
  static cow_String Describe(const exo_Block& block) {
    return "block " + std::to_string(block.id) + " (" + block.type + ")";
  }
  cow_String CategoryOf(const exo_Block& block, bool arePyramids) const;
  void CountCurvedPyramids();

  exo_File file_;
  const exo_TypeMap& types_;
  Progress progress_;
  fmt_Coordinates coordinates_;
  fmt_Import result_;
};

fmt_Import Importer::Run(unsigned meshId) {
  ReadCoordinates();
  auto nodes = std::make_unique<bme_NodeData>(coordinates_.Take(), static_cast<unsigned>(file_.NumDims()));
  cls_xp1DArrayListInt nodeLabels = ReadNodeLabels();
  result_.rounding = coordinates_.Rounding(nodeLabels.Const());
  if (!nodeLabels.IsEmpty()) nodes->SetUserNodeLabels(std::move(nodeLabels));

  std::vector<LabelledBlock> blocks = ReadElementLabels();
  std::vector<exo_BlockPlace> places = exo_PlaceBlocks(file_);
  std::vector<std::unique_ptr<bme_ElementClass>> classes;
  for (exo_BlockPlace& place : places) {
    if (place.classIndex < 0) continue;
    LabelledBlock& labelled = blocks[static_cast<std::size_t>(place.classIndex)];
    classes.emplace_back(ReadBlock(*labelled.block, meshId, place));
    classes.back()->SetUserElementLabels(std::move(labelled.labels));
  }
  std::vector<bme_ElementClass*> handedOver;
  handedOver.reserve(classes.size());
  for (auto& elements : classes) handedOver.push_back(elements.release());
  auto* elements = new bme_ElementData(handedOver.data(), static_cast<unsigned>(handedOver.size()));
  result_.mesh = std::make_unique<bme_Mesh>(meshId, nodes.release(), elements, bme_ORPHAN_MESH,
                                            coordinates_.Transform());
  result_.title = file_.Title();
  result_.ledger = exo_ListNotCarried(file_);
  CountCurvedPyramids();
  exo_ReadNotes(file_, places, *result_.mesh, result_.notes, result_.ledger);
  result_.sets = exo_ReadSets(file_, places, static_cast<int>(meshId), result_.notes, result_.ledger);
  return std::move(result_);
}

void Importer::ReadCoordinates() {
  const std::int64_t count = file_.NumNodes();
  const auto dims = static_cast<std::size_t>(file_.NumDims());
  std::vector<double> buffer[3], xyz(static_cast<std::size_t>(3 * std::min(count, kSlice)));
  for (std::size_t axis = 0; axis < dims; ++axis)
    buffer[axis].resize(static_cast<std::size_t>(std::min(count, kSlice)));
  for (std::int64_t first = 0; first < count; first += kSlice) {
    const auto n = static_cast<std::size_t>(std::min(kSlice, count - first));
    const auto Part = [&](std::size_t axis) { return std::span(buffer[axis]).first(axis < dims ? n : 0); };
    file_.ReadCoordinates(first, Part(0), Part(1), Part(2));
    for (std::size_t axis = 0; axis < dims; ++axis)
      for (std::size_t i = 0; i < n; ++i) xyz[3 * i + axis] = buffer[axis][i];
    coordinates_.Add(std::span<const double>(xyz).first(3 * n));
    progress_.Add(static_cast<std::int64_t>(3 * n));
  }
}

cls_xp1DArrayListInt Importer::ReadNodeLabels() {
  const std::int64_t count = file_.NumNodes();
  cls_xp1DArrayListInt labels;
  labels.Reserve(static_cast<std::size_t>(count));
  std::vector<std::int64_t> buffer(static_cast<std::size_t>(std::min(count, kSlice)));
  for (std::int64_t first = 0; first < count; first += kSlice) {
    const std::span<std::int64_t> part(buffer.data(),
                                       static_cast<std::size_t>(std::min(kSlice, count - first)));
    file_.ReadNodeLabels(first, part);
    const std::size_t fitting = AppendLabels(part, labels);
    if (fitting < part.size())
      Fail("node " + std::to_string(first + static_cast<std::int64_t>(fitting) + 1) + ": label "
           + std::to_string(part[fitting]) + " does not fit 32 bits");
  }
  const std::span<const int> all[] = {labels.Const()};
  if (const auto twice = omi_FindDuplicate(all))
    Fail("node label " + std::to_string(twice->label) + " is given twice, to nodes "
         + std::to_string(twice->first + 1) + " and " + std::to_string(twice->second + 1));
  return labels;
}

std::vector<LabelledBlock> Importer::ReadElementLabels() {
  std::vector<LabelledBlock> blocks;
  std::int64_t inFile = 0, inMesh = 0;
  bool isImplicit = true;
  std::vector<std::int64_t> buffer;
  for (const exo_Block& block : file_.Blocks()) {
    const std::int64_t start = inFile;
    inFile += block.numElements;
    if (block.isRagged) continue;
    LabelledBlock& made = blocks.emplace_back(LabelledBlock{&block, start, {}});
    made.labels.Reserve(static_cast<std::size_t>(block.numElements));
    for (std::int64_t first = 0; first < block.numElements; first += kSlice) {
      buffer.resize(static_cast<std::size_t>(std::min(kSlice, block.numElements - first)));
      file_.ReadElementLabels(start + first, buffer);
      const std::size_t fitting = AppendLabels(buffer, made.labels);
      if (fitting < buffer.size())
        Fail(Describe(block) + ", element " + std::to_string(first + static_cast<std::int64_t>(fitting) + 1)
             + ": label " + std::to_string(buffer[fitting]) + " does not fit 32 bits");
      for (const std::int64_t label : buffer) isImplicit &= label == ++inMesh;
      progress_.Add(static_cast<std::int64_t>(buffer.size()));
    }
  }
  if (isImplicit) {
    for (LabelledBlock& block : blocks) block.labels.Clear();
    return blocks;
  }
  std::vector<std::span<const int>> all;
  all.reserve(blocks.size());
  for (const LabelledBlock& block : blocks) all.push_back(block.labels.Const());
  if (const auto twice = omi_FindDuplicate(all)) {
    const auto Place = [&](std::size_t position) {
      std::size_t i = 0;
      while (position >= all[i].size()) position -= all[i++].size();
      return Describe(*blocks[i].block) + ", element " + std::to_string(position + 1);
    };
    Fail("element label " + std::to_string(twice->label) + " is given twice, to " + Place(twice->first)
         + " and to " + Place(twice->second));
  }
  return blocks;
}

cow_String Importer::CategoryOf(const exo_Block& block, bool arePyramids) const {
  const cow_String name = block.name.empty() ? "block " + std::to_string(block.id) : block.name;
  if (arePyramids) return bme_PyramidCategory(file_.Title(), name, static_cast<int>(block.nodesPerElement));
  return file_.Title().empty() ? name : file_.Title() + "/" + name;
}

bme_ElementClass* Importer::ReadBlock(const exo_Block& block, unsigned meshId, exo_BlockPlace& place) {
  exo_ElementType type = types_.Find(block.type, static_cast<int>(block.nodesPerElement), file_.NumDims());
  const std::int64_t columns = block.numElements == 0 ? 0
                               : type.order.empty()   ? block.nodesPerElement
                                                      : static_cast<std::int64_t>(type.order.size());
  cow_ArrayCOW<int> rows;
  rows.ResizeUninitialised(static_cast<std::size_t>(block.numElements * columns));
  if (file_.HasWideNumbers())
    ReadRows<std::int64_t>(block, type.order, rows.Modify());
  else
    ReadRows<int>(block, type.order, rows.Modify());
  auto made = std::make_unique<bme_ElementClass>(
      type.label, cls_xp2DArrayInt(static_cast<std::size_t>(columns), std::move(rows)));
  if (type.supported) place.sideNodes = exo_CountSideNodes(type.sides, type.order, *made->Shape());
  place.sides = std::move(type.sides);
  made->SetMeshIndex(static_cast<int>(meshId));
  made->SetCategoryLabel(CategoryOf(block, type.arePyramids));
  result_.blocks.push_back({block.id, block.type, type.label, type.supported, block.numElements});
  return made.release();
}

template<class Int>
void Importer::ReadRows(const exo_Block& block, std::span<const int> order, std::span<int> nodes) {
  const std::int64_t columns = block.nodesPerElement;
  if (columns == 0 || nodes.empty()) return;
  const auto ours = order.empty() ? static_cast<std::size_t>(columns) : order.size();
  const std::int64_t rowsPerSlice = std::max<std::int64_t>(1, kSlice / columns);
  const auto numNodes = static_cast<std::uint64_t>(file_.NumNodes());
  std::vector<Int> buffer(static_cast<std::size_t>(std::min(block.numElements, rowsPerSlice) * columns));
  for (std::int64_t first = 0; first < block.numElements; first += rowsPerSlice) {
    const std::int64_t rows = std::min(rowsPerSlice, block.numElements - first);
    const auto count = static_cast<std::size_t>(rows * columns);
    file_.ReadConnectivity(block, first, rows, buffer.data());
    const std::span<const Int> read(buffer.data(), count);
    bool isInside = true;
    for (std::size_t i = 0; i < count; ++i)
      isInside &= static_cast<std::uint64_t>(std::int64_t{read[i]} - 1) < numNodes;
    if (!isInside) {
      const auto at = std::ranges::find_if(
          read, [&](Int node) { return static_cast<std::uint64_t>(std::int64_t{node} - 1) >= numNodes; });
      FailAtNode(block, first + (at - read.begin()) / columns + 1, static_cast<long long>(*at));
    }
    int* target = nodes.data() + static_cast<std::size_t>(first) * ours;
    for (std::size_t i = 0; order.empty() && i < count; ++i) target[i] = static_cast<int>(read[i] - 1);
    for (std::size_t row = 0; !order.empty() && row < count; row += static_cast<std::size_t>(columns))
      for (const int from : order)
        *target++ = static_cast<int>(read[row + static_cast<std::size_t>(from)] - 1);
    progress_.Add(static_cast<std::int64_t>(count));
  }
}

/// A collapsed quadratic face is the six-node triangle unless the edge across from the apex is curved: the two
/// differ by a bubble that is as large as that edge's bend (R. E. Newton, 1974).
void Importer::CountCurvedPyramids() {
  constexpr double kRounding = 2.4e-7; // of coordinates in single precision, of the sum of four
  const std::span<const float> xyz = result_.mesh->NodeData().Coordinates().Const();
  const bme_ElementData& elements = result_.mesh->ElementData();
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
  if (count > 0)
    result_.ledger.push_back(
        {"pyramids of 13 nodes with a curved edge of the base", count,
         "faces at such an edge, as collapsed faces of C3D20, are not quite the triangles of "
         "six nodes that they were"});
}

void Importer::FailAtNode(const exo_Block& block, std::int64_t element, long long node) const {
  Fail(Describe(block) + ", element " + std::to_string(element) + ": node " + std::to_string(node)
       + " is outside 1.." + std::to_string(file_.NumNodes()));
}
} // namespace

fmt_Import exo_Read(const cow_String& fileName, const fmt_ReadOptions& options) {
  return Importer(fileName, options).Run(options.meshId);
}
