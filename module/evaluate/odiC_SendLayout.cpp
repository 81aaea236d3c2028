#include "odiC_SendLayout.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace {
bool IsWhole(res_OutputPositionEnm position) {
  return position == res_WHOLE_ELEMENT || position == res_ELEMENT_CENTROID;
}

bool IsOfElements(const odiC_LayoutBlock& block) { return block.classIndex >= 0; }

/// For each of the points the one at whose place it is after the affine map that exchanges nodes; empty when one
/// has none.
std::vector<int> Exchanged(const shp_Shape& shape, std::span<const int> reversal,
                           std::span<const shp_IsoPoint> points) {
  const std::span<const shp_IsoPoint> nodes = shape.NodeCoordinates();
  std::vector<double> functions(nodes.size());
  std::vector<int> from;
  for (const shp_IsoPoint& point : points) {
    shape.ShapeFunctions(point, functions);
    shp_IsoPoint there{};
    for (std::size_t i = 0; i < nodes.size(); ++i)
      for (std::size_t k = 0; k < 3; ++k)
        there[k] += functions[i] * nodes[static_cast<std::size_t>(reversal[i])][k];
    constexpr double kTolerance = 1e-6;
    const auto found = std::ranges::find_if(points, [&](const shp_IsoPoint& other) {
      return std::abs(other[0] - there[0]) + std::abs(other[1] - there[1]) + std::abs(other[2] - there[2])
             < kTolerance;
    });
    if (found == points.end()) return {};
    from.push_back(static_cast<int>(found - points.begin()));
  }
  return from;
}

std::vector<int> Numbered(int count) {
  std::vector<int> numbers(static_cast<std::size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}
} // namespace

odiC_LayoutSender::odiC_LayoutSender(const odiC_Run& run, std::span<const odiC_Image> images,
                                     const bme_Mesh& oldMesh, const bme_Mesh& newMesh,
                                     std::set<cow_String>& remarks)
    : run_(run), images_(images), old_(oldMesh), new_(newMesh), remarks_(remarks) {
  for (const odiC_Image& image : images) {
    const std::vector<int>& from = image.renumbering->elements.from;
    Successors made;
    made.starts.assign(image.renumbering->elements.to.size() + 1, 0);
    for (const int old : from)
      if (old >= 0) ++made.starts[static_cast<std::size_t>(old) + 1];
    std::partial_sum(made.starts.begin(), made.starts.end(), made.starts.begin());
    made.elements.resize(made.starts.back());
    std::vector<unsigned> next(made.starts.begin(), made.starts.end() - 1);
    for (unsigned i = 0; i < from.size(); ++i)
      if (from[i] >= 0) made.elements[next[static_cast<std::size_t>(from[i])]++] = i;
    successors_.push_back(std::move(made));
    turned_.emplace_back(oldMesh, *image.renumbering);
  }
}

const odiC_SentLayout& odiC_LayoutSender::Send(int layout) {
  if (const auto known = known_.find(layout); known != known_.end()) return known->second;
  const std::shared_ptr<const odiC_Layout> old = run_.Layout(layout);
  blocks_.clear();
  for (const odiC_LayoutBlock& block : old->blocks) {
    if (block.IsNodal())
      SendNodes(block);
    else if (IsOfElements(block))
      SendElements(block);
    else
      SendRegion(block);
  }
  return known_.emplace(layout, Joined(*old)).first->second;
}

cow_String odiC_LayoutSender::RegionIn(std::size_t image, const cow_String& region) const {
  const auto found = images_[image].regions.find(region);
  return found == images_[image].regions.end() ? region : found->second;
}

void odiC_LayoutSender::LeaveOut(const odiC_LayoutBlock& block, const char* why) {
  const bme_ElementClass& type = old_.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
  remarks_.insert(run_.Header().name + ": values of " + type.ElemTypeLabel() + " at "
                  + omu_PrimEnum<res_OutputPositionEnm>(block.position).Text() + " are left out, since "
                  + why);
}

