#include <CoreGeometry/bme_MeshBuilder.h>

#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/omi_Duplicates.h>
#include <bit>
#include <cmath>
#include <cstdio>

namespace {
constexpr std::size_t kSlice = 1 << 14; ///< numbers that are copied, and checked while they are in the cache

/// The numbers as an array. isGood(slice) is asked of all of them; false when one slice is not good.
template<class T, class IsGood> bool Take(bme_Numbers<T>& numbers, cow_ArrayCOW<T>& taken, IsGood isGood) {
  const std::span<const T> all = numbers.Values();
  std::span<T> target;
  if (!numbers.IsOwned()) {
    taken.ResizeUninitialised(all.size());
    target = taken.Modify();
  }
  bool areGood = true;
  for (std::size_t first = 0; first < all.size(); first += kSlice) {
    const std::span<const T> slice = all.subspan(first, std::min(kSlice, all.size() - first));
    if (!target.empty())
      std::copy(slice.begin(), slice.end(), target.begin() + static_cast<std::ptrdiff_t>(first));
    areGood = isGood(slice) && areGood;
  }
  if (numbers.IsOwned()) taken = std::move(numbers).Take();
  return areGood;
}

/// Whether labels grow from a label on, slice by slice: then none is negative or given twice.
class Growth {
public:
  explicit Growth(int last) : last_(last) {}
  bool operator()(std::span<const int> slice) {
    // the sign of the sum says whether one of them is negative or not above the one before: a loop that even
    // the oldest processors run on several labels at once
    unsigned signs = 0;
    for (std::size_t i = 1; i < slice.size(); ++i) {
      const auto label = static_cast<unsigned>(slice[i]), before = static_cast<unsigned>(slice[i - 1]);
      signs |= label | before | (label - before - 1);
    }
    const bool grows = static_cast<int>(signs) >= 0 && slice.front() > last_;
    last_ = slice.back();
    return grows;
  }
  int Last() const { return last_; }

private:
  int last_;
};

cow_String Describe(std::size_t block, const cow_String& type) {
  return "block " + std::to_string(block) + " (" + type + ")";
}

void CheckNotNegative(std::span<const int> labels, const cow_String& place) {
  const auto at = std::ranges::find_if(labels, [](int label) { return label < 0; });
  if (at != labels.end())
    throw nex_TextException(place + std::to_string(at - labels.begin()) + ": label " + std::to_string(*at)
                            + " is negative");
}

[[noreturn]] void RefuseCoordinates(std::span<const float> xyz) {
  std::size_t i = 0;
  while (std::isfinite(xyz[i])) ++i;
  char text[32];
  std::snprintf(text, sizeof text, "%g", static_cast<double>(xyz[i]));
  throw nex_TextException("node " + std::to_string(i / 3) + ": " + "xyz"[i % 3] + " = " + text
                          + " is not a finite number");
}

std::size_t RowLength(const bme_Block& block, const cow_String& place) {
  const bme_ElementClass probe(block.type, cls_xp2DArrayInt());
  const std::size_t given = static_cast<std::size_t>(std::max(block.nodesPerElement, 0));
  if (const shp_Shape* shape = probe.Shape()) {
    const auto length = static_cast<std::size_t>(shape->NumNodes());
    if (block.nodesPerElement != 0 && given != length)
      throw nex_TextException(place + ": " + std::to_string(block.nodesPerElement)
                              + " nodes for each element, where the type has " + std::to_string(length));
    return length;
  }
  if (given == 0)
    throw nex_TextException(place
                            + ": the type has no shape, so nodesPerElement must say how long rows are, not "
                            + std::to_string(block.nodesPerElement));
  return given;
}
} // namespace

bme_MeshBuilder::bme_MeshBuilder(bme_Numbers<float> coordinates, bme_Numbers<int> labels,
                                 unsigned dimension) {
  const std::size_t numNumbers = coordinates.Values().size(), numNodes = numNumbers / 3;
  if (numNumbers % 3 != 0)
    throw nex_TextException("nodes: " + std::to_string(numNumbers)
                            + " coordinates are not three for each node");
  if (!labels.Values().empty() && labels.Values().size() != numNodes)
    throw nex_TextException("nodes: " + std::to_string(labels.Values().size()) + " labels for "
                            + std::to_string(numNodes) + " nodes");
  if (dimension != 2 && dimension != 3)
    throw nex_TextException("nodes: dimension " + std::to_string(dimension) + " is neither 2 nor 3");

  cow_ArrayCOW<float> xyz;
  const bool areFinite = Take(coordinates, xyz, [](std::span<const float> slice) {
    // a number is finite when its exponent has a bit that is 0; then the difference is negative
    constexpr unsigned kAllButSign = 0x7fffffff, kInfinity = 0x7f800000;
    unsigned signs = ~0U;
    for (const float x : slice) signs &= (std::bit_cast<unsigned>(x) & kAllButSign) - kInfinity;
    return static_cast<int>(signs) < 0;
  });
  if (!areFinite) RefuseCoordinates(xyz.Const());
  nodes_ = bme_NodeData(uti_CoordCont3D(std::move(xyz)), dimension);

  cow_ArrayCOW<int> taken;
  if (!Take(labels, taken, Growth(-1))) {
    CheckNotNegative(taken.Const(), "node ");
    const std::span<const int> all[] = {taken.Const()};
    if (const auto twice = omi_FindDuplicate(all))
      throw nex_TextException("node " + std::to_string(twice->second) + ": label "
                              + std::to_string(twice->label) + " is that of node "
                              + std::to_string(twice->first) + ", too");
  }
  if (!taken.IsEmpty()) nodes_.SetUserNodeLabels(cls_xp1DArrayListInt(std::move(taken)));
}

