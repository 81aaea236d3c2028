#include "bme_FaceTable.h"
#include "bme_Work.h"

#include <CoreGeometry/bme_ExternalEdges.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <cmath>
#include <map>

namespace {
/// A physical edge and the faces that have it.
struct Edge {
  unsigned next;
  unsigned largerEnd;
  unsigned word;
  unsigned face; ///< position of the first face
  unsigned count = 1;
  bool isForward; ///< the first face passes it from the smaller to the larger end
  bool isFeature = false, isInconsistent = false;
};

/// Chains of edges by their smaller end.
class EdgeTable {
public:
  EdgeTable(std::size_t numNodes, std::size_t numEdges) : heads_(numNodes, bme_kNone) {
    edges_.reserve(numEdges);
  }
  /// The edge if it is known; otherwise enters it and returns null.
  Edge* Find(unsigned from, unsigned to, unsigned word, unsigned face) {
    const auto [low, high] = std::minmax(from, to);
    for (unsigned at = heads_[low]; at != bme_kNone; at = edges_[at].next)
      if (edges_[at].largerEnd == high) return &edges_[at];
    edges_.push_back(
        {.next = heads_[low], .largerEnd = high, .word = word, .face = face, .isForward = from == low});
    heads_[low] = static_cast<unsigned>(edges_.size() - 1);
    return nullptr;
  }
  std::span<const Edge> Edges() const noexcept { return edges_; } ///< as they were entered

private:
  std::vector<unsigned> heads_;
  std::vector<Edge> edges_;
};

/// False after reporting faces that the mesh does not have any more, nodes it does not have, or too many
/// elements.
bool IsSound(const bme_FEMFaceList& faces, const bme_EntityLimits& limits) {
  const bme_Mesh& mesh = faces.Mesh();
  if (faces.IsEmpty()) return true;
  const unsigned last = bme_ElementOf(faces.Words().back());
  if (last >= mesh.ElementData().NumElements()) {
    bme_Report(bme_NEGATIVE_EDGES);
    return false;
  }
  if (last >= limits.elements) {
    bme_Report(bme_TOO_MANY_FOR_EDGES);
    return false;
  }
  bool isSound = true;
  wip_Poll poll(bme_kWordsBetween);
  bme_ForEachClassOfWords(
      mesh, faces.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        for (const unsigned word : words) {
          if (!isSound) return;
          poll.Advance();
          const unsigned face = bme_FaceOf(word);
          if (!shape || face >= bme_NumListedFaces(*shape)) {
            bme_Report(bme_NEGATIVE_EDGES);
            isSound = false;
          } else if (face >= limits.faces) {
            bme_Report(bme_TOO_MANY_FOR_EDGES);
            isSound = false;
          } else {
            const std::span<const int> row = bme_Row(type, bme_ElementOf(word));
            for (const int corner : bme_Corners(*shape, face))
              if (const int node = row[static_cast<std::size_t>(corner)];
                  isSound && static_cast<unsigned>(node) >= mesh.NodeData().NumNodes()) {
                bme_Report(bme_EDGE_LIST_ERROR, std::to_string(node));
                isSound = false;
              }
          }
        }
      });
  return isSound;
}
} // namespace

