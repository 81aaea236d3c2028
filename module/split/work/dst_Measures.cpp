#include <CoreGeometry/dst_Measures.h>

#include "dst_Ordered.h"

#include <algorithm>
#include <array>
#include <limits>

namespace {
constexpr std::array kMoments = {&bme_Measures::length, &bme_Measures::area, &bme_Measures::volume,
                                 &bme_Measures::mass};
constexpr std::array kLists = {&bme_Measures::inverted,     &bme_Measures::zero,
                               &bme_Measures::withoutShape, &bme_Measures::withoutNodes,
                               &bme_Measures::noThickness,  &bme_Measures::noSectionArea,
                               &bme_Measures::noDensity,    &bme_Measures::noPointMass};

/// Exact minima and maxima of what the parts have: three of each.
class Range {
public:
  void Add(const double* low, const double* high) {
    for (std::size_t a = 0; a < 3; ++a) {
      low_[a] = std::min(low_[a], dst_Ordered(low[a]));
      high_[a] = std::max(high_[a], dst_Ordered(high[a]));
    }
  }
  void Combine(dst_Exchange& exchange) {
    exchange.Min(low_);
    exchange.Max(high_);
  }
  bool IsEmpty() const { return low_[0] > high_[0]; }
  double Low(std::size_t axis) const { return dst_FromOrdered(low_[axis]); }
  double High(std::size_t axis) const { return dst_FromOrdered(high_[axis]); }

private:
  static constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  std::array<std::int64_t, 3> low_{kMost, kMost, kMost}, high_{-kMost, -kMost, -kMost};
};

/// The middle of the finite coordinates of the whole mesh.
std::array<double, 3> MiddleOf(const dst_Mesh& mesh) {
  dst_Exchange& exchange = mesh.Exchange();
  Range all;
  exchange.ForEachPart([&](unsigned part) {
    const bme_CoordinateRange own = bme_FiniteRange(*mesh.Part(part).mesh);
    all.Add(own.low.data(), own.high.data());
  });
  all.Combine(exchange);
  bme_CoordinateRange range;
  if (mesh.NumNodes() > 0)
    for (std::size_t a = 0; a < 3; ++a) {
      range.low[a] = all.Low(a);
      range.high[a] = all.High(a);
    }
  return range.Middle();
}

/// An entry of one of the lists.
struct Listed {
  std::uint64_t number; ///< of the element in the whole
  unsigned list;
  int label;
};
} // namespace

gsl_BBox dst_GetBBox(const dst_Mesh& mesh) {
  dst_Exchange& exchange = mesh.Exchange();
  Range all;
  exchange.ForEachPart([&](unsigned part) {
    const gsl_BBox box = mesh.Part(part).mesh->GetBBox();
    if (box.IsEmpty()) return;
    const double low[3] = {box.Min()[0], box.Min()[1], box.Min()[2]},
                 high[3] = {box.Max()[0], box.Max()[1], box.Max()[2]};
    all.Add(low, high);
  });
  all.Combine(exchange);
  if (all.IsEmpty()) return {};
  return {gsl_Point(all.Low(0), all.Low(1), all.Low(2)), gsl_Point(all.High(0), all.High(1), all.High(2))};
}

bme_Measures dst_CalculateMeasures(const dst_Mesh& mesh, const bme_MeasureOptions& options) {
  return dst_CalculateMeasures(mesh, dst_Elements::All(), options);
}

bme_Measures dst_CalculateMeasures(const dst_Mesh& mesh, const dst_Elements& elements,
                                   const bme_MeasureOptions& options) {
  bme_MeasureOptions ofParts = options;
  ofParts.listsIndices = true;
  if (!options.reference && options.order != shp_MomentOrder::Measure) ofParts.reference = MiddleOf(mesh);
  dst_Exchange& exchange = mesh.Exchange();
  bme_Measures all;
  const std::array<double, 3> reference = ofParts.order == shp_MomentOrder::Measure
                                              ? std::array<double, 3>{}
                                              : ofParts.reference.value_or(std::array<double, 3>{});
  for (const auto moments : kMoments) all.*moments = bme_Moments(reference);
  std::vector<std::vector<Listed>> listed(exchange.MyParts().Count());
  exchange.ForEachPart([&](unsigned number) {
    const dst_OpenPart& part = mesh.Part(number);
    const bme_Measures own = bme_CalculateMeasures(elements.In(part), ofParts);
    all.numElements += own.numElements;
    for (const auto moments : kMoments) (all.*moments).Add(own.*moments);
    std::vector<Listed>& entries = listed[number - exchange.MyParts().first];
    for (unsigned list = 0; list < kLists.size(); ++list)
      for (const int place : own.*kLists[list]) {
        const auto element = static_cast<unsigned>(place - 1);
        const std::uint64_t inWhole = part.part->ElementNumber(element);
        entries.push_back(
            {inWhole, list,
             options.listsIndices ? static_cast<int>(inWhole) + 1 : mesh.ElementLabel(part, element)});
      }
  });

  constexpr std::size_t kWords = bme_Moments::kNumWords;
  std::vector<std::int64_t> words(kMoments.size() * kWords + 1);
  const auto wordsOf = [&](std::size_t k) {
    return std::span<std::int64_t, kWords>(&words[k * kWords], kWords);
  };
  for (std::size_t k = 0; k < kMoments.size(); ++k) (all.*kMoments[k]).GetWords(wordsOf(k));
  words.back() = all.numElements;
  exchange.Sum(words);
  for (std::size_t k = 0; k < kMoments.size(); ++k) (all.*kMoments[k]).SetWords(wordsOf(k));
  all.numElements = words.back();

  std::vector<Listed> entries;
  for (const std::vector<Listed>& ofPart : exchange.GatherRecords(listed))
    entries.insert(entries.end(), ofPart.begin(), ofPart.end());
  std::ranges::sort(entries, {}, &Listed::number);
  for (const Listed& entry : entries) (all.*kLists[entry.list]).push_back(entry.label);
  return all;
}