bme_MeshBuilder& bme_MeshBuilder::Add(bme_Block block) {
  const cow_String place = Describe(classes_.size(), block.type);
  const std::size_t columns = RowLength(block, place);
  const std::size_t length = block.connectivity.Values().size();
  if (length % columns != 0)
    throw nex_TextException(place + ": " + std::to_string(length) + " node indices do not make rows of "
                            + std::to_string(columns));
  const std::size_t numElements = length / columns, numLabels = block.labels.Values().size();
  if (numLabels != 0 && numLabels != numElements)
    throw nex_TextException(place + ": " + std::to_string(numLabels) + " labels for "
                            + std::to_string(numElements) + " elements");

  const unsigned numNodes = nodes_.NumNodes();
  cow_ArrayCOW<int> rows, labels;
  const bool areNodes = Take(block.connectivity, rows, [numNodes](std::span<const int> slice) {
    unsigned signs = 0; // of a node that is negative, or above the last one
    for (const int node : slice)
      signs |= static_cast<unsigned>(node) | (numNodes - 1 - static_cast<unsigned>(node));
    return static_cast<int>(signs) >= 0;
  });
  if (!areNodes) {
    const auto at =
        std::ranges::find_if(rows.Const(), [&](int node) { return static_cast<unsigned>(node) >= numNodes; });
    const auto element = static_cast<std::size_t>(at - rows.Const().begin()) / columns;
    throw nex_TextException(
        place + ", element " + std::to_string(element) + ": node " + std::to_string(*at)
        + (numNodes == 0 ? ", but there are no nodes" : " is outside 0.." + std::to_string(numNodes - 1)));
  }
  Growth growth(lastLabel_);
  const bool doLabelsGrow =
      Take(block.labels, labels, [&](std::span<const int> slice) { return growth(slice); });
  if (!doLabelsGrow) CheckNotNegative(labels.Const(), place + ", element ");

  bme_ElementClass made(block.type, cls_xp2DArrayInt(columns, std::move(rows)));
  made.SetUserElementLabels(cls_xp1DArrayListInt(std::move(labels)));
  made.SetCategoryLabel(block.category);
  classes_.push_back(std::move(made));
  doLabelsGrow_ = doLabelsGrow_ && doLabelsGrow;
  lastLabel_ = growth.Last();
  return *this;
}

void bme_MeshBuilder::CheckLabels() const {
  const bme_ElementClass *labelled = nullptr, *bare = nullptr;
  std::vector<std::span<const int>> all;
  for (const bme_ElementClass& type : classes_) {
    all.push_back(type.UserElementLabels());
    if (type.NumElements() > 0) (type.HasUserElementLabels() ? labelled : bare) = &type;
  }
  const auto Place = [&](const bme_ElementClass& type) {
    return Describe(static_cast<std::size_t>(&type - classes_.data()), type.ElemTypeLabel());
  };
  if (labelled && bare)
    throw nex_TextException(Place(*bare) + ": the elements have no labels, but those of " + Place(*labelled)
                            + " have");
  if (doLabelsGrow_) return;
  const auto twice = omi_FindDuplicate(all);
  if (!twice) return;
  const auto Element = [&](std::size_t position) {
    std::size_t i = 0;
    while (position >= all[i].size()) position -= all[i++].size();
    return Place(classes_[i]) + ", element " + std::to_string(position);
  };
  throw nex_TextException(Element(twice->second) + ": label " + std::to_string(twice->label) + " is that of "
                          + Element(twice->first) + ", too");
}

bme_Mesh bme_MeshBuilder::Build(unsigned id, bme_MeshType type, const gsl_Matrix* transform) {
  CheckLabels();
  std::vector<std::unique_ptr<bme_ElementClass>> made;
  made.reserve(classes_.size());
  for (const bme_ElementClass& elements : classes_) {
    made.push_back(std::make_unique<bme_ElementClass>(elements));
    made.back()->SetMeshIndex(static_cast<int>(id));
  }
  auto nodes = std::make_unique<bme_NodeData>(nodes_);
  *this = bme_MeshBuilder({});
  std::vector<bme_ElementClass*> handedOver;
  handedOver.reserve(made.size());
  for (auto& elements : made) handedOver.push_back(elements.release());
  auto elements =
      std::make_unique<bme_ElementData>(handedOver.data(), static_cast<unsigned>(handedOver.size()));
  return {id, nodes.release(), elements.release(), type, transform};
}
