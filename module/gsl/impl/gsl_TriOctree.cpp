#include <CoreGeometry/gsl_TriOctree.h>

#include "gsl_TriangleArrays.h"
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Vector.h>
#include <algorithm>
#include <utility>

gsl_TriOctreeNode::gsl_TriOctreeNode(const gsl_BBox& box, int depth, int index, gsl_TriOctreeNode* parent)
    : box_(box), depth_(depth), index_(index), parent_(parent) {}

gsl_TriOctreeNode::~gsl_TriOctreeNode() = default;

std::unique_ptr<gsl_TriOctreeNode> gsl_TriOctreeNode::NewChild(const gsl_BBox& box, int index) {
  return std::make_unique<gsl_TriOctreeNode>(box, depth_ + 1, index, this);
}

void gsl_TriOctreeNode::BuildOctree(const gsl_BBox& box, int maxDepth) { Divide(box, maxDepth, kAllAxes); }

void gsl_TriOctreeNode::Divide(const gsl_BBox& box, int maxDepth, unsigned halvedAxes) {
  if (depth_ >= maxDepth || halvedAxes == 0) return;
  children_ = std::make_unique<std::unique_ptr<gsl_TriOctreeNode>[]>(NumChildren());
  constexpr unsigned kAxisBit[3] = {kX, kY, kZ};
  const gsl_Point middle = box.Center();
  for (int i = 0; i < NumChildren(); ++i) {
    if ((static_cast<unsigned>(i) & ~halvedAxes) != 0) continue;
    gsl_Point low = box.Min(), high = box.Max();
    for (unsigned axis = 0; axis < 3; ++axis)
      if (halvedAxes & kAxisBit[axis])
        (static_cast<unsigned>(i) & kAxisBit[axis] ? low : high)[axis] = middle[axis];
    const gsl_BBox octant(low, high);
    children_[i] = NewChild(octant, i);
    children_[i]->BuildOctree(octant, maxDepth);
  }
}

bool gsl_TriOctreeNode::Add(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3,
                            int triangleIndex) {
  if (!Contains(box_, p1) || !Contains(box_, p2) || !Contains(box_, p3)) return false;
  if (children_)
    for (int i = 0; i < NumChildren(); ++i)
      if (children_[i] && children_[i]->Add(p1, p2, p3, triangleIndex)) return true;
  triangles_.push_back(triangleIndex);
  return true;
}

void gsl_TriOctreeNode::TransformBBox(const gsl_Matrix& matrix) { box_.Transform(matrix); }

void gsl_TriOctreeNode::RemoveEmptyChildren() {
  if (!children_) return;
  for (int i = 0; i < NumChildren(); ++i) {
    if (children_[i]) children_[i]->RemoveEmptyChildren();
    if (IsEmpty(i)) children_[i].reset();
  }
}

bool gsl_TriOctreeNode::Contains(const gsl_BBox& box, const gsl_Point& p) noexcept {
  for (unsigned i = 0; i < 3; ++i)
    if (!(box.Min()[i] <= p[i] && p[i] <= box.Max()[i])) return false;
  return true;
}

bool gsl_TriOctreeNode::IsEmpty() const noexcept {
  if (!triangles_.empty()) return false;
  if (children_)
    for (int i = 0; i < NumChildren(); ++i)
      if (!IsEmpty(i)) return false;
  return true;
}

bool gsl_TriOctreeNode::IsEmpty(int i) const noexcept {
  const gsl_TriOctreeNode* child = Child(i);
  return !child || child->IsEmpty();
}

const gsl_TriOctreeNode* gsl_TriOctreeNode::Child(int i) const noexcept {
  return children_ && i >= 0 && i < NumChildren() ? children_[i].get() : nullptr;
}

gsl_TriOctreeNode* gsl_TriOctreeNode::Child(int i) noexcept {
  return const_cast<gsl_TriOctreeNode*>(std::as_const(*this).Child(i));
}

void gsl_TriOctreeNode::Print(std::FILE* out) const {
  const gsl_Point &low = box_.Min(), &high = box_.Max();
  std::fprintf(out, "%*sdepth %d index %d triangles %zu box (%g, %g, %g) to (%g, %g, %g)\n", 2 * depth_, "",
               depth_, index_, triangles_.size(), low[0], low[1], low[2], high[0], high[1], high[2]);
  if (children_)
    for (int i = 0; i < NumChildren(); ++i)
      if (children_[i]) children_[i]->Print(out);
}

std::unique_ptr<gsl_TriOctreeNode> gsl_ModOctreeNode::NewChild(const gsl_BBox& box, int index) {
  return std::make_unique<gsl_ModOctreeNode>(box, Depth() + 1, index, this);
}

void gsl_ModOctreeNode::BuildOctree(const gsl_BBox& box, int maxDepth) {
  const double half = 0.5 * std::max({box.XLen(), box.YLen(), box.ZLen()});
  Divide(box, maxDepth,
         (box.XLen() > half ? kX : 0U) | (box.YLen() > half ? kY : 0U) | (box.ZLen() > half ? kZ : 0U));
}

gsl_TriOctree::gsl_TriOctree(cow_String id, const gsl_BBox& box, int maxDepth)
    : id_(std::move(id)), maxDepth_(maxDepth),
      root_(std::make_unique<gsl_TriOctreeNode>(box, 0, 0, nullptr)) {
  root_->BuildOctree(box, maxDepth);
}

gsl_TriOctree::gsl_TriOctree(cow_String id, std::span<const double> xyz, std::span<const int> triangles,
                             int firstIndex)
    : id_(std::move(id)), maxDepth_(DepthFor(triangles.size() / 3)) {
  gsl_CheckTriangles(triangles, xyz.size() / 3);
  const auto point = [&](std::size_t corner) {
    const double* p = &xyz[3 * static_cast<std::size_t>(triangles[corner])];
    return gsl_Point(p[0], p[1], p[2]);
  };
  const std::size_t corners = triangles.size() / 3 * 3;
  gsl_BBox box;
  for (std::size_t i = 0; i < corners; ++i)
    if (const gsl_Point p = point(i); p[0] == p[0] && p[1] == p[1] && p[2] == p[2]) box.Add(p);
  root_ = std::make_unique<gsl_ModOctreeNode>(box, 0, 0, nullptr);
  root_->BuildOctree(box, maxDepth_);
  for (std::size_t i = 0; i < corners; i += 3)
    root_->Add(point(i), point(i + 1), point(i + 2), firstIndex + static_cast<int>(i / 3));
  root_->RemoveEmptyChildren();
}

int gsl_TriOctree::DepthFor(std::size_t numTriangles) noexcept {
  int depth = 0;
  while (depth < 5 && numTriangles > (std::size_t{8} << 2 * depth)) ++depth;
  return depth;
}

namespace {
void TransformAll(gsl_TriOctreeNode& node, const gsl_Matrix& matrix) {
  node.TransformBBox(matrix);
  for (int i = 0; i < node.NumChildren(); ++i)
    if (node.Child(i)) TransformAll(*node.Child(i), matrix);
}
} // namespace

void gsl_TriOctree::TransformBBoxes(const gsl_Matrix& matrix) { TransformAll(*root_, matrix); }

void gsl_TriOctree::Print(std::FILE* out) const {
  std::fprintf(out, "Root id: %s, Max Depth: %d\n", id_.c_str(), maxDepth_);
  root_->Print(out);
}
