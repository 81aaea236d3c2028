#include "exo_Compare.h"

#include "exo_File.h"
#include "fmt_Differences.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/exo_Types.h>
#include <algorithm>
#include <cmath>

namespace {
constexpr std::int64_t kSlice = 1 << 17; ///< numbers read at a time

struct Kind {
  exo_SetKind kind;
  const char* name;
};
constexpr Kind kKinds[] = {{exo_SetKind::Nodes, "node set"},
                           {exo_SetKind::Sides, "side set"},
                           {exo_SetKind::Elements, "element set"}};

/// Calls `read` for one slice after the other: with its start, and how many items it has.
template<class Read> void InSlices(std::int64_t count, std::int64_t perSlice, const Read& read) {
  for (std::int64_t first = 0; first < count; first += perSlice) {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    read(first, std::min(perSlice, count - first));
  }
}

std::vector<long long> Rows(const exo_File& file, const exo_Block& block, std::int64_t first,
                            std::int64_t count) {
  const auto size = static_cast<std::size_t>(count * block.nodesPerElement);
  std::vector<std::int64_t> wide(size);
  if (file.HasWideNumbers()) {
    file.ReadConnectivity(block, first, count, wide.data());
  } else {
    std::vector<int> narrow(size);
    file.ReadConnectivity(block, first, count, narrow.data());
    std::ranges::copy(narrow, wide.begin());
  }
  return {wide.begin(), wide.end()};
}

/// All of them empty is the same as none.
std::vector<cow_String> Said(std::vector<cow_String> texts) {
  if (std::ranges::all_of(texts, [](const cow_String& text) { return text.empty(); })) texts.clear();
  return texts;
}

class Comparer {
public:
  Comparer(const cow_String& first, const cow_String& second, double tolerance)
      : a_(first), b_(second), tolerance_(tolerance) {}

  fmt_Comparison Run() {
    found_.Texts("title", a_.Title(), b_.Title());
    const bool sameSpace = found_.Counts("dimensions", a_.NumDims(), b_.NumDims());
    const bool sameNodes = found_.Counts("number of nodes", a_.NumNodes(), b_.NumNodes());
    const bool sameElements = found_.Counts("number of elements", a_.NumElements(), b_.NumElements());
    found_.Lists("name of coordinate", Said(a_.CoordinateNames()), Said(b_.CoordinateNames()));
    if (sameSpace && sameNodes) CompareCoordinates();
    if (sameNodes) CompareLabels("node", a_.NumNodes(), &exo_File::ReadNodeLabels);
    if (sameElements) CompareLabels("element", a_.NumElements(), &exo_File::ReadElementLabels);
    CompareBlocks();
    for (const Kind& kind : kKinds) CompareSets(kind);
    found_.Lists("record of a program, text", a_.Programs(), b_.Programs());
    found_.Lists("line of information", a_.Information(), b_.Information());
    fmt_Ledger others = CompareOthers();
    return {std::move(found_.all), std::move(others)};
  }

private:
  template<class Act> void ForCoordinates(const Act& act) const {
    const auto dims = static_cast<std::size_t>(a_.NumDims());
    std::vector<double> values[2][3];
    InSlices(a_.NumNodes(), kSlice, [&](std::int64_t first, std::int64_t count) {
      for (const exo_File* file : {&a_, &b_}) {
        auto& axes = values[file == &b_];
        for (std::size_t axis = 0; axis < dims; ++axis) axes[axis].resize(static_cast<std::size_t>(count));
        file->ReadCoordinates(first, axes[0], axes[1], axes[2]);
      }
      for (std::size_t axis = 0; axis < dims; ++axis)
        act(axis, std::span<const double>(values[0][axis]), std::span<const double>(values[1][axis]));
    });
  }

  void CompareCoordinates() {
    double scale = 0;
    ForCoordinates([&](std::size_t, std::span<const double> ours, std::span<const double> theirs) {
      for (const auto& all : {ours, theirs})
        for (const double x : all)
          if (std::isfinite(x)) scale = std::max(scale, std::abs(x));
    });
    std::vector<fmt_ArrayDifference> axes;
    for (const char axis : {'x', 'y', 'z'})
      axes.emplace_back(
          [axis](std::size_t i) {
            return "coordinates: " + cow_String(1, axis) + " of node " + std::to_string(i + 1);
          },
          tolerance_, scale);
    ForCoordinates([&](std::size_t axis, std::span<const double> ours, std::span<const double> theirs) {
      axes[axis].Add(ours, theirs);
    });
    for (fmt_ArrayDifference& axis : axes) axis.Finish(found_.all);
  }

