#include "dst_PartWriter.h"

#include "dst_Hash.h"
#include "dst_Runs.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <CoreGeometry/shp_ElementSearch.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <CoreUtils/omi_LabelTable.h>
#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <limits>

namespace {
template<class T> cow_ArrayCOW<T> ArrayOf(std::size_t size) {
  cow_ArrayCOW<T> made;
  made.ResizeUninitialised(size);
  return made;
}

/// Local indices of the nodes of a part.
class LocalNodes {
public:
  explicit LocalNodes(std::span<const unsigned> numbers) {
    const std::span<const int> labels(reinterpret_cast<const int*>(numbers.data()), numbers.size());
    table_.Insert(labels, 0);
  }
  int Of(unsigned number) const {
    return number == dst_Source::kNoNode ? -1 : static_cast<int>(table_.Find(static_cast<int>(number)));
  }

private:
  omi_LabelTable table_;
};

/// The nodes of a part, from their records.
struct Nodes {
  explicit Nodes(std::span<const unsigned> records) {
    std::size_t count = 0, shared = 0, others = 0;
    for (std::size_t at = 0; at < records.size(); at += 6 + records[at + 5]) {
      ++count;
      shared += records[at + 5] > 0 ? 1 : 0;
      others += records[at + 5];
    }
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max()) / 3)
      throw nex_TextException("a part of " + std::to_string(count) + " nodes is too large; use more parts");
    coordinates = ArrayOf<float>(3 * count);
    labels = ArrayOf<int>(count);
    numbers = ArrayOf<unsigned>(count);
    sharedNodes = ArrayOf<unsigned>(shared);
    holderStarts = ArrayOf<unsigned>(shared + 1);
    holders = ArrayOf<unsigned>(others);
    Fill(records);
  }

  cow_ArrayCOW<float> coordinates;
  cow_ArrayCOW<int> labels;
  cow_ArrayCOW<unsigned> numbers, sharedNodes, holderStarts, holders;

private:
  void Fill(std::span<const unsigned> records) {
    float* xyz = coordinates.Modify().data();
    int* label = labels.Modify().data();
    unsigned* number = numbers.Modify().data();
    unsigned* shared = sharedNodes.Modify().data();
    unsigned* start = holderStarts.Modify().data();
    unsigned* const firstHolder = holders.Modify().data();
    unsigned* holder = firstHolder;
    unsigned node = 0;
    for (std::size_t at = 0; at < records.size(); at += 6 + records[at + 5], ++node) {
      *number++ = records[at];
      for (std::size_t axis = 1; axis < 4; ++axis) *xyz++ = std::bit_cast<float>(records[at + axis]);
      *label++ = static_cast<int>(records[at + 4]);
      const auto others = records.subspan(at + 6, records[at + 5]);
      if (others.empty()) continue;
      *shared++ = node;
      *start++ = static_cast<unsigned>(holder - firstHolder);
      holder = std::ranges::copy(others, holder).out;
    }
    *start = static_cast<unsigned>(holder - firstHolder);
  }
};

