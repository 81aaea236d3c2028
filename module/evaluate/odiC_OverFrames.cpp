#include <CoreGeometry/odiC_OverFrames.h>

#include "odiC_Stages.h"

#include <CoreGeometry/odiC_Exception.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
/// Weights of the frames of a mean: halves of the intervals beside them where the values of the step are times.
std::vector<double> WeightsOf(const odiC_Run& run, std::span<const odiC_When> frames) {
  std::vector<double> weights(frames.size(), 1);
  const auto domain = [&](const odiC_When& when) {
    return run.Header().steps[static_cast<std::size_t>(when.step)].domain;
  };
  const bool areTimes = frames.size() > 1 && std::ranges::all_of(frames, [&](const odiC_When& when) {
                          return domain(when) == odiC_TIME && when.step == frames[0].step;
                        });
  if (!areTimes || frames.back().value == frames.front().value) return weights;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const double before = i == 0 ? 0 : frames[i].value - frames[i - 1].value;
    const double after = i + 1 == frames.size() ? 0 : frames[i + 1].value - frames[i].value;
    weights[i] = (before + after) / 2;
  }
  return weights;
}

/// What is known of each row after some frames.
struct Rows {
  std::vector<double> first, second; ///< best, or least and largest, or sums
  std::vector<double> weight;
  std::vector<int> frame;
};

void Take(odiC_OverFrames kind, Rows& rows, std::size_t at, double value, int frame, double weight) {
  if (std::isnan(value)) return;
  const bool isFirst = std::isnan(rows.first[at]);
  const auto better = [&](double a, double b) {
    return kind == odiC_OverFrames::Max   ? a > b
           : kind == odiC_OverFrames::Min ? a < b
                                          : std::abs(a) > std::abs(b);
  };
  switch (kind) {
  case odiC_OverFrames::Max:
  case odiC_OverFrames::Min:
  case odiC_OverFrames::AbsMax:
    if (!isFirst && !better(value, rows.first[at])) return;
    rows.first[at] = value;
    rows.frame[at] = frame;
    return;
  case odiC_OverFrames::Range:
    rows.first[at] = isFirst ? value : std::min(rows.first[at], value);
    rows.second[at] = isFirst ? value : std::max(rows.second[at], value);
    return;
  case odiC_OverFrames::Mean:
  case odiC_OverFrames::Rms:
    rows.first[at] =
        (isFirst ? 0 : rows.first[at]) + weight * (kind == odiC_OverFrames::Mean ? value : value * value);
    rows.weight[at] += weight;
    return;
  }
}
} // namespace

odiC_FramesResult odiC_Over(const odiC_Values& values, odiC_OverFrames kind) {
  values.ExpectOneNumber();
  odiC_FramesResult envelope;
  envelope.frames = values.Frames();
  std::vector<odiC_Places::Layout> layouts;
  for (const odiC_When& when : envelope.frames) layouts.push_back(values.Open(when)->Places().SharedLayout());
  const odiC_Places::Layout layout = odiC_UnionLayout(layouts);
  const auto count = static_cast<std::size_t>(layout->numRows);
  const bool isMean = kind == odiC_OverFrames::Mean || kind == odiC_OverFrames::Rms;
  Rows rows{.first = std::vector<double>(count, std::numeric_limits<double>::quiet_NaN()),
            .second = std::vector<double>(kind == odiC_OverFrames::Range ? count : 0),
            .weight = std::vector<double>(isMean ? count : 0),
            .frame = std::vector<int>(count, -1)};
  const std::vector<double> weights = WeightsOf(values.Run(), envelope.frames);
  odiC_Places places(layout);
  for (std::size_t i = 0; i < envelope.frames.size(); ++i) {
    const odiC_SourcePointer source = odiC_OnLayout(values.Open(envelope.frames[i]), layout);
    places = places.Or(source->Places());
    odiC_ForEachRange(*source, [&](const odiC_Range& range) {
      for (const odiC_RowRun& run : range.rows)
        for (int row = run.first; row < run.End(); ++row)
          Take(kind, rows, static_cast<std::size_t>(row),
               range.values[static_cast<std::size_t>(row - range.firstRow)], static_cast<int>(i), weights[i]);
    });
  }
  for (std::size_t row = 0; row < count; ++row) {
    if (kind == odiC_OverFrames::Range) rows.first[row] = rows.second[row] - rows.first[row];
    if (!isMean || std::isnan(rows.first[row])) continue;
    rows.first[row] /= rows.weight[row];
    if (kind == odiC_OverFrames::Rms) rows.first[row] = std::sqrt(rows.first[row]);
  }
  envelope.values = odiC_Kept(std::move(places), 1, std::move(rows.first));
  envelope.frameOf = std::move(rows.frame);
  return envelope;
}

odiC_SourcePointer odiC_Combination(std::span<const odiC_LoadCase> cases) {
  if (cases.empty()) throw odiC_Exception("a combination of no frames");
  std::vector<odiC_SourcePointer> sources;
  std::vector<double> factors;
  for (const odiC_LoadCase& one : cases) {
    sources.push_back(one.values.Open(one.when));
    factors.push_back(one.factor);
    if (sources.back()->NumComponents() != sources.front()->NumComponents())
      throw odiC_Exception(one.values.Text() + ": " + std::to_string(sources.back()->NumComponents())
                           + " components cannot be added to "
                           + std::to_string(sources.front()->NumComponents()));
  }
  const int width = sources.front()->NumComponents();
  return odiC_Combined(std::move(sources), width,
                       [factors](int, std::span<const double> all, std::span<double> made) {
                         for (std::size_t i = 0; i < made.size(); ++i) {
                           double sum = 0;
                           for (std::size_t k = 0; k < factors.size(); ++k)
                             sum += factors[k] * all[k * made.size() + i];
                           made[i] = sum;
                         }
                       });
}
