#include <CoreGeometry/odiC_Reduce.h>

#include <CoreGeometry/gsl_ExactSum.h>
#include <CoreGeometry/odiC_Exception.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace {
/// The best value so far and its row.
struct Best {
  double value = 0, measure = 0;
  int row = -1;
  void Offer(double candidate, double by, int at) noexcept {
    if (row >= 0 && !(by > measure)) return;
    value = candidate;
    measure = by;
    row = at;
  }
};

/// What one frame offers: its extremes and counts.
struct Extremes {
  Best max, min, absMax;
  long long count = 0, notNumbers = 0;

  void Add(double value, int row) noexcept {
    if (std::isnan(value)) {
      ++notNumbers;
      return;
    }
    ++count;
    max.Offer(value, value, row);
    min.Offer(value, -value, row);
    absMax.Offer(value, std::abs(value), row);
  }
  /// Blocks are compared side by side first; only one that may hold an extreme is looked at value by value.
  void Add(std::span<const double> values, int firstRow) noexcept {
    constexpr std::size_t kLanes = 8, kBlock = 512;
    for (; values.size() >= kBlock; values = values.subspan(kBlock), firstRow += kBlock) {
      std::array<double, kLanes> least, greatest;
      std::array<long long, kLanes> numbers{};
      least.fill(std::numeric_limits<double>::infinity());
      greatest.fill(-std::numeric_limits<double>::infinity());
      for (std::size_t i = 0; i < kBlock; i += kLanes)
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
          const double value = values[i + lane];
          least[lane] = value < least[lane] ? value : least[lane];
          greatest[lane] = value > greatest[lane] ? value : greatest[lane];
          numbers[lane] += value == value ? 1 : 0;
        }
      const double low = *std::ranges::min_element(least), high = *std::ranges::max_element(greatest);
      const long long all = std::accumulate(numbers.begin(), numbers.end(), 0LL);
      if (max.row >= 0 && !(high > max.measure) && !(-low > min.measure)) {
        count += all;
        notNumbers += static_cast<long long>(kBlock) - all;
      } else {
        for (std::size_t i = 0; i < kBlock; ++i) Add(values[i], firstRow + static_cast<int>(i));
      }
    }
    for (const double value : values) Add(value, firstRow++);
  }
};

std::optional<odiC_Extreme> At(const odiC_Run& run, odiC_Source& source, const odiC_When& when,
                               const Best& best) {
  if (best.row < 0) return std::nullopt;
  return odiC_Extreme{best.value, odiC_LabelOf(run, source, best.row), when};
}

template<class Measure>
std::optional<odiC_Extreme> Over(const odiC_Values& values, std::optional<odiC_Extreme> odiC_Reduced::*which,
                                 const Measure& measure) {
  std::optional<odiC_Extreme> best;
  for (const odiC_Reduced& frame : odiC_Reduce(values, odiC_Wanted::Extremes))
    if (const auto& one = frame.*which; one && (!best || measure(one->value) > measure(best->value)))
      best = one;
  return best;
}
} // namespace

odiC_Reduced odiC_ReduceFrame(const odiC_Run& run, odiC_Source& source, const odiC_When& when,
                              odiC_Wanted wanted) {
  odiC_Reduced reduced{.when = when};
  Extremes extremes;
  gsl_ExactSum sum;
  odiC_ForEachRange(source, [&](const odiC_Range& range) {
    for (const odiC_RowRun& rows : range.rows) {
      const auto values = std::span(range.values)
                              .subspan(static_cast<std::size_t>(rows.first - range.firstRow),
                                       static_cast<std::size_t>(rows.count));
      extremes.Add(values, rows.first);
      if (wanted != odiC_Wanted::All) continue;
      for (const double value : values)
        if (!std::isnan(value)) sum.Add(value);
    }
  });
  reduced.count = extremes.count;
  reduced.notNumbers = extremes.notNumbers;
  reduced.max = At(run, source, when, extremes.max);
  reduced.min = At(run, source, when, extremes.min);
  reduced.absMax = At(run, source, when, extremes.absMax);
  if (wanted == odiC_Wanted::Extremes) return reduced;
  reduced.sum = sum.Value();
  reduced.mean = reduced.count == 0 ? std::numeric_limits<double>::quiet_NaN()
                                    : reduced.sum / static_cast<double>(reduced.count);
  return reduced;
}

