// gsl_TriOctree.h: triangles sorted into an octree of boxes
#pragma once

#include <CoreGeometry/gsl_BBox.h>
#include <CoreUtils/cow_String.h>
#include <cstdio>
#include <memory>
#include <span>
#include <vector>

/// One box of an octree: the triangles that straddle its halves, and up to eight children that hold the rest.
///
/// Octants    bit 1 of a child's index takes the upper half in x, bit 2 (value 2) the upper half in z, bit 3
///            (value 4) the upper half in y. Octants share their faces.
/// Units      model length.
/// Empty      a node without triangles in it and below it, however many children it has.
/// Tolerance  none: boxes are closed. A NaN coordinate is in no box.
/// Errors     none.
/// Cost       BuildOctree makes 8^maxDepth leaves at once; Add takes a step per level.
/// Threads    reading from any thread.
class CORE_GEOMETRY_API gsl_TriOctreeNode {
public:
  gsl_TriOctreeNode(const gsl_BBox& box, int depth, int index, gsl_TriOctreeNode* parent);
  gsl_TriOctreeNode(const gsl_TriOctreeNode&) = delete;
  gsl_TriOctreeNode& operator=(const gsl_TriOctreeNode&) = delete;
  virtual ~gsl_TriOctreeNode();

  // make
  /// Halves the box, and the halves again, down to maxDepth; a node that is there already stays a leaf. The
  /// children lie in the box that is given, whatever this node's own. Children that this node had, and what
  /// they held, are dropped.
  virtual void BuildOctree(const gsl_BBox& box, int maxDepth);
  /// Stores the triangle in the deepest node whose box holds all three vertices, in the first of several.
  /// False when a vertex is outside this box.
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
  /// A line a node, indented by depth: depth, index, number of triangles, box.
  virtual void Print(std::FILE* out) const;

protected:
  /// Bits of the axes to halve, as in a child's index.
  enum : unsigned { kX = 1, kZ = 2, kY = 4, kAllAxes = 7 };
  virtual std::unique_ptr<gsl_TriOctreeNode> NewChild(const gsl_BBox& box, int index);
  /// Makes the children whose index has bits of the halved axes only; they span the box in the others.
  void Divide(const gsl_BBox& box, int maxDepth, unsigned halvedAxes);

private:
  std::unique_ptr<std::unique_ptr<gsl_TriOctreeNode>[]> children_; ///< null for a leaf
  std::vector<int> triangles_;
  gsl_BBox box_;
  int depth_;
  int index_;
  gsl_TriOctreeNode* parent_;
};

/// A node that halves only the axes that are longer than half the longest one, so that the boxes of a flat or
/// slender model become as good as cubes. The children that this leaves out are missing.
class CORE_GEOMETRY_API gsl_ModOctreeNode : public gsl_TriOctreeNode {
public:
  using gsl_TriOctreeNode::gsl_TriOctreeNode;
  void BuildOctree(const gsl_BBox& box, int maxDepth) override;

protected:
  std::unique_ptr<gsl_TriOctreeNode> NewChild(const gsl_BBox& box, int index) override;
};

/// A whole octree: its root, an identifier for traces, and how deep it goes.
class CORE_GEOMETRY_API gsl_TriOctree {
public:
  /// Empty tree over a box, of gsl_TriOctreeNode.
  gsl_TriOctree(cow_String id, const gsl_BBox& box, int maxDepth);
  /// The triangles of flat arrays, three coordinates a point, three points a triangle, in a tree of
  /// gsl_ModOctreeNode that is DepthFor their number and has no empty children. Triangle i gets the index
  /// firstIndex + i. Throws nex_TextException for a point that is not there; a triangle with a NaN coordinate
  /// is left out.
  gsl_TriOctree(cow_String id, std::span<const double> xyz, std::span<const int> triangles,
                int firstIndex = 0);

  /// Depth at which a leaf that a smooth surface passes through holds some eight triangles; 0 to 5.
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