std::optional<bme_EdgeSets> bme_ComputeEdges(const bme_FEMFaceList& faces, const bme_EdgeOptions& options) {
  bme_CheckNormalAngle(options.featureAngle);
  if (!IsSound(faces, options.limits)) return std::nullopt;
  bme_WorkProgress progress(bme_COMPUTING_EDGES, faces.Count());
  const bme_Mesh& mesh = faces.Mesh();
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  EdgeTable table(mesh.NodeData().NumNodes(), 2 * faces.Count());
  std::vector<std::array<double, 3>> normals;
  normals.reserve(faces.Count());
  const double cosine = std::cos(options.featureAngle);
  const auto addFace = [&](const bme_ElementClass& type, const shp_Shape& shape, unsigned word) {
    const std::span<const int> row = bme_Row(type, bme_ElementOf(word));
    const unsigned face = bme_FaceOf(word);
    const auto position = static_cast<unsigned>(normals.size());
    std::array<double, 3>& normal = normals.emplace_back();
    shape.ComputeFaceNormal(row, static_cast<int>(face), xyz, normal);
    if (bme_IsBack(word))
      for (double& value : normal) value = -value;
    for (unsigned edge = 0; edge < bme_NumEdges(shape, face); ++edge) {
      const std::span<const int> local = shape.EdgeNodes(static_cast<int>(face), static_cast<int>(edge));
      auto from = static_cast<unsigned>(row[static_cast<std::size_t>(local.front())]);
      auto to = static_cast<unsigned>(row[static_cast<std::size_t>(local.back())]);
      if (bme_IsBack(word)) std::swap(from, to);
      if (from == to) continue;
      Edge* known = table.Find(from, to, bme_EdgeWord(bme_ElementOf(word), face, edge), position);
      if (!known || ++known->count != 2) continue;
      known->isInconsistent = known->isForward == (from < to);
      const auto& other = normals[known->face];
      const double along = normal[0] * other[0] + normal[1] * other[1] + normal[2] * other[2];
      known->isFeature = (known->isInconsistent ? -along : along) <= cosine;
    }
  };
  unsigned before = bme_kNone; // the front of a shell comes directly before its back
  bme_ForEachClassOfWords(
      mesh, faces.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        for (const unsigned word : words) {
          const bool isOtherSide = bme_IsBack(word) && before == (word ^ bme_FaceWord(0, 0, true));
          if (!isOtherSide) addFace(type, *shape, word);
          before = word;
          progress.Advance(1);
        }
      });

  std::vector<unsigned> unique, feature, free, nonManifold, inconsistent;
  for (const Edge& edge : table.Edges()) {
    unique.push_back(edge.word);
    if (edge.count == 1) free.push_back(edge.word);
    if (edge.count > 2) nonManifold.push_back(edge.word);
    if (edge.count == 2 && edge.isFeature) feature.push_back(edge.word);
    if (edge.count == 2 && edge.isInconsistent) inconsistent.push_back(edge.word);
  }
  return bme_EdgeSets{.unique = {mesh, std::move(unique)},
                      .feature = {mesh, std::move(feature)},
                      .free = {mesh, std::move(free)},
                      .nonManifold = {mesh, std::move(nonManifold)},
                      .inconsistent = {mesh, std::move(inconsistent)}};
}

namespace {
/// Physical edges as links between nodes.
class EdgeGraph {
public:
  explicit EdgeGraph(const bme_FEMEdgeList& edges) {
    std::map<std::array<int, 2>, std::size_t> known;
    wip_Poll poll(8192);
    bme_ForEachWord(edges.Mesh(), edges.Words(), bme_NodesOfEdge,
                    [&](unsigned word, std::span<const int> nodes) {
                      poll.Advance();
                      const int from = nodes.front(), to = nodes.back();
                      const std::array<int, 2> ends = {std::min(from, to), std::max(from, to)};
                      if (from == to || !known.try_emplace(ends, links_.size()).second) return;
                      ends_[from].push_back(links_.size());
                      ends_[to].push_back(links_.size());
                      links_.push_back({word, from, to, false});
                    });
    // piece by piece: giving back a large map at once would take long
    for (; !known.empty(); poll.Advance()) known.erase(known.begin());
  }

  std::vector<bme_EdgeChain> Chains() {
    std::vector<bme_EdgeChain> chains;
    for (std::size_t i = 0; i < links_.size(); ++i) {
      poll_.Advance();
      if (!links_[i].isUsed) chains.push_back(ChainThrough(i));
    }
    return chains;
  }

private:
  struct Link {
    unsigned word;
    int from, to;
    bool isUsed;
  };

  /// Walks from a node until the chain ends or closes.
  void Walk(int node, std::vector<unsigned>& words, std::vector<int>& nodes) {
    for (;;) {
      poll_.Advance();
      const std::vector<std::size_t>& here = ends_[node];
      if (here.size() != 2) return;
      const auto next = std::ranges::find_if(here, [&](std::size_t link) { return !links_[link].isUsed; });
      if (next == here.end()) return;
      Link& link = links_[*next];
      link.isUsed = true;
      node = link.from == node ? link.to : link.from;
      words.push_back(link.word);
      nodes.push_back(node);
    }
  }

  bme_EdgeChain ChainThrough(std::size_t first) {
    Link& start = links_[first];
    start.isUsed = true;
    bme_EdgeChain chain{.words = {start.word}, .nodes = {start.from, start.to}};
    Walk(start.to, chain.words, chain.nodes);
    std::vector<unsigned> wordsBefore;
    std::vector<int> nodesBefore;
    if (chain.nodes.back() != start.from) Walk(start.from, wordsBefore, nodesBefore);
    chain.words.insert(chain.words.begin(), wordsBefore.rbegin(), wordsBefore.rend());
    chain.nodes.insert(chain.nodes.begin(), nodesBefore.rbegin(), nodesBefore.rend());
    chain.isClosed = chain.nodes.front() == chain.nodes.back();
    return chain;
  }

  std::vector<Link> links_;
  std::map<int, std::vector<std::size_t>> ends_;
  wip_Poll poll_{8192};
};
} // namespace

std::vector<bme_EdgeChain> bme_ChainEdges(const bme_FEMEdgeList& edges) { return EdgeGraph(edges).Chains(); }
