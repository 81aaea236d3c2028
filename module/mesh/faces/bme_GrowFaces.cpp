#include "bme_SiblingFaces.h"
#include "bme_Work.h"

#include <BasicUtils/wip_Poll.h>

#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_Mesh.h>
#include <cmath>
#include <numeric>

namespace {
/// Unit normal of the corner polygon by its area vector; zero where it has none.
std::array<double, 3> NormalOf(const bme_NodeData& nodes, std::span<const int> corners) {
  const auto at = [&](std::size_t k) {
    float p[3] = {};
    nodes.GetNodalCoord(static_cast<unsigned>(corners[k]), p[0], p[1], p[2]);
    return std::array<double, 3>{p[0], p[1], p[2]};
  };
  std::array<double, 3> normal{};
  if (corners.size() < 3) return normal;
  const auto origin = at(0);
  for (std::size_t k = 1; k + 1 < corners.size(); ++k) {
    auto a = at(k), b = at(k + 1);
    for (std::size_t i = 0; i < 3; ++i) {
      a[i] -= origin[i];
      b[i] -= origin[i];
    }
    for (std::size_t i = 0; i < 3; ++i)
      normal[i] += a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3];
  }
  const double length = std::hypot(normal[0], normal[1], normal[2]);
  for (double& x : normal) x = length > 0 ? x / length : 0;
  return normal;
}
} // namespace

bme_FEMFaceList bme_GrowFaces(const bme_FEMFaceList& seeds, const bme_FEMFaceList& within, double angle) {
  bme_CheckNormalAngle(angle);
  const bme_FEMFaceList all = within.Union(seeds);
  const bme_NodeData& nodes = all.Mesh().NodeData();
  std::vector<std::array<double, 3>> normals;
  std::vector<unsigned> faceOfSlot, firstSlot{0};
  std::vector<bme_KeyRecord> records;
  wip_Poll poll(16384);
  for (std::size_t face = 0; face < all.Count(); ++face) {
    poll.Advance();
    const bme_LocalNodes local = all.FaceNodes(face);
    const std::span<const int> corners = local.Corners();
    normals.push_back(NormalOf(nodes, corners));
    for (std::size_t k = 0; k < corners.size(); ++k) {
      bme_KeyRecord record;
      record.slot = static_cast<unsigned>(faceOfSlot.size());
      faceOfSlot.push_back(static_cast<unsigned>(face));
      const int ends[] = {corners[k], corners[(k + 1) % corners.size()]};
      if (bme_MakeKey(ends, 2, nodes.NumNodes(), record)) records.push_back(record);
    }
    firstSlot.push_back(static_cast<unsigned>(faceOfSlot.size()));
  }
  std::vector<unsigned> next(faceOfSlot.size());
  std::iota(next.begin(), next.end(), 0U);
  bme_LinkEqualKeys(records, nodes.NumNodes(), next);

  // angles that are the limit but for rounding count
  const double least = std::cos(angle) - 1e-9;
  std::vector<unsigned> stack;
  std::vector<bool> isReached(all.Count());
  for (std::size_t face = 0; face < all.Count(); ++face) {
    poll.Advance();
    if (!seeds.Contains(all[face])) continue;
    isReached[face] = true;
    stack.push_back(static_cast<unsigned>(face));
  }
  while (!stack.empty()) {
    const unsigned face = stack.back();
    stack.pop_back();
    poll.Advance();
    for (unsigned slot = firstSlot[face]; slot < firstSlot[face + 1]; ++slot)
      for (unsigned other = next[slot]; other != slot; other = next[other]) {
        const unsigned f = faceOfSlot[other];
        const auto &a = normals[face], &b = normals[f];
        if (isReached[f] || a[0] * b[0] + a[1] * b[1] + a[2] * b[2] < least) continue;
        isReached[f] = true;
        stack.push_back(f);
      }
  }
  std::vector<unsigned> words;
  for (std::size_t face = 0; face < all.Count(); ++face)
    if (isReached[face]) words.push_back(all[face]);
  return {all.Mesh(), std::move(words)};
}