  void CompareLabels(const cow_String& what, std::int64_t count,
                     void (exo_File::*read)(std::int64_t, std::span<std::int64_t>) const) {
    fmt_ArrayDifference found(
        [&](std::size_t i) { return "label of " + what + " " + std::to_string(i + 1); });
    InSlices(count, kSlice, [&](std::int64_t first, std::int64_t size) {
      std::vector<std::int64_t> ours(static_cast<std::size_t>(size)), theirs(ours);
      (a_.*read)(first, ours);
      (b_.*read)(first, theirs);
      found.Add(std::span<const std::int64_t>(ours), std::span<const std::int64_t>(theirs));
    });
    found.Finish(found_.all);
  }

  /// Those of one id in both files; what only one of them has is a difference.
  template<class Item, class Compare>
  void Pair(std::span<const Item> ours, std::span<const Item> theirs, const char* kind,
            const Compare& compare) {
    std::map<std::int64_t, std::pair<const Item*, const Item*>> pairs;
    for (const Item& item : ours) pairs[item.id].first = &item;
    for (const Item& item : theirs) pairs[item.id].second = &item;
    for (const auto& [id, pair] : pairs) {
      const cow_String place = cow_String(kind) + " " + std::to_string(id);
      if (!pair.first || !pair.second)
        found_.Presence(place, pair.first != nullptr, "there");
      else
        compare(*pair.first, *pair.second, place);
    }
  }

  void CompareBlocks() {
    const auto ids = [](const exo_File& file) {
      std::vector<std::int64_t> all;
      for (const exo_Block& block : file.Blocks()) all.push_back(block.id);
      return all;
    };
    const std::vector<std::int64_t> ours = ids(a_), theirs = ids(b_);
    if (ours != theirs && std::ranges::is_permutation(ours, theirs))
      found_.Arrays("order of the blocks", "id", std::span<const std::int64_t>(ours),
                    std::span<const std::int64_t>(theirs));
    Pair<exo_Block>(a_.Blocks(), b_.Blocks(), "block",
                    [&](const exo_Block& one, const exo_Block& other, const cow_String& place) {
                      CompareBlock(one, other, place + " (" + one.type + ")");
                    });
    CompareProperties("block", a_.BlockProperties(), b_.BlockProperties(),
                      std::span<const exo_Block>(a_.Blocks()), std::span<const exo_Block>(b_.Blocks()));
  }

  void CompareBlock(const exo_Block& one, const exo_Block& other, const cow_String& place) {
    found_.Texts(place + ": name", one.name, other.name);
    if (!exo_AreOneType(one.type, other.type)) found_.Texts(place + ": type", one.type, other.type);
    const bool areAsMany = found_.Counts(place + ": number of elements", one.numElements, other.numElements);
    const bool areAsLong =
        found_.Counts(place + ": nodes of an element", one.nodesPerElement, other.nodesPerElement);
    if (areAsMany && areAsLong && !one.isRagged && one.nodesPerElement > 0) {
      const std::int64_t columns = one.nodesPerElement;
      fmt_ArrayDifference found([&](std::size_t i) {
        const auto width = static_cast<std::size_t>(columns);
        return place + ", connectivity: node " + std::to_string(i % width + 1) + " of element "
               + std::to_string(i / width + 1);
      });
      InSlices(one.numElements, std::max<std::int64_t>(1, kSlice / columns),
               [&](std::int64_t first, std::int64_t count) {
                 const auto ours = Rows(a_, one, first, count), theirs = Rows(b_, other, first, count);
                 found.Add(std::span<const long long>(ours), std::span<const long long>(theirs));
               });
      found.Finish(found_.all);
    }
    if (!areAsMany || one.numElements == 0
        || !found_.Counts(place + ": attributes of an element", one.numAttributes, other.numAttributes)
        || one.numAttributes == 0)
      return;
    found_.Lists(place + ": name of attribute", Said(a_.AttributeNames(one)), Said(b_.AttributeNames(other)));
    fmt_ArrayDifference found(
        [&](std::size_t i) {
          const auto width = static_cast<std::size_t>(one.numAttributes);
          return place + ": attribute " + std::to_string(i % width + 1) + " of element "
                 + std::to_string(i / width + 1);
        },
        tolerance_);
    const cow_ArrayCOW<double> ours = a_.ReadAttributes(one), theirs = b_.ReadAttributes(other);
    found.Add(ours.Const(), theirs.Const());
    found.Finish(found_.all);
  }

