#include "bme_LinkFaces.h"
#include "bme_Pool.h"
#include "bme_SiblingFaces.h"

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <numeric>
#include <utility>

namespace {
constexpr int kElementsBetween = 8192; ///< questions whether to stop

/// Corners of what elements of one shape share with others, as local node numbers.
using LocalKeys = std::vector<std::vector<int>>;

LocalKeys EdgesOf(const shp_Shape& shape) {
  LocalKeys keys;
  shp_InverseTopoTable::Mask mask = shape.EdgesMask();
  shape.UniqueEdge(mask);
  for (int face = 0; face < shape.NumFaces(); ++face)
    for (int edge = 0; edge < shape.EdgesPerFace()[static_cast<std::size_t>(face)]; ++edge) {
      const auto nodes = shape.EdgeNodes(face, edge);
      if ((mask >> (4 * face + edge) & 1) != 0 && !nodes.empty())
        keys.push_back({nodes.front(), nodes.back()});
    }
  return keys;
}

LocalKeys SidesOf(const shp_Shape& shape) {
  LocalKeys keys;
  if (shape.NumGeomDims() == 3) {
    for (int face = 0; face < shape.NumFaces(); ++face) {
      const auto corners = shape.FaceNodes(face).first(
          static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(face)]));
      keys.emplace_back(corners.begin(), corners.end());
    }
  } else if (shape.NumGeomDims() == 2) {
    for (int edge = 0; edge < shape.EdgesPerFace()[0]; ++edge) {
      const auto nodes = shape.EdgeNodes(0, edge);
      keys.push_back({nodes.front(), nodes.back()});
    }
  } else if (shape.NumGeomDims() == 1) {
    keys = {{shape.EdgeNodes(0, 0).front()}, {shape.EdgeNodes(0, 0).back()}};
  }
  return keys;
}

LocalKeys KeysOf(const bme_ElementClass& type, bme_Across across) {
  const shp_Shape* shape = type.Shape();
  if (!shape || shape->NodeCoordinates().empty()) return {};
  return across == bme_Across::Edge ? EdgesOf(*shape) : SidesOf(*shape);
}

std::size_t LeastCorners(const bme_ElementClass& type, bme_Across across) {
  return across == bme_Across::Edge ? 2 : static_cast<std::size_t>(type.Shape()->NumGeomDims());
}

/// A row for each element: what add(class, position in the class, items, memory) appends, ascending and each once. The
/// memory is what an earlier call has left in it.
template<class Add> bme_Adjacency MakeRows(const bme_ElementData& elements, const Add& add) {
  struct Piece {
    const bme_ElementClass* type;
    int first, end;
    bme_Adjacency rows{};
  };
  std::vector<Piece> pieces;
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    const int count = elements.GetClass(c).NumElements();
    for (int first = 0; first < count; first += kElementsBetween)
      pieces.push_back({&elements.GetClass(c), first, std::min(count, first + kElementsBetween)});
  }
  bme_Pool<std::vector<unsigned>> pool;
  wip_RunPieces(pieces.size(), [&](std::size_t k) {
    Piece& piece = pieces[k];
    std::vector<unsigned> memory = pool.Take();
    omi_LargeVector<unsigned>& items = piece.rows.items;
    for (int e = piece.first; e < piece.end; ++e) {
      const auto begin = static_cast<std::ptrdiff_t>(items.size());
      add(*piece.type, e, items, memory);
      std::sort(items.begin() + begin, items.end());
      items.erase(std::unique(items.begin() + begin, items.end()), items.end());
      piece.rows.first.push_back(static_cast<unsigned>(items.size()));
    }
    pool.Give(std::move(memory));
  });
  bme_Adjacency all;
  std::size_t count = 0;
  for (const Piece& piece : pieces) count += piece.rows.items.size();
  all.items.reserve(count);
  all.first.reserve(std::size_t{elements.NumElements()} + 1);
  for (Piece& piece : pieces) {
    wip_Poll::Now();
    const unsigned before = all.first.back();
    for (std::size_t row = 1; row < piece.rows.first.size(); ++row)
      all.first.push_back(before + piece.rows.first[row]);
    all.items.insert(all.items.end(), piece.rows.items.begin(), piece.rows.items.end());
    piece.rows = {};
  }
  return all;
}
} // namespace

