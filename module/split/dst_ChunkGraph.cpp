#include "dst_ChunkGraph.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <array>
#include <limits>
#include <metis.h>
#include <numeric>

namespace {
/// A side of an element, by a hash of its corners: two sides that have it by chance only cost some quality.
struct Side {
  std::uint64_t hash;
  unsigned element;
};

/// Corners of the sides of an element type, side after side.
struct Sides {
  explicit Sides(const cow_String& label) {
    const shp_Shape* shape = thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
    if (!shape) return;
    const int dims = shape->NumGeomDims();
    for (int face = 0; face < shape->NumFaces(); ++face) {
      const auto corners = static_cast<std::size_t>(shape->CornersPerFace()[static_cast<std::size_t>(face)]);
      const std::span<const int> nodes = shape->FaceNodes(face);
      if (corners > nodes.size()) continue;
      if (dims >= 2) AddSide(nodes.first(corners));
      for (std::size_t i = 0; dims == 2 && i < corners; ++i)
        AddSide(std::array{nodes[i], nodes[(i + 1) % corners]});
      for (std::size_t i = 0; dims == 1 && i < corners; ++i) AddSide(nodes.subspan(i, 1));
    }
    if (dims == 1 && shape->NumFaces() == 0)
      for (int end = 0; end < 2; ++end) AddSide(std::array{end});
  }
  void AddSide(std::span<const int> corners) {
    const std::vector<int> side(corners.begin(), corners.end());
    if (std::ranges::find(all, side) == all.end()) all.push_back(side);
  }
  std::vector<std::vector<int>> all;
};

std::uint64_t Mixed(std::uint64_t value) noexcept {
  value = (value ^ value >> 32) * 0xd6e8feb86659fd93ULL;
  value = (value ^ value >> 32) * 0xd6e8feb86659fd93ULL;
  return value ^ value >> 32;
}

using Pair = std::pair<unsigned, unsigned>;

class Graph {
public:
  explicit Graph(const dst_Chunk& chunk) {
    std::vector<Sides> sidesOf;
    for (const dst_ClassRange& range : chunk.facts.classes) sidesOf.emplace_back(range.ElemTypeLabel());
    std::vector<Side> sides;
    std::vector<std::pair<std::uint64_t, unsigned>> places; // on the curve
    std::size_t classIndex = 0;
    for (std::size_t at = 0; at < chunk.records.size();) {
      const unsigned* record = &chunk.records[at];
      while (record[0] >= chunk.facts.classes[classIndex].EndElement()) ++classIndex;
      const auto width = static_cast<std::size_t>(chunk.facts.classes[classIndex].NodesPerElement());
      const auto element = static_cast<unsigned>(numbers.size());
      for (const std::vector<int>& corners : sidesOf[classIndex].all)
        sides.push_back({HashOf(corners, record + 3), element});
      numbers.push_back(record[0]);
      weights.push_back(static_cast<idx_t>(width));
      places.emplace_back(std::uint64_t{record[1]} << 32 | record[2], element);
      at += 3 + width;
    }
    PairSides(sides);
    sides = {};
    PairAlone(places);
    MakeRows();
  }

  std::vector<unsigned> numbers;
  std::vector<idx_t> weights, starts, ends;

private:
  static std::uint64_t HashOf(const std::vector<int>& corners, const unsigned* nodes) {
    std::uint64_t sum = 0, product = corners.size();
    for (const int corner : corners) { // of any order
      const std::uint64_t mixed = Mixed(nodes[corner] + 1ULL);
      sum += mixed;
      product ^= mixed * (mixed >> 7 | 1);
    }
    return Mixed(sum) ^ product;
  }

  void PairSides(std::vector<Side>& sides) {
    constexpr std::size_t kMostAtOnce = 8;
    std::ranges::sort(sides, {}, [](const Side& side) { return std::pair(side.hash, side.element); });
    for (std::size_t first = 0, end = 0; first < sides.size(); first = end) {
      while (end < sides.size() && sides[end].hash == sides[first].hash) ++end;
      for (std::size_t i = first; i < end; ++i)
        for (std::size_t k = i + 1; k < std::min(end, end - first > kMostAtOnce ? i + 2 : end); ++k)
          if (sides[i].element != sides[k].element) pairs_.emplace_back(sides[i].element, sides[k].element);
    }
  }

