#include "dst_Hash.h"
#include "dst_Runs.h"

#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <algorithm>
#include <cmath>

namespace {
void CheckCancelled() { thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled(); }

/// Calls take(step, frame, variable) for each field of a run.
template<class Take> void ForEachField(const odiC_Results& run, const Take& take) {
  for (int s = 0; s < static_cast<int>(run.steps.size()); ++s) {
    const odiC_Step& step = run.steps[static_cast<std::size_t>(s)];
    for (int f = 0; f < step.NumFrames(); ++f)
      for (int v = 0; v < static_cast<int>(run.variables.size()); ++v)
        if (step.Has(f, v)) take(s, f, v);
  }
}

/// The entities of a block that a part holds.
class BlockCutter {
public:
  /// Numbers of the part's entities of this kind, which ascend, less `first`.
  BlockCutter(const odiC_LayoutBlock& block, std::span<const unsigned> numbers, std::uint64_t first,
              std::uint64_t all)
      : block_(block) {
    if (block.entities.IsEmpty() && static_cast<std::uint64_t>(block.numEntities) != all)
      throw nex_TextException("a layout has values of all of " + std::to_string(block.numEntities)
                              + " nodes or elements, and the mesh has " + std::to_string(all)
                              + "; check the model first");
    numHeld_ = numbers.size();
    std::span<const int> left = block.entities.Const();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      const auto entity = static_cast<int>(numbers[i] - first);
      if (block.entities.IsEmpty()) {
        Add(entity, i);
        continue;
      }
      left = left.subspan(static_cast<std::size_t>(std::ranges::lower_bound(left, entity) - left.begin()));
      for (; !left.empty() && left.front() == entity; left = left.subspan(1))
        Add(block.numEntities - static_cast<int>(left.size()), i);
    }
  }

  void AddTo(dst_CutLayout& cut) const {
    if (entities_.empty()) return;
    odiC_LayoutBlock made = block_;
    made.numEntities = static_cast<int>(entities_.size());
    const bool areAll = entities_.size() == numHeld_ && !block_.HasFaces();
    made.entities = areAll ? cow_ArrayCOW<int>() : cow_ArrayCOW<int>(std::span<const int>(entities_));
    made.faces = cow_ArrayCOW<int>(std::span<const int>(faces_));
    cut.layout.Add(std::move(made));
    for (const int at : positions_)
      for (int point = 0; point < block_.valuesPerEntity; ++point)
        cut.rows.push_back(block_.firstRow + at * block_.valuesPerEntity + point);
  }

private:
  void Add(int position, std::size_t local) {
    positions_.push_back(position);
    entities_.push_back(static_cast<int>(local));
    if (block_.HasFaces()) faces_.push_back(block_.faces.Const()[static_cast<std::size_t>(position)]);
  }

  const odiC_LayoutBlock& block_;
  std::size_t numHeld_ = 0;
  std::vector<int> positions_, entities_, faces_;
};

template<class T> void Read(odiC_FieldReader& field, long long row, std::span<T> values) {
  if constexpr (std::is_same_v<T, int>) { // missing ones come as not a number
    std::vector<double> numbers(values.size());
    field.Read(row, numbers);
    std::ranges::transform(numbers, values.begin(), [](double number) {
      return std::isnan(number) ? odiC_kMissingInteger : static_cast<int>(number);
    });
  } else {
    field.Read(row, values);
  }
}

template<class T> cow_ArrayCOW<T> RowsOf(odiC_FieldReader& field, std::span<const int> rows, int numWhole) {
  const auto width = static_cast<std::size_t>(field.NumComponents());
  const std::size_t planes = numWhole == 0 ? 0 : static_cast<std::size_t>(field.NumRows() / numWhole);
  cow_ArrayCOW<T> made;
  made.ResizeUninitialised(planes * rows.size() * width);
  std::span<T> left = made.Modify();
  for (std::size_t plane = 0; plane < planes; ++plane)
    for (std::size_t first = 0, end = 0; first < rows.size(); first = end) {
      for (end = first + 1; end < rows.size() && rows[end] == rows[end - 1] + 1;) ++end;
      const std::size_t count = (end - first) * width;
      Read(field, static_cast<long long>(plane) * numWhole + rows[first], left.first(count));
      left = left.subspan(count);
    }
  return made;
}

