#include "dst_Assign.h"

#include "dst_Buckets.h"
#include "dst_ChunkGraph.h"
#include "dst_Hash.h"
#include "dst_Runs.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/gsl_HilbertPlace.h>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace {
constexpr std::size_t kWindow = std::size_t{1} << 16;
constexpr std::uint64_t kMostForMetis = 16000000; // elements of a chunk; of larger ones the curve is as good
constexpr unsigned kLeastForMetis = 8;            // elements for each part

void CheckCancelled() { thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled(); }

cow_String Megabytes(std::uint64_t bytes) { return std::to_string((bytes + 999999) / 1000000) + " MB"; }

/// Calls work(class index, first element in the class, count) for windows of all elements.
template<class Work> void ForEachWindow(const dst_SourceFacts& facts, Work work) {
  for (unsigned index = 0; index < facts.classes.size(); ++index)
    for (std::uint64_t first = 0; first < facts.classes[index].NumElements(); first += kWindow) {
      CheckCancelled();
      work(index, first, std::min<std::size_t>(kWindow, facts.classes[index].NumElements() - first));
    }
}

/// Coordinates of the nodes of a window of elements.
class WindowNodes {
public:
  WindowNodes(const dst_Source& source, std::span<const unsigned> rows) {
    numbers_.assign(rows.begin(), rows.end());
    std::ranges::sort(numbers_);
    numbers_.erase(std::unique(numbers_.begin(), numbers_.end()), numbers_.end());
    const std::uint64_t numNodes = source.Facts().numNodes;
    numbers_.erase(std::ranges::lower_bound(numbers_, numNodes), numbers_.end());
    if (numbers_.empty()) return;
    first_ = numbers_.front();
    const std::size_t extent = numbers_.back() - first_ + std::size_t{1};
    if (isDense_ = extent <= 4 * numbers_.size() + kWindow; isDense_) {
      xyz_.resize(3 * extent);
      source.ReadCoordinates(first_, xyz_);
      return;
    }
    xyz_.resize(3 * numbers_.size());
    for (std::size_t i = 0, end = 0; i < numbers_.size(); i = end) { // runs of nodes that are near
      for (end = i + 1; end < numbers_.size() && numbers_[end] - numbers_[end - 1] <= 64;) ++end;
      run_.resize(3 * (numbers_[end - 1] - numbers_[i] + std::size_t{1}));
      source.ReadCoordinates(numbers_[i], run_);
      for (std::size_t k = i; k < end; ++k)
        std::copy_n(&run_[3 * (numbers_[k] - std::size_t{numbers_[i]})], 3, &xyz_[3 * k]);
    }
  }
  const float* Find(unsigned node) const { ///< null for one that does not exist
    if (numbers_.empty() || node < first_ || node > numbers_.back()) return nullptr;
    if (isDense_) return &xyz_[3 * (node - std::size_t{first_})];
    return &xyz_[3 * static_cast<std::size_t>(std::ranges::lower_bound(numbers_, node) - numbers_.begin())];
  }

private:
  std::vector<unsigned> numbers_;
  std::vector<float> xyz_, run_;
  unsigned first_ = 0;
  bool isDense_ = true;
};

/// The middle of an element on the curve through the cube around the mesh.
class Curve {
public:
  explicit Curve(const dst_Survey& survey) : survey_(survey) {
    double size = 0;
    for (int axis = 0; axis < 3; ++axis) size = std::max(size, double{survey.high[axis]} - survey.low[axis]);
    scale_ = size > 0 ? ((1 << gsl_kHilbertBits) - 1) / size : 0;
  }
  std::uint64_t PlaceOf(std::span<const unsigned> row, const WindowNodes& nodes) const {
    double sum[3] = {0, 0, 0};
    int count = 0;
    for (const unsigned node : row)
      if (const float* xyz = nodes.Find(node)) {
        for (int axis = 0; axis < 3; ++axis) sum[axis] += xyz[axis];
        ++count;
      }
    std::array<std::uint32_t, 3> cell{};
    for (std::size_t axis = 0; axis < 3 && count > 0; ++axis)
      if (const double x = (sum[axis] / count - survey_.low[axis]) * scale_; std::isfinite(x))
        cell[axis] = static_cast<std::uint32_t>(std::clamp(x, 0.0, double{(1 << gsl_kHilbertBits) - 1}));
    return gsl_HilbertPlace(cell);
  }

private:
  const dst_Survey& survey_;
  double scale_ = 0;
};

/// A stretch of the curve: one part, or several that METIS cuts.
struct Stretch {
  unsigned firstPart, numParts;
};

