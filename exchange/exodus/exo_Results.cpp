#include "exo_Read.h"
#include "exo_ResultsPlan.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <exodusII.h>
#include <limits>
#include <map>
#include <optional>
#include <set>

namespace {
/// What narrowing changes, over all fields.
struct Counts {
  long long numRounded = 0, numNotNumbers = 0;
  double largestRounding = 0; ///< relative

  /// Answers whether all finite numbers stay finite.
  template<class T> bool Add(std::span<const double> values) {
    constexpr double kLeast = std::numeric_limits<T>::min(); // smaller numbers have fewer digits
    long long rounded = 0, none = 0;
    for (const double value : values) {
      const double magnitude = std::max(kLeast, std::abs(value)),
                   change = std::abs(static_cast<double>(static_cast<T>(value)) - value);
      none += value != value;
      rounded += change > 0;
      // a division for the few that are larger than all before
      if (change > largestRounding * magnitude) largestRounding = change / magnitude;
    }
    numRounded += rounded;
    numNotNumbers += none;
    return largestRounding <= 1;
  }
};

class Reader {
public:
  Reader(const cow_String& fileName, const fmt_Import& import, odiC_RunWriter* run,
         const fmt_ResultsOptions& options)
      : file_(fileName), import_(import), run_(run), options_(options) {}

  fmt_ResultsSummary Run() {
    ReadTimes();
    if (options_.isCount) return std::move(summary_);
    if (!times_.empty()) {
      exo_ResultsPlan plan = exo_PlanResults(file_, import_, options_);
      planned_ = std::move(plan.variables);
      summary_.variables = std::move(plan.told);
      summary_.ledger = std::move(plan.ledger);
    }
    if (run_ && !times_.empty()) {
      Declare();
      Carry();
    }
    Note("numbers rounded to single precision", counts_.numRounded,
         "largest relative change " + Short(counts_.largestRounding));
    Note("numbers that are none", counts_.numNotNumbers, {});
    return std::move(summary_);
  }

private:
  static cow_String Short(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", value);
    return text;
  }
  void Note(const char* what, long long count, const cow_String& detail) {
    if (count > 0) summary_.ledger.push_back({what, count, detail});
  }
  [[noreturn]] void Fail(const cow_String& what) const {
    throw nex_TextException(file_.Name() + ": " + what);
  }
  void Check(int status, const cow_String& what) const {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    if (status < 0) Fail("reading " + what + ": " + exo_WhyFailed());
  }

  void ReadTimes() {
    const std::int64_t count = ex_inquire_int(file_.Id(), EX_INQ_TIME);
    if (count <= 0) return;
    std::vector<double> all(static_cast<std::size_t>(count));
    Check(ex_get_all_times(file_.Id(), all.data()), "times");
    const auto fromEnd = [&](int frame) { return frame < 0 ? count + frame : std::int64_t{frame}; };
    const std::int64_t first = fromEnd(options_.firstFrame), last = fromEnd(options_.lastFrame);
    if (first < 0 || last >= count || last < first || options_.stride < 1)
      Fail("frames " + std::to_string(first) + " to " + std::to_string(last) + " by "
           + std::to_string(options_.stride) + "; it has 0 to " + std::to_string(count - 1));
    for (std::int64_t i = first; i <= last; i += options_.stride) {
      frames_.push_back(static_cast<int>(i) + 1);
      times_.push_back(all[static_cast<std::size_t>(i)]);
      if (!std::isfinite(times_.back())) Fail("time step " + std::to_string(i + 1) + " has no finite time");
    }
    summary_.numFrames = static_cast<int>(frames_.size());
  }

  void Declare() {
    std::map<int, int> pointSets; // by the number of points
    std::map<cow_String, int> layouts;
    // a run that is gone on with has its layouts and point sets from before; the same ones are made again
    for (exo_PlannedVariable& planned : planned_) {
      odiC_Layout layout;
      cow_String key;
      for (exo_Source& source : planned.sources) {
        if (source.block.pointSet == exo_kNeedsPointSet) {
          const int count = source.block.valuesPerEntity;
          if (!pointSets.contains(count)) {
            odiC_PointSet points;
            points.name = std::to_string(count) + " points";
            points.count = count;
            pointSets[count] = run_->AddPointSet(points);
          }
          source.block.pointSet = pointSets[count];
        }
        key += std::to_string(source.block.position) + "," + std::to_string(source.block.classIndex) + ","
               + std::to_string(source.block.valuesPerEntity) + "," + source.block.region
               + (source.areEdges ? ",edges;" : ";");
        layout.Add(source.block);
      }
      layout.completeness = IsFull(layout) ? res_FULL_FIELD : res_PARTIAL_FIELD;
      const auto [at, isNew] = layouts.try_emplace(key, 0);
      if (isNew) at->second = run_->AddLayout(layout);
      planned.layout = at->second;
      planned.index = run_->AddVariable(planned.variable);
    }
  }

