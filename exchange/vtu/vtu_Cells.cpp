#include "vtu_Cells.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <limits>
#include <numeric>

namespace {
struct OtherCell {
  int type;
  std::string_view name;
};
/// Cells without nodes at fixed places, or without an element type.
constexpr OtherCell kOthers[] = {{0, "VTK_EMPTY_CELL"},
                                 {2, "VTK_POLY_VERTEX"},
                                 {4, "VTK_POLY_LINE"},
                                 {6, "VTK_TRIANGLE_STRIP"},
                                 {7, "VTK_POLYGON"},
                                 {15, "VTK_PENTAGONAL_PRISM"},
                                 {16, "VTK_HEXAGONAL_PRISM"},
                                 {34, "VTK_BIQUADRATIC_TRIANGLE"},
                                 {35, "VTK_CUBIC_LINE"},
                                 {36, "VTK_QUADRATIC_POLYGON"},
                                 {37, "VTK_TRIQUADRATIC_PYRAMID"},
                                 {41, "VTK_CONVEX_POINT_SET"},
                                 {42, "VTK_POLYHEDRON"},
                                 {68, "VTK_LAGRANGE_CURVE"},
                                 {69, "VTK_LAGRANGE_TRIANGLE"},
                                 {70, "VTK_LAGRANGE_QUADRILATERAL"},
                                 {71, "VTK_LAGRANGE_TETRAHEDRON"},
                                 {72, "VTK_LAGRANGE_HEXAHEDRON"},
                                 {73, "VTK_LAGRANGE_WEDGE"},
                                 {74, "VTK_LAGRANGE_PYRAMID"},
                                 {75, "VTK_BEZIER_CURVE"},
                                 {76, "VTK_BEZIER_TRIANGLE"},
                                 {77, "VTK_BEZIER_QUADRILATERAL"},
                                 {78, "VTK_BEZIER_TETRAHEDRON"},
                                 {79, "VTK_BEZIER_HEXAHEDRON"},
                                 {80, "VTK_BEZIER_WEDGE"},
                                 {81, "VTK_BEZIER_PYRAMID"}};

/// Cells of any number of nodes that are others when they have few.
struct FewNodes {
  int type;
  std::int64_t length;
  int same;
};
constexpr FewNodes kFewNodes[] = {{2, 1, 1}, {4, 2, 3}, {6, 3, 5}, {7, 3, 5}, {7, 4, 9}};

const shp_ShapeDictionary& Dictionary() { return thr_ThreadSingleton<shp_ShapeDictionary>::Instance(); }

std::vector<int> OrderOf(const exo_VtkNodes& cell, const exo_ElementType& element) {
  const std::span<const shp_IsoPoint> ours = Dictionary().GetShape(element.label)->NodeCoordinates();
  std::vector<shp_IsoPoint> collapsed;
  if (element.arePyramids) collapsed = exo_Collapsed(ours);
  auto order = exo_MatchNodes(cell.nodes, element.arePyramids ? collapsed : ours);
  return order ? std::move(*order) : std::vector<int>{0}; // a point has no iso coordinates
}

/// The first label whose nodes stand where those of the cell do, for cells that no name of a format means.
cow_String FindLabel(const exo_VtkNodes& cell) {
  for (const auto& [label, key] : Dictionary().LabelTable()) {
    const auto ours = Dictionary().GetShape(label)->NodeCoordinates();
    if (ours.size() == cell.nodes.size() && exo_MatchNodes(cell.nodes, ours)) return label;
  }
  return {};
}
} // namespace

const vtu_Array* vtu_FindArray(std::span<const vtu_Array> arrays, std::string_view name) {
  const auto at = std::ranges::find(arrays, name, &vtu_Array::name);
  return at == arrays.end() ? nullptr : &*at;
}

vtu_Cells::vtu_Cells(const vtu_Grid& grid, const fmt_ReadOptions& options) {
  for (const vtu_Piece& piece : grid.pieces) {
    const vtu_Array* told = vtu_FindArray(piece.cellArrays, "ElementClass");
    areClassesTold_ &= piece.numCells == 0 || (told && told->components == 1 && vtu_IsInteger(told->type));
  }
  if (!ReadPieces(grid, options)) {
    areClassesTold_ = false;
    ReadPieces(grid, options);
  }
  for (vtu_CellClass& one : classes_) {
    one.first = numElements_;
    numElements_ += one.numElements;
  }
  isInOrder_ = leftOutLengths_.empty() && std::ranges::is_sorted(classOf_);
}

/// False when there are too many classes.
bool vtu_Cells::ReadPieces(const vtu_Grid& grid, const fmt_ReadOptions& options) {
  classes_.clear();
  classOf_.clear();
  leftOutLengths_.clear();
  places_.clear();
  leftOut_.clear();
  lastType_ = -1;
  for (const vtu_Piece& piece : grid.pieces) {
    if (piece.numCells == 0) continue;
    ReadPiece(piece, options, areClassesTold_ ? vtu_FindArray(piece.cellArrays, "ElementClass") : nullptr);
    if (classes_.size() >= kLeftOut) return false;
  }
  return true;
}

