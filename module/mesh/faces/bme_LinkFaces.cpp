#include "bme_LinkFaces.h"

#include "bme_CountFaces.h"
#include "bme_MatchFaces.h"

namespace {
/// Slots of the faces of words.
class Slots {
public:
  Slots(const bme_Mesh& mesh, const bme_Solids& solids, std::span<const unsigned> firstSlot)
      : solids_(solids) {
    for (const bme_SolidClass& type : solids.classes)
      first_.push_back(firstSlot[static_cast<std::size_t>(
          mesh.ElementData().GetElemClass(type.firstElement).ClassIndex())]);
  }
  unsigned Of(unsigned word) const {
    const bme_SolidClass& type = solids_.ClassOf(word);
    return first_[static_cast<std::size_t>(&type - solids_.classes.data())]
           + (bme_ElementOf(word) - type.firstElement) * type.numFaces + bme_FaceOf(word);
  }

private:
  const bme_Solids& solids_;
  std::vector<unsigned> first_; ///< of each class
};
} // namespace

bool bme_LinkFaces(const bme_Mesh& mesh, std::span<const unsigned> firstSlot, std::span<unsigned> next) {
  const unsigned numNodes = mesh.NodeData().NumNodes();
  if (mesh.ElementData().NumElements() > bme_kMaxWordElements) return false;
  const bme_FEMElemList all = bme_FEMElemList::All(mesh);
  bme_Solids solids;
  std::size_t numSolids = 0;
  bme_ForEachClassOfElements(
      mesh, all.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        if (!shape || shape->NumGeomDims() != 3 || bme_NumListedFaces(*shape) == 0) return;
        solids.classes.emplace_back(type, *shape, words);
        numSolids += words.size();
      });
  if (bme_FindWrong(solids.classes, numNodes).type) return false;
  bme_WorkProgress progress(2 * numSolids);
  const std::optional<bme_MatchedFaces> found = bme_MatchFaces(solids, numNodes, true, progress);
  if (!found) return false;
  const Slots slots(mesh, solids, firstSlot);
  constexpr std::size_t kPiece = std::size_t{1} << 17;
  const std::span<const unsigned> pairs = found->pairs;
  wip_RunPieces((pairs.size() + kPiece - 1) / kPiece, [&](std::size_t piece) {
    const std::size_t end = std::min(pairs.size(), (piece + 1) * kPiece);
    for (std::size_t k = piece * kPiece; k < end; k += 2) {
      const unsigned a = slots.Of(pairs[k]), b = slots.Of(pairs[k + 1]);
      next[a] = b;
      next[b] = a;
    }
  });
  // what may have more than two is joined anew; hits come in the order of the slots
  bme_FaceGroups groups(numNodes, solids);
  wip_Poll poll(bme_kWordsBetween);
  for (const auto& [key, word] : found->suspects) {
    poll.Advance();
    groups.Add(key, word);
  }
  struct Cycle {
    unsigned first = bme_kNone, last = 0;
  };
  std::vector<Cycle> cycles(groups.Count());
  for (const auto& [group, word] : bme_CountGroups(solids.classes, groups, progress)) {
    poll.Advance();
    const unsigned slot = slots.Of(word);
    Cycle& cycle = cycles[group];
    if (cycle.first == bme_kNone)
      cycle.first = slot;
    else
      next[cycle.last] = slot;
    next[slot] = cycle.first;
    cycle.last = slot;
  }
  return true;
}
