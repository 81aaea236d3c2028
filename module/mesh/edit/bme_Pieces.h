// bme_Pieces.h: what elements that were divided or changed became
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <functional>

/// The new elements of each old one, and which of their faces and edges lie on old ones.
class bme_Pieces {
public:
  bme_Pieces(const bme_Mesh& oldMesh, const bme_Renumbering& renumbering, const bme_Mesh& newMesh);

  /// Whether elements became several, or of another type.
  bool AreThere() const noexcept { return !starts_.empty(); }
  std::span<const unsigned> Of(unsigned element) const;
  /// Calls visit(new element, face) for the faces that lie on a face of an old element.
  void ForEachOnFace(unsigned element, const rgnC_Facet& face,
                     const std::function<void(unsigned, int)>& visit);
  /// Calls visit(new element, edge) for the edges that lie on an edge of an old element.
  void ForEachOnEdge(unsigned element, const rgnC_EdgeFacet& edge,
                     const std::function<void(unsigned, const rgnC_EdgeFacet&)>& visit);

private:
  bool IsOn(int newNode, std::span<const int> oldNodes) const;
  /// Calls visit(new element, its shape, test of local nodes), for a face or edge with these local nodes and ends.
  template<class Visit>
  void ForEachPiece(unsigned element, std::span<const int> local, std::span<const int> ends, std::size_t most,
                    Visit visit) const;

  const bme_Mesh &old_, &new_;
  const bme_Renumbering& renumbering_;
  std::vector<unsigned> starts_, pieces_;
  std::vector<int> madeAt_; ///< position of each new node among the made ones, -1 for others
};
