// bme_Pieces.h: what elements that were divided or changed became
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <functional>

/// The new elements of each old one, and which of their faces and edges lie on old ones.
class bme_Pieces {
public:
  bme_Pieces(const bme_Mesh& oldMesh, const bme_Renumbering& renumbering, const bme_Mesh& newMesh);

  /// Whether elements became several, or of another type.
  bool AreThere() const noexcept { return !starts_.empty(); }
  std::span<const unsigned> Of(unsigned element) const;
  /// Calls visit(new element, facet) for the faces that lie on a face of an old element, or the edges on an edge.
  void ForEachOn(unsigned element, int facet, bool isEdge, const std::function<void(unsigned, int)>& visit);

private:
  bool IsOn(int newNode, std::span<const int> oldNodes) const;

  const bme_Mesh &old_, &new_;
  const bme_Renumbering& renumbering_;
  std::vector<unsigned> starts_, pieces_;
  std::vector<int> madeAt_; ///< position of each new node among the made ones, -1 for others
};
