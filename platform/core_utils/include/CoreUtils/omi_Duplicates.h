// omi_Duplicates.h: finding user labels that are used twice
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <cstddef>
#include <optional>
#include <span>

/// Two positions, counted from 0 over all spans, that carry the same label.
struct omi_Duplicate {
  int label;
  std::size_t first, second;
};

/// The smallest second position that repeats a label, with the first position of that label.
/// Cost       O(n) when the labels are ascending or dense, otherwise a sort of a copy.
CORE_GEOMETRY_PLATFORM_API std::optional<omi_Duplicate>
omi_FindDuplicate(std::span<const std::span<const int>> labels);