/// Whole regions are there once, unless copies of them have names of their own.
void odiC_LayoutSender::SendRegion(const odiC_LayoutBlock& block) {
  for (std::size_t i = 0; i < images_.size(); ++i) {
    odiC_LayoutBlock made = block;
    made.region = RegionIn(i, block.region);
    if (i > 0 && made.region == block.region) continue;
    std::vector<int> rows = Numbered(block.NumRows());
    for (int& row : rows) row += block.firstRow;
    blocks_.push_back({std::move(made), rows, std::vector<int>(rows.size(), static_cast<int>(i))});
  }
}

void odiC_LayoutSender::SendNodes(const odiC_LayoutBlock& block) {
  std::map<cow_String, std::vector<Entry>> byRegion;
  for (std::size_t i = 0; i < images_.size(); ++i) {
    const bme_IndexMap& map = images_[i].renumbering->nodes;
    std::vector<Entry>& entries = byRegion[RegionIn(i, block.region)];
    wip_Poll poll(65536);
    for (int at = 0; at < block.numEntities; ++at) {
      poll.Advance();
      const int node = block.Entity(at), sent = map.to[static_cast<std::size_t>(node)];
      if (sent < 0) continue;
      const int isOther = map.from[static_cast<std::size_t>(sent)] == node ? 0 : 1;
      entries.push_back({sent, 0, isOther, static_cast<int>(i), at, 0, 0});
    }
    AddMade(block, i, entries);
  }
  for (auto& [region, entries] : byRegion) {
    odiC_LayoutBlock made = block;
    made.region = region;
    Add(made, entries, new_.NodeData().NumNodes());
  }
}

/// Nodes that were made between nodes that all have values.
void odiC_LayoutSender::AddMade(const odiC_LayoutBlock& block, std::size_t image,
                                std::vector<Entry>& entries) {
  const bme_Renumbering& map = *images_[image].renumbering;
  std::size_t number = 0;
  wip_Poll poll(65536);
  for (std::size_t node = 0; node < map.nodes.from.size() && number + 1 < map.made.starts.size(); ++node) {
    poll.Advance();
    if (map.nodes.from[node] >= 0) continue;
    odiC_SentLayout::Sum sum;
    for (unsigned k = map.made.starts[number]; k < map.made.starts[number + 1]; ++k) {
      sum.rows.push_back(block.Find(static_cast<int>(map.made.parents[k])));
      sum.weights.push_back(map.made.weights[k]);
    }
    ++number;
    if (std::ranges::find(sum.rows, -1) != sum.rows.end()) continue;
    for (int& row : sum.rows) row += block.firstRow;
    entries.push_back(
        {static_cast<int>(node), 0, 0, static_cast<int>(image), -1 - static_cast<int>(sums_.size()), 0, 0});
    sums_.push_back(std::move(sum));
  }
}

void odiC_LayoutSender::SendElements(const odiC_LayoutBlock& block) {
  EntriesByClass byClass;
  for (std::size_t i = 0; i < images_.size(); ++i)
    if (block.HasFaces())
      SendFaces(block, i, byClass);
    else
      SendWhole(block, i, byClass);
  for (auto& [key, entries] : byClass) SendToClass(block, key.first, key.second, entries);
}

