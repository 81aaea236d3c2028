#include "vtu_Sets.h"

#include <algorithm>
#include <map>
#include <set>

namespace {
constexpr std::size_t kMostValues = 256;

/// Indices in the mesh by the value that they have.
using ByValue = std::map<std::int64_t, std::vector<int>>;

class Reader {
public:
  Reader(const vtu_Grid& grid, const vtu_Cells& cells, int meshId)
      : grid_(grid), cells_(cells), meshId_(meshId) {}

  std::vector<bme_NamedSet> Run(const vtu_Consumed& consumed, fmt_Ledger& ledger) {
    ReadAll(true, consumed.ofPoints, ledger);
    ReadAll(false, consumed.ofCells, ledger);
    return std::move(sets_);
  }

private:
  void ReadAll(bool areOfPoints, const std::vector<cow_String>& consumed, fmt_Ledger& ledger) {
    fmt_LedgerEntry others{areOfPoints ? "arrays of points" : "arrays of cells", 0, {}};
    std::set<cow_String> done(consumed.begin(), consumed.end());
    for (const vtu_Piece& first : grid_.pieces)
      for (const vtu_Array& array : first.ArraysOf(areOfPoints)) {
        if (!done.insert(array.name).second || AddSets(array.name, areOfPoints)) continue;
        others.detail += (++others.count == 1 ? "\"" : ", \"") + array.name + '"';
      }
    if (others.count > 0) ledger.push_back(std::move(others));
  }

  /// False when the array is none of labels of sets.
  bool AddSets(const cow_String& name, bool areOfPoints) {
    if (name.starts_with("vtk")) return false;
    bool areBytes = true;
    for (const vtu_Piece& piece : grid_.pieces) {
      const vtu_Array* array = vtu_FindArray(piece.ArraysOf(areOfPoints), name);
      if (!array) continue;
      if (!vtu_IsInteger(array->type) || array->components != 1) return false;
      areBytes &= vtu_SizeOf(array->type) == 1;
    }
    ByValue all;
    vtu_Cells::Walk walk(cells_);
    int node = 0;
    for (const vtu_Piece& piece : grid_.pieces) {
      const std::int64_t count = piece.Count(areOfPoints);
      const vtu_Array* array = vtu_FindArray(piece.ArraysOf(areOfPoints), name);
      if (array && !Read(piece, *array, count, all, [&] { return areOfPoints ? node++ : walk.Next(); }))
        return false;
      for (std::int64_t i = 0; !array && i < count; ++i) areOfPoints ? node++ : walk.Next();
    }
    if (areBytes && (all.empty() || (all.begin()->first >= 0 && all.rbegin()->first <= 1)))
      Add(name, areOfPoints, std::move(all[1]));
    else
      for (auto& [value, ids] : all) Add(name + " " + std::to_string(value), areOfPoints, std::move(ids));
    return true;
  }

  /// False when there are too many values.
  template<class NextIndex>
  static bool Read(const vtu_Piece& piece, const vtu_Array& array, std::int64_t count, ByValue& all,
                   const NextIndex& nextIndex) {
    vtu_Numbers<std::int64_t> numbers(piece.file, array);
    vtu_CheckCount(piece.file, array, numbers, static_cast<std::uint64_t>(count), "the items of its piece");
    auto last = all.end();
    while (count > 0) {
      const auto some = numbers.Take(static_cast<std::size_t>(
          std::min<std::int64_t>(count, static_cast<std::int64_t>(vtu_Numbers<std::int64_t>::kMost))));
      for (const std::int64_t value : some) {
        const int index = nextIndex();
        if (index < 0) continue;
        if (last == all.end() || last->first != value) last = all.try_emplace(value).first;
        last->second.push_back(index);
        if (all.size() > kMostValues) return false;
      }
      count -= static_cast<std::int64_t>(some.size());
    }
    numbers.End();
    return true;
  }

  void Add(const cow_String& name, bool areNodes, std::vector<int> ids) {
    bme_NamedSet made{name, areNodes ? rgnC_NODE_SET : rgnC_ELEMENT_SET, {}};
    const cow_String kind = (name.empty() ? "(" : " (") + cow_String(areNodes ? "nodes" : "elements");
    for (int n = 1; made.name.empty() || !names_.insert(made.name).second; ++n)
      made.name = name + kind + (n == 1 ? ")" : " " + std::to_string(n) + ")");
    const res_SetTypeEnm type = areNodes ? res_NODE_SET : res_ELEMENT_SET;
    const int number = static_cast<int>(sets_.size()) + 1;
    made.data.SetLabel(made.name);
    made.data.SetIndex(number);
    made.data.SetType(type);
    std::ranges::sort(ids);
    const auto append = [&](int classIndex, std::span<const int> part) {
      if (!part.empty())
        made.data.AppendSubset({meshId_, classIndex, made.data.NumSubset(), number, type, false,
                                rgnC_SubsetData::Ids(part), rgnC_SubsetData::Ids()});
    };
    if (areNodes) append(rgnC_SubsetData::kNoClass, ids);
    auto begin = ids.begin();
    for (std::size_t i = 0; !areNodes && i < cells_.Classes().size(); ++i) {
      const vtu_CellClass& one = cells_.Classes()[i];
      const auto end = std::lower_bound(begin, ids.end(), one.first + one.numElements);
      append(static_cast<int>(i), std::span<const int>(begin, end));
      begin = end;
    }
    made.data.SetConstructionOk(true);
    sets_.push_back(std::move(made));
  }

  const vtu_Grid& grid_;
  const vtu_Cells& cells_;
  int meshId_;
  std::vector<bme_NamedSet> sets_;
  std::set<cow_String> names_;
};
} // namespace

std::vector<bme_NamedSet> vtu_ReadSets(const vtu_Grid& grid, const vtu_Cells& cells,
                                       const vtu_Consumed& consumed, int meshId, fmt_Ledger& ledger) {
  return Reader(grid, cells, meshId).Run(consumed, ledger);
}