std::vector<odiC_Reduced> odiC_Reduce(const odiC_Values& values, odiC_Wanted wanted) {
  values.ExpectOneNumber();
  std::vector<odiC_Reduced> frames;
  for (const odiC_When& when : values.Frames()) {
    const odiC_SourcePointer source = values.Open(when, res_USE_ENVELOPE);
    frames.push_back(odiC_ReduceFrame(values.Run(), *source, when, wanted));
  }
  return frames;
}

std::optional<odiC_Extreme> odiC_Max(const odiC_Values& values) {
  return Over(values, &odiC_Reduced::max, [](double value) { return value; });
}
std::optional<odiC_Extreme> odiC_Min(const odiC_Values& values) {
  return Over(values, &odiC_Reduced::min, [](double value) { return -value; });
}
std::optional<odiC_Extreme> odiC_AbsMax(const odiC_Values& values) {
  return Over(values, &odiC_Reduced::absMax, [](double value) { return std::abs(value); });
}

std::vector<odiC_ResultantOf> odiC_Resultant(const odiC_Values& values, const std::array<double, 3>& about) {
  std::vector<odiC_ResultantOf> frames;
  for (const odiC_When& when : values.Frames()) {
    const odiC_SourcePointer source = values.Open(when);
    const bool isNodal = std::ranges::all_of(source->Layout().blocks,
                                             [](const odiC_LayoutBlock& block) { return block.IsNodal(); });
    const int width = source->NumComponents();
    if (!isNodal || values.Variable().dataType != res_VECTOR || width < 2)
      throw odiC_Exception(values.Text() + ": a resultant is of vectors at nodes");
    odiC_ResultantOf result{.when = when};
    gsl_ExactSum force[3], moment[3];
    std::vector<double> points;
    odiC_ForEachRange(*source, [&](const odiC_Range& range) {
      const auto step = static_cast<std::size_t>(width);
      points.resize(range.values.size() / step * 3);
      odiC_PointsOf(values.Run(), range.block, range.firstRow, points);
      for (const odiC_RowRun& run : range.rows)
        for (int row = run.first; row < run.End(); ++row) {
          const auto at = static_cast<std::size_t>(row - range.firstRow);
          const double* value = range.values.data() + at * step;
          const std::array<double, 3> f{value[0], value[1], width > 2 ? value[2] : 0};
          if (std::isnan(f[0] + f[1] + f[2])) {
            ++result.notNumbers;
            continue;
          }
          std::array<double, 3> arm{};
          for (std::size_t k = 0; k < 3; ++k) arm[k] = points[3 * at + k] - about[k];
          for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t i = (k + 1) % 3, j = (k + 2) % 3;
            force[k].Add(f[k]);
            moment[k].Add(arm[i] * f[j]);
            moment[k].Add(-arm[j] * f[i]);
          }
        }
    });
    for (std::size_t k = 0; k < 3; ++k) {
      result.force[k] = force[k].Value();
      result.moment[k] = moment[k].Value();
    }
    frames.push_back(result);
  }
  return frames;
}

odiC_Histogram odiC_HistogramOf(const odiC_Values& values, int intervals) {
  if (intervals < 1)
    throw odiC_Exception("a histogram of " + std::to_string(intervals) + " intervals, not of 1 or more");
  odiC_Histogram histogram;
  histogram.counts.resize(static_cast<std::size_t>(intervals));
  const std::optional<odiC_Extreme> max = odiC_Max(values), min = odiC_Min(values);
  if (!max) return histogram;
  histogram.low = min->value;
  histogram.high = max->value;
  const double range = histogram.high - histogram.low;
  for (const odiC_When& when : values.Frames()) {
    const odiC_SourcePointer source = values.Open(when, res_USE_ENVELOPE);
    odiC_ForEachRange(*source, [&](const odiC_Range& part) {
      for (const odiC_RowRun& run : part.rows)
        for (int row = run.first; row < run.End(); ++row) {
          const double value = part.values[static_cast<std::size_t>(row - part.firstRow)];
          if (std::isnan(value)) continue;
          const double share = range > 0 ? (value - histogram.low) / range : 0;
          const auto at = std::isfinite(share) ? static_cast<long long>(share * intervals) : intervals - 1;
          ++histogram.counts[static_cast<std::size_t>(std::clamp<long long>(at, 0, intervals - 1))];
        }
    });
  }
  return histogram;
}
