#include <CoreGeometry/gsl_TriTriDirDist.h>

#include "gsl_Tolerances.h"
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/gsl_Triangle.h>
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <tuple>

struct gsl_TriTriDirDist::Facet {
  gsl_Triangle triangle;
  int index;
  double low[3], high[3]; ///< intervals along the direction and along two axes across it
  double margin;          ///< how far beyond its rim the kernel may find a place on it
};

gsl_TriTriDirDist::gsl_TriTriDirDist(int levels)
    : levels_(levels), relTolerance_(gsl_RelTol()), tolerance_(gsl_Tol()) {
  if (std::getenv("TWL_TRITRIDIRDIST_DEBUG")) debugFile_ = std::fopen("TriTriDirDist.dat", "w");
}

gsl_TriTriDirDist::~gsl_TriTriDirDist() {
  if (debugFile_) std::fclose(debugFile_);
}

void gsl_TriTriDirDist::SetReverse(bool fixed, bool movable) noexcept {
  reverseFixed_ = fixed;
  reverseMovable_ = movable;
}

namespace {
/// Visits the nodes of the levels below a root, level by level.
template<class Visit> void WalkBelow(const gsl_TriOctreeNode& root, int levels, Visit visit) {
  std::vector<const gsl_TriOctreeNode*> level{&root}, next;
  for (; levels > 0 && !level.empty(); --levels, level.swap(next)) {
    next.clear();
    for (const gsl_TriOctreeNode* node : level)
      for (int i = 0; i < node->NumChildren(); ++i)
        if (const gsl_TriOctreeNode* child = node->Child(i)) {
          visit(*child);
          next.push_back(child);
        }
  }
}
} // namespace

bool gsl_TriTriDirDist::FindDirectionalDistance(const gsl_TriOctreeNode& fixedRoot,
                                                const gsl_TriOctreeNode& movableRoot, double& distance) {
  reference_ = fixedRoot.BBox().Min();
  if (!BoxesMayMeet(fixedRoot, movableRoot, distance)) return false;
  const auto before = std::tuple(distance, fixedTriangle_, movableTriangle_, fixedPoint_, movablePoint_);
  bool found = false;
  try {
    found = SearchNodes(fixedRoot, movableRoot, true, distance);
    WalkBelow(fixedRoot, levels_ - 1, [&](const gsl_TriOctreeNode& fixed) {
      if (SearchNodes(fixed, movableRoot, false, distance)) found = true;
    });
  } catch (...) {
    std::tie(distance, fixedTriangle_, movableTriangle_, fixedPoint_, movablePoint_) = before;
    throw;
  }
  if (found && debugFile_) std::fprintf(debugFile_, "  Distance: %lf\n", distance);
  return found;
}

bool gsl_TriTriDirDist::SearchNodes(const gsl_TriOctreeNode& fixed, const gsl_TriOctreeNode& movable,
                                    bool top, double& d) {
  if (fixed.IsEmpty() || movable.IsEmpty()) return false;
  if (!top && !BoxesMayMeet(fixed, movable, d)) return false;
  wip_Poll::Now();
  bool found = SearchTriangles(fixed, movable, d);
  WalkBelow(movable, levels_ - 1, [&](const gsl_TriOctreeNode& below) {
    if (SearchNodes(fixed, below, false, d)) found = true; // walks its own subtree again
  });
  return found;
}

bool gsl_TriTriDirDist::BoxesMayMeet(const gsl_TriOctreeNode& fixed, const gsl_TriOctreeNode& movable,
                                     double d) {
  if (fixed.BBox().Size() < tolerance_) return false;
  ++numBoxTests_;
  if (debugFile_) {
    std::fprintf(debugFile_, " Fixed bbox node level %d and index %d\n", fixed.Depth(), fixed.Index());
    std::fprintf(debugFile_, " Movable bbox node level %d and index %d\n", movable.Depth(), movable.Index());
  }
  double boxDistance = std::numeric_limits<double>::max();
  if (!gsl_BoxBoxDirectionalDist(direction_, fixed.BBox(), movable.BBox(), boxDistance)) {
    if (debugFile_) std::fputs("  BBox did not intersect\n", debugFile_);
    return false;
  }
  if (debugFile_) std::fprintf(debugFile_, "  Bbox distance: %lf\n", boxDistance);
  if (boxDistance < d) return true;
  if (debugFile_) std::fputs("  Rejecting based on the face bbox check\n", debugFile_);
  return false;
}

