#include <CoreGeometry/shp_InverseTopoTable.h>

#include "shp_Print.h"

#include <CoreGeometry/shp_Topology.h>
#include <CoreUtils/atr_String.h>
#include <algorithm>
#include <bit>

namespace {
// Keys of corners, which are numbered below 16; a table ends with the key of the largest corner.
constexpr int PairKey(int a, int b) { return a + 16 * b; }
constexpr int TripleKey(int a, int b, int c) { return a + 16 * b + 256 * c; }
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }
} // namespace

shp_InverseTopoTable::shp_InverseTopoTable(const shp_Topology& topology) {
  if (topology.NumBaseNodes() < 2 || topology.NodesPerFace().empty()) return;
  CollectEdges(topology);
  PairEdges();
  BuildNodeTables();
  BuildFaceTables(topology);
}

void shp_InverseTopoTable::CollectEdges(const shp_Topology& topology) {
  for (int face = 0; face < topology.NumFaces(); ++face) {
    for (int edge = 0; edge < topology.EdgesPerFace()[At(face)]; ++edge) {
      const std::span<const int> nodes = topology.EdgeNodes(face, edge);
      const Edge address{static_cast<std::uint8_t>(face), static_cast<std::uint8_t>(edge),
                         static_cast<std::uint8_t>(nodes.front()), static_cast<std::uint8_t>(nodes.back())};
      edges_.push_back(address);
      edgesMask_ |= address.Bit();
      largestEndNode_ = std::max({largestEndNode_, nodes.front(), nodes.back()});
    }
    facesMask_ |= Mask{1} << face;
  }
  numEdges_ = static_cast<int>(edges_.size());
}

namespace {
/// Order of unique-edge pairs: by both faces, then by both edges.
unsigned ByFaces(const shp_InverseTopoTable::MaskPair& pair) {
  const auto first = static_cast<unsigned>(std::countr_zero(pair[0])),
             second = static_cast<unsigned>(std::bit_width(pair[0])) - 1;
  return first / 4 << 12 | second / 4 << 8 | first % 4 << 4 | second % 4;
}
} // namespace

void shp_InverseTopoTable::PairEdges() {
  numUniqueEdges_ = numEdges_;
  for (auto edge = edges_.begin(); edge != edges_.end(); ++edge) {
    numUniqueEdges_ -=
        std::any_of(edges_.begin(), edge, [&](const Edge& earlier) { return edge->JoinsSameAs(earlier); });
    Mask faces = 0;
    for (const Edge& other : edges_) {
      if (!edge->JoinsSameAs(other)) continue;
      faces |= Mask{1} << other.face;
      if (other.face > edge->face) uniqueEdgeMasks_.push_back({edge->Bit() | other.Bit(), ~other.Bit()});
      if (other.face != edge->face) nonUniqueEdgeMasks_.push_back({edge->Bit(), other.Bit()});
    }
    edgeFaces_.push_back(faces);
  }
  std::ranges::sort(uniqueEdgeMasks_, {}, ByFaces);
}

void shp_InverseTopoTable::BuildNodeTables() {
  nodeEdges_.assign(At(largestEndNode_ + 1), 0);
  for (const Edge& edge : edges_)
    for (const int end : {edge.from, edge.to}) nodeEdges_[At(end)] |= edge.Bit();
  numCorners_ = static_cast<int>(std::ranges::count_if(nodeEdges_, [](Mask mask) { return mask != 0; }));

  pairStarts_.assign(1, 0);
  for (int key = 0; key <= PairKey(largestEndNode_, largestEndNode_); ++key) {
    for (std::size_t k = 0; k < edges_.size(); ++k)
      if (PairKey(edges_[k].from, edges_[k].to) == key || PairKey(edges_[k].to, edges_[k].from) == key)
        pairEdges_.push_back(static_cast<std::uint8_t>(k));
    pairStarts_.push_back(static_cast<std::uint16_t>(pairEdges_.size()));
  }
}

void shp_InverseTopoTable::BuildFaceTables(const shp_Topology& topology) {
  nodeFaces_.assign(nodeEdges_.size(), 0);
  faceEdges_.assign(At(topology.NumFaces()), 0);
  for (const Edge& edge : edges_) faceEdges_[edge.face] |= edge.Bit();
  faceFromNodes_.assign(At(TripleKey(largestEndNode_, largestEndNode_, largestEndNode_) + 1), -1);
  for (int face = 0; face < topology.NumFaces(); ++face) {
    std::vector<int>& corners = faceCorners_.emplace_back();
    for (const int node : topology.FaceNodes(face))
      if (EdgesOfNode(node)) {
        corners.push_back(node);
        nodeFaces_[At(node)] |= Mask{1} << face;
      }
    const std::size_t size = corners.size();
    if (size < 3) continue;
    for (std::size_t k = 0; k < size; ++k)
      faceFromNodes_[At(TripleKey(corners[k], corners[(k + 1) % size], corners[(k + 2) % size]))] =
          static_cast<std::int8_t>(face);
  }
}

void shp_InverseTopoTable::UniqueEdge(Mask& mask) const noexcept {
  for (const auto& [both, keep] : uniqueEdgeMasks_)
    if ((mask & both) == both) mask &= keep;
}

void shp_InverseTopoTable::NonUniqueEdge(Mask& mask) const noexcept {
  for (const auto& [bit, other] : nonUniqueEdgeMasks_)
    if (mask & bit) mask |= other;
}

