#include <CoreGeometry/dst_Labels.h>

#include "dst_SharingCheck.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace {
/// A wanted label that a part has.
struct Found {
  std::uint64_t number;
  std::uint64_t wanted; ///< position in the list
  unsigned part, index;
};
using FoundOfParts = std::vector<std::vector<Found>>;

/// Later numbers win, and of one number the first part.
std::vector<dst_Place> PlacesOf(const FoundOfParts& found, std::size_t count, dst_Exchange& exchange) {
  std::vector<dst_Place> places(count);
  for (const std::vector<Found>& ofPart : exchange.GatherRecords(found))
    for (const Found& one : ofPart) {
      dst_Place& place = places[one.wanted];
      if (!place.IsFound() || one.number > place.number
          || (one.number == place.number && one.part < place.part))
        place = {one.number, one.part, one.index};
    }
  return places;
}

/// Every part looks for all labels; find(part number) answers with the local index of each, bme_kNotFound for those that
/// the part does not have, or with nothing at all.
template<class Find, class NumberOf>
std::vector<dst_Place> FindInParts(const dst_Mesh& mesh, std::size_t count, Find find, NumberOf numberOf) {
  dst_Exchange& exchange = mesh.Exchange();
  FoundOfParts found(exchange.MyParts().Count());
  exchange.ForEachPart([&](unsigned part) {
    const std::vector<unsigned> indices = find(part);
    for (std::size_t i = 0; i < indices.size(); ++i)
      if (indices[i] != bme_kNotFound)
        found[part - exchange.MyParts().first].push_back(
            {numberOf(*mesh.Part(part).part, indices[i]), i, part, indices[i]});
  });
  return PlacesOf(found, count, exchange);
}

bool AreIn(std::span<const int> labels, const int (&range)[2]) {
  return std::ranges::any_of(labels, [&](int label) { return label >= range[0] && label <= range[1]; });
}

/// The wanted labels by bucket, in each of them by label.
class Buckets {
public:
  Buckets(std::span<const int> labels, unsigned count) : labels_(labels), starts_(count + 1) {
    for (const int label : labels) ++starts_[Of(label) + 1];
    std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
    order_.resize(labels.size());
    std::iota(order_.begin(), order_.end(), std::size_t{0});
    std::ranges::sort(order_, {}, [&](std::size_t i) { return std::pair(Of(labels[i]), labels[i]); });
  }
  unsigned
  Of(int label) const noexcept { // multiplicative hashing: Knuth, The art of computer programming 3, 6.4
    const std::uint64_t mixed = static_cast<unsigned>(label) * std::uint64_t{0x9e3779b97f4a7c15};
    return static_cast<unsigned>((mixed >> 32) * (starts_.size() - 1) >> 32);
  }
  /// Positions in the list of a label.
  std::span<const std::size_t> Find(int label) const noexcept {
    const unsigned bucket = Of(label);
    const std::span<const std::size_t> all =
        std::span(order_).subspan(starts_[bucket], starts_[bucket + 1] - starts_[bucket]);
    const auto labelOf = [&](std::size_t i) { return labels_[i]; };
    const auto first = std::ranges::lower_bound(all, label, {}, labelOf),
               last = std::ranges::upper_bound(all, label, {}, labelOf);
    return {first, last};
  }

private:
  std::span<const int> labels_;
  std::vector<std::size_t> starts_, order_;
};

/// Each part sends its labels to the parts that stand for their buckets, where the wanted ones wait; forEach(part,
/// visit(label, local index)) visits the labels of an open part, numberOf(part, local index) is the number in the whole.
template<class ForEach, class NumberOf>
std::vector<dst_Place> FindInBuckets(const dst_Mesh& mesh, std::span<const int> labels, ForEach forEach,
                                     NumberOf numberOf) {
  struct Record {
    int label;
    unsigned number, index;
  };
  dst_Exchange& exchange = mesh.Exchange();
  const Buckets buckets(labels, mesh.NumParts());
  dst_SharingCheck sharing(exchange);
  const auto [least, most] = std::ranges::minmax(labels);
  exchange.ForEachPart([&, least = least, most = most](unsigned part) {
    std::vector<std::vector<Record>> toBuckets(mesh.NumParts());
    const dst_OpenPart& open = mesh.Part(part);
    sharing.Add(*open.part);
    forEach(open, [&](int label, unsigned index) {
      if (label >= least && label <= most)
        toBuckets[buckets.Of(label)].push_back(
            {label, static_cast<unsigned>(numberOf(*open.part, index)), index});
    });
    for (unsigned bucket = 0; bucket < mesh.NumParts(); ++bucket)
      exchange.SendRecords(part, bucket, toBuckets[bucket]);
  });
  sharing.Settle();
  exchange.Deliver();
  FoundOfParts found(exchange.MyParts().Count());
  exchange.ForEachPart([&](unsigned bucket) {
    for (const dst_Message& message : exchange.Received(bucket))
      for (const Record& record : message.As<Record>())
        for (const std::size_t wanted : buckets.Find(record.label))
          found[bucket - exchange.MyParts().first].push_back(
              {record.number, wanted, message.from, record.index});
  });
  return PlacesOf(found, labels.size(), exchange);
}
} // namespace

std::vector<dst_Place> dst_FindNodes(const dst_Mesh& mesh, std::span<const int> labels,
                                     std::size_t mostInParts) {
  if (!mesh.Index().HasNodeLabels()) return std::vector<dst_Place>(labels.size());
  const auto numberOf = [](const dst_Part& part, unsigned node) { return part.NodeNumber(node); };
  if (labels.size() > mostInParts)
    return FindInBuckets(
        mesh, labels,
        [](const dst_OpenPart& part, auto visit) {
          const std::span<const int> own = part.mesh->NodeData().UserNodeLabels().Const();
          std::vector<bool> isOfBefore(own.size()); // the first part that holds a node speaks for it
          for (unsigned i = 0; i < part.part->NumShared(); ++i)
            isOfBefore[part.part->SharedNodes()[i]] =
                part.part->OtherHolders(i).front() < part.part->Number();
          for (unsigned node = 0; node < own.size(); ++node)
            if (!isOfBefore[node]) visit(own[node], node);
        },
        numberOf);
  return FindInParts(
      mesh, labels.size(),
      [&](unsigned part) {
        std::vector<unsigned> indices;
        if (!AreIn(labels, mesh.Index().Part(part).nodeLabels)) return indices;
        indices.resize(labels.size());
        mesh.Part(part).mesh->NodeData().GetMeshNodeIndices(labels, indices);
        return indices;
      },
      numberOf);
}

std::vector<dst_Place> dst_FindElements(const dst_Mesh& mesh, std::span<const int> labels,
                                        std::size_t mostInParts) {
  const bool areStored = mesh.Index().HasElementLabels();
  const auto numberOf = [](const dst_Part& part, unsigned element) { return part.ElementNumber(element); };
  if (labels.size() > mostInParts)
    return FindInBuckets(
        mesh, labels,
        [&](const dst_OpenPart& part, auto visit) {
          for (unsigned element = 0; element < part.part->NumElements(); ++element)
            if (areStored || part.part->ElementNumber(element) < std::numeric_limits<int>::max())
              visit(mesh.ElementLabel(part, element), element);
        },
        numberOf);
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
      numberOf);
}
