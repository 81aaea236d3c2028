#include "dst_BorderFaces.h"

#include "dst_SharedNodes.h"
#include "dst_SharingCheck.h"

#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <map>
#include <numeric>

namespace {
/// Numbers in the whole of the different nodes, ascending as the nodes are; returns how many there are.
template<std::size_t N>
std::size_t FillKey(const dst_Part& part, std::span<const int> nodes, std::array<unsigned, N>& key) {
  std::array<int, bme_LocalNodes::kMost> sorted{};
  const auto end = std::ranges::copy(nodes.first(std::min(nodes.size(), N)), sorted.begin()).out;
  std::sort(sorted.begin(), end);
  const auto last = std::unique(sorted.begin(), end);
  key.fill(bme_kNotFound);
  std::transform(sorted.begin(), last, key.begin(),
                 [&](int node) { return part.NodeNumbers()[static_cast<std::size_t>(node)]; });
  return static_cast<std::size_t>(last - sorted.begin());
}

/// Elements that have at least three corners of a face in common with another part, as far as a quick look can tell.
std::vector<unsigned> ElementsNearOthers(const bme_FEMElemList& elements, const dst_SharedNodes& shared,
                                         const bme_FaceOptions& options) {
  std::vector<unsigned> near;
  const bme_ElementData& data = elements.Mesh().ElementData();
  for (unsigned c = 0; c < data.NumClasses(); ++c) {
    const bme_ElementClass& type = data.GetClass(c);
    const shp_Shape* shape = type.Shape();
    if (!shape || bme_IsLeftOut(*shape, options.exclude) || shape->NumGeomDims() < 2) continue;
    const auto first = static_cast<unsigned>(type.FirstElementIndex());
    const auto begin = std::ranges::lower_bound(elements.Words(), first),
               end = std::ranges::lower_bound(elements.Words(),
                                              first + static_cast<unsigned>(type.NumElements()));
    for (auto element = begin; element != end; ++element)
      if (std::ranges::count_if(type.ElementConnectivity().Row(*element - first),
                                [&](int node) { return shared.Has(node); })
          >= 3)
        near.push_back(*element);
  }
  return near;
}

/// Records that travel: the key and a word.
class Records {
public:
  explicit Records(bool areAllNodes) : keyWords_(areAllNodes ? 4 + bme_LocalNodes::kMost : 4) {}
  std::size_t Width() const noexcept { return keyWords_ + 1; }
  void Append(std::vector<unsigned>& to, const dst_FaceKey& key, unsigned word) const {
    to.insert(to.end(), key.corners.begin(), key.corners.end());
    if (keyWords_ > 4) to.insert(to.end(), key.nodes.begin(), key.nodes.end());
    to.push_back(word);
  }
  std::span<const unsigned> Key(const unsigned* record) const noexcept { return {record, keyWords_}; }
  unsigned Word(const unsigned* record) const noexcept { return record[keyWords_]; }

private:
  std::size_t keyWords_;
};

/// Answers each record with the facts of all records of its face; in covering only the corners count.
std::vector<std::vector<std::uint8_t>> Count(const std::vector<dst_Message>& messages,
                                             const Records& records) {
  struct Entry {
    const unsigned* record;
    std::uint8_t* answer;
  };
  std::vector<std::vector<std::uint8_t>> answers;
  answers.reserve(messages.size());
  std::vector<Entry> entries;
  for (const dst_Message& message : messages) {
    const std::span<const unsigned> words = message.As<unsigned>();
    std::vector<std::uint8_t>& own = answers.emplace_back(words.size() / records.Width());
    for (std::size_t i = 0; i < own.size(); ++i) entries.push_back({&words[i * records.Width()], &own[i]});
  }
  const auto isBefore = [&](const Entry& a, const Entry& b) {
    return std::ranges::lexicographical_compare(records.Key(a.record), records.Key(b.record));
  };
  const auto groupEnd = [](auto begin, auto end, std::size_t keyWords) {
    return std::find_if(begin, end, [&](const Entry& entry) {
      return !std::equal(entry.record, entry.record + keyWords, begin->record);
    });
  };
  std::ranges::sort(entries, isBefore);
  for (auto face = entries.begin(); face != entries.end();) {
    const auto end = groupEnd(face, entries.end(), 4);
    unsigned covered = 0;
    for (auto one = face; one != end; ++one)
      covered |= dst_FaceFacts::FromWord(records.Word(one->record)).flags & dst_FaceFacts::kCovered;
    while (face != end) {
      const auto last = groupEnd(face, end, records.Width() - 1);
      dst_FaceFacts all{0, covered};
      for (auto one = face; one != last; ++one) all.Add(dst_FaceFacts::FromWord(records.Word(one->record)));
      for (; face != last; ++face) *face->answer = static_cast<std::uint8_t>(all.Word());
    }
  }
  return answers;
}
} // namespace

