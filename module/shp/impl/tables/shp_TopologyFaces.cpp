// Faces and edges of an element shape.
#include "shp_Connectivity.h"
#include "shp_Print.h"

#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/shp_Topology.h>
#include <CoreUtils/atr_String.h>
#include <algorithm>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }
bool IsIn(int index, int size) { return index >= 0 && index < size; }
} // namespace

void shp_Topology::AttachTables() {
  if (!connectivity_) return;
  const shp_Connectivity& tables = *connectivity_;
  std::span<const int>* const attached[] = {&faceNodes_, &edgeNodes_, &reversal_};
  const std::span<const int> sources[] = {
      std::span(tables.faceNodes).first(At(tables.numFaces * tables.maxNodesPerFace)),
      std::span(tables.edgeNodes)
          .first(At(tables.numFaces * tables.maxEdgesPerFace * tables.maxNodesPerEdge)),
      std::span(tables.reversal).first(At(tables.numNodes))};
  std::size_t total = 0;
  for (std::size_t k = 0; k < std::size(sources); ++k) {
    *attached[k] = sources[k];
    total += sources[k].size() * At(NumRings());
  }
  if (NumRings() == 1) return;
  ringTables_.reserve(total);
  for (std::size_t k = 0; k < std::size(sources); ++k) {
    const int* const start = ringTables_.data() + ringTables_.size();
    for (int ring = 0; ring < NumRings(); ++ring)
      for (const int node : sources[k]) ringTables_.push_back(node < 0 ? node : node + ring * NumBaseNodes());
    *attached[k] = std::span(start, sources[k].size() * At(NumRings()));
  }
}

int shp_Topology::NumRings() const noexcept { return IsCaxaElement() ? options_.RingCount() + 1 : 1; }

std::span<const int> shp_Topology::EdgesPerFace() const noexcept {
  return connectivity_ ? std::span(connectivity_->edgesPerFace).first(At(connectivity_->numFaces))
                       : std::span<const int>();
}

std::span<const int> shp_Topology::NodesPerFace() const noexcept {
  return connectivity_ ? std::span(connectivity_->nodesPerFace).first(At(connectivity_->numFaces))
                       : std::span<const int>();
}

std::span<const int> shp_Topology::CornersPerFace() const noexcept {
  return connectivity_ ? std::span(connectivity_->cornersPerFace).first(At(connectivity_->numFaces))
                       : std::span<const int>();
}

std::span<const int> shp_Topology::NodesPerEdge() const noexcept {
  return connectivity_ ? std::span(connectivity_->nodesPerEdge)
                             .first(At(connectivity_->numFaces * connectivity_->maxEdgesPerFace))
                       : std::span<const int>();
}

std::span<const int> shp_Topology::FaceNodes(int face, int ring) const noexcept {
  if (!connectivity_ || !IsIn(face, connectivity_->numFaces) || !IsIn(ring, NumRings())) return {};
  return faceNodes_.subspan(At((ring * connectivity_->numFaces + face) * connectivity_->maxNodesPerFace),
                            At(connectivity_->nodesPerFace[At(face)]));
}

std::span<const int> shp_Topology::EdgeNodes(int face, int edge, int ring) const noexcept {
  if (!connectivity_ || !IsIn(face, connectivity_->numFaces) || !IsIn(ring, NumRings())
      || !IsIn(edge, connectivity_->edgesPerFace[At(face)]))
    return {};
  const int perFace = connectivity_->maxEdgesPerFace;
  const int address = (ring * connectivity_->numFaces + face) * perFace + edge;
  return edgeNodes_.subspan(At(address * connectivity_->maxNodesPerEdge),
                            At(connectivity_->nodesPerEdge[At(face * perFace + edge)]));
}

void shp_Topology::FaceConnectivity(std::span<const int> elementNodes, int face, std::span<int> faceNodes,
                                    int ring) const {
  std::ranges::transform(FaceNodes(face, ring), faceNodes.begin(),
                         [&](int node) { return elementNodes[At(node)]; });
}

