// cow_2DArray.h: rows and columns of values, one flat shared block
#pragma once

#include <BasicUtils/cow_ArrayCOW.h>
#include <BasicUtils/nex_Exception.h>

/// Table of trivially copyable values, row after row, shared until it is changed.
///
/// Errors     nex_OutOfRangeException for a row outside the table, nex_AssertionException for values that do not
///            fill it.
/// Cost       copy O(1); Const access never copies, Modify access copies a shared block first.
template<class T> class cow_2DArray {
public:
  // make
  cow_2DArray() = default;
  cow_2DArray(std::size_t rows, std::size_t columns) : rows_(rows), columns_(columns) {
    values_.Resize(rows * columns); // zeros
  }
  /// Takes over rows * columns values without copying them.
  cow_2DArray(std::size_t rows, std::size_t columns, cow_ArrayCOW<T> values)
      : rows_(rows), columns_(columns), values_(std::move(values)) {
    if (values_.Size() != rows * columns)
      throw nex_AssertionException(std::to_string(values_.Size()) + " values do not fill " + std::to_string(rows)
                                   + " rows of " + std::to_string(columns));
  }

  // ask
  std::size_t NumRows() const noexcept { return rows_; }
  std::size_t NumColumns() const noexcept { return columns_; }
  const cow_ArrayCOW<T>& Values() const noexcept { return values_; }
  std::span<const T> Row(std::size_t row) const {
    CheckRow(row);
    return values_.Const().subspan(row * columns_, columns_);
  }

  // change
  std::span<T> RowToModify(std::size_t row) {
    CheckRow(row);
    return values_.Modify().subspan(row * columns_, columns_);
  }

private:
  void CheckRow(std::size_t row) const {
    if (row >= rows_) throw nex_OutOfRangeException(static_cast<long long>(row), static_cast<long long>(rows_));
  }

  std::size_t rows_ = 0, columns_ = 0;
  cow_ArrayCOW<T> values_;
};