/// One run of a part.
class RunCutter {
public:
  RunCutter(const odiC_Run& run, const dst_Index& index, const bme_Mesh& mesh, const dst_Part& part,
            const cls_Database& model, cls_WritePass& pass)
      : run_(run), index_(index), mesh_(mesh), part_(part), writer_(model, pass, run.Root(), mesh) {}

  void Put() {
    const odiC_Results& header = run_.Header();
    writer_.Describe(header);
    for (int i = 0; i < header.numPointSets; ++i) writer_.AddPointSet(run_.PointSet(i));
    for (const odiC_Variable& variable : header.variables) writer_.AddVariable(variable);
    for (const odiC_Step& step : header.steps) {
      writer_.BeginStep(step);
      for (int f = 0; f < step.NumFrames(); ++f) writer_.BeginFrame(step.Frame(f));
    }
    ForEachField(header, [&](int step, int frame, int variable) { PutField(step, frame, variable); });
    for (int s = 0; s < static_cast<int>(header.steps.size()); ++s) PutHistories(s);
    writer_.Commit();
  }

private:
  struct Sent {
    dst_CutLayout cut;
    int number;
  };

  void PutField(int step, int frame, int variable) {
    CheckCancelled();
    const Sent& sent = LayoutOf(run_.LayoutOf(step, frame, variable));
    if (sent.cut.rows.empty()) return;
    odiC_FieldReader field = run_.Field(step, frame, variable);
    writer_.GoTo(step, frame);
    std::visit([&](const auto& values) { writer_.PutField(variable, sent.number, values); },
               dst_ReadRows(field, sent.cut.rows));
  }

  const Sent& LayoutOf(int layout) {
    if (const auto known = layouts_.find(layout); known != layouts_.end()) return known->second;
    Sent sent{dst_Cut(*run_.Layout(layout), index_, part_), -1};
    sent.number = writer_.AddLayout(sent.cut.layout);
    return layouts_.emplace(layout, std::move(sent)).first->second;
  }

  /// Those of whole regions, and of nodes and elements of the part.
  void PutHistories(int step) {
    int count = 0;
    for (int h = 0; h < run_.Header().steps[static_cast<std::size_t>(step)].numHistories; ++h) {
      odiC_History history = run_.History(step, h);
      odiC_LayoutBlock place;
      place.position = history.position;
      const bool isHeld =
          history.label == 0
          || (place.IsNodal()
                  ? mesh_.NodeData().GetMeshNodeIndex(history.label) < part_.NumNodes()
                  : mesh_.ElementData().GetMeshElemIndexFromLabel(history.label) < part_.NumElements());
      if (isHeld) writer_.PutHistory(step, count++, std::move(history));
    }
  }

  const odiC_Run& run_;
  const dst_Index& index_;
  const bme_Mesh& mesh_;
  const dst_Part& part_;
  odiC_RunWriter writer_;
  std::map<int, Sent> layouts_;
};
} // namespace

dst_CutLayout dst_Cut(const odiC_Layout& whole, const dst_Index& index, const dst_Part& part) {
  dst_CutLayout cut;
  for (const odiC_LayoutBlock& block : whole.blocks) {
    if (block.IsNodal()) {
      BlockCutter(block, part.NodeNumbers(), 0, index.NumNodes()).AddTo(cut);
    } else if (block.classIndex >= 0) {
      const dst_ClassRange& range = index.Class(static_cast<unsigned>(block.classIndex));
      const std::span<const unsigned> numbers = part.ElementNumbers();
      const auto first = std::ranges::lower_bound(numbers, range.FirstElement());
      const auto end = std::ranges::lower_bound(numbers, range.EndElement());
      BlockCutter(block, {first, end}, range.FirstElement(), range.NumElements()).AddTo(cut);
    } else {
      cut.layout.Add(block);
      for (int row = 0; row < block.NumRows(); ++row) cut.rows.push_back(block.firstRow + row);
    }
  }
  cut.layout.completeness = cut.rows.empty() ? res_EMPTY_FIELD : whole.completeness;
  return cut;
}