  bool IsFull(const odiC_Layout& layout) const {
    const auto isAll = [](const odiC_LayoutBlock& block) {
      return block.region.empty() && block.entities.IsEmpty();
    };
    if (!std::ranges::all_of(layout.blocks, isAll)) return false;
    if (layout.blocks.size() == 1 && layout.blocks[0].IsNodal()) return true;
    std::set<int> classes;
    for (const odiC_LayoutBlock& block : layout.blocks)
      if (block.classIndex >= 0) classes.insert(block.classIndex);
    for (unsigned i = 0; i < import_.mesh->ElementData().NumClasses(); ++i)
      if (import_.mesh->ElementData().GetClass(i).Shape() && !classes.contains(static_cast<int>(i)))
        return false;
    return true;
  }

  /// Frames of the run that are of this file; an error when they are not.
  std::size_t FramesThere() const {
    std::vector<double> there;
    for (const odiC_Step& step : run_->Header().steps) {
      there.insert(there.end(), step.values.begin(), step.values.end());
    }
    if (there.size() > times_.size() || !std::equal(there.begin(), there.end(), times_.begin()))
      Fail("the run has " + std::to_string(there.size())
           + " frames, which are not the first ones of this file");
    return there.size();
  }

  void Carry() {
    std::size_t waiting = 0;
    int numWaiting = 0;
    const std::size_t there = FramesThere();
    for (std::size_t i = there; i < times_.size(); ++i) {
      const bool isFirst = run_->Header().steps.empty();
      if (isFirst || (i > 0 && times_[i] < times_[i - 1]))
        run_->BeginStep("Step-" + std::to_string(run_->Header().steps.size() + 1), options_.stepKind,
                        odiC_TIME);
      run_->BeginFrame({.value = times_[i], .increment = frames_[i]});
      for (const exo_PlannedVariable& planned : planned_) waiting += PutField(planned, frames_[i]);
      ++summary_.numNewFrames;
      thr_ThreadSingleton<wip_WIP>::Instance().Progress(static_cast<double>(i + 1)
                                                        / static_cast<double>(times_.size()));
      if (i + 1 < times_.size() && (++numWaiting == 20 || waiting >= options_.passBytes)) {
        run_->Commit();
        waiting = 0;
        numWaiting = 0;
      }
    }
    if (summary_.numNewFrames > 0) CarryHistories();
    run_->Commit();
  }

  /// Answers the bytes that wait for the pass.
  std::size_t PutField(const exo_PlannedVariable& planned, int frame) {
    if (!options_.isDouble) {
      const Counts before = counts_;
      if (auto values = ReadField<float>(planned, frame)) return Put(planned, std::move(*values));
      counts_ = before; // a number that overflows: the field again, in double precision
    }
    return Put(planned, std::move(*ReadField<double>(planned, frame)));
  }

  template<class T> std::size_t Put(const exo_PlannedVariable& planned, cow_ArrayCOW<T> values) {
    const std::size_t bytes = values.Size() * sizeof(T);
    run_->PutField(planned.index, planned.layout, std::move(values));
    return bytes;
  }

  /// A field in the order of its layout; nothing when a finite number becomes infinite.
  template<class T> std::optional<cow_ArrayCOW<T>> ReadField(const exo_PlannedVariable& planned, int frame) {
    const auto width = static_cast<std::size_t>(planned.variable.NumComponents());
    const std::size_t pairs = planned.variable.IsComplex() ? 2 : 1;
    std::size_t rows = 0;
    for (const exo_Source& source : planned.sources) rows += static_cast<std::size_t>(source.block.NumRows());
    cow_ArrayCOW<T> values;
    values.ResizeUninitialised(rows * width * pairs);
    const std::span<T> all = values.Modify();
    std::size_t firstRow = 0;
    for (const exo_Source& source : planned.sources) {
      if (!ReadSource(planned.variable.name, source, frame, width, pairs, all, firstRow, rows))
        return std::nullopt;
      firstRow += static_cast<std::size_t>(source.block.NumRows());
    }
    return values;
  }

