// dst_Unpacked.h: what parts hold, in a file in the order of the whole
#pragma once

#include "dst_WorkFile.h"

/// Rows of numbers that parts write at their places in the whole.
template<class T> class dst_Unpacked {
public:
  dst_Unpacked(cow_String file, std::size_t width) : file_(std::move(file)), width_(width) {}
  /// Rows of `rows` go to the places of the numbers, which ascend, less `first`.
  void Write(std::span<const unsigned> numbers, std::uint64_t first, std::span<const T> rows) {
    for (std::size_t begin = 0, end = 0; begin < numbers.size(); begin = end) {
      for (end = begin + 1; end < numbers.size() && numbers[end] == numbers[end - 1] + 1;) ++end;
      file_.Write<T>((numbers[begin] - first) * width_, rows.subspan(begin * width_, (end - begin) * width_));
    }
  }
  template<class To> void Read(std::uint64_t row, std::span<To> values) const {
    static_assert(sizeof(To) == sizeof(T)); // -1 is the largest unsigned number
    file_.Read<To>(row * width_, values);
  }

private:
  dst_WorkFile file_;
  std::size_t width_;
};
