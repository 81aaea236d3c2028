#include "dst_ChunkGraph.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <array>
#include <bit>
#include <ctime>
#include <limits>
#include <metis.h>
#include <numeric>

namespace {
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
  int NumCorners() const { ///< nodes of a row up to the last corner of a side
    int end = 0;
    for (const std::vector<int>& side : all) end = std::max(end, *std::ranges::max_element(side) + 1);
    return end;
  }
};

std::uint64_t Mixed(std::uint64_t value) noexcept {
  value = (value ^ value >> 32) * 0xd6e8feb86659fd93ULL;
  value = (value ^ value >> 32) * 0xd6e8feb86659fd93ULL;
  return value ^ value >> 32;
}

using Pair = std::pair<unsigned, unsigned>;

/// Elements that are neighbours, in rows.
class Graph {
public:
  explicit Graph(const dst_Chunk& chunk) : chunk_(chunk) {
    for (const dst_ClassRange& range : chunk.facts.classes) sidesOf_.emplace_back(range.ElemTypeLabel());
    ForEachElement([&](unsigned, std::size_t, const unsigned* record) { numbers.push_back(record[0]); });
    PairSides();
    PairAlone();
    MakeRows();
  }
  /// Nodes in the rows of the elements.
  std::vector<idx_t> Weights() const {
    std::vector<idx_t> weights;
    weights.reserve(numbers.size());
    ForEachElement([&](unsigned, std::size_t classIndex, const unsigned*) {
      weights.push_back(static_cast<idx_t>(chunk_.facts.classes[classIndex].NodesPerElement()));
    });
    return weights;
  }

  std::vector<unsigned> numbers;
  std::vector<idx_t> starts, ends;

private:
  /// Calls visit(element, class index, record).
  template<class Visit> void ForEachElement(Visit visit) const {
    std::size_t classIndex = 0;
    unsigned element = 0;
    for (std::size_t at = 0; at < chunk_.records.size(); ++element) {
      const unsigned* record = &chunk_.records[at];
      while (record[0] >= chunk_.facts.classes[classIndex].EndElement()) ++classIndex;
      visit(element, classIndex, record);
      at += 3 + static_cast<std::size_t>(chunk_.facts.classes[classIndex].NodesPerElement());
    }
  }

  /// Calls visit(element, lowest corner, hash) for each side. The hash is of its corners in any order: two sides that have
  /// one by chance only cost some quality.
  template<class Visit> void ForEachSide(Visit visit) const {
    std::vector<int> numCorners;
    for (const Sides& sides : sidesOf_) numCorners.push_back(sides.NumCorners());
    std::vector<std::uint64_t> mixed(static_cast<std::size_t>(*std::ranges::max_element(numCorners)));
    ForEachElement([&](unsigned element, std::size_t classIndex, const unsigned* record) {
      for (int i = 0; i < numCorners[classIndex]; ++i)
        mixed[static_cast<std::size_t>(i)] = Mixed(record[3 + i] + 1ULL);
      for (const std::vector<int>& corners : sidesOf_[classIndex].all) {
        std::uint64_t sum = corners.size();
        unsigned lowest = ~0U;
        for (const int corner : corners) {
          sum += mixed[static_cast<std::size_t>(corner)];
          lowest = std::min(lowest, record[3 + corner]);
        }
        visit(element, lowest, Mixed(sum));
      }
    });
  }

  /// Sides go to buckets by their lowest corners, so that elements that are near stay near, and are sorted there by hash
  /// and element.
  void PairSides() {
    constexpr std::size_t kMostAtOnce = 8, kBucket = 64;
    std::size_t numSides = 0;
    std::uint64_t least = ~0U, most = 0;
    ForEachElement([&](unsigned, std::size_t classIndex, const unsigned* record) {
      numSides += sidesOf_[classIndex].all.size();
      const auto width = static_cast<std::size_t>(chunk_.facts.classes[classIndex].NodesPerElement());
      for (const unsigned node : std::span(record + 3, width)) {
        least = std::min<std::uint64_t>(least, node);
        most = std::max<std::uint64_t>(most, node);
      }
    });
    if (numSides == 0) return;
    const std::uint64_t numBuckets = numSides / kBucket + 1;
    const std::uint64_t perBucket = (most - least) / numBuckets + 1; // nodes
    std::vector<std::size_t> bucketStarts(numBuckets + 1);
    ForEachSide(
        [&](unsigned, unsigned lowest, std::uint64_t) { ++bucketStarts[(lowest - least) / perBucket + 1]; });
    std::partial_sum(bucketStarts.begin(), bucketStarts.end(), bucketStarts.begin());
    std::vector<std::uint64_t> sides(numSides);
    std::vector<std::size_t> next(bucketStarts.begin(), bucketStarts.end() - 1);
    ForEachSide([&](unsigned element, unsigned lowest, std::uint64_t hash) {
      sides[next[(lowest - least) / perBucket]++] = hash << 32 | element;
    });
    pairs_.reserve(numSides / 2 + 1);
    const auto isOther = [](std::uint64_t a, std::uint64_t b) { return a >> 32 != b >> 32; };
    for (std::size_t bucket = 0; bucket < numBuckets; ++bucket) {
      const std::span own =
          std::span(sides).subspan(bucketStarts[bucket], bucketStarts[bucket + 1] - bucketStarts[bucket]);
      std::ranges::sort(own);
      for (std::size_t first = 0, end = 0; first < own.size(); first = end) {
        for (end = first + 1; end < own.size() && !isOther(own[first], own[end]);) ++end;
        for (std::size_t i = first; i < end; ++i)
          for (std::size_t k = i + 1; k < std::min(end, end - first > kMostAtOnce ? i + 2 : end); ++k)
            if (own[i] != own[k])
              pairs_.emplace_back(static_cast<unsigned>(own[i]), static_cast<unsigned>(own[k]));
      }
    }
  }

