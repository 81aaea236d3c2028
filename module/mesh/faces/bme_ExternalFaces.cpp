#include "bme_CountFaces.h"
#include "bme_Duplicates.h"
#include "bme_MatchFaces.h"

#include <CoreGeometry/bme_ExternalFaces.h>

namespace {
/// The listed classes that have faces.
struct Listed {
  explicit Listed(const bme_Mesh& ofMesh) : mesh(ofMesh) {}

  const bme_Mesh& mesh;
  bme_Solids solids;
  std::vector<bme_SolidClass> surfaces; ///< their keys serve to cover solids
  std::size_t numSolids = 0;
};

std::optional<Listed> Choose(const bme_FEMElemList& elements, const bme_FaceOptions& options) {
  Listed listed(elements.Mesh());
  listed.solids.matchAllNodes = options.matchAllNodes;
  if (!bme_CanWorkOn(elements, options, bme_TOO_MANY_FOR_FACES)) return std::nullopt;
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        if (!shape || bme_IsLeftOut(*shape, options.exclude) || bme_NumListedFaces(*shape) == 0) return;
        const bool isSolid = shape->NumGeomDims() == 3;
        (isSolid ? listed.solids.classes : listed.surfaces).emplace_back(type, *shape, words);
        if (isSolid) listed.numSolids += words.size();
      });
  return listed;
}

/// False after a report.
bool HaveNodes(const std::vector<bme_SolidClass>& classes, unsigned numNodes) {
  const bme_WrongElement wrong = bme_FindWrong(classes, numNodes);
  return !wrong.type || wrong.type->HasNodes(wrong.element, numNodes);
}

void Cover(const Listed& listed, bme_FaceGroups& groups) {
  bme_FaceKey key;
  for (const bme_SolidClass& surfaces : listed.surfaces)
    for (const unsigned element : surfaces.words) {
      if (surfaces.Key(surfaces.Row(element), 0, key) < 3) continue;
      if (const unsigned at = groups.FindByCorners(key); at != bme_kNone) groups[at].isCovered = true;
    }
}

/// Sorted lists of words in one.
std::vector<unsigned> Merge(const std::vector<unsigned>& a, const std::vector<unsigned>& b) {
  std::vector<unsigned> both(a.size() + b.size());
  std::ranges::merge(a, b, both.begin(), {}, bme_MeshOrder, bme_MeshOrder);
  return both;
}

bme_FaceSets Collect(const Listed& listed, const bme_FaceOptions& options, bme_FaceGroups& groups,
                     const std::vector<bme_FaceHit>& hits, bme_MatchedFaces& found) {
  std::vector<unsigned> external, shared, surfaces;
  wip_Poll poll(bme_kWordsBetween);
  for (const auto& [group, word] : hits) {
    poll.Advance();
    if (groups[group].count > 2)
      shared.push_back(word);
    else if (groups[group].count == 2 && options.wantInterior)
      found.pairs.push_back(word);
    else if (groups[group].count == 1 && !groups[group].isCovered)
      external.push_back(word);
  }
  for (const bme_SolidClass& type : listed.surfaces)
    for (const unsigned element : type.words) {
      poll.Advance();
      bme_FaceKey key;
      if (type.Key(type.Row(element), 0, key) < 3) {
        found.collapsed.push_back(bme_FaceWord(element, 0));
        continue;
      }
      surfaces.push_back(bme_FaceWord(element, 0));
      if (options.bothSides) surfaces.push_back(bme_FaceWord(element, 0, true));
    }
  const bme_FEMFaceList ofMany(listed.mesh, std::move(shared));
  return {.external = {listed.mesh, Merge(external, surfaces)},
          .interior = bme_FEMFaceList(listed.mesh, std::move(found.pairs)).Difference(ofMany),
          .shared = ofMany,
          .collapsed = {listed.mesh, std::move(found.collapsed)}};
}
} // namespace