void odiC_LayoutSender::SendWhole(const odiC_LayoutBlock& block, std::size_t image, EntriesByClass& byClass) {
  const bme_ElementClass& type = old_.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
  const Successors& successors = successors_[image];
  const cow_String region = RegionIn(image, block.region);
  const bool isOnOneSide = block.sectionPoint >= 0 && !IsInTheMiddle(block);
  std::vector<Entry>* entries = nullptr;
  const bme_ElementClass* made = nullptr;
  wip_Poll poll(65536);
  for (int at = 0; at < block.numEntities; ++at) {
    poll.Advance();
    const auto old = static_cast<unsigned>(type.FirstElementIndex() + block.Entity(at));
    if ((turned_[image].TurnOf(old) & bme_Renumbering::kSidesExchanged) != 0) {
      remarks_.insert(run_.Header().name
                      + (isOnOneSide
                             ? ": values at section points of turned shells are left out"
                             : ": values of turned shells in their own axes stay in those of before"));
      if (isOnOneSide) continue;
    }
    for (unsigned k = successors.starts[old]; k < successors.starts[old + 1]; ++k) {
      const unsigned element = successors.elements[k];
      const int index = static_cast<int>(element);
      if (!made || index < made->FirstElementIndex()
          || index >= made->FirstElementIndex() + made->NumElements()) {
        made = &new_.ElementData().GetElemClass(element);
        entries = &byClass[{made->ClassIndex(), region}];
      }
      entries->push_back(
          {index - made->FirstElementIndex(), 0, 0, static_cast<int>(image), at, old, element});
    }
  }
}

/// Faces that elements do not have any more become those that lie on them.
void odiC_LayoutSender::SendFaces(const odiC_LayoutBlock& block, std::size_t image, EntriesByClass& byClass) {
  const bme_ElementClass& type = old_.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
  const shp_Shape* shape = type.Shape();
  if (!shape) return LeaveOut(block, "the type has no faces");
  std::vector<unsigned> words;
  words.reserve(static_cast<std::size_t>(block.numEntities));
  for (int at = 0; at < block.numEntities; ++at) {
    const rgnC_Facet facet = rgnC_FacetOf(*shape, block.faces.Const()[static_cast<std::size_t>(at)]);
    words.push_back(bme_FaceWord(static_cast<unsigned>(type.FirstElementIndex() + block.Entity(at)),
                                 static_cast<unsigned>(facet.face), facet.isBack));
  }
  const bme_Adjacency sent = bme_SendFaces(old_, words, *images_[image].renumbering, new_);
  const cow_String region = RegionIn(image, block.region);
  for (std::size_t i = 0; i < words.size(); ++i)
    for (const unsigned word : sent[i]) {
      const bme_ElementClass& made = new_.ElementData().GetElemClass(bme_ElementOf(word));
      const int facet = rgnC_FacetId(*made.Shape(), {static_cast<int>(bme_FaceOf(word)), bme_IsBack(word)});
      byClass[{made.ClassIndex(), region}].push_back(
          {static_cast<int>(bme_ElementOf(word)) - made.FirstElementIndex(), facet, 0,
           static_cast<int>(image), static_cast<int>(i), bme_ElementOf(words[i]), bme_ElementOf(word)});
    }
}

bool odiC_LayoutSender::IsInTheMiddle(const odiC_LayoutBlock& block) const {
  const std::vector<odiC_Category>& categories = run_.Header().categories;
  if (static_cast<std::size_t>(block.category) >= categories.size()) return false; // of none, too
  const std::vector<double>& offsets = categories[static_cast<std::size_t>(block.category)].offsets;
  return static_cast<std::size_t>(block.sectionPoint) < offsets.size()
         && offsets[static_cast<std::size_t>(block.sectionPoint)] == 0;
}