dst_FieldValues dst_ReadRows(odiC_FieldReader& field, std::span<const int> rows) {
  const int numWhole = field.Layout().numRows;
  switch (field.Storage()) {
  case res_STORAGE_FLOAT: return RowsOf<float>(field, rows, numWhole);
  case res_STORAGE_DOUBLE: return RowsOf<double>(field, rows, numWhole);
  default: return RowsOf<int>(field, rows, numWhole);
  }
}

void dst_PutRun(const odiC_Run& run, const dst_Index& index, const bme_Mesh& mesh, const dst_Part& part,
                const cls_Database& model, cls_WritePass& pass) {
  RunCutter(run, index, mesh, part, model, pass).Put();
}

void dst_PutRunBeside(const odiC_Run& run, cls_WritePass& index) {
  const cow_String root = dst_kSplitFolder + run.Root();
  const odiC_Results& header = run.Header();
  for (int i = 0; i < header.numLayouts; ++i) index.Put(odiC_LayoutRoot(root, i), *run.Layout(i));
  for (int i = 0; i < header.numPointSets; ++i) index.Put(odiC_PointSetRoot(root, i), run.PointSet(i));
  for (int s = 0; s < static_cast<int>(header.steps.size()); ++s)
    for (int h = 0; h < header.steps[static_cast<std::size_t>(s)].numHistories; ++h) {
      const odiC_History history = run.History(s, h);
      index.Put(odiC_HistoryRoot(root, s + 1, h), history);
    }
  ForEachField(header, [&](int step, int frame, int variable) {
    const int layout = run.LayoutOf(step, frame, variable);
    const odiC_FieldReader field = run.Field(step, frame, variable);
    odiC_Field facts;
    facts.step = step + 1;
    facts.frame = frame;
    facts.variable = variable;
    facts.layout = layout;
    facts.storage = field.Storage();
    facts.low = field.Low();
    facts.high = field.High();
    facts.numNotNumbers = field.NumNotNumbers();
    index.Put(odiC_FieldRoot(root, step + 1, frame, variable), facts);
  });
  index.Put(root, header);
}

cow_String dst_HashOf(const odiC_Run& run) {
  constexpr long long kRows = 1 << 14;
  dst_Hash hash;
  const odiC_Results& header = run.Header();
  for (const cow_String& text : {run.Root(), header.description, header.program, header.units})
    hash.Add(text);
  for (const odiC_Variable& variable : header.variables) hash.Add(variable.name);
  for (const odiC_Step& step : header.steps) {
    hash.Add(step.name);
    hash.Add(std::span<const double>(step.values));
    hash.Add(static_cast<std::uint64_t>(step.numHistories));
  }
  std::vector<double> rows;
  ForEachField(header, [&](int step, int frame, int variable) {
    CheckCancelled();
    odiC_FieldReader field = run.Field(step, frame, variable);
    for (const odiC_LayoutBlock& block : field.Layout().blocks) {
      hash.Add(std::uint64_t{static_cast<unsigned>(block.classIndex)});
      hash.Add(block.region);
      hash.Add(block.entities.Const());
    }
    for (long long first = 0; first < field.NumRows(); first += kRows) {
      const long long count = std::min(kRows, field.NumRows() - first);
      rows.resize(static_cast<std::size_t>(count * field.NumComponents()));
      field.Read(first, std::span<double>(rows));
      hash.Add(std::span<const double>(rows));
    }
  });
  return hash.Text();
}