/// Takes the records of one class from the front.
bme_ElementClass* TakeClass(const dst_ClassRange& range, std::span<const unsigned>& records,
                            const LocalNodes& nodes, unsigned*& number) {
  const auto width = static_cast<std::size_t>(range.NodesPerElement()), step = width + 2;
  std::size_t count = 0;
  while (count * step < records.size() && records[count * step] < range.EndElement()) ++count;
  if (count * width > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    throw nex_TextException("a part of " + std::to_string(count) + " elements of " + std::to_string(width)
                            + " nodes in one class is too large; use more parts");
  cow_ArrayCOW<int> connectivity = ArrayOf<int>(count * width), labels = ArrayOf<int>(count);
  int* local = connectivity.Modify().data();
  int* label = labels.Modify().data();
  for (std::size_t i = 0; i < count; ++i, records = records.subspan(step)) {
    *number++ = records[0];
    *label++ = static_cast<int>(records[1]);
    for (const unsigned node : records.subspan(2, width)) *local++ = nodes.Of(node);
  }
  return range.MakeClass(std::move(connectivity), std::move(labels));
}

bme_Mesh MakeMesh(const bme_Mesh& shell, bme_NodeData* nodes,
                  std::span<std::unique_ptr<bme_ElementClass>> classes) {
  std::vector<bme_ElementClass*> list;
  list.reserve(classes.size());
  for (auto& one : classes) list.push_back(one.release());
  auto* elements = new bme_ElementData(list.data(), static_cast<unsigned>(list.size()));
  bme_Mesh mesh(static_cast<unsigned>(shell.Id()), nodes, elements, shell.MeshType(), shell.Transform());
  mesh.SetTimeStamp(shell.TimeStamp());
  return mesh;
}

std::size_t NumElementsIn(std::span<const dst_ClassRange> classes, std::span<const unsigned> records) {
  std::size_t count = 0, at = 0;
  for (const dst_ClassRange& range : classes)
    for (; at < records.size() && records[at] < range.EndElement(); ++count)
      at += static_cast<std::size_t>(range.NodesPerElement()) + 2;
  return count;
}

/// Sets of a part, and the positions of entries that do not ascend.
class SetMaker {
public:
  SetMaker(const dst_PartFrame& frame, std::span<const unsigned> nodes, std::span<const unsigned> elements)
      : frame_(frame), nodes_(nodes), elements_(elements) {}

  std::vector<rgnC_SetData> Make(std::span<const unsigned> records, dst_Part::Arrays& arrays) {
    std::vector<std::size_t> order(records.size() / dst_kEntryWords);
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i * dst_kEntryWords;
    std::ranges::sort(order, {}, [&](std::size_t at) { return std::pair(records[at], records[at + 1]); });
    std::vector<rgnC_SetData> sets;
    std::span<const std::size_t> left = order;
    unsigned flat = 0;
    for (const dst_SetFacts& facts : frame_.source.Facts().sets) {
      rgnC_SetData& set = sets.emplace_back(facts.shell.WithoutSubsets());
      for (std::size_t i = 0; i < facts.subsets.size(); ++i, ++flat) {
        std::size_t count = 0;
        while (count < left.size() && records[left[count]] == flat) ++count;
        const rgnC_SubsetData& shell = facts.shell.SubSet(static_cast<int>(i));
        set.AppendSubset(MakeSubset(shell, facts.subsets[i].hasFacets, records, left.first(count)));
        if (frame_.isDisordered[flat]) AddPositions(arrays, flat, records, left.first(count));
        left = left.subspan(count);
      }
    }
    return sets;
  }

private:
  rgnC_SubsetData MakeSubset(const rgnC_SubsetData& shell, bool hasFacets, std::span<const unsigned> records,
                             std::span<const std::size_t> rows) const {
    const std::span<const unsigned> numbers = dst_SetFacts::IsOfNodes(shell) ? nodes_ : elements_;
    std::vector<int> ids, facets;
    ids.reserve(rows.size());
    facets.reserve(hasFacets ? rows.size() : 0);
    for (const std::size_t at : rows) {
      ids.push_back(static_cast<int>(std::ranges::lower_bound(numbers, records[at + 2]) - numbers.begin()));
      if (hasFacets) facets.push_back(static_cast<int>(records[at + 3]));
    }
    return shell.WithItems(rgnC_SubsetData::Ids(ids), rgnC_SubsetData::Ids(facets));
  }

  static void AddPositions(dst_Part::Arrays& arrays, unsigned flat, std::span<const unsigned> records,
                           std::span<const std::size_t> rows) {
    if (arrays.positionStarts.IsEmpty()) arrays.positionStarts.Append(0U);
    arrays.positionSubsets.Append(flat);
    for (const std::size_t at : rows) arrays.positions.Append(records[at + 1]);
    arrays.positionStarts.Append(static_cast<unsigned>(arrays.positions.Size()));
  }

  const dst_PartFrame& frame_;
  std::span<const unsigned> nodes_, elements_;
};

void Widen(float* box, const float* low, const float* high) {
  if (!(low[0] <= high[0])) return;
  const bool isEmpty = box[0] > box[3];
  for (std::size_t axis = 0; axis < 3; ++axis) {
    box[axis] = isEmpty ? low[axis] : std::min(box[axis], low[axis]);
    box[axis + 3] = isEmpty ? high[axis] : std::max(box[axis + 3], high[axis]);
  }
}

/// Adds the boxes of curved elements.
void AddBoxes(const bme_Mesh& mesh, const bme_ElementClass& elements, float* box) {
  constexpr std::size_t kPiece = 4096;
  const shp_Shape* shape =
      thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(elements.ElemTypeLabel());
  if (!shape || shape->NodeCoordinates().empty()) return;
  const shp_ElementSearch search(*shape);
  const std::span<const float> coordinates = mesh.NodeData().Coordinates().Const();
  const std::size_t width = elements.ElementConnectivity().NumColumns();
  std::span<const int> rows = elements.ElementConnectivity().Const();
  std::vector<shp_FloatBox> boxes(kPiece);
  while (!rows.empty()) {
    std::size_t count = std::min(kPiece, rows.size() / width);
    const auto missing = std::ranges::find(rows.first(count * width), -1) - rows.begin();
    count =
        std::min(count, static_cast<std::size_t>(missing) / width); // rows before the one that is not filled
    search.BoundEach(rows.first(count * width), width, coordinates, std::span(boxes).first(count));
    for (const shp_FloatBox& one : std::span(boxes).first(count)) Widen(box, one.low.data(), one.high.data());
    rows = rows.subspan((count + (count == 0 ? 1 : 0)) * width);
  }
}

void FindRange(std::span<const int> labels, int (&range)[2]) {
  if (labels.empty()) return;
  const auto [low, high] = std::ranges::minmax_element(labels);
  range[0] = *low;
  range[1] = *high;
}
} // namespace

