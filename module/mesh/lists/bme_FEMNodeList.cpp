#include <CoreGeometry/bme_FEMNodeList.h>

#include "bme_ListMaking.h"

#include <CoreGeometry/bme_FEMEdgeList.h>
#include <CoreGeometry/bme_FEMElemList.h>

namespace {
constexpr bme_Noun kNodeIndex = {"node index", "node indices"};

unsigned NumNodes(const bme_Mesh& mesh) { return mesh.NodeData().NumNodes(); }
} // namespace

bme_FEMNodeList::bme_FEMNodeList(bme_LastingMesh mesh, std::vector<unsigned> nodes)
    : bme_EntityList(mesh, bme_CheckedIndices(mesh, kNodeIndex, NumNodes(mesh), std::move(nodes))) {}

bme_FEMNodeList bme_FEMNodeList::All(bme_LastingMesh mesh) { return {mesh, bme_UpTo(NumNodes(mesh))}; }

bme_FEMNodeList bme_FEMNodeList::FromLabels(bme_LastingMesh mesh, std::span<const int> labels,
                                            bme_Unknown unknown) {
  std::vector<unsigned> indices(labels.size());
  mesh->NodeData().GetMeshNodeIndices(labels, indices);
  return {mesh, bme_KnownIndices(mesh, {"node label", "node labels"}, labels, std::move(indices), unknown)};
}

bme_FEMNodeList bme_FEMNodeList::FromSet(bme_LastingMesh mesh, const rgnC_SetData& set, bme_Unknown unknown) {
  const bme_SetSource source(mesh, set, unknown);
  bme_FEMNodeList nodes(mesh, source.Words(kNodeIndex, {bme_SetSource::Kind::Node}, NumNodes(mesh),
                                           [](unsigned id, int) { return id; }));
  if (nodes.IsEmpty())
    nodes =
        OfElements({mesh, source.Elements({bme_SetSource::Kind::Element, bme_SetSource::Kind::Facetless})})
            .Union(OfFaces({mesh, source.Faces()}))
            .Union(OfEdges({mesh, source.Edges()}));
  return source.Checked("nodes", std::move(nodes));
}

bme_FEMNodeList bme_FEMNodeList::FromRegion(bme_LastingMesh mesh, const rgnC_Region& region,
                                            bme_Unknown unknown) {
  return bme_ListOfRegion<bme_FEMNodeList>(mesh, region, unknown);
}

bme_FEMNodeList bme_FEMNodeList::InBox(bme_LastingMesh mesh, const gsl_BBox& box) {
  std::vector<unsigned> nodes;
  const std::span<const float> xyz = mesh->NodeData().Coordinates().Const();
  const auto isIn = [&](const float* at, unsigned axis) {
    return static_cast<double>(at[axis]) >= box.Min()[axis]
           && static_cast<double>(at[axis]) <= box.Max()[axis];
  };
  for (unsigned node = 0; node < NumNodes(mesh); ++node) {
    const float* at = &xyz[3 * std::size_t{node}];
    if (isIn(at, 0) && isIn(at, 1) && isIn(at, 2)) nodes.push_back(node);
  }
  return {mesh, std::move(nodes)};
}

bme_FEMNodeList bme_FEMNodeList::OfElements(const bme_FEMElemList& elements, bme_NodesOf which) {
  bme_NodeMarks marks(elements.Mesh());
  wip_Poll poll(bme_kWordsBetween);
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        const std::vector<int> corners =
            shape && which == bme_NodesOf::Corners ? bme_CornersOfElement(*shape) : std::vector<int>();
        for (const unsigned element : words) {
          poll.Advance();
          const std::span<const int> row = bme_Row(type, element);
          if (corners.empty())
            for (const int node : row) marks.Set(node);
          for (const int corner : corners) marks.Set(row[static_cast<std::size_t>(corner)]);
        }
      });
  return {elements.Mesh(), marks.Marked()};
}

bme_FEMNodeList bme_FEMNodeList::OfFaces(const bme_FEMFaceList& faces, bme_NodesOf which) {
  bme_NodeMarks marks(faces.Mesh());
  bme_ForEachWord(
      faces.Mesh(), faces.Words(),
      [&](const shp_Shape& shape, unsigned word) {
        return which == bme_NodesOf::Corners ? bme_Corners(shape, bme_FaceOf(word))
                                             : bme_NodesOfFace(shape, word);
      },
      [&](unsigned, std::span<const int> nodes) {
        for (const int node : nodes) marks.Set(node);
      });
  return {faces.Mesh(), marks.Marked()};
}

bme_FEMNodeList bme_FEMNodeList::OfEdges(const bme_FEMEdgeList& edges, bme_NodesOf which) {
  bme_NodeMarks marks(edges.Mesh());
  bme_ForEachWord(edges.Mesh(), edges.Words(), bme_NodesOfEdge, [&](unsigned, std::span<const int> nodes) {
    if (which == bme_NodesOf::Corners) {
      marks.Set(nodes.front());
      marks.Set(nodes.back());
    } else {
      for (const int node : nodes) marks.Set(node);
    }
  });
  return {edges.Mesh(), marks.Marked()};
}

rgnC_SetData bme_FEMNodeList::ToSet() const {
  bme_SetMaker maker(Mesh(), res_NODE_SET);
  if (!IsEmpty()) maker.Add(rgnC_SubsetData::kNoClass, res_NODE_SET, {begin(), end()});
  return maker.Made();
}

std::vector<int> bme_FEMNodeList::Labels() const {
  std::vector<int> labels(Count());
  const bme_NodeData& nodes = Mesh().NodeData();
  if (nodes.HasUserNodeLabels())
    std::ranges::transform(Words(), labels.begin(),
                           [all = nodes.UserNodeLabels().Const()](unsigned node) { return all[node]; });
  else
    std::ranges::transform(Words(), labels.begin(), [](unsigned node) { return static_cast<int>(node) + 1; });
  return labels;
}
