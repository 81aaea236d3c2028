#include <CoreGeometry/odiC_Source.h>

#include "odiC_BlockMap.h"
#include "odiC_RowChecks.h"
#include "odiC_Stages.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/odiC_Field.h>
#include <algorithm>
#include <cmath>
#include <optional>

namespace {
constexpr int kBridgedRows =
    32; ///< rows between two that are meant are read along with them, up to this many

/// Values of whole elements, or of nodes whatever group they are in: each has one for all that is of it.
bool IsOfAll(const odiC_LayoutBlock& there) {
  return there.sectionPoint < 0
         && (there.position == res_WHOLE_ELEMENT || (there.position == res_NODAL && there.region.empty()));
}
/// Whether the values of that block are those of this one's elements or nodes, too.
bool CanSpreadTo(const odiC_LayoutBlock& block, const odiC_LayoutBlock& there) {
  return IsOfAll(there) && there.classIndex == block.classIndex && there.IsNodal() == block.IsNodal();
}

class Mapped final : public odiC_Source {
public:
  Mapped(odiC_SourcePointer from, int width, odiC_PlaceKernel kernel)
      : odiC_Source(from->Places(), width), from_(std::move(from)), kernel_(std::move(kernel)) {}
  void Read(int firstRow, std::span<double> values) override {
    const std::size_t rows = values.size() / static_cast<std::size_t>(NumComponents());
    below_.resize(rows * static_cast<std::size_t>(from_->NumComponents()));
    from_->Read(firstRow, below_);
    kernel_(firstRow, below_, values);
  }
  int SectionPointOf(int row) override { return from_->SectionPointOf(row); }

private:
  odiC_SourcePointer from_;
  odiC_PlaceKernel kernel_;
  std::vector<double> below_;
};

class Kept final : public odiC_Source {
public:
  Kept(odiC_Places places, int width, std::vector<double> values)
      : odiC_Source(std::move(places), width), values_(std::move(values)) {}
  void Read(int firstRow, std::span<double> values) override {
    const std::size_t first = static_cast<std::size_t>(firstRow) * static_cast<std::size_t>(NumComponents());
    std::copy_n(values_.begin() + static_cast<std::ptrdiff_t>(first), values.size(), values.begin());
  }

private:
  std::vector<double> values_;
};

class OnLayout final : public odiC_Source {
public:
  using Maps = std::vector<std::optional<odiC_BlockMap>>; ///< of the blocks of the layout
  OnLayout(odiC_SourcePointer from, odiC_Places places, Maps maps)
      : odiC_Source(std::move(places), from->NumComponents()), from_(std::move(from)),
        maps_(std::move(maps)) {}

  static odiC_SourcePointer Of(odiC_SourcePointer from, const odiC_Places::Layout& layout, bool canSpread) {
    Maps maps;
    odiC_Places places(layout);
    const std::vector<odiC_LayoutBlock>& theirs = from->Layout().blocks;
    for (const odiC_LayoutBlock& block : layout->blocks) {
      auto found =
          std::ranges::find_if(theirs, [&](const auto& one) { return odiC_AreOfOneKind(block, one); });
      if (found == theirs.end() && canSpread)
        found = std::ranges::find_if(theirs, [&](const auto& one) { return CanSpreadTo(block, one); });
      maps.emplace_back();
      if (found == theirs.end()) continue;
      maps.back().emplace(block, *found);
      maps.back()->AddPlaces(*from, places);
    }
    return std::make_unique<OnLayout>(std::move(from), std::move(places), std::move(maps));
  }

  void Read(int firstRow, std::span<double> values) override {
    std::optional<odiC_BlockMap>& map = maps_[static_cast<std::size_t>(odiC_BlockOf(Layout(), firstRow))];
    if (map)
      map->Read(*from_, firstRow, values);
    else
      std::ranges::fill(values, std::nan(""));
  }

private:
  odiC_SourcePointer from_;
  Maps maps_;
};

odiC_Places CommonPlaces(std::span<const odiC_SourcePointer> sources) {
  odiC_Places common = sources.front()->Places();
  for (const odiC_SourcePointer& one : sources.subspan(1)) common = common.And(one->Places());
  return common;
}

class Combined final : public odiC_Source {
public:
  Combined(std::vector<odiC_SourcePointer> sources, int width, odiC_PlaceKernel kernel)
      : odiC_Source(CommonPlaces(sources), width), sources_(std::move(sources)), kernel_(std::move(kernel)) {}
  void Read(int firstRow, std::span<double> values) override {
    const std::size_t rows = values.size() / static_cast<std::size_t>(NumComponents());
    std::size_t all = 0;
    for (const odiC_SourcePointer& one : sources_) all += static_cast<std::size_t>(one->NumComponents());
    below_.resize(rows * all);
    std::size_t next = 0;
    for (const odiC_SourcePointer& one : sources_) {
      const std::size_t count = rows * static_cast<std::size_t>(one->NumComponents());
      one->Read(firstRow, std::span(below_).subspan(next, count));
      next += count;
    }
    kernel_(firstRow, below_, values);
  }

private:
  std::vector<odiC_SourcePointer> sources_;
  odiC_PlaceKernel kernel_;
  std::vector<double> below_;
};
} // namespace

int odiC_Source::SectionPointOf(int row) {
  return Layout().blocks[static_cast<std::size_t>(odiC_BlockOf(Layout(), row))].sectionPoint;
}

