// dst_Numbers.h: numbers in the whole mesh as they are stored, and the rule that names the owner of a shared node
#pragma once

#include <BasicUtils/nex_Exception.h>
#include <cstdint>

/// Numbers of nodes, and of elements, are 0 to one less than this: they are stored in 32 bits, of which the largest
/// value is none.
inline constexpr std::uint64_t dst_kMostNumbers = 4294967295U;

/// The 32 bits of a number or a count.
inline unsigned dst_Stored(std::uint64_t number, const char* ofWhat) {
  if (number > dst_kMostNumbers)
    throw nex_TextException("a split model has at most " + std::to_string(dst_kMostNumbers) + " " + ofWhat
                            + "s, not " + std::to_string(number));
  return static_cast<unsigned>(number);
}