void shp_InverseTopoTable::EdgesFromNodes(int first, int second, int& count, int* faces,
                                          int* edges) const noexcept {
  count = 0;
  const long long key = first + 16LL * second;
  if (first < 0 || second < 0 || key + 1 >= static_cast<long long>(pairStarts_.size())) return;
  const auto entry = static_cast<std::size_t>(key);
  for (std::size_t k = pairStarts_[entry]; k < pairStarts_[entry + 1]; ++k) {
    const Edge& edge = edges_[pairEdges_[k]];
    faces[count] = edge.face;
    edges[count++] = edge.edge;
  }
}

void shp_InverseTopoTable::EdgesFromNode(int node, int& count, int* faces, int* edges) const noexcept {
  count = 0;
  const Mask mask = EdgesOfNode(node);
  for (int bit = 0; bit < kMaxEdges; ++bit)
    if (mask >> bit & 1) {
      faces[count] = bit / 4;
      edges[count++] = bit % 4;
    }
}

shp_InverseTopoTable::Mask shp_InverseTopoTable::FacesOfEdge(int face, int edge) const noexcept {
  for (std::size_t k = 0; k < edges_.size(); ++k)
    if (edges_[k].face == face && edges_[k].edge == edge) return edgeFaces_[k];
  return 0;
}

int shp_InverseTopoTable::FaceFromNodes(int a, int b, int c) const noexcept {
  for (const int node : {a, b, c})
    if (node < 0 || node > largestEndNode_) return -1;
  const std::size_t key = At(TripleKey(a, b, c));
  return key < faceFromNodes_.size() ? faceFromNodes_[key] : -1;
}

namespace {
/// Values of one printed line, separated by blanks.
class Line {
public:
  void Append(const atr_String& value) { text_.append(text_.empty() ? "" : " ").append(value); }
  void Write(aio_ostream& stream) const { shp_WriteLine(stream, text_); }

private:
  atr_String text_;
};

void WriteMasks(aio_ostream& stream, std::span<const shp_InverseTopoTable::Mask> masks) {
  constexpr std::size_t kPerLine = 8;
  while (!masks.empty()) {
    Line line;
    const auto row = masks.first(std::min(kPerLine, masks.size()));
    for (const auto mask : row) line.Append(atr_Format("%08x", {static_cast<long long>(mask)}));
    line.Write(stream);
    masks = masks.subspan(row.size());
  }
}

void WriteMaskPairs(aio_ostream& stream, const char* title,
                    std::span<const shp_InverseTopoTable::MaskPair> pairs) {
  if (pairs.empty()) return;
  shp_WriteLine(stream, title);
  std::vector<shp_InverseTopoTable::Mask> masks;
  for (const auto& pair : pairs) masks.insert(masks.end(), pair.begin(), pair.end());
  WriteMasks(stream, masks);
}
} // namespace

void shp_InverseTopoTable::PrintInverseTable(aio_ostream& stream) const {
  shp_WriteLine(stream,
                atr_Format("nEdge=%2d, nUniqueEdge=%2d, nCorner=%2d, edgesMask=%08x, facesMask=%08x",
                           {NumEdges(), NumUniqueEdges(), NumCorners(), static_cast<long long>(EdgesMask()),
                            static_cast<long long>(FacesMask())}));
  WriteMaskPairs(stream, "UniqueEdgeMasks: ", uniqueEdgeMasks_);
  WriteMaskPairs(stream, "NonUniqueEdgeMasks: ", nonUniqueEdgeMasks_);

  shp_WriteLine(stream, "faceCornersTable:");
  for (const std::vector<int>& corners : faceCorners_) {
    Line line;
    for (const int corner : corners) line.Append(atr_Format("%d", {corner}));
    line.Write(stream);
  }
  shp_WriteLine(stream, "faceFromNodesTable:"); // the keys of each face
  for (std::size_t face = 0; face < faceCorners_.size(); ++face) {
    Line line;
    for (std::size_t key = 0; key < faceFromNodes_.size(); ++key)
      if (faceFromNodes_[key] == static_cast<int>(face))
        line.Append(atr_Format("%d", {static_cast<int>(key)}));
    line.Write(stream);
  }
  shp_WriteLine(stream, "faceNodeMaskTable:"); // the faces of each node
  WriteMasks(stream, nodeFaces_);
  shp_WriteLine(stream, "faceEdgeMaskTable:"); // the faces of each edge
  WriteMasks(stream, edgeFaces_);

  shp_WriteLine(stream, "edgeEndsTable:");
  for (std::size_t face = 0; face < faceEdges_.size(); ++face) {
    Line line;
    for (const Edge& edge : edges_)
      if (edge.face == face) line.Append(atr_Format("%d %d", {edge.from, edge.to}));
    line.Write(stream);
  }
  const auto writeEdgesByNode = [&](const char* title, bool onlyFrom) {
    shp_WriteLine(stream, title);
    for (int node = 0; node < static_cast<int>(nodeEdges_.size()); ++node) {
      Line line;
      for (int other = 0; other <= largestEndNode_; ++other)
        for (const Edge& edge : edges_)
          if ((edge.from == node && edge.to == other) || (!onlyFrom && edge.to == node && edge.from == other))
            line.Append(atr_Format("%d.%d", {edge.face, edge.edge}));
      line.Write(stream);
    }
  };
  writeEdgesByNode("edgeFromNodesTable:", true);   // the edges that start at each node
  writeEdgesByNode("edgesFromNodesTable:", false); // the edges to or from each node, by the other node
  shp_WriteLine(stream, "edgeNodeMaskTable:");     // the edges of each node
  WriteMasks(stream, nodeEdges_);
  shp_WriteLine(stream, "edgeFaceMaskTable:"); // the edges of each face
  WriteMasks(stream, faceEdges_);
  shp_WriteLine(stream, atr_String(70, '-'));
}