  /// The scalars of one part of a field, by slices of entities.
  template<class T>
  bool ReadSource(const cow_String& name, const exo_Source& source, int frame, std::size_t width,
                  std::size_t pairs, std::span<T> all, std::size_t firstRow, std::size_t numRows) {
    constexpr std::int64_t kSlice = 8192;
    const auto points = static_cast<std::size_t>(source.block.valuesPerEntity);
    std::vector<std::int64_t> place; // ours of each entity of the file, -1 when it has none
    if (!source.order.empty()) {
      place.assign(static_cast<std::size_t>(source.numEntities), -1);
      for (std::size_t k = 0; k < source.order.size(); ++k)
        place[static_cast<std::size_t>(source.order[k])] = static_cast<std::int64_t>(k);
    }
    for (std::int64_t first = 0; first < source.numEntities; first += kSlice) {
      const std::int64_t count = std::min(kSlice, source.numEntities - first);
      buffer_.resize(static_cast<std::size_t>(count));
      for (std::size_t s = 0; s < source.scalars.size(); ++s) {
        Check(ex_get_partial_var(file_.Id(), frame, static_cast<ex_entity_type>(source.type),
                                 source.scalars[s] + 1, source.id, first + 1, count, buffer_.data()),
              name + ", time step " + std::to_string(frame));
        const std::size_t component = s % width, pair = s / width % pairs;
        const std::size_t point = PointOf(s / width / pairs, points);
        T* const target = all.data() + (pair * numRows + firstRow + point) * width + component;
        std::size_t kept = buffer_.size();
        if (!place.empty()) { // those that we have, with their places beside them
          kept = 0;
          places_.resize(buffer_.size());
          for (std::size_t i = 0; i < buffer_.size(); ++i) {
            const std::int64_t entity = place[static_cast<std::size_t>(first) + i];
            if (entity < 0) continue;
            buffer_[kept] = buffer_[i];
            places_[kept++] = static_cast<std::size_t>(entity);
          }
        }
        const std::span<const double> values(buffer_.data(), kept);
        if (!counts_.template Add<T>(values)) return false;
        T* const start = target + static_cast<std::size_t>(first) * points * width;
        for (std::size_t i = 0; place.empty() && i < kept; ++i)
          start[i * points * width] = static_cast<T>(values[i]);
        for (std::size_t i = 0; !place.empty() && i < kept; ++i)
          target[places_[i] * points * width] = static_cast<T>(values[i]);
      }
    }
    return true;
  }

  /// Ours of a point of the file.
  std::size_t PointOf(std::size_t inFile, std::size_t numPoints) const {
    if (options_.pointOrder.size() != numPoints) return inFile;
    const auto at = std::ranges::find(options_.pointOrder, static_cast<int>(inFile) + 1);
    return at == options_.pointOrder.end() ? inFile
                                           : static_cast<std::size_t>(at - options_.pointOrder.begin());
  }

  /// Global variables: the whole history each, cut where the steps are. They are of the pass with the last frame: a run
  /// that lacks them lacks frames, too, and is gone on with.
  void CarryHistories() {
    const std::vector<cow_String> names = exo_VariableNames(file_, EX_GLOBAL);
    if (names.empty()) return;
    std::vector<std::vector<double>> rows;
    for (const int frame : frames_) {
      rows.emplace_back(names.size());
      Check(ex_get_var(file_.Id(), frame, EX_GLOBAL, 1, 1, static_cast<std::int64_t>(names.size()),
                       rows.back().data()),
            "global variables, time step " + std::to_string(frame));
    }
    std::size_t first = 0;
    for (int step = 0; step < static_cast<int>(run_->Header().steps.size()); ++step) {
      const auto count =
          static_cast<std::size_t>(run_->Header().steps[static_cast<std::size_t>(step)].NumFrames());
      for (std::size_t i = 0; i < names.size(); ++i) {
        odiC_History history;
        history.name = names[i];
        for (std::size_t k = first; k < first + count; ++k) {
          history.domainValues.push_back(times_[k]);
          history.values.push_back(rows[k][i]);
        }
        run_->PutHistory(step, static_cast<int>(i), std::move(history));
      }
      first += count;
    }
  }

  exo_File file_;
  const fmt_Import& import_;
  odiC_RunWriter* run_;
  const fmt_ResultsOptions& options_;
  std::vector<int> frames_; ///< of the file, from 1
  std::vector<double> times_;
  std::vector<exo_PlannedVariable> planned_;
  std::vector<double> buffer_;
  std::vector<std::size_t> places_;
  Counts counts_;
  fmt_ResultsSummary summary_;
};
} // namespace

fmt_ResultsSummary exo_CarryResults(const cow_String& fileName, const fmt_Import& import, odiC_RunWriter* run,
                                    const fmt_ResultsOptions& options) {
  return Reader(fileName, import, run, options).Run();
}