std::vector<Stretch> StretchesOf(std::uint64_t numElements, unsigned numParts, unsigned numChunks,
                                 const dst_SplitOptions& options) {
  std::vector<Stretch> stretches;
  for (std::uint64_t k = 0; k < numChunks; ++k) {
    const auto first = static_cast<unsigned>(numParts * k / numChunks);
    const auto end = static_cast<unsigned>(numParts * (k + 1) / numChunks);
    const std::uint64_t elements = numElements * (end - first) / numParts;
    const bool isCut = options.method != dst_Method::Curve && end - first > 1
                       && elements >= std::uint64_t{kLeastForMetis} * (end - first)
                       && (options.method == dst_Method::Metis || elements <= kMostForMetis);
    if (isCut)
      stretches.push_back({first, end - first});
    else
      for (unsigned part = first; part < end; ++part) stretches.push_back({part, 1});
  }
  return stretches;
}

class Assigner {
public:
  Assigner(const dst_Source& source, const dst_Survey& survey, const dst_SplitOptions& options,
           const cow_String& folder, dst_WorkFile& parts)
      : source_(source), facts_(source.Facts()), survey_(survey), options_(options), parts_(parts),
        places_((std::filesystem::path(folder) / "places").string()),
        stretches_(StretchesOf(facts_.NumElements(), options.parts,
                               dst_NumChunks(facts_.NumElements(), options), options)),
        chunkFile_((std::filesystem::path(folder) / "chunks").string()) {}

  dst_Assigned Run() {
    CheckMemory();
    FindPlaces();
    FindCuts();
    dst_Buckets chunks(chunkFile_, stretches_.size(), options_.memory / 4);
    SendToStretches(chunks);
    dst_Assigned done;
    for (std::size_t i = 0; i < stretches_.size(); ++i) {
      if (stretches_[i].numParts == 1) continue;
      CheckCancelled();
      const dst_CutChunk cut =
          dst_Cut({facts_, chunks.Take(i), stretches_[i].firstPart, stretches_[i].numParts},
                  {options_.seed, options_.weightNodes});
      Store(cut);
      ++done.numChunks;
      done.numPieces += cut.numPieces;
      done.graphSeconds += cut.graphSeconds;
      done.metisSeconds += cut.metisSeconds;
    }
    FillEmptyParts();
    return done;
  }

private:
  std::uint64_t WeightOf(unsigned classIndex) const {
    return options_.weightNodes
               ? static_cast<std::uint64_t>(std::max(1, facts_.classes[classIndex].NodesPerElement()))
               : 1;
  }

  void CheckMemory() const {
    std::uint64_t rowNodes = 0;
    for (const dst_ClassRange& range : facts_.classes)
      rowNodes += range.NumElements() * static_cast<std::uint64_t>(range.NodesPerElement());
    for (const Stretch& stretch : stretches_) {
      const std::uint64_t need = dst_MemoryToCut(rowNodes / options_.parts * stretch.numParts);
      if (stretch.numParts == 1 || need <= options_.memory) continue;
      throw nex_TextException(
          "memory of " + Megabytes(options_.memory) + ": METIS needs " + Megabytes(need)
          + " for a chunk; use the method curve, or auto with "
          + std::to_string(dst_MemoryToCut(rowNodes) / std::max<std::size_t>(1, options_.memory) + 1)
          + " chunks");
    }
  }

  /// Place of each element on the curve, and how much lies on each part of it.
  void FindPlaces() {
    const Curve curve(survey_);
    bins_.assign(std::size_t{1} << kBinBits, 0);
    ForEachWindow(facts_, [&](unsigned index, std::uint64_t first, std::size_t count) {
      const auto width = static_cast<std::size_t>(facts_.classes[index].NodesPerElement());
      std::vector<unsigned> rows(count * width);
      std::vector<std::uint64_t> places(count);
      source_.ReadConnectivity(index, first, rows);
      const WindowNodes nodes(source_, rows);
      for (std::size_t i = 0; i < count; ++i) {
        places[i] = curve.PlaceOf(std::span(rows).subspan(i * width, width), nodes);
        bins_[BinOf(places[i])] += WeightOf(index);
      }
      places_.Write<std::uint64_t>(facts_.classes[index].FirstElement() + first, places);
    });
  }