  /// An element without neighbours hangs on the next one on the curve.
  void PairAlone() {
    std::vector<bool> hasNeighbour(numbers.size());
    for (const Pair& pair : pairs_) hasNeighbour[pair.first] = hasNeighbour[pair.second] = true;
    if (std::ranges::find(hasNeighbour, false) == hasNeighbour.end()) return;
    std::vector<std::pair<std::uint64_t, unsigned>> places; // on the curve
    ForEachElement([&](unsigned element, std::size_t, const unsigned* record) {
      places.emplace_back(std::uint64_t{record[1]} << 32 | record[2], element);
    });
    std::ranges::sort(places);
    for (std::size_t i = 0; i < places.size(); ++i)
      if (!hasNeighbour[places[i].second])
        pairs_.emplace_back(places[i].second, places[i + 1 < places.size() ? i + 1 : i - 1].second);
  }

  void MakeRows() {
    if (2 * pairs_.size() > static_cast<std::size_t>(std::numeric_limits<idx_t>::max()))
      throw nex_TextException("METIS cannot number " + std::to_string(2 * pairs_.size())
                              + " neighbours of elements; use more chunks, or the method curve");
    starts.assign(numbers.size() + 1, 0);
    for (const Pair& pair : pairs_) {
      ++starts[pair.first + 1];
      ++starts[pair.second + 1];
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    ends.resize(2 * pairs_.size());
    std::vector<idx_t> next(starts.begin(), starts.end() - 1);
    for (const Pair& pair : pairs_) {
      ends[static_cast<std::size_t>(next[pair.first]++)] = static_cast<idx_t>(pair.second);
      ends[static_cast<std::size_t>(next[pair.second]++)] = static_cast<idx_t>(pair.first);
    }
    pairs_ = {};
    idx_t kept = 0; // each neighbour once
    for (std::size_t row = 0; row < numbers.size(); ++row) {
      const auto first = ends.begin() + starts[row], end = ends.begin() + starts[row + 1];
      std::sort(first, end);
      starts[row] = kept;
      kept = static_cast<idx_t>(std::unique_copy(first, end, ends.begin() + kept) - ends.begin());
    }
    starts.back() = kept;
    ends.resize(static_cast<std::size_t>(kept));
  }

  const dst_Chunk& chunk_;
  std::vector<Sides> sidesOf_; ///< of each class
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

double dst_ProcessorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

std::uint64_t dst_MemoryToCut(std::uint64_t numRowNodes) noexcept { return numRowNodes * 172 / 8; }

dst_CutChunk dst_Cut(dst_Chunk chunk, const dst_CutOptions& options) {
  dst_CutChunk done;
  const double begun = dst_ProcessorSeconds();
  Graph graph(chunk);
  std::vector<idx_t> weights = options.weightNodes ? graph.Weights() : std::vector<idx_t>();
  chunk.records = {};
  done.graphSeconds = dst_ProcessorSeconds() - begun;
  idx_t settings[METIS_NOPTIONS], numVertices = static_cast<idx_t>(graph.numbers.size()), numWeights = 1,
                                  cut = 0, numParts = static_cast<idx_t>(chunk.numParts);
  METIS_SetDefaultOptions(settings);
  settings[METIS_OPTION_SEED] = options.seed;
  settings[METIS_OPTION_NUMBERING] = 0;
  settings[METIS_OPTION_DBGLVL] = 0;
  std::vector<idx_t> parts(graph.numbers.size());
  const int result = METIS_PartGraphKway(&numVertices, &numWeights, graph.starts.data(), graph.ends.data(),
                                         options.weightNodes ? weights.data() : nullptr, nullptr, nullptr,
                                         &numParts, nullptr, nullptr, settings, &cut, parts.data());
  if (result == METIS_ERROR_MEMORY) throw std::bad_alloc();
  if (result != METIS_OK) throw nex_TextException("METIS failed (" + std::to_string(result) + ")");
  done.metisSeconds = dst_ProcessorSeconds() - begun - done.graphSeconds;
  done.numPieces = CountPieces(graph, parts);
  done.parts.reserve(parts.size());
  for (const idx_t part : parts) done.parts.push_back(chunk.firstPart + static_cast<unsigned>(part));
  done.numbers = std::move(graph.numbers);
  return done;
}