dst_MadePart dst_MakePart(const dst_PartFrame& frame, unsigned part, const dst_PartRecords& records) {
  const dst_SourceFacts& facts = frame.source.Facts();
  Nodes nodes(records.nodes);
  const LocalNodes local(nodes.numbers.Const());
  dst_Part::Arrays arrays{.nodeNumbers = nodes.numbers,
                          .elementNumbers = ArrayOf<unsigned>(NumElementsIn(facts.classes, records.elements)),
                          .sharedNodes = std::move(nodes.sharedNodes),
                          .holderStarts = std::move(nodes.holderStarts),
                          .holders = std::move(nodes.holders)};
  if (arrays.elementNumbers.Size() > bme_kMaxWordElements)
    throw nex_TextException("part " + std::to_string(part) + ": "
                            + std::to_string(arrays.elementNumbers.Size()) + " elements are above "
                            + std::to_string(bme_kMaxWordElements) + "; use more parts");
  unsigned* number = arrays.elementNumbers.Modify().data();
  std::vector<std::unique_ptr<bme_ElementClass>> classes;
  std::span<const unsigned> left = records.elements;
  for (const dst_ClassRange& range : facts.classes)
    classes.emplace_back(TakeClass(range, left, local, number));
  auto nodeData = std::make_unique<bme_NodeData>(uti_CoordCont3D(std::move(nodes.coordinates)),
                                                 facts.shell.NodeData().Dimension());
  nodeData->SetUserNodeLabels(cls_xp1DArrayListInt(std::move(nodes.labels)));
  std::vector<rgnC_SetData> sets = SetMaker(frame, arrays.nodeNumbers.Const(), arrays.elementNumbers.Const())
                                       .Make(records.entries, arrays);
  return {MakeMesh(facts.shell, nodeData.release(), classes),
          dst_Part(frame.index.Identity(), part, frame.numParts, std::move(arrays)), std::move(sets)};
}

dst_PartFacts dst_FactsOf(const bme_Mesh& mesh, const dst_Part& part) {
  dst_PartFacts facts{
      .numElements = part.NumElements(), .numNodes = part.NumNodes(), .numShared = part.NumShared()};
  facts.numOwned = part.NumNodes() - part.NumShared();
  for (unsigned shared = 0; shared < part.NumShared(); ++shared)
    facts.numOwned += part.OwnerOfShared(shared) == part.Number() ? 1 : 0;
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  for (std::size_t i = 0; i + 3 <= xyz.size(); i += 3)
    if (std::isfinite(xyz[i]) && std::isfinite(xyz[i + 1]) && std::isfinite(xyz[i + 2]))
      Widen(facts.box, &xyz[i], &xyz[i]);
  FindRange(mesh.NodeData().UserNodeLabels().Const(), facts.nodeLabels);
  std::vector<int> labels;
  for (const auto& [index, elements] : mesh.ElementData().ElementClasses()) {
    AddBoxes(mesh, *elements, facts.box);
    const std::span<const int> own = elements->UserElementLabels();
    labels.insert(labels.end(), own.begin(), own.end());
  }
  FindRange(labels, facts.elementLabels);
  facts.neighbours = part.Neighbours();
  facts.hash = dst_HashOf(mesh, part);
  return facts;
}

void dst_WritePart(const dst_PartFrame& frame, const dst_MadePart& made, const cow_String& file) {
  const dst_SourceFacts& facts = frame.source.Facts();
  std::filesystem::create_directories(std::filesystem::path(file).parent_path());
  cls_CreateModel(file, {.isDurable = false}, [&](const cls_Database& model, cls_WritePass& pass) {
    pass.Put(bme_kMeshFolder + facts.mesh, made.mesh);
    pass.Put(dst_kPartRoot, made.part);
    for (std::size_t i = 0; i < made.sets.size(); ++i) pass.Put(facts.sets[i].root, made.sets[i]);
    frame.source.PutRegions(pass);
    for (const odiC_Run& run : frame.source.Runs())
      dst_PutRun(run, frame.index, made.mesh, made.part, model, pass);
  });
}
