#include <CoreGeometry/bme_Turned.h>

#include "bme_ClassWalk.h"

#include <algorithm>

namespace {
/// Where local nodes are after the reversal, ascending.
std::vector<int> After(std::span<const int> reversal, std::span<const int> nodes) {
  std::vector<int> after;
  for (std::size_t i = 0; i < reversal.size(); ++i)
    if (std::ranges::find(nodes, reversal[i]) != nodes.end()) after.push_back(static_cast<int>(i));
  return after;
}

std::vector<int> Sorted(std::span<const int> nodes) {
  std::vector<int> sorted(nodes.begin(), nodes.end());
  std::ranges::sort(sorted);
  return sorted;
}

std::array<int, 2> Ends(std::span<const int> edge) {
  return {edge.empty() ? -1 : edge.front(), edge.empty() ? -1 : edge.back()};
}
} // namespace

void bme_TurnedFaces::Find(unsigned element) {
  if (element >= first_ && element < end_) return;
  const bme_ElementClass& type = mesh_.ElementData().GetElemClass(element);
  first_ = static_cast<unsigned>(type.FirstElementIndex());
  end_ = first_ + static_cast<unsigned>(type.NumElements());
  shape_ = type.Shape();
  faces_.clear();
  edges_.clear();
  if (!shape_) return;
  const std::span<const int> reversal = shape_->ReversalPermutation();
  const auto numFaces = static_cast<unsigned>(shape_->NumFaces());
  for (unsigned face = 0; face < numFaces; ++face) {
    faces_.push_back(static_cast<int>(face));
    for (int edge = 0; edge < 4; ++edge) edges_.push_back(rgnC_EdgeFacetId({static_cast<int>(face), edge}));
    if (reversal.empty() || face >= shape_->CornersPerFace().size()) continue;
    const std::vector<int> corners = After(reversal, bme_Corners(*shape_, face));
    for (unsigned other = 0; other < numFaces; ++other)
      if (Sorted(bme_Corners(*shape_, other)) == corners) faces_[face] = static_cast<int>(other);
    const auto other = static_cast<unsigned>(faces_[face]);
    for (unsigned edge = 0; edge < bme_NumEdges(*shape_, face); ++edge) {
      const auto ends =
          After(reversal, Ends(shape_->EdgeNodes(static_cast<int>(face), static_cast<int>(edge))));
      for (unsigned k = 0; k < bme_NumEdges(*shape_, other); ++k)
        if (Sorted(Ends(shape_->EdgeNodes(static_cast<int>(other), static_cast<int>(k)))) == ends)
          edges_[4 * face + edge] = rgnC_EdgeFacetId({static_cast<int>(other), static_cast<int>(k)});
    }
  }
}

const shp_Shape* bme_TurnedFaces::ShapeOf(unsigned element) {
  Find(element);
  return shape_;
}

rgnC_Facet bme_TurnedFaces::Send(unsigned element, rgnC_Facet facet) {
  const unsigned char turn = TurnOf(element);
  if (turn == 0) return facet;
  Find(element);
  const auto face = static_cast<std::size_t>(facet.face);
  if ((turn & bme_Renumbering::kNodesExchanged) != 0 && face < faces_.size()) facet.face = faces_[face];
  if ((turn & bme_Renumbering::kSidesExchanged) != 0 && shape_ && shape_->NumGeomDims() == 2)
    facet.isBack = !facet.isBack;
  return facet;
}

rgnC_EdgeFacet bme_TurnedFaces::Send(unsigned element, rgnC_EdgeFacet edge) {
  if ((TurnOf(element) & bme_Renumbering::kNodesExchanged) == 0) return edge;
  Find(element);
  const auto id = static_cast<std::size_t>(static_cast<unsigned>(rgnC_EdgeFacetId(edge)));
  return id < edges_.size() ? rgnC_EdgeFacetOf(edges_[id]) : edge;
}
