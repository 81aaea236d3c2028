// msh_Source.h: the numbers of an MSH file, ascii or binary
#pragma once

#include "fmt_Input.h"

#include <algorithm>

/// What $MeshFormat says, and numbers read accordingly.
///
/// Errors     as fmt_Input.
class msh_Source {
public:
  explicit msh_Source(const cow_String& file) : in_(file) {}

  void ReadFormat(); ///< from the beginning of the file to behind the section

  fmt_Input& In() noexcept { return in_; }
  const fmt_Input& In() const noexcept { return in_; }
  bool IsBinary() const noexcept { return isBinary_; }
  bool IsOld() const noexcept { return isOld_; } ///< version 2 rather than 4
  /// The section that is read, and the part of it.
  void At(const cow_String& place) { in_.At(place, !isBinary_); }

  int Int(const char* what) { return isBinary_ ? in_.ReadOne<int>(isSwapped_) : in_.Number<int>(what); }
  double Real(const char* what) {
    return isBinary_ ? in_.ReadOne<double>(isSwapped_) : in_.Number<double>(what);
  }
  std::int64_t Size(const char* what) {
    std::int64_t value = 0;
    Sizes({&value, 1}, what);
    return value;
  }
  void Ints(std::span<int> values, const char* what) { Numbers(values, what); }
  void Reals(std::span<double> values, const char* what) { Numbers(values, what); }
  void Sizes(std::span<std::int64_t> values, const char* what);

  /// A number of things of the file that have so many bytes each in binary, and so many numbers. Throws when they
  /// cannot be in what is left of it.
  std::size_t CheckCount(std::int64_t count, std::size_t bytesEach, std::size_t numbersEach,
                         const char* what) const;
  std::size_t SizeBytes() const noexcept { return sizeBytes_; }
  /// Rows of a table to be read at a time: one in text, so that messages name the line.
  std::size_t RowsAtOnce(std::size_t columns) const {
    return isBinary_ ? std::max<std::size_t>(1, (std::size_t{1} << 14) / columns) : 1;
  }
  void Expect(std::string_view word); ///< the next one

private:
  template<class T> void Numbers(std::span<T> values, const char* what) {
    if (isBinary_) return in_.Read(values, isSwapped_);
    for (T& value : values) value = in_.Number<T>(what);
  }

  fmt_Input in_;
  bool isBinary_ = false, isSwapped_ = false, isOld_ = false;
  std::size_t sizeBytes_ = 8;
};
