#include "bme_Work.h"

#include "bme_ClassWalk.h"

#include <CoreGeometry/bme_FaceTriangles.h>

namespace {
using Triangles = std::vector<std::array<int, 3>>; ///< positions in the nodes of a face

/// Corners 0 to c - 1, mid node of edge k at c + k, centre last.
Triangles CutOf(unsigned corners, unsigned nodes, bme_NodesOf which) {
  const int c = static_cast<int>(corners);
  Triangles cut;
  const bool hasMids = which == bme_NodesOf::All && nodes >= 2 * corners;
  if (!hasMids) {
    for (int k = 1; k + 1 < c; ++k) cut.push_back({0, k, k + 1});
    return cut;
  }
  for (int k = 0; k < c; ++k) {
    const int mid = c + k, before = c + (k + c - 1) % c;
    cut.push_back({before, k, mid});
    if (nodes == 2 * corners + 1) cut.push_back({before, mid, 2 * c});
  }
  if (nodes == 2 * corners)
    for (int k = 1; k + 1 < c; ++k) cut.push_back({c, c + k, c + k + 1});
  return cut;
}
} // namespace

bme_FaceTriangles bme_Triangulate(const bme_FEMFaceList& faces, bme_NodesOf which) {
  bme_FaceTriangles result;
  result.words.reserve(2 * faces.Count());
  result.nodes.reserve(6 * faces.Count());
  wip_Poll poll(bme_kWordsBetween);
  bme_ForEachClassOfWords(
      faces.Mesh(), faces.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        std::array<Triangles, bme_kMaxWordFaces> cuts;
        for (unsigned face = 0; face < bme_NumListedFaces(*shape); ++face) {
          const std::span<const int> local = shape->FaceNodes(static_cast<int>(face));
          cuts[face] = CutOf(static_cast<unsigned>(shape->CornersPerFace()[face]),
                             static_cast<unsigned>(local.size()), which);
          for (auto& triangle : cuts[face])
            for (int& at : triangle) at = local[static_cast<std::size_t>(at)];
        }
        for (const unsigned word : words) {
          poll.Advance();
          const std::span<const int> row = bme_Row(type, bme_ElementOf(word));
          for (const auto& local : cuts[bme_FaceOf(word)]) {
            const int a = row[static_cast<std::size_t>(local[0])],
                      b = row[static_cast<std::size_t>(local[1])],
                      c = row[static_cast<std::size_t>(local[2])];
            if (a == b || b == c || a == c) continue;
            if (bme_IsBack(word))
              result.nodes.insert(result.nodes.end(), {a, c, b});
            else
              result.nodes.insert(result.nodes.end(), {a, b, c});
            result.words.push_back(word);
          }
        }
      });
  return result;
}

std::optional<std::vector<float>> bme_ComputeNormals(const bme_FEMFaceList& faces) {
  const bme_NodeData& nodes = faces.Mesh().NodeData();
  const std::span<const float> xyz = nodes.Coordinates().Const();
  bme_WorkProgress progress(bme_COMPUTING_NORMALS, faces.Count());
  std::vector<float> normals;
  normals.reserve(3 * faces.Count());
  bool isSound = true;
  bme_ForEachClassOfWords(
      faces.Mesh(), faces.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned> words) {
        for (const unsigned word : words) {
          if (!isSound) return;
          progress.Advance(1);
          const std::span<const int> row = bme_Row(type, bme_ElementOf(word));
          for (const int corner : bme_Corners(*shape, bme_FaceOf(word)))
            if (const int node = row[static_cast<std::size_t>(corner)];
                static_cast<unsigned>(node) >= nodes.NumNodes()) {
              bme_Report(bme_FACE_LIST_ERROR, std::to_string(node));
              isSound = false;
              return;
            }
          std::array<double, 3> normal{};
          shape->ComputeFaceNormal(row, static_cast<int>(bme_FaceOf(word)), xyz, normal);
          for (const double value : normal)
            normals.push_back(static_cast<float>(bme_IsBack(word) ? 0 - value : value));
        }
      });
  if (!isSound) return std::nullopt;
  return normals;
}
