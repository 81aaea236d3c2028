// The derived tables are checked here, and pinned to the rows that the numbering of nodes must keep.
#include "shp_Connectivity.h"

#include "shp_AttributeBits.h"
#include "shp_ConnectivityTable.h"

#include <utility>

using namespace shp_ConnectivityTable;

namespace {
// each row is a constant of its own, so that none takes more steps than a compiler allows
template<std::size_t Row>
constexpr bool
    kIsSound = IsSound(kClosed[Row], shp_FindFacts(shp_PatternTable::kPatterns[Row].family)->numDims)
               && IsSound(kOpen[Row], shp_FindFacts(shp_PatternTable::kPatterns[Row].family)->numDims);
template<std::size_t... Rows> constexpr bool AreSound(std::index_sequence<Rows...>) {
  return (kIsSound<Rows> && ...);
}
static_assert(AreSound(std::make_index_sequence<kClosed.size()>()));

constexpr const shp_Connectivity& Of(shp_Family family, int numNodes, bool isOpen = false) {
  for (std::size_t row = 0; row < kClosed.size(); ++row)
    if (const auto& pattern = shp_PatternTable::kPatterns[row];
        pattern.family == family && pattern.numNodes == numNodes)
      return (isOpen ? kOpen : kClosed)[row];
  throw "no such pattern";
}
constexpr bool Is(std::span<const int> nodes, std::initializer_list<int> expected) {
  return std::equal(nodes.begin(), nodes.end(), expected.begin(), expected.end());
}
constexpr bool AreFaces(const shp_Connectivity& tables,
                        std::initializer_list<std::initializer_list<int>> faces) {
  int face = 0;
  for (const auto& nodes : faces)
    if (!Is(tables.FaceNodes(face++), nodes)) return false;
  return face == tables.numFaces;
}
constexpr bool AreEdges(const shp_Connectivity& tables, int face,
                        std::initializer_list<std::initializer_list<int>> edges) {
  int edge = 0;
  for (const auto& nodes : edges)
    if (!Is(tables.EdgeNodes(face, edge++), nodes)) return false;
  return edge == tables.edgesPerFace[At(face)];
}
constexpr bool IsReversal(const shp_Connectivity& tables, std::initializer_list<int> expected) {
  return Is(std::span(tables.reversal).first(At(tables.numNodes)), expected);
}

static_assert(AreFaces(Of(Hexahedron, 8),
                       {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {3, 7, 6, 2}, {4, 7, 3, 0}}));
static_assert(AreEdges(Of(Hexahedron, 8), 0, {{0, 3}, {3, 2}, {2, 1}, {1, 0}}));
static_assert(Is(Of(Hexahedron, 20).FaceNodes(0), {0, 3, 2, 1, 11, 10, 9, 8}));
static_assert(Is(Of(Hexahedron, 20).EdgeNodes(0, 0), {0, 11, 3}));
static_assert(Is(Of(Hexahedron, 20).FaceNodes(2), {0, 1, 5, 4, 8, 17, 12, 16}));
static_assert(AreFaces(Of(Tetrahedron, 4), {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}}));
static_assert(AreFaces(Of(Wedge, 6), {{0, 2, 1}, {3, 4, 5}, {0, 1, 4, 3}, {1, 2, 5, 4}, {0, 3, 5, 2}}));
static_assert(AreEdges(Of(Line, 3), 0, {{0, 2, 1}}));

static_assert(AreFaces(Of(Quadrilateral, 4, true), {{3, 0, 1, 2}}));
static_assert(AreEdges(Of(Quadrilateral, 4, true), 0, {{3, 0}, {0, 1}, {1, 2}}));
static_assert(AreFaces(Of(Hexahedron, 8, true),
                       {{0, 3, 2, 1}, {4, 5, 6, 7}, {4, 0, 1, 5}, {5, 1, 2, 6}, {6, 2, 3, 7}, {7, 3, 0, 4}}));
static_assert(IsReversal(Of(Quadrilateral, 4), {0, 3, 2, 1}));
static_assert(IsReversal(Of(Quadrilateral, 5), {1, 0, 3, 2, 4}));
static_assert(IsReversal(Of(Tetrahedron, 10), {0, 2, 1, 3, 6, 5, 4, 7, 9, 8}));
} // namespace

const shp_Connectivity* shp_FindConnectivity(const shp_Options& options) noexcept {
  if (options.Family() == Point || options.Family() == RigidSurface) return &kSingleNode;
  const shp_NodePattern* pattern = shp_FindNodePattern(options);
  if (!pattern) return nullptr;
  const auto row = At(static_cast<int>(pattern - shp_PatternTable::kPatterns.data()));
  return &(options.HasBit(shp_Bit::kInfinite) ? kOpen : kClosed)[row];
}
