// dst_Labels.h: nodes and elements of a split mesh by their user labels
#pragma once

#include <CoreGeometry/dst_Model.h>

/// A node or element of a split mesh: its number in the whole, and a part that has it.
struct dst_Place {
  static constexpr std::uint64_t kNowhere = ~std::uint64_t{0};

  std::uint64_t number = kNowhere;
  unsigned part = bme_kNotFound;  ///< of a shared node: the first part that holds it
  unsigned index = bme_kNotFound; ///< in that part

  bool IsFound() const noexcept { return number != kNowhere; }
  bool operator==(const dst_Place&) const = default;
};

inline constexpr std::size_t dst_kMostLabelsInParts = 100'000;

/// Places of labels, in their order, by the rules of the whole mesh: a label that is used twice finds the last one, nodes
/// without labels are not found, implicit element labels are. All ranks ask for the same labels and have the result.
///
/// Cost       24 bytes for each label that a part has. Each part looks for all of the labels; parts whose labels lie
///            elsewhere are not opened. With more than `mostInParts` labels, each part sends its own once, 12 bytes
///            each, to the part that their hash chooses.
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_Place>
dst_FindNodes(const dst_Mesh& mesh, std::span<const int> labels,
              std::size_t mostInParts = dst_kMostLabelsInParts);
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_Place>
dst_FindElements(const dst_Mesh& mesh, std::span<const int> labels,
                 std::size_t mostInParts = dst_kMostLabelsInParts);
