#include "vtu_Cells.h"
#include "vtu_Sets.h"

#include "fmt_Coordinates.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreUtils/omi_Duplicates.h>
#include <algorithm>
#include <limits>

namespace {
constexpr int kWedgeTypes[] = {13, 26, 31, 32};

class Assembler {
public:
  Assembler(const vtu_Grid& grid, const fmt_ReadOptions& options)
      : grid_(grid), options_(options), numNodes_(CountNodes()), cells_(grid, options) {
    if (cells_.NumElements() > std::numeric_limits<std::int32_t>::max())
      Fail(std::to_string(cells_.NumElements()) + " elements do not fit 32 bits");
    for (const vtu_Piece& piece : grid.pieces)
      if (piece.numCells > 0)
        total_ += static_cast<double>(vtu_Numbers<std::int64_t>(piece.file, *piece.connectivity).Count());
    total_ += 3 * static_cast<double>(numNodes_);
  }

  fmt_Import Run() {
    fmt_Coordinates coordinates(grid_.file, numNodes_, options_);
    for (const vtu_Piece& piece : grid_.pieces) ReadPoints(piece, coordinates);
    auto nodes = std::make_unique<bme_NodeData>(coordinates.Take(), 3U);
    for (const vtu_CellClass& one : cells_.Classes())
      rows_.emplace_back().ResizeUninitialised(static_cast<std::size_t>(one.numElements) * one.order.size());
    ReadRows();
    ListWhatIsOther();
    TurnWedges(nodes->Coordinates().Const());

    cls_xp1DArrayListInt nodeLabels = ReadNodeLabels();
    result_.rounding = coordinates.Rounding(nodeLabels.Const());
    if (!nodeLabels.IsEmpty()) nodes->SetUserNodeLabels(std::move(nodeLabels));
    const std::vector<int> labels = ReadElementLabels();
    std::vector<std::unique_ptr<bme_ElementClass>> classes;
    for (std::size_t i = 0; i < rows_.size(); ++i) classes.push_back(MakeClass(i, labels));
    std::vector<bme_ElementClass*> handedOver;
    handedOver.reserve(classes.size());
    for (auto& elements : classes) handedOver.push_back(elements.release());
    auto* elements = new bme_ElementData(handedOver.data(), static_cast<unsigned>(handedOver.size()));
    result_.mesh = std::make_unique<bme_Mesh>(options_.meshId, nodes.release(), elements, bme_ORPHAN_MESH,
                                              coordinates.Transform());
    result_.title = grid_.title;
    result_.sets = vtu_ReadSets(grid_, cells_, consumed_, static_cast<int>(options_.meshId), result_.ledger);
    return std::move(result_);
  }

private:
  [[noreturn]] void Fail(const cow_String& why) const { throw nex_TextException(grid_.file + ": " + why); }

  std::size_t CountNodes() const {
    std::int64_t count = 0;
    for (const vtu_Piece& piece : grid_.pieces) {
      if (piece.numPoints == 0) continue;
      if (!piece.points)
        throw nex_TextException(piece.file + ": " + piece.place + ": the piece has no points");
      const vtu_Array& array = *piece.points;
      if (array.components != 3)
        throw nex_TextException(piece.file + ": " + array.place + ", array \"" + array.name + "\" has "
                                + std::to_string(array.components) + " components, not 3");
      const vtu_Numbers<double> numbers(piece.file, array);
      vtu_CheckCount(piece.file, array, numbers, 3 * static_cast<std::uint64_t>(piece.numPoints), "points");
      count += piece.numPoints;
    }
    if (count > std::numeric_limits<std::int32_t>::max())
      Fail(std::to_string(count) + " nodes do not fit 32 bits");
    return static_cast<std::size_t>(count);
  }

  void Progress(std::size_t numbers) {
    done_ += static_cast<double>(numbers);
    thr_ThreadSingleton<wip_WIP>::Instance().Progress(std::min(1.0, done_ / total_));
  }

  void ReadPoints(const vtu_Piece& piece, fmt_Coordinates& coordinates) {
    if (piece.numPoints == 0) return;
    if (piece.points->type == vtu_Type::Float32)
      ReadPointsAs<float>(piece, coordinates);
    else
      ReadPointsAs<double>(piece, coordinates);
  }
  template<class T> void ReadPointsAs(const vtu_Piece& piece, fmt_Coordinates& coordinates) {
    vtu_Numbers<T> numbers(piece.file, *piece.points);
    constexpr std::size_t kSlice = vtu_Numbers<T>::kMost / 3 * 3;
    for (std::size_t left = 3 * static_cast<std::size_t>(piece.numPoints); left > 0;) {
      const std::span<const T> some = numbers.Take(std::min(left, kSlice));
      coordinates.Add(some);
      left -= some.size();
      Progress(some.size());
    }
    numbers.End();
  }

