// cow_2DArray.h: rows x columns of plain values with shared, copy-on-write storage
#pragma once

#include <BasicUtils/cow_ArrayCOW.h>

/// Table of plain values, row after row in one cow_ArrayCOW.
///
/// Errors     nex_OutOfRangeException for a row or column outside; std::invalid_argument for data that does
///            not make whole rows; std::length_error for a size that cannot be addressed.
/// Cost       copy O(1); row access is checked: loops over all rows are faster over Data().Const().
/// Threads    as of cow_ArrayCOW.
template<class T> class cow_2DArray {
public:
  cow_2DArray() = default;
  cow_2DArray(std::size_t rows, std::size_t cols) : cols_(cols) { Resize(rows); } ///< zero bytes
  cow_2DArray(std::size_t rows, std::size_t cols, cow_ArrayCOW<T> data)
      : rows_(rows), cols_(cols), data_(std::move(data)) {
    if (data_.Size() != Cells(rows)) RaiseBadLength(data_.Size());
  }

  // ask
  std::size_t Rows() const noexcept { return rows_; }
  std::size_t Cols() const noexcept { return cols_; }
  std::span<const T> Row(std::size_t row) const {
    CheckIndex(row, rows_);
    return data_.Const().subspan(row * cols_, cols_);
  }
  const T& Get(std::size_t row, std::size_t col) const {
    CheckIndex(col, cols_);
    return Row(row)[col];
  }
  const cow_ArrayCOW<T>& Data() const noexcept { return data_; }
  friend bool operator==(const cow_2DArray&, const cow_2DArray&) = default;

  // change
  std::span<T> Modify() { return data_.Modify(); } ///< all cells, row after row
  std::span<T> ModifyRow(std::size_t row) {
    CheckIndex(row, rows_);
    return data_.Modify().subspan(row * cols_, cols_);
  }
  void Put(std::size_t row, std::size_t col, const T& value) {
    CheckIndex(col, cols_);
    ModifyRow(row)[col] = T(value);
  }
  void Resize(std::size_t rows) { ///< new rows are zero bytes
    data_.Resize(Cells(rows));
    rows_ = rows;
  }
  void AppendRows(std::span<const T> cells) { ///< whole rows
    if (cells.empty()) return;
    if (cols_ == 0 || cells.size() % cols_ != 0) RaiseBadLength(cells.size());
    data_.Append(cells);
    rows_ += cells.size() / cols_;
  }
  void RemoveRows(std::size_t first, std::size_t count) {
    if (count == 0) return;
    CheckIndex(first, rows_);
    if (count > rows_ - first) CheckIndex(first + std::min(count, rows_), rows_);
    data_.Remove(first * cols_, count * cols_);
    rows_ -= count;
  }

private:
  static void CheckIndex(std::size_t index, std::size_t count) {
    if (index >= count)
      throw nex_OutOfRangeException(static_cast<long long>(index), static_cast<long long>(count));
  }
  [[noreturn]] void RaiseBadLength(std::size_t cells) const {
    throw std::invalid_argument("cow_2DArray: " + std::to_string(cells) + " cells do not make whole rows of "
                                + std::to_string(cols_));
  }
  std::size_t Cells(std::size_t rows) const {
    if (cols_ != 0 && rows > SIZE_MAX / cols_)
      throw std::length_error("cow_2DArray: " + std::to_string(rows) + " rows of " + std::to_string(cols_));
    return rows * cols_;
  }

  std::size_t rows_ = 0, cols_ = 0;
  cow_ArrayCOW<T> data_;
};
