// bme_FindLabels.h: indices of many labels at once
#pragma once

#include <BasicUtils/wip_Executor.h>
#include <CoreUtils/omi_LabelTable.h>

/// As table.Find of the spans, on lent threads.
inline void bme_FindLabels(const omi_LabelTable& table, std::span<const int> labels,
                           std::span<unsigned> indices) {
  constexpr std::size_t kPiece = std::size_t{1} << 16;
  if (labels.size() != indices.size() || labels.size() <= kPiece) return table.Find(labels, indices);
  const auto find = [&](std::size_t piece) {
    const std::size_t first = piece * kPiece, count = std::min(kPiece, labels.size() - first);
    table.Find(labels.subspan(first, count), indices.subspan(first, count));
  };
  wip_RunAllPieces((labels.size() + kPiece - 1) / kPiece, std::ref(find));
}