// Of the triangles at a node those that can take part: neither degenerate nor facing away.
void gsl_TriTriDirDist::Collect(const gsl_TriOctreeNode& node, bool isFixed, const gsl_Vector& travel,
                                std::vector<Facet>& facets) const {
  const gsl_Vector across = travel.AnyOrthogonalUnit(),
                   axes[3] = {travel, across, travel.CrossProduct(across)};
  for (const int index : node.Triangles()) {
    gsl_Point p[3];
    GetTriangle(index, p);
    if (isFixed)
      for (gsl_Point& vertex : p) transform_.Transform(vertex);
    const double size = gsl_Vector(p[0], p[1]).CrossProduct(gsl_Vector(p[1], p[2])).Magnitude();
    if (!(size >= relTolerance_)) continue;
    gsl_Triangle triangle(p[0], p[1], p[2]);
    const double facing = triangle.Normal().DotProduct(travel);
    if (!triangle.Normal().IsOrthogonal(travel) && (isFixed ? facing > 0 : facing < 0)) {
      if (!(isFixed ? reverseFixed_ : reverseMovable_)) continue;
      triangle.Reverse();
    }
    constexpr double kMax = std::numeric_limits<double>::max();
    Facet facet{triangle, index, {kMax, kMax, kMax}, {-kMax, -kMax, -kMax}, 0};
    for (const gsl_Vector& edge : {gsl_Vector(p[0], p[1]), gsl_Vector(p[1], p[2]), gsl_Vector(p[2], p[0])})
      facet.margin = std::max(facet.margin, edge.Magnitude());
    // a weight of -(tolerance / size)^2 is inside for the kernel
    facet.margin = tolerance_ + 3 * facet.margin * (tolerance_ / size) * (tolerance_ / size);
    for (const gsl_Point& vertex : p)
      for (unsigned axis = 0; axis < 3; ++axis) {
        const double place = gsl_Vector(reference_, vertex).DotProduct(axes[axis]);
        facet.low[axis] = std::min(facet.low[axis], place);
        facet.high[axis] = std::max(facet.high[axis], place);
      }
    facets.push_back(facet);
  }
}

bool gsl_TriTriDirDist::SearchTriangles(const gsl_TriOctreeNode& fixed, const gsl_TriOctreeNode& movable,
                                        double& d) {
  if (fixed.Triangles().empty() || movable.Triangles().empty()) return false;
  if (debugFile_) {
    std::fprintf(debugFile_, "   Fixed Triangles: %d\n", static_cast<int>(fixed.Triangles().size()));
    std::fprintf(debugFile_, "   Movable Triangles: %d\n", static_cast<int>(movable.Triangles().size()));
  }
  // the kernel moves the fixed triangle towards the movable one
  const gsl_Vector travel = direction_.NormalizedCopy(), back = travel * -1.0;
  std::vector<Facet> fixedFacets, movableFacets;
  Collect(fixed, true, travel, fixedFacets);
  Collect(movable, false, travel, movableFacets);
  const bool flip[2] = {reverseFixed_, reverseMovable_};
  bool found = false;
  wip_Poll poll(32768);
  for (const Facet& f : fixedFacets)
    for (const Facet& m : movableFacets) {
      poll.Advance();
      if (m.low[0] > f.high[0] || f.low[0] - m.high[0] > tolerance_ + d) continue;
      const double margin = f.margin + m.margin;
      if (m.low[1] > f.high[1] + margin || f.low[1] > m.high[1] + margin || m.low[2] > f.high[2] + margin
          || f.low[2] > m.high[2] + margin)
        continue;
      ++numTriangleTests_;
      gsl_Point contact[2];
      if (!gsl_TriTriMinDirectionalDist(back, f.triangle.Vertex(0), f.triangle.Vertex(1),
                                        f.triangle.Vertex(2), m.triangle.Vertex(0), m.triangle.Vertex(1),
                                        m.triangle.Vertex(2), flip, tolerance_, contact, d))
        continue;
      found = true;
      fixedTriangle_ = f.index;
      movableTriangle_ = m.index;
      fixedPoint_ = contact[0];
      movablePoint_ = contact[1];
      if (debugFile_) std::fprintf(debugFile_, "  (F %d, M %d): %lf\n", f.index, m.index, d);
    }
  return found;
}

gsl_ArrayTriTriDirDist::gsl_ArrayTriTriDirDist(std::span<const double> fixedXyz,
                                               std::span<const int> fixedTriangles,
                                               std::span<const double> movableXyz,
                                               std::span<const int> movableTriangles)
    : gsl_TriTriDirDist(
        1 + gsl_TriOctree::DepthFor(std::max(fixedTriangles.size(), movableTriangles.size()) / 3)),
      sets_{{fixedXyz, fixedTriangles}, {movableXyz, movableTriangles}},
      fixed_("fixed", fixedXyz, fixedTriangles),
      movable_("movable", movableXyz, movableTriangles, NumFixedTriangles()) {}

void gsl_ArrayTriTriDirDist::GetTriangle(int index, gsl_Point (&vertices)[3]) const {
  const bool isFixed = index < NumFixedTriangles();
  const Set& set = sets_[isFixed ? 0 : 1];
  const std::size_t first = 3 * static_cast<std::size_t>(isFixed ? index : index - NumFixedTriangles());
  for (unsigned i = 0; i < 3; ++i) {
    const double* p = &set.xyz[3 * static_cast<std::size_t>(set.triangles[first + i])];
    vertices[i] = gsl_Point(p[0], p[1], p[2]);
  }
}

bool gsl_ArrayTriTriDirDist::FindDirectionalDistance(double& distance) {
  if (gsl_Matrix transform = Transform(); !transform.IsIdentity()) {
    gsl_TriOctree moved("fixed", sets_[0].xyz, sets_[0].triangles);
    moved.TransformBBoxes(transform);
    return FindDirectionalDistance(moved.Root(), movable_.Root(), distance);
  }
  return FindDirectionalDistance(fixed_.Root(), movable_.Root(), distance);
}
