#include <CoreGeometry/dst_Labels.h>

#include <algorithm>

namespace {
/// A wanted label that a part has.
struct Found {
  std::uint64_t number;
  std::uint64_t wanted; ///< position in the list
  unsigned part, index;
};

/// Places of wanted labels; find(part number) answers with the local index of each, bme_kNotFound for those that the
/// part does not have, or with nothing at all. Later numbers win, and of one number the first part.
template<class Find, class NumberOf>
std::vector<dst_Place> FindInParts(const dst_Mesh& mesh, std::size_t count, Find find, NumberOf numberOf) {
  dst_Exchange& exchange = mesh.Exchange();
  std::vector<std::vector<Found>> found(exchange.MyParts().Count());
  exchange.ForEachPart([&](unsigned part) {
    const std::vector<unsigned> indices = find(part);
    for (std::size_t i = 0; i < indices.size(); ++i)
      if (indices[i] != bme_kNotFound)
        found[part - exchange.MyParts().first].push_back(
            {numberOf(*mesh.Part(part).part, indices[i]), i, part, indices[i]});
  });
  std::vector<dst_Place> places(count);
  for (const std::vector<Found>& ofPart : exchange.GatherRecords(found))
    for (const Found& one : ofPart) {
      dst_Place& place = places[one.wanted];
      if (!place.IsFound() || one.number > place.number) place = {one.number, one.part, one.index};
    }
  return places;
}

bool AreIn(std::span<const int> labels, const int (&range)[2]) {
  return std::ranges::any_of(labels, [&](int label) { return label >= range[0] && label <= range[1]; });
}
} // namespace

std::vector<dst_Place> dst_FindNodes(const dst_Mesh& mesh, std::span<const int> labels) {
  if (!mesh.Index().HasNodeLabels()) return std::vector<dst_Place>(labels.size());
  return FindInParts(
      mesh, labels.size(),
      [&](unsigned part) {
        std::vector<unsigned> indices;
        if (!AreIn(labels, mesh.Index().Part(part).nodeLabels)) return indices;
        indices.resize(labels.size());
        mesh.Part(part).mesh->NodeData().GetMeshNodeIndices(labels, indices);
        return indices;
      },
      [](const dst_Part& part, unsigned node) { return part.NodeNumber(node); });
}

std::vector<dst_Place> dst_FindElements(const dst_Mesh& mesh, std::span<const int> labels) {
  const bool areStored = mesh.Index().HasElementLabels();
  return FindInParts(
      mesh, labels.size(),
      [&](unsigned number) {
        std::vector<unsigned> indices;
        if (areStored && !AreIn(labels, mesh.Index().Part(number).elementLabels)) return indices;
        indices.resize(labels.size(), bme_kNotFound);
        const dst_OpenPart& part = mesh.Part(number);
        if (areStored)
          part.mesh->ElementData().GetMeshElemIndices(labels, indices);
        else // their number is the label - 1
          std::ranges::transform(labels, indices.begin(), [&](int label) {
            return label < 1 ? bme_kNotFound : part.part->FindElement(static_cast<std::uint64_t>(label) - 1);
          });
        return indices;
      },
      [](const dst_Part& part, unsigned element) { return part.ElementNumber(element); });
}
