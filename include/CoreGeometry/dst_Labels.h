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

/// Places of labels, in their order, by the rules of the whole mesh: a label that is used twice finds the last one, nodes
/// without labels are not found, implicit element labels are. All ranks ask for the same labels and have the result.
///
/// Cost       parts whose labels lie elsewhere are not opened; 24 bytes for each label that a part has.
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_Place> dst_FindNodes(const dst_Mesh& mesh,
                                                                   std::span<const int> labels);
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_Place> dst_FindElements(const dst_Mesh& mesh,
                                                                      std::span<const int> labels);