  void CompareSets(const Kind& kind) {
    const auto ofKind = [&](const exo_File& file) {
      std::vector<exo_Set> sets;
      std::ranges::copy_if(file.Sets(), std::back_inserter(sets),
                           [&](const exo_Set& set) { return set.kind == kind.kind; });
      return sets;
    };
    const std::vector<exo_Set> ours = ofKind(a_), theirs = ofKind(b_);
    Pair<exo_Set>(
        ours, theirs, kind.name, [&](const exo_Set& one, const exo_Set& other, const cow_String& place) {
          thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
          found_.Texts(place + ": name", one.name, other.name);
          std::vector<long long> entries[2], sides[2];
          a_.ReadSet(one, entries[0], sides[0]);
          b_.ReadSet(other, entries[1], sides[1]);
          using Numbers = std::span<const long long>;
          const bool areNodes = kind.kind == exo_SetKind::Nodes;
          found_.Arrays(place, areNodes ? "node" : "element", Numbers(entries[0]), Numbers(entries[1]));
          if (sides[0].size() == sides[1].size())
            found_.Arrays(place, "side", Numbers(sides[0]), Numbers(sides[1]));
          const cow_ArrayCOW<double> factors[] = {a_.ReadFactors(one), b_.ReadFactors(other)};
          found_.Arrays(place, "distribution factor", factors[0].Const(), factors[1].Const(), tolerance_);
        });
    CompareProperties(kind.name, a_.SetProperties(kind.kind), b_.SetProperties(kind.kind),
                      std::span<const exo_Set>(ours), std::span<const exo_Set>(theirs));
  }

  template<class Item>
  void CompareProperties(const cow_String& kind, const std::vector<exo_Property>& ours,
                         const std::vector<exo_Property>& theirs, std::span<const Item> items,
                         std::span<const Item> others) {
    for (const exo_Property& one : ours) {
      const cow_String what = "property \"" + one.name + '"';
      const auto at = std::ranges::find(theirs, one.name, &exo_Property::name);
      if (at == theirs.end()) {
        found_.Presence(cow_String(kind).append("s: ").append(what), true, "there");
        continue;
      }
      for (std::size_t i = 0; i < items.size(); ++i) {
        const auto other = std::ranges::find(others, items[i].id, &Item::id);
        if (other == others.end()) continue;
        cow_String place = kind;
        place.append(" ").append(std::to_string(items[i].id)).append(": ").append(what);
        found_.Counts(place, one.values[i], at->values[static_cast<std::size_t>(other - others.begin())]);
      }
    }
    for (const exo_Property& other : theirs)
      if (std::ranges::find(ours, other.name, &exo_Property::name) == ours.end())
        found_.Presence(kind + "s: property \"" + other.name + '"', false, "there");
  }

  /// What no model has a place for is counted, and not looked into.
  fmt_Ledger CompareOthers() {
    fmt_Ledger all = exo_ListNotCarried(a_);
    const auto isResult = [](const cow_String& what) {
      return what == "time steps" || what.ends_with(" variables");
    };
    std::vector<bool> isInBoth(all.size());
    for (const fmt_LedgerEntry& other : exo_ListNotCarried(b_)) {
      const auto at = std::ranges::find(all, other.what, &fmt_LedgerEntry::what);
      if (at == all.end()) {
        if (!isResult(other.what)) found_.Counts(other.what, 0, other.count);
        all.push_back(other);
        isInBoth.push_back(true);
        continue;
      }
      isInBoth[static_cast<std::size_t>(at - all.begin())] = true;
      if (!isResult(other.what)) found_.Counts(other.what, at->count, other.count);
      at->count = std::max(at->count, other.count);
    }
    for (std::size_t i = 0; i < all.size(); ++i)
      if (!isInBoth[i] && !isResult(all[i].what)) found_.Counts(all[i].what, all[i].count, 0);
    return all;
  }

  exo_File a_, b_;
  double tolerance_;
  fmt_Differences found_;
};
} // namespace

fmt_Comparison exo_Compare(const cow_String& first, const cow_String& second, double tolerance) {
  return Comparer(first, second, tolerance).Run();
}