void odiC_LayoutSender::SendToClass(const odiC_LayoutBlock& block, int newClass, const cow_String& region,
                                    std::vector<Entry>& entries) {
  const bme_ElementClass& oldType = old_.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
  const bme_ElementClass& newType = new_.ElementData().GetClass(static_cast<unsigned>(newClass));
  odiC_LayoutBlock made = block;
  made.classIndex = newClass;
  made.region = region;
  const auto all = static_cast<std::size_t>(newType.NumElements());
  const auto isPiece = [&](const Entry& entry) {
    const std::vector<unsigned>& starts = successors_[static_cast<std::size_t>(entry.image)].starts;
    return starts[entry.oldElement + 1] - starts[entry.oldElement] > 1;
  };
  const auto isTurned = [&](const Entry& entry) {
    return turned_[static_cast<std::size_t>(entry.image)].TurnOf(entry.oldElement) != 0;
  };
  const bool areWhole = std::ranges::none_of(entries, isPiece);
  const bool isLike = areWhole && oldType.ElemTypeLabel() == newType.ElemTypeLabel();
  if (IsWhole(block.position) || (isLike && std::ranges::none_of(entries, isTurned)))
    return Add(made, entries, all);
  if (block.HasFaces() && block.valuesPerEntity == 1) return Add(made, entries, all);
  if (block.HasFaces())
    return LeaveOut(block, isLike ? "points of faces of turned elements are not known"
                                  : "the elements have other faces now");
  if (newType.Shape() && oldType.Shape() && newType.Shape()->NumGeomDims() < oldType.Shape()->NumGeomDims())
    return SendSection(block, newClass, region, entries);
  if (block.position != res_ELEMENT_NODAL && !isLike)
    return LeaveOut(block, "the elements have other points now");
  // point by point
  made.valuesPerEntity =
      block.position == res_ELEMENT_NODAL ? newType.NumNodesPerElem() : block.valuesPerEntity;
  const std::vector<int> turned = isLike ? TurnedPoints(block, oldType) : std::vector<int>();
  const std::vector<int> same = Numbered(made.valuesPerEntity);
  std::ranges::sort(entries, {}, &Entry::entity);
  SentBlock sent;
  std::vector<int> entities;
  wip_Poll poll(8192);
  for (const Entry& entry : entries) {
    poll.Advance();
    const std::vector<int> own = isLike ? std::vector<int>() : NodesOf(newType, entry);
    const std::vector<int>& points = !isLike ? own : isTurned(entry) ? turned : same;
    if (points.empty())
      return LeaveOut(block, isLike ? "points of turned elements are not known"
                                    : "the elements have other nodes now");
    entities.push_back(entry.entity);
    for (const int point : points) {
      sent.rows.push_back(block.firstRow + entry.at * block.valuesPerEntity + point);
      sent.images.push_back(entry.image);
    }
  }
  made.numEntities = static_cast<int>(entities.size());
  made.entities =
      entities.size() == all ? cow_ArrayCOW<int>() : cow_ArrayCOW<int>(std::span<const int>(entities));
  sent.block = std::move(made);
  if (!entities.empty()) blocks_.push_back(std::move(sent));
}

std::vector<int> odiC_LayoutSender::TurnedPoints(const odiC_LayoutBlock& block,
                                                 const bme_ElementClass& type) const {
  const shp_Shape* shape = type.Shape();
  if (!shape || shape->ReversalPermutation().empty()) return {};
  const std::span<const int> reversal = shape->ReversalPermutation();
  if (block.position == res_ELEMENT_NODAL) return {reversal.begin(), reversal.end()};
  if (block.valuesPerEntity == 1) return {0};
  if (shape->NumRings() > 1) return {};
  if (block.pointSet < 0) {
    const std::span<const shp_IsoPoint> points = shape->IntPtCoordinates();
    if (points.size() != static_cast<std::size_t>(block.valuesPerEntity)) return {};
    return Exchanged(*shape, reversal, points);
  }
  const std::vector<double>& iso = run_.PointSet(block.pointSet).isoCoordinates;
  std::vector<shp_IsoPoint> points;
  for (std::size_t i = 0; i + 3 <= iso.size(); i += 3) points.push_back({iso[i], iso[i + 1], iso[i + 2]});
  return points.empty() ? std::vector<int>() : Exchanged(*shape, reversal, points);
}

/// Where the nodes of a new element stand in the old one.
std::vector<int> odiC_LayoutSender::NodesOf(const bme_ElementClass& newType, const Entry& entry) const {
  const bme_ElementClass& oldType = old_.ElementData().GetElemClass(entry.oldElement);
  const std::vector<int>& to = images_[static_cast<std::size_t>(entry.image)].renumbering->nodes.to;
  const std::span<const int> oldRow =
      oldType.Connectivity(static_cast<int>(entry.oldElement) - oldType.FirstElementIndex());
  std::vector<int> found;
  for (const int node : newType.Connectivity(entry.entity)) {
    const auto at =
        std::ranges::find_if(oldRow, [&](int old) { return to[static_cast<std::size_t>(old)] == node; });
    if (at == oldRow.end()) return {};
    found.push_back(static_cast<int>(at - oldRow.begin()));
  }
  return found;
}