  /// The first element of each stretch but the first, in the order of place and number.
  void FindCuts() {
    std::uint64_t total = 0;
    for (const std::uint64_t bin : bins_) total += bin;
    std::vector<std::uint64_t> wanted; // weight before the cuts
    for (std::size_t i = 1; i < stretches_.size();
         ++i) // no overflow: 32 bits each, weights of at most some 100
      wanted.push_back(static_cast<std::uint64_t>(static_cast<long double>(total) * stretches_[i].firstPart
                                                  / options_.parts));
    std::vector<bool> isCut(bins_.size());
    std::uint64_t before = 0;
    for (std::size_t bin = 0, k = 0; bin < bins_.size(); before += bins_[bin++])
      for (; k < wanted.size() && wanted[k] < before + bins_[bin]; ++k) isCut[bin] = true;
    std::vector<Place> inCut;
    ForEachPlace([&](const Place& place) {
      if (isCut[BinOf(place.place)]) inCut.push_back(place);
    });
    std::ranges::sort(inCut, {}, &Place::Key);
    before = 0;
    std::size_t k = 0, at = 0;
    for (std::size_t bin = 0; bin < bins_.size(); ++bin) {
      std::uint64_t weight = before;
      for (; isCut[bin] && at < inCut.size() && BinOf(inCut[at].place) == bin; ++at) {
        for (; k < wanted.size() && wanted[k] <= weight; ++k) cuts_.push_back(inCut[at]);
        weight += inCut[at].weight;
      }
      before += bins_[bin];
      for (; k < wanted.size() && wanted[k] < before; ++k) // within the weight of the last one
        cuts_.push_back({(std::uint64_t{bin} + 1) << (3 * gsl_kHilbertBits - kBinBits), 0, 0});
    }
    while (cuts_.size() < wanted.size()) cuts_.push_back({~std::uint64_t{0}, ~0U, 0});
    bins_ = {};
  }

  /// The part of each element where it is known, the others to the bucket of their chunk.
  void SendToStretches(dst_Buckets& chunks) {
    ForEachWindow(facts_, [&](unsigned index, std::uint64_t first, std::size_t count) {
      const auto width = static_cast<std::size_t>(facts_.classes[index].NodesPerElement());
      const std::uint64_t firstNumber = facts_.classes[index].FirstElement() + first;
      std::vector<unsigned> rows, parts(count), record(width + 3);
      std::vector<std::uint64_t> places(count);
      places_.Read<std::uint64_t>(firstNumber, places);
      for (std::size_t i = 0; i < count; ++i) {
        const Place place{places[i], static_cast<unsigned>(firstNumber + i), 0};
        const auto at = static_cast<std::size_t>(std::ranges::upper_bound(cuts_, place.Key(), {}, &Place::Key)
                                                 - cuts_.begin());
        parts[i] = stretches_[at].firstPart;
        if (stretches_[at].numParts == 1) continue;
        if (rows.empty()) {
          rows.resize(count * width);
          source_.ReadConnectivity(index, first, rows);
        }
        record[0] = place.number;
        record[1] = static_cast<unsigned>(place.place >> 32);
        record[2] = static_cast<unsigned>(place.place);
        std::copy_n(rows.begin() + static_cast<std::ptrdiff_t>(i * width), width, record.begin() + 3);
        chunks.Add(at, record);
      }
      parts_.Write<unsigned>(firstNumber, parts);
    });
  }

  /// The parts of a chunk's elements, window by window.
  void Store(const dst_CutChunk& cut) {
    std::vector<unsigned> window;
    for (std::size_t i = 0; i < cut.numbers.size();) {
      const std::uint64_t first = cut.numbers[i];
      std::size_t end = i;
      while (end < cut.numbers.size() && cut.numbers[end] - first < kWindow) ++end;
      window.resize(cut.numbers[end - 1] - first + 1);
      parts_.Read<unsigned>(first, window);
      for (; i < end; ++i) window[cut.numbers[i] - first] = cut.parts[i];
      parts_.Write<unsigned>(first, window);
    }
  }

  /// A part without elements gets one of the largest part: METIS leaves some, where parts are small.
  void FillEmptyParts() {
    std::vector<std::uint64_t> sizes(options_.parts);
    const auto forEach = [&](auto work) {
      std::vector<unsigned> window;
      for (std::uint64_t first = 0; first < facts_.NumElements(); first += window.size()) {
        window.resize(std::min<std::uint64_t>(kWindow, facts_.NumElements() - first));
        parts_.Read<unsigned>(first, window);
        if (work(window)) parts_.Write<unsigned>(first, window);
      }
    };
    forEach([&](std::span<const unsigned> parts) {
      for (const unsigned part : parts) ++sizes[part];
      return false;
    });
    std::vector<std::pair<unsigned, unsigned>> moves; // from, to
    for (unsigned part = 0; part < options_.parts; ++part) {
      if (sizes[part] > 0) continue;
      const auto largest = static_cast<unsigned>(std::ranges::max_element(sizes) - sizes.begin());
      moves.emplace_back(largest, part);
      --sizes[largest];
      sizes[part] = 1;
    }
    if (moves.empty()) return;
    std::ranges::stable_sort(moves, {}, [](const auto& move) { return move.first; });
    forEach([&](std::span<unsigned> parts) {
      bool isChanged = false;
      for (unsigned& part : parts) {
        const auto move =
            std::ranges::lower_bound(moves, part, {}, [](const auto& one) { return one.first; });
        if (move == moves.end() || move->first != part) continue;
        part = move->second;
        moves.erase(move);
        isChanged = true;
      }
      return isChanged;
    });
  }

