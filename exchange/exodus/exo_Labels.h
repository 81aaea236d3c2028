// exo_Labels.h: user labels from the number maps of a file
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <cstdint>
#include <optional>
#include <span>

/// Two positions, counted from 0 over all spans, that carry the same label.
struct exo_Duplicate {
  int label;
  std::size_t first, second;
};

/// The smallest second position that repeats a label, with the first position of that label.
/// Cost       O(n) when the labels grow or are dense, else a sort of a copy.
std::optional<exo_Duplicate> exo_FindDuplicate(std::span<const std::span<const int>> labels);

/// Appends the numbers as labels. Answers the position of the first that does not fit 32 bits, else the
/// count.
std::size_t exo_AppendLabels(std::span<const std::int64_t> numbers, cls_xp1DArrayListInt& labels);
