#include <CoreGeometry/dst_CommonFaces.h>

#include "dst_SharingCheck.h"

#include <CoreGeometry/bme_ExternalFaces.h>
#include <algorithm>
#include <array>
#include <map>

namespace {
/// Numbers in the whole of the corners of a face, ascending; those that a triangle lacks are the largest.
using Key = std::array<unsigned, 4>;
struct Face {
  Key corners;
  unsigned word;
  bool operator<(const Face& other) const {
    return corners != other.corners ? corners < other.corners : word < other.word;
  }
};

/// Other parts that hold all of the nodes.
std::vector<unsigned> HoldersOf(const dst_Part& part, std::span<const int> nodes) {
  std::vector<unsigned> common;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const unsigned shared = part.FindShared(static_cast<unsigned>(nodes[i]));
    if (shared == bme_kNotFound) return {};
    const std::span<const unsigned> holders = part.OtherHolders(shared);
    if (i == 0) {
      common.assign(holders.begin(), holders.end());
      continue;
    }
    std::vector<unsigned> both;
    std::ranges::set_intersection(common, holders, std::back_inserter(both));
    common = std::move(both);
  }
  return common;
}

/// Outer faces of a part by the other parts that might have them.
std::map<unsigned, std::vector<Face>> FacesOf(const dst_OpenPart& open) {
  std::map<unsigned, std::vector<Face>> faces;
  const auto sets = bme_ComputeFaces(bme_FEMElemList::All(*open.mesh),
                                     {.exclude = bme_EXCLUDE_UNSUPPORTED | bme_EXCLUDE_SURFACE});
  if (!sets) return faces;
  const bme_FEMFaceList& outer = sets->external;
  for (std::size_t i = 0; i < outer.Count(); ++i) {
    const bme_LocalNodes nodes = outer.FaceNodes(i);
    const std::span<const int> corners = nodes.Corners();
    Key key;
    key.fill(bme_kNotFound);
    if (corners.size() > key.size()) continue;
    for (const unsigned other : HoldersOf(*open.part, corners)) {
      std::ranges::transform(corners, key.begin(), [&](int node) {
        return open.part->NodeNumbers()[static_cast<std::size_t>(node)];
      });
      std::ranges::sort(key);
      faces[other].push_back({key, outer.Words()[i]});
    }
  }
  for (auto& [other, list] : faces) std::ranges::sort(list, std::less<Face>());
  return faces;
}
} // namespace

dst_OfParts<std::vector<dst_CommonFace>> dst_FindCommonFaces(const dst_Mesh& mesh) {
  dst_Exchange& exchange = mesh.Exchange();
  dst_OfParts<std::map<unsigned, std::vector<Face>>> own(exchange.MyParts());
  dst_SharingCheck sharing(exchange);
  exchange.ForEachPart([&](unsigned part) {
    sharing.Add(*mesh.Part(part).part);
    own[part] = FacesOf(mesh.Part(part));
    for (const auto& [other, faces] : own[part]) {
      std::vector<Key> keys;
      keys.reserve(faces.size());
      for (const Face& face : faces) keys.push_back(face.corners);
      exchange.SendRecords(part, other, keys);
    }
  });
  sharing.Settle();
  exchange.Deliver();
  dst_OfParts<std::vector<dst_CommonFace>> common(exchange.MyParts());
  exchange.ForEachPart([&](unsigned part) {
    for (const dst_Message& message : exchange.Received(part)) {
      const std::span<const Key> theirs = message.As<Key>();
      for (const Face& face : own[part][message.from])
        if (std::ranges::binary_search(theirs, face.corners))
          common[part].push_back({message.from, face.word});
    }
  });
  return common;
}