const bme_Adjacency& bme_FEMConnect::ElementsOfNodes() const {
  if (elementsOfNodes_) return *elementsOfNodes_;
  const bme_ElementData& elements = mesh_.ElementData();
  const unsigned numNodes = mesh_.NodeData().NumNodes();
  // of a node that an element names more than once the last element that came is known
  omi_LargeVector<unsigned> last(numNodes);
  const auto visit = [&](auto use) {
    std::ranges::fill(last, bme_kNotFound);
    for (unsigned c = 0; c < elements.NumClasses(); ++c) {
      const bme_ElementClass& type = elements.GetClass(c);
      const auto rowLength = static_cast<std::size_t>(type.NumNodesPerElem());
      const std::span<const int> all = type.ElementConnectivity().Const();
      auto element = static_cast<unsigned>(type.FirstElementIndex());
      wip_InBlocks(all.size(), std::size_t{kElementsBetween} * rowLength,
                   [&](std::size_t first, std::size_t end) {
                     for (std::size_t begin = first; begin < end; begin += rowLength, ++element)
                       for (const int node : all.subspan(begin, rowLength)) {
                         if (static_cast<unsigned>(node) >= numNodes
                             || last[static_cast<std::size_t>(node)] == element)
                           continue;
                         last[static_cast<std::size_t>(node)] = element;
                         use(static_cast<std::size_t>(node), element);
                       }
                   });
    }
  };
  bme_Adjacency rows;
  rows.first.assign(static_cast<std::size_t>(numNodes) + 1, 0);
  visit([&](std::size_t node, unsigned) { ++rows.first[node + 1]; });
  std::partial_sum(rows.first.begin(), rows.first.end(), rows.first.begin());
  rows.items.resize(rows.first.back());
  omi_LargeVector<unsigned> end(rows.first.begin(), rows.first.end() - 1);
  visit([&](std::size_t node, unsigned element) { rows.items[end[node]++] = element; });
  return elementsOfNodes_.emplace(std::move(rows));
}

bme_FEMConnect::Links bme_FEMConnect::MakeLinks(bme_Across across) const {
  const bme_ElementData& elements = mesh_.ElementData();
  const unsigned numNodes = mesh_.NodeData().NumNodes();
  Links links;
  std::vector<bme_KeyRecord> records;
  unsigned slot = 0;
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    links.firstSlot.push_back(slot);
    const LocalKeys keys = KeysOf(elements.GetClass(c), across);
    slot += static_cast<unsigned>(keys.size()) * static_cast<unsigned>(elements.GetClass(c).NumElements());
  }
  links.firstSlot.push_back(slot);
  links.next.resize(slot);
  wip_InBlocks(slot, std::size_t{1} << 20, [&](std::size_t first, std::size_t end) {
    std::iota(links.next.begin() + static_cast<std::ptrdiff_t>(first),
              links.next.begin() + static_cast<std::ptrdiff_t>(end), static_cast<unsigned>(first));
  });
  const bool areSolidsLinked =
      across == bme_Across::Face && bme_LinkFaces(mesh_, links.firstSlot, links.next);
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    const bme_ElementClass& type = elements.GetClass(c);
    const LocalKeys keys = KeysOf(type, across);
    if (keys.empty() || (areSolidsLinked && type.Shape()->NumGeomDims() == 3)) continue;
    slot = links.firstSlot[c];
    const std::size_t least = LeastCorners(type, across);
    const auto rowLength = static_cast<std::size_t>(type.NumNodesPerElem());
    const std::span<const int> all = type.ElementConnectivity().Const();
    records.reserve(records.size() + keys.size() * static_cast<std::size_t>(type.NumElements()));
    std::array<int, 4> corners;
    wip_InBlocks(all.size(), std::size_t{kElementsBetween} * rowLength,
                 [&](std::size_t first, std::size_t end) {
                   for (std::size_t begin = first; begin < end; begin += rowLength)
                     for (const std::vector<int>& key : keys) {
                       for (std::size_t k = 0; k < key.size(); ++k)
                         corners[k] = all[begin + static_cast<std::size_t>(key[k])];
                       bme_KeyRecord record;
                       record.slot = slot++;
                       if (bme_MakeKey(std::span(corners).first(key.size()), least, numNodes, record))
                         records.push_back(record);
                     }
                 });
  }
  bme_LinkEqualKeys(records, numNodes, links.next);
  return links;
}