  struct Place {
    std::uint64_t place;
    unsigned number, weight;
    std::pair<std::uint64_t, unsigned> Key() const noexcept { return {place, number}; }
  };
  static constexpr int kBinBits = 20;
  static std::size_t BinOf(std::uint64_t place) { return place >> (3 * gsl_kHilbertBits - kBinBits); }

  template<class Work> void ForEachPlace(Work work) {
    ForEachWindow(facts_, [&](unsigned index, std::uint64_t first, std::size_t count) {
      std::vector<std::uint64_t> places(count);
      const std::uint64_t number = facts_.classes[index].FirstElement() + first;
      places_.Read<std::uint64_t>(number, places);
      for (std::size_t i = 0; i < count; ++i)
        work(Place{places[i], static_cast<unsigned>(number + i), static_cast<unsigned>(WeightOf(index))});
    });
  }

  const dst_Source& source_;
  const dst_SourceFacts& facts_;
  const dst_Survey& survey_;
  const dst_SplitOptions& options_;
  dst_WorkFile& parts_;
  dst_WorkFile places_;
  std::vector<Stretch> stretches_;
  cow_String chunkFile_;
  std::vector<std::uint64_t> bins_;
  std::vector<Place> cuts_;
};
} // namespace

unsigned dst_NumChunks(std::uint64_t numElements, const dst_SplitOptions& options) {
  constexpr std::uint64_t kElements = 2000000, kParts = 8;
  if (options.method != dst_Method::Auto) return 1;
  if (options.chunks > 0) return std::min(options.chunks, options.parts);
  return static_cast<unsigned>(std::max<std::uint64_t>(
      1, std::min((numElements + kElements - 1) / kElements, options.parts / kParts)));
}

dst_Survey dst_SurveyOf(const dst_Source& source) {
  const dst_SourceFacts& facts = source.Facts();
  dst_Survey survey;
  dst_Hash hash;
  hash.Add(facts.mesh);
  std::fill_n(survey.low, 3, std::numeric_limits<float>::infinity());
  std::fill_n(survey.high, 3, -std::numeric_limits<float>::infinity());
  std::vector<float> xyz;
  std::vector<int> labels;
  for (std::uint64_t first = 0; first < facts.numNodes; first += kWindow) {
    CheckCancelled();
    const std::size_t count = std::min<std::uint64_t>(kWindow, facts.numNodes - first);
    xyz.resize(3 * count);
    source.ReadCoordinates(first, xyz);
    hash.Add(std::span<const float>(xyz));
    for (std::size_t i = 0; i < xyz.size(); ++i)
      if (std::isfinite(xyz[i])) {
        survey.low[i % 3] = std::min(survey.low[i % 3], xyz[i]);
        survey.high[i % 3] = std::max(survey.high[i % 3], xyz[i]);
      }
    labels.resize(facts.hasNodeLabels ? count : 0);
    if (facts.hasNodeLabels) source.ReadNodeLabels(first, labels);
    hash.Add(std::span<const int>(labels));
  }
  ForEachWindow(facts, [&](unsigned index, std::uint64_t first, std::size_t count) {
    std::vector<unsigned> rows(count * static_cast<std::size_t>(facts.classes[index].NodesPerElement()));
    source.ReadConnectivity(index, first, rows);
    labels.resize(facts.classes[index].HasLabels() ? count : 0);
    if (!labels.empty()) source.ReadElementLabels(index, first, labels);
    hash.Add(facts.classes[index].ElemTypeLabel());
    hash.Add(std::span<const unsigned>(rows));
    hash.Add(std::span<const int>(labels));
  });
  for (unsigned set = 0; set < facts.sets.size(); ++set) {
    hash.Add(facts.sets[set].root);
    for (unsigned subset = 0; subset < facts.sets[set].subsets.size(); ++subset)
      for (std::uint64_t first = 0; first < facts.sets[set].subsets[subset].numEntries; first += kWindow) {
        std::vector<unsigned> numbers(
            std::min<std::uint64_t>(kWindow, facts.sets[set].subsets[subset].numEntries - first));
        labels.resize(facts.sets[set].subsets[subset].hasFacets ? numbers.size() : 0);
        source.ReadEntries(set, subset, first, numbers, labels);
        hash.Add(std::span<const unsigned>(numbers));
        hash.Add(std::span<const int>(labels));
      }
  }
  for (const odiC_Run& run : source.Runs()) hash.Add(dst_HashOf(run));
  survey.fingerprint = hash.Text();
  return survey;
}

dst_Assigned dst_Assign(const dst_Source& source, const dst_Survey& survey, const dst_SplitOptions& options,
                        const cow_String& workFolder, dst_WorkFile& parts) {
  return Assigner(source, survey, options, workFolder, parts).Run();
}
