#include "exo_Read.h"

#include "exo_MeshReader.h"
#include "exo_Notes.h"
#include "fmt_Coordinates.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>

namespace {
constexpr std::int64_t kSlice = exo_MeshReader::kSlice;

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

class Importer {
public:
  Importer(const cow_String& fileName, const fmt_ReadOptions& options)
      : reader_(fileName, options.types), file_(reader_.File()), progress_(file_),
        coordinates_(file_.Name(), static_cast<std::size_t>(file_.NumNodes()), options) {}
  fmt_Import Run(unsigned meshId);

private:
  void ReadCoordinates();
  cls_xp1DArrayListInt ReadNodeLabels();
  std::vector<cls_xp1DArrayListInt> ReadElementLabels();
  cow_ArrayCOW<int> ReadRows(std::size_t classIndex);

  exo_MeshReader reader_;
  const exo_File& file_;
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

  std::vector<cls_xp1DArrayListInt> labels = ReadElementLabels();
  std::vector<std::unique_ptr<bme_ElementClass>> classes;
  for (std::size_t i = 0; i < reader_.NumClasses(); ++i) {
    classes.push_back(reader_.MakeClass(i, meshId, ReadRows(i)));
    classes.back()->SetUserElementLabels(std::move(labels[i]));
    result_.blocks.push_back(reader_.Describe(i));
  }
  std::vector<bme_ElementClass*> handedOver;
  handedOver.reserve(classes.size());
  for (auto& elements : classes) handedOver.push_back(elements.release());
  auto* elements = new bme_ElementData(handedOver.data(), static_cast<unsigned>(handedOver.size()));
  result_.mesh = std::make_unique<bme_Mesh>(meshId, nodes.release(), elements, bme_ORPHAN_MESH,
                                            coordinates_.Transform());
  result_.title = file_.Title();
  result_.ledger = exo_ListNotCarried(file_);
  exo_NoteCurvedPyramids(exo_CountCurvedPyramids(*result_.mesh), result_.ledger);
  exo_ReadNotes(file_, reader_.Places(), *result_.mesh, result_.notes, result_.ledger);
  result_.sets =
      exo_ReadSets(file_, reader_.Places(), static_cast<int>(meshId), result_.notes, result_.ledger);
  return std::move(result_);
}

void Importer::ReadCoordinates() {
  const std::int64_t count = file_.NumNodes();
  std::vector<double> xyz;
  for (std::int64_t first = 0; first < count; first += kSlice) {
    xyz.resize(static_cast<std::size_t>(3 * std::min(kSlice, count - first)));
    reader_.ReadCoordinates(first, xyz);
    coordinates_.Add(std::span<const double>(xyz));
    progress_.Add(static_cast<std::int64_t>(xyz.size()));
  }
}

cls_xp1DArrayListInt Importer::ReadNodeLabels() {
  const std::int64_t count = file_.NumNodes();
  cow_ArrayCOW<int> labels;
  labels.ResizeUninitialised(static_cast<std::size_t>(count));
  for (std::int64_t first = 0; first < count; first += kSlice)
    reader_.ReadNodeLabels(
        first, labels.Modify().subspan(static_cast<std::size_t>(first),
                                       static_cast<std::size_t>(std::min(kSlice, count - first))));
  const std::span<const int> all[] = {labels.Const()};
  if (const auto twice = omi_FindDuplicate(all)) reader_.FailAtNodeLabel(*twice);
  return cls_xp1DArrayListInt(std::move(labels));
}

/// Of each class; none when they count from 1.
std::vector<cls_xp1DArrayListInt> Importer::ReadElementLabels() {
  std::vector<cow_ArrayCOW<int>> labels(reader_.NumClasses());
  int inMesh = 0;
  bool isImplicit = true;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const std::int64_t count = reader_.PlaceOf(i).block->numElements;
    labels[i].ResizeUninitialised(static_cast<std::size_t>(count));
    for (std::int64_t first = 0; first < count; first += kSlice) {
      const std::span<int> slice = labels[i].Modify().subspan(
          static_cast<std::size_t>(first), static_cast<std::size_t>(std::min(kSlice, count - first)));
      reader_.ReadElementLabels(i, first, slice);
      for (const int label : slice) isImplicit &= label == ++inMesh;
      progress_.Add(static_cast<std::int64_t>(slice.size()));
    }
  }
  if (isImplicit) return std::vector<cls_xp1DArrayListInt>(labels.size());
  std::vector<std::span<const int>> all;
  all.reserve(labels.size());
  for (const cow_ArrayCOW<int>& one : labels) all.push_back(one.Const());
  if (const auto twice = omi_FindDuplicate(all)) reader_.FailAtElementLabel(*twice);
  std::vector<cls_xp1DArrayListInt> made;
  made.reserve(labels.size());
  for (cow_ArrayCOW<int>& one : labels) made.emplace_back(std::move(one));
  return made;
}

cow_ArrayCOW<int> Importer::ReadRows(std::size_t classIndex) {
  const std::int64_t count = reader_.PlaceOf(classIndex).block->numElements,
                     columns = reader_.NumColumns(classIndex), most = reader_.RowsPerSlice(classIndex);
  cow_ArrayCOW<int> rows;
  rows.ResizeUninitialised(static_cast<std::size_t>(count * columns));
  for (std::int64_t first = 0; first < count; first += most) {
    const auto numbers = static_cast<std::size_t>(std::min(most, count - first) * columns);
    reader_.ReadRows(classIndex, first,
                     rows.Modify().subspan(static_cast<std::size_t>(first * columns), numbers));
    progress_.Add(static_cast<std::int64_t>(numbers));
  }
  return rows;
}
} // namespace

fmt_Import exo_Read(const cow_String& fileName, const fmt_ReadOptions& options) {
  return Importer(fileName, options).Run(options.meshId);
}