std::optional<bme_FaceSets> bme_ComputeFaces(const bme_FEMElemList& elements,
                                             const bme_FaceOptions& options) {
  const std::optional<Listed> listed = Choose(elements, options);
  if (!listed) return std::nullopt;
  const unsigned numNodes = listed->mesh.NodeData().NumNodes();
  if (!HaveNodes(listed->surfaces, numNodes)) return std::nullopt;
  bme_WorkProgress progress(bme_COMPUTING_FACES, 2 * listed->numSolids);
  std::optional<bme_MatchedFaces> found =
      bme_MatchFaces(listed->solids, numNodes, options.wantInterior, progress);
  if (!found) return std::nullopt;
  bme_FaceGroups groups(numNodes, listed->solids);
  wip_Poll poll(bme_kWordsBetween);
  for (const auto& [key, word] : found->suspects) {
    poll.Advance();
    groups.Add(key, word);
  }
  const std::vector<bme_FaceHit> hits = bme_CountGroups(listed->solids.classes, groups, progress);
  if (options.shellsCoverSolids) Cover(*listed, groups);
  return Collect(*listed, options, groups, hits, *found);
}

std::optional<bme_FEMFaceList> bme_ComputeInterface(const bme_FEMElemList& first,
                                                    const bme_FEMElemList& second,
                                                    const bme_FaceOptions& options) {
  const bme_FEMElemList others = second.Difference(first);
  const std::optional<Listed> one = Choose(first, options), two = Choose(others, options);
  const unsigned numNodes = first.Mesh().NodeData().NumNodes();
  if (!one || !two || !HaveNodes(one->solids.classes, numNodes) || !HaveNodes(two->solids.classes, numNodes))
    return std::nullopt;
  bme_WorkProgress progress(bme_COMPUTING_FACES, 2 * one->numSolids + two->numSolids);
  bme_NodeBits ofOthers(numNodes);
  bme_ForEachPiece(
      two->solids.classes, nullptr,
      [&](const bme_SolidClass& solids, std::span<const unsigned> elements) {
        for (const unsigned element : elements)
          for (const int corner : solids.elementCorners)
            ofOthers.SetShared(static_cast<unsigned>(solids.Row(element)[corner]));
        return 0;
      },
      [](int) {});
  // faces of both lists in one numbering of words, so that nodes of any of them are found
  bme_Solids both = one->solids;
  both.classes.insert(both.classes.end(), two->solids.classes.begin(), two->solids.classes.end());
  std::ranges::sort(both.classes, {}, &bme_SolidClass::firstElement);
  bme_FaceGroups groups(numNodes, both);
  using Face = std::pair<bme_FaceKey, unsigned>;
  bme_ForEachPiece(
      one->solids.classes, &progress,
      [&](const bme_SolidClass& solids, std::span<const unsigned> elements) {
        std::vector<Face> faces;
        for (const unsigned element : elements)
          bme_ForEachFace(solids, element, [&](const bme_FaceKey& key, unsigned word) {
            if (std::ranges::all_of(key, [&](unsigned c) { return c == bme_kNone || ofOthers.Has(c); }))
              faces.emplace_back(key, word);
          });
        return faces;
      },
      [&](const std::vector<Face>& faces) {
        for (const auto& [key, word] : faces) groups.Add(key, word);
      });
  bme_FindGroups(two->solids.classes, groups, progress, [&](const std::vector<bme_FaceHit>& hits) {
    for (const bme_FaceHit& hit : hits) ++groups[hit.group].count;
  });
  std::vector<unsigned> words;
  bme_FindGroups(one->solids.classes, groups, progress, [&](const std::vector<bme_FaceHit>& hits) {
    for (const bme_FaceHit& hit : hits)
      if (groups[hit.group].count > 0) words.push_back(hit.word);
  });
  return bme_FEMFaceList(first.Mesh(), std::move(words));
}

std::vector<std::array<unsigned, 2>> bme_FindDuplicates(const bme_FEMElemList& elements) {
  return bme_FindDuplicatesBy(elements, [](std::span<const int> nodeSet) {
    std::uint64_t hash = nodeSet.size();
    for (const int item : nodeSet) {
      hash = (hash ^ static_cast<unsigned>(item)) * 0x9E3779B97F4A7C15U;
      hash ^= hash >> 29;
    }
    return hash;
  });
}