void shp_Topology::EdgeConnectivity(std::span<const int> elementNodes, int face, int edge,
                                    std::span<int> edgeNodes, int ring) const {
  std::ranges::transform(EdgeNodes(face, edge, ring), edgeNodes.begin(),
                         [&](int node) { return elementNodes[At(node)]; });
}

void shp_Topology::ReverseElemConnectivity(std::span<int> elementNodes) const {
  // the permutation is its own inverse: it exchanges pairs
  for (std::size_t node = 0; node < reversal_.size(); ++node)
    if (const std::size_t other = At(reversal_[node]); other > node)
      std::swap(elementNodes[node], elementNodes[other]);
}

void shp_Topology::ReverseFaceConnectivity(std::span<int> faceNodes, int face) const {
  const std::size_t size = FaceNodes(face).size();
  if (size < 3) return;
  // backwards from the first corner, so the edges are passed backwards too; a centre stays
  const std::size_t numCorners = At(CornersPerFace()[At(face)]);
  if (numCorners < 3) return;
  const bool hasCentre = size == 2 * numCorners + 1;
  std::ranges::reverse(faceNodes.subspan(1, numCorners - 1));
  std::ranges::reverse(faceNodes.subspan(numCorners, size - numCorners - hasCentre));
}

void shp_Topology::ReverseEdgeConnectivity(std::span<int> edgeNodes, int face, int edge) const {
  if (const std::size_t size = EdgeNodes(face, edge).size(); size > 1)
    std::swap(edgeNodes[0], edgeNodes[size - 1]);
}

int shp_Topology::ComputeFaceNormal(std::span<const int> elementNodes, int face,
                                    std::span<const float> coordinates, std::span<double, 3> normal) const {
  std::ranges::fill(normal, 0.0);
  const std::span<const int> nodes = FaceNodes(face);
  if (nodes.size() < 3) return 0;
  const std::span<const int> corners = nodes.first(At(CornersPerFace()[At(face)]));
  const auto identifier = [&](std::size_t k) { return At(elementNodes[At(corners[k % corners.size()])]); };
  const auto point = [&](std::size_t node) {
    return gsl_Point(coordinates[3 * node], coordinates[3 * node + 1], coordinates[3 * node + 2]);
  };
  if (corners.size() < 3) return 0;
  for (std::size_t k = 0; k < corners.size(); ++k) {
    const std::size_t a = identifier(k), b = identifier(k + 1), c = identifier(k + 2);
    if (a == b || b == c || a == c) continue;
    const gsl_Vector found(point(a), point(b), point(c));
    if (!(found.Magnitude() > 0)) continue;
    for (unsigned axis = 0; axis < 3; ++axis) normal[axis] = found[axis];
    return 1;
  }
  return 0;
}

void shp_Topology::PrintConnectivity(aio_ostream& stream) const {
  atr_String line;
  const auto append = [&](int value, const char* separator = " ") {
    line.append(line.empty() ? "" : separator).append(std::to_string(value));
  };
  const auto write = [&] {
    shp_WriteLine(stream, line);
    line.clear();
  };
  for (const std::span<const int> counts : {EdgesPerFace(), NodesPerFace()}) {
    for (const int count : counts) append(count);
    write();
  }
  for (int face = 0; face < static_cast<int>(NodesPerFace().size()); ++face)
    for (int edge = 0; edge < EdgesPerFace()[At(face)]; ++edge)
      append(static_cast<int>(EdgeNodes(face, edge).size()), edge == 0 ? "  " : " ");
  write();
  for (int ring = 0; ring < NumRings(); ++ring)
    for (int face = 0; face < static_cast<int>(NodesPerFace().size()); ++face) {
      for (const int node : FaceNodes(face, ring)) append(node);
      write();
    }
  for (int ring = 0; ring < NumRings(); ++ring)
    for (int face = 0; face < static_cast<int>(NodesPerFace().size()); ++face)
      for (int edge = 0; edge < EdgesPerFace()[At(face)]; ++edge) {
        for (const int node : EdgeNodes(face, edge, ring)) append(node);
        write();
      }
}
