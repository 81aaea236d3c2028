// vtu_Cells.h: which element classes the cells of a grid become
#pragma once

#include "vtu_Grid.h"
#include <map>

/// Cells of one type, and of one class where the file tells classes.
struct vtu_CellClass {
  int type;                  ///< VTK's number
  cow_String name;           ///< VTK_HEXAHEDRON
  exo_ElementType element{}; ///< its order is not that of VTK
  std::vector<int> order{};  ///< position in the cell of each node of ours
  int numNodes = 0;          ///< of the cell
  std::int64_t numElements = 0;
  std::int64_t first = 0; ///< index in the mesh of its first element
};

/// Sorts cells into classes in the order in which they first appear.
class vtu_Cells {
public:
  static constexpr std::uint16_t kLeftOut = 0xFFFF;

  /// Reads types and lengths of rows, and the array "ElementClass" where each piece has one.
  ///
  /// Errors     nex_TextException naming file, array, cell from 1 and value.
  vtu_Cells(const vtu_Grid& grid, const fmt_ReadOptions& options);

  const std::vector<vtu_CellClass>& Classes() const noexcept { return classes_; }
  /// Class of each cell of all pieces, or kLeftOut.
  const std::vector<std::uint16_t>& ClassOf() const noexcept { return classOf_; }
  const std::vector<std::int64_t>& LeftOutLengths() const noexcept { return leftOutLengths_; }
  std::int64_t NumElements() const noexcept { return numElements_; }
  bool AreClassesTold() const noexcept { return areClassesTold_; } ///< by the array "ElementClass"
  /// Whether elements stand in the mesh where cells stand in the file.
  bool IsInOrder() const noexcept { return isInOrder_; }
  void List(fmt_Ledger& ledger) const; ///< cells that were left out, by type

  /// Index in the mesh of one cell after the other; -1 for those that were left out.
  class Walk {
  public:
    explicit Walk(const vtu_Cells& cells) : cells_(cells), next_(cells.classes_.size()) {
      for (std::size_t i = 0; i < next_.size(); ++i) next_[i] = cells.classes_[i].first;
    }
    int Next() {
      const std::uint16_t place = cells_.classOf_[cell_++];
      return place == kLeftOut ? -1 : static_cast<int>(next_[place]++);
    }

  private:
    const vtu_Cells& cells_;
    std::vector<std::int64_t> next_;
    std::size_t cell_ = 0;
  };

private:
  bool ReadPieces(const vtu_Grid& grid, const fmt_ReadOptions& options);
  void ReadPiece(const vtu_Piece& piece, const fmt_ReadOptions& options, const vtu_Array* classes);
  std::uint16_t Place(int type, std::int64_t length, std::int64_t told, const fmt_ReadOptions& options);
  std::uint16_t Add(int type, const fmt_ReadOptions& options);

  std::vector<vtu_CellClass> classes_;
  std::vector<std::uint16_t> classOf_;
  std::vector<std::int64_t> leftOutLengths_;
  std::map<std::pair<int, std::int64_t>, std::uint16_t> places_; ///< by type and the class that is told
  std::map<int, long long> leftOut_;
  int lastType_ = -1; ///< that was placed
  std::int64_t lastTold_ = 0;
  std::uint16_t lastPlace_ = 0;
  std::int64_t numElements_ = 0;
  bool isInOrder_ = true, areClassesTold_ = true;
};

/// The array of that name, of a piece's points or cells; null when there is none.
const vtu_Array* vtu_FindArray(std::span<const vtu_Array> arrays, std::string_view name);
/// Refuses an array that has not that many numbers; of a text only what is known before it is read.
template<class T>
void vtu_CheckCount(const cow_String& file, const vtu_Array& array, const vtu_Numbers<T>& numbers,
                    std::uint64_t needed, const char* what) {
  if (numbers.IsText() ? numbers.Count() >= needed : numbers.Count() == needed) return;
  throw nex_TextException(file + ": " + array.place + ", array \"" + array.name + "\" has "
                          + (numbers.IsText() ? "at most " : "") + std::to_string(numbers.Count())
                          + " numbers, and " + what + " need " + std::to_string(needed));
}
