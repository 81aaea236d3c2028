// shp_ShortList.h: a list of few values inside a table row
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

/// At most Capacity values, stored in place. One value too many in a constant table does not compile.
template<class T, std::size_t Capacity> class shp_ShortList {
public:
  constexpr shp_ShortList() = default;
  constexpr shp_ShortList(std::initializer_list<T> values) {
    for (const T& value : values) Append(value);
  }

  // ask
  constexpr std::size_t size() const noexcept { return size_; }
  constexpr bool empty() const noexcept { return size_ == 0; }
  constexpr const T* begin() const noexcept { return values_.data(); }
  constexpr const T* end() const noexcept { return values_.data() + size_; }
  constexpr const T& operator[](std::size_t index) const { return values_[index]; }

  // change
  constexpr void Append(const T& value) {
    values_.at(size_) = value;
    ++size_;
  }

private:
  std::array<T, Capacity> values_{};
  std::size_t size_ = 0;
};
