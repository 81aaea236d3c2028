// gsl_TriOctree.h: octree of triangles
#pragma once

#include <CoreGeometry/gsl_BBox.h>
#include <CoreUtils/cow_String.h>
#include <cstdio>
#include <memory>
#include <span>
#include <vector>

/// One box of an octree: the triangles that fit into none of its children, and up to eight children with the
/// rest.
///
/// Octants    bit 1 of a child's index takes the upper half in x, bit 2 (value 2) the upper half in z, bit 3
///            (value 4) the upper half in y. Octants share their faces.
/// Units      model length.
/// Empty      a node without triangles in it and below it, however many children it has.
/// Tolerance  none: boxes are closed. A NaN coordinate is in no box.
/// Errors     none.
/// Cost       BuildOctree makes 8^maxDepth leaves at once; Add takes a step per level.
/// Threads    may be read from any thread.
class CORE_GEOMETRY_API gsl_TriOctreeNode {
public:
  gsl_TriOctreeNode(const gsl_BBox& box, int depth, int index, gsl_TriOctreeNode* parent);
  gsl_TriOctreeNode(const gsl_TriOctreeNode&) = delete;
  gsl_TriOctreeNode& operator=(const gsl_TriOctreeNode&) = delete;
  virtual ~gsl_TriOctreeNode();

  // make
  /// Divides the box into octants, and these again, down to maxDepth; a node at that depth stays a leaf. The
  /// children lie in the given box, even when this node's own box is another one. They replace children that
  /// this node had, together with their triangles.
  virtual void BuildOctree(const gsl_BBox& box, int maxDepth);
  /// Stores the triangle in the deepest node whose box contains all three vertices; of several nodes, in the
  /// first. False when a vertex is outside this box.
  bool Add(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3, int triangleIndex);
  void TransformBBox(const gsl_Matrix& matrix); ///< of this node alone
  void RemoveEmptyChildren();                   ///< of this node and of those below

  // ask
  static bool Contains(const gsl_BBox& box, const gsl_Point& p) noexcept; ///< corners included
  bool IsEmpty() const noexcept;
  bool IsEmpty(int i) const noexcept; ///< child i is missing or empty
  virtual int NumChildren() const noexcept { return 8; }
  const gsl_TriOctreeNode* Child(int i) const noexcept; ///< null when missing
  gsl_TriOctreeNode* Child(int i) noexcept;
  std::span<const int> Triangles() const noexcept { return triangles_; } ///< of this node alone
  const gsl_BBox& BBox() const noexcept { return box_; }
  int Depth() const noexcept { return depth_; } ///< 0 at the root
  int Index() const noexcept { return index_; } ///< among the children of its parent
  const gsl_TriOctreeNode* Parent() const noexcept { return parent_; }
  /// One line per node, indented by depth: depth, index, number of triangles, box.
  virtual void Print(std::FILE* out) const;

protected:
  /// Bits of the axes to halve, as in a child's index.
  enum : unsigned { kX = 1, kZ = 2, kY = 4, kAllAxes = 7 };
  virtual std::unique_ptr<gsl_TriOctreeNode> NewChild(const gsl_BBox& box, int index);
  /// Makes the children whose index has bits of the divided axes only; along other axes they are as long as
  /// the box.
  void Divide(const gsl_BBox& box, int maxDepth, unsigned halvedAxes);

private:
  std::unique_ptr<std::unique_ptr<gsl_TriOctreeNode>[]> children_; ///< null for a leaf
  std::vector<int> triangles_;
  gsl_BBox box_;
  int depth_;
  int index_;
  gsl_TriOctreeNode* parent_;
};

/// A node that divides only the axes that are longer than half the longest one, so that the boxes of a flat
/// or slender model become nearly cubes. The other children are missing.
class CORE_GEOMETRY_API gsl_ModOctreeNode : public gsl_TriOctreeNode {
public:
  using gsl_TriOctreeNode::gsl_TriOctreeNode;
  void BuildOctree(const gsl_BBox& box, int maxDepth) override;

protected:
  std::unique_ptr<gsl_TriOctreeNode> NewChild(const gsl_BBox& box, int index) override;
};

/// A whole octree: its root, an identifier for traces, and its depth.
class CORE_GEOMETRY_API gsl_TriOctree {
public:
  /// Empty tree over a box, of gsl_TriOctreeNode.
  gsl_TriOctree(cow_String id, const gsl_BBox& box, int maxDepth);
  /// A tree of gsl_ModOctreeNode over the triangles of flat arrays, three coordinates per point, three points
  /// per triangle. It has the depth DepthFor(number of triangles) and no empty children. Triangle i gets the
  /// index firstIndex + i. Throws nex_TextException for a point index out of range; a triangle with a NaN
  /// coordinate is excluded.
  gsl_TriOctree(cow_String id, std::span<const double> xyz, std::span<const int> triangles,
                int firstIndex = 0);

  /// Depth at which a leaf on a smooth surface holds about eight triangles; 0 to 5.
  static int DepthFor(std::size_t numTriangles) noexcept;

  const cow_String& Id() const noexcept { return id_; }
  int MaxDepth() const noexcept { return maxDepth_; }
  const gsl_TriOctreeNode& Root() const noexcept { return *root_; }
  gsl_TriOctreeNode& Root() noexcept { return *root_; }
  void TransformBBoxes(const gsl_Matrix& matrix);
  void Print(std::FILE* out) const; ///< "Root id: ..., Max Depth: ...", then the nodes

private:
  cow_String id_;
  int maxDepth_;
  std::unique_ptr<gsl_TriOctreeNode> root_;
};
