// odiC_RowChecks.h: rows in and out belong together, how many at once; words in any case
#pragma once

#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/odiC_Field.h>
#include <CoreUtils/cow_String.h>
#include <algorithm>
#include <cctype>

/// The number of rows; nex_AssertionException when there are not as many out as in.
inline std::size_t odiC_NumRows(std::size_t numIn, std::size_t widthIn, std::size_t numOut,
                                std::size_t widthOut) {
  if (numIn % widthIn != 0 || numOut % widthOut != 0 || numIn / widthIn != numOut / widthOut)
    throw nex_AssertionException(std::to_string(numIn) + " numbers in rows of " + std::to_string(widthIn)
                                 + " do not give " + std::to_string(numOut) + " in rows of "
                                 + std::to_string(widthOut));
  return numIn / widthIn;
}

/// Rows that the stages of values of so many components work on together: one chunk in the widest stage.
inline int odiC_BlockRows(int width) noexcept {
  constexpr int kTensor = 6; // what numbers and vectors are made of below, mostly
  return std::max(1, static_cast<int>(odiC_kChunkBytes / sizeof(float)) / std::max(width, kTensor));
}

/// In any case, with minus, blank and underscore alike.
inline bool odiC_IsSameWord(const cow_String& a, const cow_String& b) {
  const auto plain = [](unsigned char c) { return c == '-' || c == ' ' ? '_' : std::tolower(c); };
  return std::ranges::equal(a, b, {}, plain, plain);
}