  void ReadRows() {
    std::vector<int*> targets;
    for (auto& rows : rows_) targets.push_back(rows.Modify().data());
    std::size_t cell = 0, leftOut = 0;
    int firstNode = 0;
    for (const vtu_Piece& piece : grid_.pieces) {
      if (piece.numCells > 0) {
        vtu_Numbers<std::int64_t> numbers(piece.file, *piece.connectivity);
        ReadPiece(piece, firstNode, numbers, targets, cell, leftOut);
        numbers.End();
      }
      firstNode += static_cast<int>(piece.numPoints);
    }
  }

  void ReadPiece(const vtu_Piece& piece, int firstNode, vtu_Numbers<std::int64_t>& numbers,
                 std::vector<int*>& targets, std::size_t& cell, std::size_t& leftOut) {
    const std::vector<std::uint16_t>& classOf = cells_.ClassOf();
    const std::size_t counted = piece.areRowsCounted ? 1 : 0, first = cell;
    const std::size_t end = cell + static_cast<std::size_t>(piece.numCells);
    while (cell < end) {
      const std::uint16_t place = classOf[cell];
      if (place == vtu_Cells::kLeftOut) {
        numbers.Skip(static_cast<std::uint64_t>(cells_.LeftOutLengths()[leftOut++]) + counted);
        ++cell;
        continue;
      }
      const vtu_CellClass& one = cells_.Classes()[place];
      const std::size_t width = static_cast<std::size_t>(one.numNodes) + counted;
      const std::size_t most = std::min(end - cell, vtu_Numbers<std::int64_t>::kMost / width);
      std::size_t count = 1;
      while (count < most && classOf[cell + count] == place) ++count;
      const std::span<const std::int64_t> taken = numbers.Take(count * width);
      const auto numPoints = static_cast<std::uint64_t>(piece.numPoints);
      const bool isInside = CopyRows(taken, width, counted, numPoints, firstNode, one.order, targets[place]);
      if (!isInside) FailAtNode(piece, numbers, taken, width, cell - first);
      targets[place] += count * one.order.size();
      cell += count;
      Progress(taken.size());
    }
  }

  /// False when a point is outside.
  static bool CopyRows(std::span<const std::int64_t> from, std::size_t width, std::size_t counted,
                       std::uint64_t numPoints, int firstNode, const std::vector<int>& order, int* to) {
    if (counted == 0 && order.size() == width && std::ranges::is_sorted(order)) {
      std::uint64_t high = 0; // of 32 bits each, so that the loop is over vectors
      int highest = -1;
      for (std::size_t i = 0; i < from.size(); ++i) {
        high |= static_cast<std::uint64_t>(from[i]) >> 31U;
        const int node = static_cast<int>(from[i]);
        highest = std::max(highest, node);
        to[i] = static_cast<int>(static_cast<unsigned>(node) + static_cast<unsigned>(firstNode));
      }
      return high == 0 && highest < static_cast<std::int64_t>(numPoints);
    }
    bool isInside = true;
    for (std::size_t row = 0; row < from.size(); row += width) {
      const std::int64_t* nodes = from.data() + row + counted;
      for (std::size_t i = 0; i + counted < width; ++i)
        isInside &= static_cast<std::uint64_t>(nodes[i]) < numPoints;
      for (const int node : order)
        *to++ = static_cast<int>(static_cast<unsigned>(nodes[node]) + static_cast<unsigned>(firstNode));
    }
    return isInside;
  }

  [[noreturn]] static void FailAtNode(const vtu_Piece& piece, const vtu_Numbers<std::int64_t>& numbers,
                                      std::span<const std::int64_t> taken, std::size_t width,
                                      std::size_t firstCell) {
    std::size_t i = 0;
    while ((piece.areRowsCounted && i % width == 0) || (taken[i] >= 0 && taken[i] < piece.numPoints)) ++i;
    numbers.Fail(taken.size() - i, "cell " + std::to_string(firstCell + i / width + 1) + ": point "
                                       + std::to_string(taken[i]) + " is outside 0.."
                                       + std::to_string(piece.numPoints - 1));
  }