  /// An element without neighbours hangs on the next one on the curve.
  void PairAlone(std::vector<std::pair<std::uint64_t, unsigned>>& places) {
    std::vector<bool> hasNeighbour(numbers.size());
    for (const Pair& pair : pairs_) hasNeighbour[pair.first] = hasNeighbour[pair.second] = true;
    if (std::ranges::find(hasNeighbour, false) == hasNeighbour.end()) return;
    std::ranges::sort(places);
    for (std::size_t i = 0; i < places.size(); ++i)
      if (!hasNeighbour[places[i].second])
        pairs_.emplace_back(places[i].second, places[i + 1 < places.size() ? i + 1 : i - 1].second);
  }

  void MakeRows() {
    if (2 * pairs_.size() > static_cast<std::size_t>(std::numeric_limits<idx_t>::max()))
      throw nex_TextException("METIS cannot number " + std::to_string(2 * pairs_.size())
                              + " neighbours of elements; use more chunks, or the method curve");
    for (Pair& pair : pairs_)
      if (pair.first > pair.second) std::swap(pair.first, pair.second);
    std::ranges::sort(pairs_);
    pairs_.erase(std::unique(pairs_.begin(), pairs_.end()), pairs_.end());
    starts.assign(numbers.size() + 1, 0);
    for (const Pair& pair : pairs_) {
      ++starts[pair.first + 1];
      ++starts[pair.second + 1];
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    ends.resize(2 * pairs_.size());
    std::vector<idx_t> at(starts.begin(), starts.end() - 1);
    for (const Pair& pair : pairs_) {
      ends[static_cast<std::size_t>(at[pair.first]++)] = static_cast<idx_t>(pair.second);
      ends[static_cast<std::size_t>(at[pair.second]++)] = static_cast<idx_t>(pair.first);
    }
    pairs_ = {};
  }

  std::vector<Pair> pairs_;
};

/// Number of pieces of equal parts that hang together.
std::uint64_t CountPieces(const Graph& graph, std::span<const idx_t> parts) {
  std::vector<bool> isSeen(parts.size());
  std::vector<std::size_t> stack;
  std::uint64_t pieces = 0;
  for (std::size_t seed = 0; seed < parts.size(); ++seed) {
    if (isSeen[seed]) continue;
    ++pieces;
    isSeen[seed] = true;
    for (stack = {seed}; !stack.empty();) {
      const std::size_t at = stack.back();
      stack.pop_back();
      for (auto k = static_cast<std::size_t>(graph.starts[at]);
           k < static_cast<std::size_t>(graph.starts[at + 1]); ++k)
        if (const auto next = static_cast<std::size_t>(graph.ends[k]);
            !isSeen[next] && parts[next] == parts[seed]) {
          isSeen[next] = true;
          stack.push_back(next);
        }
    }
  }
  return pieces;
}
} // namespace

std::uint64_t dst_MemoryToCut(std::uint64_t numRowNodes) noexcept { return numRowNodes * 172 / 8; }

dst_CutChunk dst_Cut(dst_Chunk chunk, const dst_CutOptions& options) {
  Graph graph(chunk);
  chunk.records = {};
  idx_t settings[METIS_NOPTIONS], numVertices = static_cast<idx_t>(graph.numbers.size()), numWeights = 1,
                                  cut = 0, numParts = static_cast<idx_t>(chunk.numParts);
  METIS_SetDefaultOptions(settings);
  settings[METIS_OPTION_SEED] = options.seed;
  settings[METIS_OPTION_NUMBERING] = 0;
  settings[METIS_OPTION_DBGLVL] = 0;
  std::vector<idx_t> parts(graph.numbers.size());
  const int result = METIS_PartGraphKway(&numVertices, &numWeights, graph.starts.data(), graph.ends.data(),
                                         options.weightNodes ? graph.weights.data() : nullptr, nullptr,
                                         nullptr, &numParts, nullptr, nullptr, settings, &cut, parts.data());
  if (result == METIS_ERROR_MEMORY) throw std::bad_alloc();
  if (result != METIS_OK) throw nex_TextException("METIS failed (" + std::to_string(result) + ")");
  dst_CutChunk done;
  done.numPieces = CountPieces(graph, parts);
  done.parts.reserve(parts.size());
  for (const idx_t part : parts) done.parts.push_back(chunk.firstPart + static_cast<unsigned>(part));
  done.numbers = std::move(graph.numbers);
  return done;
}
