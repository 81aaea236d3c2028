#include <CoreGeometry/dst_Faces.h>

#include "dst_SharedNodes.h"
#include "dst_SharingCheck.h"

#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <array>
#include <map>

namespace {
using Pair = std::array<std::uint64_t, 2>;

/// An element by its different nodes in the whole, ascending, and its dimension: as words they are length, number of the
/// element, dimension and nodes.
void AppendRecord(std::vector<unsigned>& to, const dst_OpenPart& part, unsigned element,
                  const bme_ElementClass& type, std::vector<int>& nodes) {
  std::ranges::sort(nodes);
  nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
  const auto dimension = type.Shape() ? static_cast<unsigned>(type.Shape()->NumGeomDims()) : bme_kNotFound;
  to.insert(to.end(),
            {static_cast<unsigned>(nodes.size()) + 3, part.part->ElementNumbers()[element], dimension});
  for (const int node : nodes)
    to.push_back(node < 0 ? bme_kNotFound : part.part->NodeNumbers()[static_cast<std::size_t>(node)]);
}

/// Pairs among all records.
std::vector<Pair> PairsOf(const std::vector<unsigned>& records) {
  std::vector<std::span<const unsigned>> all;
  for (std::size_t at = 0; at < records.size(); at += records[at])
    all.push_back(std::span(records).subspan(at + 1, records[at] - 1));
  std::ranges::sort(all, [](const auto& a, const auto& b) {
    const auto keyA = a.subspan(1), keyB = b.subspan(1);
    return std::ranges::equal(keyA, keyB) ? a[0] < b[0] : std::ranges::lexicographical_compare(keyA, keyB);
  });
  std::vector<Pair> pairs;
  for (std::size_t first = 0, i = 1; i < all.size(); ++i)
    if (std::ranges::equal(all[i].subspan(1), all[first].subspan(1)))
      pairs.push_back({all[first][0], all[i][0]});
    else
      first = i;
  return pairs;
}
} // namespace

std::vector<Pair> dst_FindDuplicates(const dst_Mesh& mesh) {
  return dst_FindDuplicates(mesh, dst_Elements::All());
}

std::vector<Pair> dst_FindDuplicates(const dst_Mesh& mesh, const dst_Elements& elements) {
  dst_Exchange& exchange = mesh.Exchange();
  std::vector<std::vector<Pair>> found(exchange.MyParts().Count());
  const auto foundOf = [&](unsigned part) -> std::vector<Pair>& {
    return found[part - exchange.MyParts().first];
  };
  dst_SharingCheck sharing(exchange);
  exchange.ForEachPart([&](unsigned number) {
    const dst_OpenPart& part = mesh.Part(number);
    const bme_FEMElemList listed = elements.In(part);
    dst_SharedNodes shared(*part.part);
    sharing.Add(*part.part);
    std::map<unsigned, std::vector<unsigned>> toReferees;
    std::vector<int> nodes;
    std::vector<bool> isSent(part.part->NumElements());
    for (const unsigned element : listed) {
      const bme_ElementClass& type = part.mesh->ElementData().GetElemClass(element);
      const std::span<const int> row =
          type.ElementConnectivity().Row(element - static_cast<unsigned>(type.FirstElementIndex()));
      if (!shared.HaveCommonHolder(row)) continue;
      nodes.assign(row.begin(), row.end());
      const auto lowest =
          std::ranges::min_element(nodes, {}, [](int node) { return static_cast<unsigned>(node); });
      const bool hasNode = lowest != nodes.end() && *lowest >= 0;
      const unsigned referee = hasNode ? part.part->OwnerOfNode(static_cast<unsigned>(*lowest)) : 0;
      AppendRecord(toReferees[referee], part, element, type, nodes);
      isSent[element] = true;
    }
    for (const auto& [referee, words] : toReferees) exchange.SendRecords(number, referee, words);
    for (const auto& [first, later] : bme_FindDuplicates(listed))
      if (!isSent[first])
        foundOf(number).push_back({part.part->ElementNumber(first), part.part->ElementNumber(later)});
  });
  sharing.Settle();
  exchange.Deliver();
  exchange.ForEachPart([&](unsigned part) {
    const std::vector<Pair> pairs = PairsOf(exchange.ReceivedRecords<unsigned>(part));
    foundOf(part).insert(foundOf(part).end(), pairs.begin(), pairs.end());
  });
  std::vector<Pair> all;
  for (const std::vector<Pair>& ofPart : exchange.GatherRecords(found))
    all.insert(all.end(), ofPart.begin(), ofPart.end());
  std::ranges::sort(all);
  return all;
}