  /// The order of wedges that VTK had when the file was written cannot be known from it: their volumes tell.
  void TurnWedges(std::span<const float> xyz) {
    for (const int type : kWedgeTypes) {
      const exo_VtkWedges wanted = options_.wedges.value_or(exo_VtkWedges::Mirrored);
      const auto order = exo_VtkNodesOf(type)->nodes, turned = exo_VtkNodesOf(type, wanted)->nodes;
      if (order == turned) continue;
      long long positive = 0, negative = 0;
      for (std::size_t i = 0; i < rows_.size(); ++i)
        if (cells_.Classes()[i].type == type) CountSigns(i, xyz, positive, negative);
      if (!options_.wedges && negative <= positive) continue;
      const std::vector<int> change = *exo_MatchNodes(order, turned);
      for (std::size_t i = 0; i < rows_.size(); ++i)
        if (cells_.Classes()[i].type == type) Reorder(i, change);
      if (!options_.wedges)
        result_.ledger.push_back({"wedges whose volume was negative", negative,
                                  "all " + std::to_string(negative + positive) + " of type "
                                      + std::to_string(type)
                                      + " are read in the order of older releases of VTK"});
    }
  }

  /// Of the volumes between the first three nodes and the next three.
  void CountSigns(std::size_t index, std::span<const float> xyz, long long& positive,
                  long long& negative) const {
    const std::span<const int> rows = rows_[index].Const();
    const std::size_t width = cells_.Classes()[index].order.size();
    for (std::size_t row = 0; row < rows.size(); row += width) {
      const auto at = [&](std::size_t node, std::size_t axis) {
        return static_cast<double>(xyz[3 * static_cast<std::size_t>(rows[row + node]) + axis % 3]);
      };
      double volume = 0;
      for (std::size_t a = 0; a < 3; ++a)
        volume += (at(3, a) + at(4, a) + at(5, a) - at(0, a) - at(1, a) - at(2, a))
                  * ((at(1, a + 1) - at(0, a + 1)) * (at(2, a + 2) - at(0, a + 2))
                     - (at(1, a + 2) - at(0, a + 2)) * (at(2, a + 1) - at(0, a + 1)));
      (volume < 0 ? negative : positive) += volume != 0;
    }
  }

  /// `change` has for each position in the cell the one whose node belongs there.
  void Reorder(std::size_t index, const std::vector<int>& change) {
    const std::vector<int>& order = cells_.Classes()[index].order;
    const std::span<int> rows = rows_[index].Modify();
    std::vector<int> cell(order.size());
    for (std::size_t row = 0; row < rows.size(); row += order.size()) {
      for (std::size_t i = 0; i < order.size(); ++i) cell[static_cast<std::size_t>(order[i])] = rows[row + i];
      for (std::size_t i = 0; i < order.size(); ++i)
        rows[row + i] = cell[static_cast<std::size_t>(change[static_cast<std::size_t>(order[i])])];
    }
  }

  /// The name of the array that has the labels: ours, what the file calls global identifiers, or their usual name.
  /// Empty unless each piece has it.
  cow_String ChooseLabels(bool areOfNodes) const {
    if (grid_.pieces.empty()) return {};
    const vtu_Piece& first = grid_.pieces[0];
    for (const cow_String& name :
         {cow_String(areOfNodes ? "NodeLabel" : "ElementLabel"), areOfNodes ? first.pointIds : first.cellIds,
          cow_String(areOfNodes ? "GlobalNodeId" : "GlobalElementId")}) {
      const bool isEverywhere = std::ranges::all_of(grid_.pieces, [&](const vtu_Piece& piece) {
        const vtu_Array* array = vtu_FindArray(piece.ArraysOf(areOfNodes), name);
        return piece.Count(areOfNodes) == 0
               || (array && array->components == 1 && vtu_IsInteger(array->type));
      });
      if (!name.empty() && isEverywhere) return name;
    }
    return {};
  }

  /// Appends the labels of a piece. Answers why one is none.
  static std::optional<cow_String> ReadLabels(const vtu_Piece& piece, const vtu_Array& array,
                                              std::int64_t count, std::vector<int>& labels) {
    vtu_Numbers<std::int64_t> numbers(piece.file, array);
    vtu_CheckCount(piece.file, array, numbers, static_cast<std::uint64_t>(count), "labels");
    labels.reserve(labels.size() + static_cast<std::size_t>(count));
    while (count > 0) {
      const auto some = numbers.Take(static_cast<std::size_t>(
          std::min<std::int64_t>(count, static_cast<std::int64_t>(vtu_Numbers<std::int64_t>::kMost))));
      for (const std::int64_t label : some) {
        if (label < 0 || label > std::numeric_limits<std::int32_t>::max())
          return "label " + std::to_string(label) + " is not in 0..2147483647";
        labels.push_back(static_cast<int>(label));
      }
      count -= static_cast<std::int64_t>(some.size());
    }
    numbers.End();
    return std::nullopt;
  }