/// All values of each entity, entities in order and each once.
void odiC_LayoutSender::Add(odiC_LayoutBlock block, std::vector<Entry>& entries, std::size_t all) {
  if (entries.empty()) return;
  const auto key = [](const Entry& entry) {
    return std::tuple(entry.entity, entry.facet, entry.isOther, entry.image, entry.at);
  };
  if (!std::ranges::is_sorted(entries, {}, key)) std::ranges::sort(entries, {}, key);
  const auto isSame = [](const Entry& a, const Entry& b) {
    return a.entity == b.entity && a.facet == b.facet;
  };
  entries.erase(std::unique(entries.begin(), entries.end(), isSame), entries.end());
  SentBlock sent;
  std::vector<int> entities, facets;
  for (const Entry& entry : entries) {
    entities.push_back(entry.entity);
    facets.push_back(entry.facet);
    for (int point = 0; point < block.valuesPerEntity; ++point) {
      sent.rows.push_back(entry.at < 0 ? entry.at
                                       : block.firstRow + entry.at * block.valuesPerEntity + point);
      sent.images.push_back(entry.image);
    }
  }
  block.numEntities = static_cast<int>(entities.size());
  const bool areAll = entities.size() == all && !block.HasFaces();
  block.entities = areAll ? cow_ArrayCOW<int>() : cow_ArrayCOW<int>(std::span<const int>(entities));
  block.faces = block.HasFaces() ? cow_ArrayCOW<int>(std::span<const int>(facets)) : cow_ArrayCOW<int>();
  sent.block = std::move(block);
  blocks_.push_back(std::move(sent));
}

odiC_SentLayout odiC_LayoutSender::Joined(const odiC_Layout& old) {
  std::ranges::stable_sort(blocks_, {}, [](const SentBlock& sent) {
    return std::tuple(sent.block.position, sent.block.classIndex, sent.block.sectionPoint, sent.block.region);
  });
  odiC_SentLayout joined;
  bool isFull = old.completeness == res_FULL_FIELD, isOfClasses = false;
  std::size_t numFull = 0;
  for (SentBlock& sent : blocks_) {
    isFull &= sent.block.entities.IsEmpty();
    isOfClasses |= IsOfElements(sent.block);
    numFull += IsOfElements(sent.block) ? 1 : 0;
    joined.layout.Add(std::move(sent.block));
    joined.rows.insert(joined.rows.end(), sent.rows.begin(), sent.rows.end());
    joined.images.insert(joined.images.end(), sent.images.begin(), sent.images.end());
  }
  std::size_t numClasses = 0; // with elements and a shape
  for (unsigned c = 0; c < new_.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = new_.ElementData().GetClass(c);
    numClasses += type.NumElements() > 0 && type.IsSupported() ? 1 : 0;
  }
  isFull &= !isOfClasses || numFull >= numClasses;
  joined.layout.completeness = joined.rows.empty() ? res_EMPTY_FIELD
                               : isFull            ? res_FULL_FIELD
                                                   : res_PARTIAL_FIELD;
  if (std::ranges::all_of(joined.images, [](int image) { return image == 0; })) joined.images.clear();
  joined.isSame = static_cast<int>(joined.rows.size()) == old.numRows && joined.images.empty();
  for (std::size_t i = 0; i < joined.rows.size() && joined.isSame; ++i)
    joined.isSame = joined.rows[i] == static_cast<int>(i);
  joined.sums = std::move(sums_);
  sums_.clear();
  blocks_.clear();
  return joined;
}