void dst_BorderFaces::Add(const bme_FEMElemList& elements, unsigned flags) {
  dst_SharedNodes shared(*part_.part);
  const bme_FEMElemList near(elements.Mesh(), ElementsNearOthers(elements, shared, options_));
  const bme_FEMFaceList faces = bme_FEMFaceList::OfElements(near);
  for (std::size_t i = 0; i < faces.Count(); ++i) {
    const bme_LocalNodes nodes = faces.FaceNodes(i);
    const shp_Shape* shape = elements.Mesh().ElementData().GetElemClass(bme_ElementOf(faces[i])).Shape();
    const bool isSolid = shape->NumGeomDims() == 3;
    if (!isSolid && !options_.shellsCoverSolids) continue;
    if (!shared.HaveCommonHolder(nodes.Corners())) continue;
    Face face{{}, faces[i], isSolid, flags};
    face.key.nodes.fill(bme_kNotFound);
    if (FillKey(*part_.part, nodes.Corners(), face.key.corners) < 3) continue; // collapsed
    if (options_.matchAllNodes) FillKey(*part_.part, nodes.Nodes(), face.key.nodes);
    faces_.push_back(face);
  }
}

void dst_BorderFaces::Arrange() {
  std::ranges::sort(faces_, [](const Face& a, const Face& b) {
    return a.key != b.key ? a.key < b.key : bme_MeshOrder(a.word) < bme_MeshOrder(b.word);
  });
  for (std::size_t first = 0; first < faces_.size();) {
    std::size_t end = first + 1;
    while (end < faces_.size() && faces_[end].key == faces_[first].key) ++end;
    const unsigned lowest = part_.part->FindNode(faces_[first].key.corners[0]);
    groups_.push_back({first, end, part_.part->OwnerOfNode(lowest)});
    first = end;
  }
}

dst_FaceFacts dst_BorderFaces::FactsOf(const Group& group) const noexcept {
  dst_FaceFacts facts;
  unsigned last = bme_kNotFound;
  for (const Face& face : Faces(group)) {
    facts.flags |= face.flags;
    if (!face.isSolid)
      facts.flags |= dst_FaceFacts::kCovered;
    else if (bme_ElementOf(face.word) != last)
      facts.Add({1, 0});
    if (face.isSolid) last = bme_ElementOf(face.word);
  }
  return facts;
}

void dst_SettleBorderFaces(
    const dst_Mesh& mesh, const bme_FaceOptions& options, const dst_MakeBorderFaces& make,
    const std::function<void(unsigned, const dst_BorderFaces&, std::span<const dst_FaceFacts>)>& settle) {
  dst_Exchange& exchange = mesh.Exchange();
  const Records records(options.matchAllNodes);
  dst_SharingCheck sharing(exchange);
  std::optional<dst_BorderFaces> kept; // that of the last part: no rank keeps those of several
  const auto borderOf = [&](unsigned part) -> const dst_BorderFaces& {
    const dst_OpenPart& open = mesh.Part(part);
    if (!kept || exchange.MyParts().Count() > 1) kept.emplace(make(open));
    return *kept;
  };
  exchange.ForEachPart([&](unsigned part) {
    const dst_BorderFaces& border = borderOf(part);
    sharing.Add(*mesh.Part(part).part);
    std::map<unsigned, std::vector<unsigned>> toReferees;
    for (const dst_BorderFaces::Group& group : border.Groups())
      records.Append(toReferees[group.referee], border.Faces(group).front().key,
                     border.FactsOf(group).Word());
    for (const auto& [referee, words] : toReferees) exchange.SendRecords(part, referee, words);
  });
  sharing.Settle();
  exchange.Deliver();
  exchange.ForEachPart([&](unsigned part) {
    const std::vector<dst_Message> messages = exchange.Received(part);
    const std::vector<std::vector<std::uint8_t>> answers = Count(messages, records);
    for (std::size_t i = 0; i < messages.size(); ++i)
      exchange.SendRecords(part, messages[i].from, answers[i]);
  });
  exchange.Deliver();
  exchange.ForEachPart([&](unsigned part) {
    const dst_BorderFaces& border = borderOf(part);
    std::map<unsigned, std::vector<std::byte>> answers;
    for (dst_Message& message : exchange.Received(part)) answers[message.from] = std::move(message.bytes);
    std::map<unsigned, std::size_t> next;
    std::vector<dst_FaceFacts> facts;
    facts.reserve(border.Groups().size());
    for (const dst_BorderFaces::Group& group : border.Groups())
      facts.push_back(dst_FaceFacts::FromWord(
          std::to_integer<unsigned>(answers[group.referee].at(next[group.referee]++))));
    settle(part, border, facts);
  });
  exchange.Agree();
}