odiC_SourcePointer odiC_Mapped(odiC_SourcePointer from, int width, odiC_Kernel kernel) {
  return odiC_MappedByPlace(std::move(from), width,
                            [kernel = std::move(kernel)](int, std::span<const double> rows,
                                                         std::span<double> made) { kernel(rows, made); });
}
odiC_SourcePointer odiC_MappedByPlace(odiC_SourcePointer from, int width, odiC_PlaceKernel kernel) {
  return std::make_unique<Mapped>(std::move(from), width, std::move(kernel));
}
odiC_SourcePointer odiC_Kept(odiC_Places places, int width, std::vector<double> values) {
  return std::make_unique<Kept>(std::move(places), width, std::move(values));
}
odiC_SourcePointer odiC_OnLayout(odiC_SourcePointer from, const odiC_Places::Layout& layout) {
  if (from->Places().SharedLayout() == layout) return from;
  return OnLayout::Of(std::move(from), layout, false);
}
bool odiC_CanSpread(const odiC_Layout& layout) { return std::ranges::all_of(layout.blocks, IsOfAll); }
odiC_SourcePointer odiC_Spread(odiC_SourcePointer from, const odiC_Places::Layout& layout) {
  if (from->Places().SharedLayout() == layout) return from;
  return OnLayout::Of(std::move(from), layout, true);
}
odiC_SourcePointer odiC_Combined(std::vector<odiC_SourcePointer> sources, int width,
                                 odiC_PlaceKernel kernel) {
  const odiC_Places::Layout layout = sources.front()->Places().SharedLayout();
  for (odiC_SourcePointer& one : sources) one = odiC_OnLayout(std::move(one), layout);
  return std::make_unique<Combined>(std::move(sources), width, std::move(kernel));
}

void odiC_ForEachRange(odiC_Source& source, const std::function<void(const odiC_Range&)>& take) {
  const odiC_Layout& layout = source.Layout();
  const auto width = static_cast<std::size_t>(source.NumComponents());
  const std::span<const odiC_RowRun> runs = source.Places().Runs();
  const int mostRows = odiC_BlockRows(source.NumComponents());
  std::vector<double> values;
  std::vector<odiC_RowRun> rows;
  int row = runs.empty() ? 0 : runs.front().first;
  for (std::size_t i = 0; i < runs.size();) {
    // whole entities from here on, as many as fit, with what is meant soon after
    const odiC_LayoutBlock& block = layout.blocks[static_cast<std::size_t>(odiC_BlockOf(layout, row))];
    const int each = block.valuesPerEntity;
    const int first = block.firstRow + (row - block.firstRow) / each * each;
    const int limit =
        first + std::min(block.firstRow + block.NumRows() - first, std::max(each, mostRows / each * each));
    int end = first;
    for (rows.clear(); i < runs.size(); ++i) {
      const int begin = std::max(runs[i].first, row);
      if (begin >= limit || (!rows.empty() && begin - end > kBridgedRows)) break;
      const int stop = std::min(runs[i].End(), limit);
      rows.push_back({begin, stop - begin});
      end = block.firstRow + (stop - block.firstRow + each - 1) / each * each;
      if (runs[i].End() > limit) break;
    }
    wip_Poll::Now();
    values.resize(static_cast<std::size_t>(end - first) * width);
    source.Read(first, values);
    take({block, first, values, rows});
    if (i < runs.size()) row = std::max(runs[i].first, rows.back().End());
  }
}

odiC_Gathered odiC_Gather(odiC_Source& source) {
  const odiC_Places& places = source.Places();
  const odiC_Places whole = places.WholeEntities();
  odiC_Gathered gathered;
  std::size_t next = 0;
  const std::span<const odiC_RowRun> runs = whole.Runs();
  for (const odiC_LayoutBlock& block : source.Layout().blocks) {
    std::vector<int> entities, faces;
    const int end = block.firstRow + block.NumRows();
    for (; next < runs.size() && runs[next].first < end; ++next) {
      const int first = std::max(runs[next].first, block.firstRow), last = std::min(runs[next].End(), end);
      for (int row = first; row < last; row += block.valuesPerEntity) {
        const int at = (row - block.firstRow) / block.valuesPerEntity;
        entities.push_back(block.Entity(at));
        if (block.HasFaces()) faces.push_back(block.faces.Const()[static_cast<std::size_t>(at)]);
      }
      if (runs[next].End() > end) break; // it goes on in the next block
    }
    if (entities.empty()) continue;
    odiC_LayoutBlock part = block;
    if (static_cast<int>(entities.size()) < block.numEntities) {
      part.numEntities = static_cast<int>(entities.size());
      part.entities = {};
      part.faces = {};
      part.entities.Append(std::span<const int>(entities));
      part.faces.Append(std::span<const int>(faces));
    }
    gathered.layout.Add(std::move(part));
  }
  gathered.layout.completeness = gathered.layout.numRows == 0 ? res_EMPTY_FIELD
                                 : places.AreAll()            ? source.Layout().completeness
                                                              : res_PARTIAL_FIELD;
  const auto width = static_cast<std::size_t>(source.NumComponents());
  gathered.values.assign(static_cast<std::size_t>(gathered.layout.numRows) * width, std::nan(""));
  std::size_t run = 0;
  long long before = 0; // rows of whole entities before the run
  odiC_ForEachRange(source, [&](const odiC_Range& range) {
    for (const odiC_RowRun& rows : range.rows) {
      while (runs[run].End() <= rows.first) before += runs[run++].count;
      const auto to = static_cast<std::size_t>(before + rows.first - runs[run].first) * width;
      const auto from = static_cast<std::size_t>(rows.first - range.firstRow) * width;
      std::copy_n(range.values.begin() + static_cast<std::ptrdiff_t>(from),
                  static_cast<std::size_t>(rows.count) * width,
                  gathered.values.begin() + static_cast<std::ptrdiff_t>(to));
    }
  });
  return gathered;
}