const bme_FEMConnect::Links& bme_FEMConnect::LinksOf(bme_Across across) const {
  std::optional<Links>& links = links_[static_cast<std::size_t>(across)];
  return links ? *links : links.emplace(MakeLinks(across));
}

bme_Adjacency bme_FEMConnect::MakeNodeNeighbours() const {
  const bme_ElementData& elements = mesh_.ElementData();
  const bme_Adjacency& ofNodes = ElementsOfNodes();
  return MakeRows(elements, [&](const bme_ElementClass& type, int e, omi_LargeVector<unsigned>& items,
                                std::vector<unsigned>& seenBy) {
    const auto element = static_cast<unsigned>(type.FirstElementIndex() + e);
    seenBy.resize(elements.NumElements(), bme_kNotFound);
    seenBy[element] = element;
    for (const int node : type.Connectivity(e)) {
      if (static_cast<std::size_t>(static_cast<unsigned>(node)) >= ofNodes.Count()) continue;
      for (const unsigned other : ofNodes[static_cast<std::size_t>(node)])
        if (std::exchange(seenBy[other], element) != element) items.push_back(other);
    }
  });
}

bme_Adjacency bme_FEMConnect::MakeSideNeighbours(bme_Across across) const {
  const Links& links = LinksOf(across);
  const bme_ElementData& elements = mesh_.ElementData();
  std::vector<unsigned> elementOfSlot(links.next.size());
  for (unsigned c = 0; c < elements.NumClasses(); ++c) {
    const auto count = static_cast<unsigned>(elements.GetClass(c).NumElements());
    const unsigned begin = links.firstSlot[c], size = links.firstSlot[c + 1] - begin;
    const auto firstElement = static_cast<unsigned>(elements.GetClass(c).FirstElementIndex());
    wip_InBlocks(size, std::size_t{1} << 20, [&](std::size_t first, std::size_t end) {
      for (auto k = static_cast<unsigned>(first); k < end; ++k)
        elementOfSlot[begin + k] = firstElement + k / (size / count);
    });
  }
  return MakeRows(elements,
                  [&](const bme_ElementClass& type, int e, omi_LargeVector<unsigned>& items, auto&) {
                    const auto c = static_cast<std::size_t>(type.ClassIndex());
                    const unsigned size = (links.firstSlot[c + 1] - links.firstSlot[c])
                                          / static_cast<unsigned>(type.NumElements()),
                                   begin = links.firstSlot[c] + static_cast<unsigned>(e) * size;
                    for (unsigned slot = begin; slot < begin + size; ++slot)
                      for (unsigned other = links.next[slot]; other != slot; other = links.next[other])
                        if (elementOfSlot[other] != elementOfSlot[slot])
                          items.push_back(elementOfSlot[other]);
                  });
}

const bme_Adjacency& bme_FEMConnect::Neighbours(bme_Across across) const {
  std::optional<bme_Adjacency>& rows = neighbours_[static_cast<std::size_t>(across)];
  if (rows) return *rows;
  return rows.emplace(across == bme_Across::Node ? MakeNodeNeighbours() : MakeSideNeighbours(across));
}

std::vector<unsigned> bme_FEMConnect::FreeNodes() const {
  const bme_Adjacency& rows = ElementsOfNodes();
  std::vector<unsigned> nodes;
  for (std::size_t node = 0; node < rows.Count(); ++node)
    if (rows.first[node] == rows.first[node + 1]) nodes.push_back(static_cast<unsigned>(node));
  return nodes;
}