  /// Of all pieces, in the order of the file; empty when there are none, or none that are good.
  std::vector<int> ReadLabels(bool areOfNodes) {
    const cow_String name = ChooseLabels(areOfNodes);
    if (name.empty()) return {};
    (areOfNodes ? consumed_.ofPoints : consumed_.ofCells).push_back(name);
    std::vector<int> labels;
    std::optional<cow_String> wrong;
    for (std::size_t i = 0; i < grid_.pieces.size() && !wrong; ++i) {
      const vtu_Piece& piece = grid_.pieces[i];
      if (piece.Count(areOfNodes) > 0)
        wrong = ReadLabels(piece, *vtu_FindArray(piece.ArraysOf(areOfNodes), name), piece.Count(areOfNodes),
                           labels);
    }
    const std::span<const int> all[] = {labels};
    if (const auto twice = wrong ? std::nullopt : omi_FindDuplicate(all))
      wrong = "label " + std::to_string(twice->label) + " is given twice, to "
              + (areOfNodes ? "points " : "cells ") + std::to_string(twice->first + 1) + " and "
              + std::to_string(twice->second + 1);
    if (!wrong) return labels;
    if (name == "NodeLabel" || name == "ElementLabel") Fail("array \"" + name + "\": " + *wrong);
    result_.ledger.push_back({areOfNodes ? "labels of nodes" : "labels of elements",
                              static_cast<long long>(areOfNodes ? numNodes_ : cells_.ClassOf().size()),
                              "array \"" + name + "\": " + *wrong});
    return {};
  }

  cls_xp1DArrayListInt ReadNodeLabels() {
    const std::vector<int> labels = ReadLabels(true);
    return cls_xp1DArrayListInt(std::span<const int>(labels));
  }

  /// By index in the mesh; empty when they are 1, 2, 3, ... . Cells without labels have their numbers in the file.
  std::vector<int> ReadElementLabels() {
    std::vector<int> labels = ReadLabels(false);
    const bool areTold = !labels.empty();
    if (!cells_.IsInOrder()) {
      std::vector<int> sorted(static_cast<std::size_t>(cells_.NumElements()));
      vtu_Cells::Walk walk(cells_);
      for (std::size_t cell = 0; cell < cells_.ClassOf().size(); ++cell)
        if (const int index = walk.Next(); index >= 0)
          sorted[static_cast<std::size_t>(index)] = areTold ? labels[cell] : static_cast<int>(cell + 1);
      labels = std::move(sorted);
    }
    for (std::size_t i = 0; i < labels.size(); ++i)
      if (labels[i] != static_cast<int>(i + 1)) return labels;
    return {};
  }

  std::unique_ptr<bme_ElementClass> MakeClass(std::size_t index, std::span<const int> labels) {
    const vtu_CellClass& one = cells_.Classes()[index];
    auto made = std::make_unique<bme_ElementClass>(
        one.element.label, cls_xp2DArrayInt(one.order.size(), std::move(rows_[index])));
    made->SetMeshIndex(static_cast<int>(options_.meshId));
    const cow_String name = "block " + std::to_string(index + 1), &title = grid_.title;
    made->SetCategoryLabel(one.element.arePyramids ? bme_PyramidCategory(title, name, one.numNodes)
                                                   : (title.empty() ? name : title + "/" + name));
    if (!labels.empty())
      made->SetUserElementLabels(cls_xp1DArrayListInt(
          labels.subspan(static_cast<std::size_t>(one.first), static_cast<std::size_t>(one.numElements))));
    result_.blocks.push_back({static_cast<std::int64_t>(index + 1), one.name, one.element.label,
                              one.element.supported, one.numElements});
    return made;
  }

  void ListWhatIsOther() {
    result_.ledger = grid_.ledger;
    if (grid_.pieces.size() > 1)
      result_.ledger.push_back({"pieces", static_cast<long long>(grid_.pieces.size()),
                                "joined to one mesh; nodes at one place are not merged"});
    cells_.List(result_.ledger);
    fmt_LedgerEntry others{"arrays of the file", 0, {}};
    for (const cow_String& name : grid_.others)
      others.detail += (++others.count == 1 ? "\"" : ", \"") + name + '"';
    if (others.count > 0) result_.ledger.push_back(std::move(others));
    if (cells_.AreClassesTold()) consumed_.ofCells.push_back("ElementClass");
  }

  const vtu_Grid& grid_;
  const fmt_ReadOptions& options_;
  std::size_t numNodes_;
  vtu_Cells cells_;
  std::vector<cow_ArrayCOW<int>> rows_;
  vtu_Consumed consumed_;
  fmt_Import result_;
  double total_ = 0, done_ = 0;
};
} // namespace

fmt_Import vtu_Assemble(const vtu_Grid& grid, const fmt_ReadOptions& options) {
  return Assembler(grid, options).Run();
}