void vtu_Cells::ReadPiece(const vtu_Piece& piece, const fmt_ReadOptions& options, const vtu_Array* classes) {
  const auto needed = static_cast<std::uint64_t>(piece.numCells);
  const auto missing = [&](const char* name) {
    throw nex_TextException(piece.file + ": " + piece.place + ": the piece has no array \"" + name + "\"");
  };
  if (!piece.types) missing("types");
  if (!piece.connectivity) missing("connectivity");
  if (!piece.offsets && !piece.areRowsCounted) missing("offsets");
  vtu_Numbers<std::int64_t> types(piece.file, *piece.types), rows(piece.file, *piece.connectivity);
  std::optional<vtu_Numbers<std::int64_t>> offsets, told;
  vtu_CheckCount(piece.file, *piece.types, types, needed, "cells");
  if (!piece.areRowsCounted) {
    offsets.emplace(piece.file, *piece.offsets);
    vtu_CheckCount(piece.file, *piece.offsets, *offsets, needed + piece.areOffsetsStarts, "cells");
    if (piece.areOffsetsStarts && offsets->Next() != 0) offsets->Fail(1, "the first offset is not 0");
  }
  if (classes) {
    told.emplace(piece.file, *classes);
    vtu_CheckCount(piece.file, *classes, *told, needed, "cells");
  }
  classOf_.reserve(classOf_.size() + static_cast<std::size_t>(needed));
  std::int64_t end = 0;
  const auto most = static_cast<std::int64_t>(rows.Count());
  for (std::int64_t first = 0; first < piece.numCells;) {
    const auto count = static_cast<std::size_t>(
        std::min(piece.numCells - first, static_cast<std::int64_t>(vtu_Numbers<std::int64_t>::kMost)));
    const auto someTypes = types.Take(count);
    const auto someEnds = offsets ? offsets->Take(count) : std::span<const std::int64_t>();
    const auto someTold = told ? told->Take(count) : std::span<const std::int64_t>();
    for (std::size_t i = 0; i < count; ++i) {
      if (offsets && lastType_ >= 0 && lastPlace_ != kLeftOut) { // most are like the one before
        vtu_CellClass& last = classes_[lastPlace_];
        const std::size_t begin = i;
        while (i < count && someTypes[i] == lastType_ && someEnds[i] == end + last.numNodes
               && someEnds[i] <= most && (!told || someTold[i] == lastTold_))
          end = someEnds[i++];
        classOf_.insert(classOf_.end(), i - begin, lastPlace_);
        last.numElements += static_cast<std::int64_t>(i - begin);
        if (i == count) break;
      }
      const std::int64_t type = someTypes[i], before = end;
      const std::int64_t number = offsets ? someEnds[i] : rows.Next();
      end = offsets || number < 0 || number > most ? number : before + 1 + number;
      const auto place = [&] {
        return "cell " + std::to_string(first + static_cast<std::int64_t>(i) + 1) + " of type "
               + std::to_string(type);
      };
      if (end < before || end > most) {
        if (!offsets) rows.Fail(1, place() + " cannot have " + std::to_string(number) + " nodes");
        offsets->Fail(count - i, place() + " ends at " + std::to_string(end) + ", which is not in "
                                     + std::to_string(before) + ".." + std::to_string(most));
      }
      const std::int64_t length = offsets ? end - before : number;
      if (type < 0 || type > 255) types.Fail(count - i, std::to_string(type) + " is no type of cells");
      const std::uint16_t one = Place(static_cast<int>(type), length, told ? someTold[i] : 0, options);
      if (!offsets) rows.Skip(static_cast<std::uint64_t>(length));
      classOf_.push_back(one);
      if (classes_.size() >= kLeftOut) return;
      if (one == kLeftOut) {
        leftOutLengths_.push_back(length);
        ++leftOut_[static_cast<int>(type)];
        continue;
      }
      ++classes_[one].numElements;
      if (length != classes_[one].numNodes)
        types.Fail(count - i, place() + " (" + classes_[one].name + ") has " + std::to_string(length)
                                  + " nodes, not " + std::to_string(classes_[one].numNodes));
    }
    first += static_cast<std::int64_t>(count);
  }
  types.End();
  if (offsets) offsets->End();
  vtu_CheckCount(piece.file, *piece.connectivity, rows, static_cast<std::uint64_t>(end), "cells");
}

std::uint16_t vtu_Cells::Place(int type, std::int64_t length, std::int64_t told,
                               const fmt_ReadOptions& options) {
  for (const FewNodes& few : kFewNodes)
    if (few.type == type && few.length == length) type = few.same;
  if (type == lastType_ && told == lastTold_) return lastPlace_;
  const auto [at, isNew] = places_.try_emplace({type, told}, kLeftOut);
  if (isNew) at->second = Add(type, options);
  lastType_ = type;
  lastTold_ = told;
  return lastPlace_ = at->second;
}

std::uint16_t vtu_Cells::Add(int type, const fmt_ReadOptions& options) {
  const std::optional<exo_VtkNodes> cell = exo_VtkNodesOf(type);
  if (!cell) return kLeftOut;
  vtu_CellClass made{
      .type = type, .name = cow_String(cell->name), .numNodes = static_cast<int>(cell->nodes.size())};
  made.element = options.types.Find(cow_String(exo_CellName(cell->cell)), made.numNodes, 3);
  if (!made.element.supported) {
    const cow_String label = FindLabel(*cell);
    if (label.empty()) return kLeftOut;
    made.element.label = label;
    made.element.supported = true;
  }
  made.order = OrderOf(*cell, made.element);
  classes_.push_back(std::move(made));
  return static_cast<std::uint16_t>(classes_.size() - 1);
}

void vtu_Cells::List(fmt_Ledger& ledger) const {
  for (const auto& [type, count] : leftOut_) {
    const auto* const at = std::ranges::find(kOthers, type, &OtherCell::type);
    const cow_String name = at == std::end(kOthers) ? "" : " (" + cow_String(at->name) + ")";
    ledger.push_back(
        {"cells of type " + std::to_string(type) + name, count, "left out: no element type here"});
  }
}