bme_FEMConnect::Side bme_FEMConnect::NextAcross(Side side) const {
  const Links& links = LinksOf(bme_Across::Face);
  const bme_ElementData& elements = mesh_.ElementData();
  const bme_ElementClass& type = elements.GetElemClass(side.element);
  const auto sidesOf = [&](const bme_ElementClass& t) {
    const auto c = static_cast<std::size_t>(t.ClassIndex());
    return (links.firstSlot[c + 1] - links.firstSlot[c]) / static_cast<unsigned>(t.NumElements());
  };
  const auto slotOf = [&](const bme_ElementClass& t) {
    return links.firstSlot[static_cast<std::size_t>(t.ClassIndex())];
  };
  if (static_cast<unsigned>(side.side) >= sidesOf(type))
    throw nex_OutOfRangeException(static_cast<std::size_t>(side.side), sidesOf(type));
  const unsigned inClass = side.element - static_cast<unsigned>(type.FirstElementIndex());
  const unsigned next = links.next[slotOf(type) + inClass * sidesOf(type) + static_cast<unsigned>(side.side)];
  const auto found = std::ranges::upper_bound(links.firstSlot, next) - links.firstSlot.begin() - 1;
  const bme_ElementClass& other = elements.GetClass(static_cast<unsigned>(found));
  const unsigned offset = next - slotOf(other);
  return {static_cast<unsigned>(other.FirstElementIndex()) + offset / sidesOf(other),
          static_cast<int>(offset % sidesOf(other))};
}

std::vector<std::vector<unsigned>> bme_FEMConnect::Rings(std::span<const unsigned> seeds, int count,
                                                         bme_Across across) const {
  const bme_Adjacency& rows = Neighbours(across);
  std::vector<bool> isReached(rows.Count());
  std::vector<std::vector<unsigned>> rings(1);
  for (const unsigned seed : seeds) {
    if (seed >= rows.Count()) throw nex_OutOfRangeException(seed, rows.Count());
    if (!isReached[seed]) rings[0].push_back(seed);
    isReached[seed] = true;
  }
  std::ranges::sort(rings[0]);
  wip_Poll poll(kElementsBetween);
  for (int ring = 0; ring < count; ++ring) {
    std::vector<unsigned> next;
    for (const unsigned element : rings.back()) {
      poll.Advance();
      for (const unsigned other : rows[element]) {
        if (!isReached[other]) next.push_back(other);
        isReached[other] = true;
      }
    }
    if (next.empty()) break;
    std::ranges::sort(next);
    rings.push_back(std::move(next));
  }
  return rings;
}

bme_FEMConnect::Components bme_FEMConnect::FindComponents(bme_Across across) const {
  const unsigned numElements = mesh_.ElementData().NumElements();
  Components components;
  components.ofElement.assign(numElements, bme_kNotFound);
  std::vector<unsigned> stack;
  std::vector<bool> isNodeDone;
  const auto reach = [&](std::span<const unsigned> elements) {
    for (const unsigned other : elements) {
      if (components.ofElement[other] != bme_kNotFound) continue;
      components.ofElement[other] = components.count;
      stack.push_back(other);
    }
  };
  // across nodes the rows of the nodes are enough, each once
  const bme_Adjacency& rows = across == bme_Across::Node ? ElementsOfNodes() : Neighbours(across);
  if (across == bme_Across::Node) isNodeDone.resize(rows.Count());
  wip_Poll poll(kElementsBetween);
  for (unsigned seed = 0; seed < numElements; ++seed) {
    if (components.ofElement[seed] != bme_kNotFound) continue;
    reach({&seed, 1});
    while (!stack.empty()) {
      const unsigned element = stack.back();
      stack.pop_back();
      poll.Advance();
      if (across != bme_Across::Node) {
        reach(rows[element]);
        continue;
      }
      const bme_ElementClass& type = mesh_.ElementData().GetElemClass(element);
      for (const int node : type.Connectivity(static_cast<int>(element) - type.FirstElementIndex())) {
        const auto n = static_cast<std::size_t>(static_cast<unsigned>(node));
        if (n >= rows.Count() || isNodeDone[n]) continue;
        isNodeDone[n] = true;
        reach(rows[n]);
      }
    }
    ++components.count;
  }
  return components;
}
