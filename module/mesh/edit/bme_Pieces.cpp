#include "bme_Pieces.h"

#include "bme_ClassWalk.h"

#include <algorithm>
#include <numeric>

bme_Pieces::bme_Pieces(const bme_Mesh& oldMesh, const bme_Renumbering& renumbering, const bme_Mesh& newMesh)
    : old_(oldMesh), new_(newMesh), renumbering_(renumbering) {
  const std::vector<int>& from = renumbering.elements.from;
  const auto numOld = renumbering.elements.to.size();
  std::vector<unsigned> starts(numOld + 1, 0);
  bool areSeveral = false;
  for (const int old : from)
    if (old >= 0) areSeveral |= ++starts[static_cast<std::size_t>(old) + 1] > 1;
  for (std::size_t c = 0; c < renumbering.classes.from.size() && !areSeveral; ++c)
    if (const int old = renumbering.classes.from[c]; old >= 0)
      areSeveral = oldMesh.ElementData().GetClass(static_cast<unsigned>(old)).ElemTypeLabel()
                   != newMesh.ElementData().GetClass(static_cast<unsigned>(c)).ElemTypeLabel();
  if (!areSeveral) return;
  std::partial_sum(starts.begin(), starts.end(), starts.begin());
  pieces_.resize(starts.back());
  std::vector<unsigned> next(starts.begin(), starts.end() - 1);
  for (unsigned i = 0; i < from.size(); ++i)
    if (from[i] >= 0) pieces_[next[static_cast<std::size_t>(from[i])]++] = i;
  starts_ = std::move(starts);
  int count = 0;
  madeAt_.assign(renumbering.nodes.from.size(), -1);
  for (std::size_t i = 0; i < madeAt_.size(); ++i)
    if (renumbering.nodes.from[i] < 0) madeAt_[i] = count++;
}

std::span<const unsigned> bme_Pieces::Of(unsigned element) const {
  if (element + std::size_t{1} >= starts_.size()) return {};
  return std::span(pieces_).subspan(starts_[element], starts_[element + 1] - starts_[element]);
}

namespace {
std::size_t NumDifferent(std::span<const int> locals, std::span<const int> row) {
  std::vector<int> nodes;
  for (const int local : locals) nodes.push_back(row[static_cast<std::size_t>(local)]);
  std::ranges::sort(nodes);
  return static_cast<std::size_t>(std::unique(nodes.begin(), nodes.end()) - nodes.begin());
}
} // namespace

bool bme_Pieces::IsOn(int newNode, std::span<const int> oldNodes) const {
  const auto isOld = [&](int node) { return std::ranges::find(oldNodes, node) != oldNodes.end(); };
  const auto node = static_cast<std::size_t>(newNode);
  if (madeAt_[node] < 0) return isOld(renumbering_.nodes.from[node]);
  const auto at = static_cast<std::size_t>(madeAt_[node]);
  const bme_MadeNodes& made = renumbering_.made;
  if (at + 1 >= made.starts.size()) return false;
  return std::all_of(made.parents.begin() + made.starts[at], made.parents.begin() + made.starts[at + 1],
                     [&](unsigned parent) { return isOld(static_cast<int>(parent)); });
}

template<class Visit>
void bme_Pieces::ForEachPiece(unsigned element, std::span<const int> local, std::span<const int> ends,
                              std::size_t most, Visit visit) const {
  const std::span<const int> oldRow = bme_Row(old_.ElementData().GetElemClass(element), element);
  std::vector<int> nodes;
  for (const int node : local) nodes.push_back(oldRow[static_cast<std::size_t>(node)]);
  // faces of collapsed elements have others in them, which are lines and points
  const std::size_t different = std::min(NumDifferent(ends, oldRow), most);
  for (const unsigned piece : Of(element)) {
    const bme_ElementClass& type = new_.ElementData().GetElemClass(piece);
    const std::span<const int> row = bme_Row(type, piece);
    if (const shp_Shape* shape = type.Shape())
      visit(piece, *shape, [&](std::span<const int> some) {
        return NumDifferent(some, row) >= different && std::ranges::all_of(some, [&](int n) {
                 return IsOn(row[static_cast<std::size_t>(n)], nodes);
               });
      });
  }
}

void bme_Pieces::ForEachOnFace(unsigned element, const rgnC_Facet& face,
                               const std::function<void(unsigned, int)>& visit) {
  const shp_Shape* shape = old_.ElementData().GetElemClass(element).Shape();
  if (!shape || face.face >= shape->NumFaces()) return;
  ForEachPiece(element, shape->FaceNodes(face.face), bme_Corners(*shape, static_cast<unsigned>(face.face)), 3,
               [&](unsigned piece, const shp_Shape& own, const auto& areOn) {
                 for (unsigned f = 0; f < static_cast<unsigned>(own.NumFaces()); ++f)
                   if (areOn(bme_Corners(own, f))) visit(piece, static_cast<int>(f));
               });
}

void bme_Pieces::ForEachOnEdge(unsigned element, const rgnC_EdgeFacet& edge,
                               const std::function<void(unsigned, const rgnC_EdgeFacet&)>& visit) {
  const shp_Shape* shape = old_.ElementData().GetElemClass(element).Shape();
  if (!shape) return;
  const std::span<const int> local = shape->EdgeNodes(edge.face, edge.edge);
  ForEachPiece(element, local, local, 2, [&](unsigned piece, const shp_Shape& own, const auto& areOn) {
    for (int f = 0; f < std::max(own.NumFaces(), 1); ++f)
      for (int e = 0; e < static_cast<int>(bme_NumEdges(own, static_cast<unsigned>(f))); ++e)
        if (areOn(own.EdgeNodes(f, e))) visit(piece, {f, e});
  });
}
