// bme_NodeData.h: node coordinates and user node labels
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <BasicUtils/uti_CoordCont3D.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/bme_Cache.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/gsl_BBox.h>
#include <CoreUtils/omi_LabelTable.h>
#include <optional>

/// Coordinates of the nodes of a mesh and, if wanted, one user label per node.
///
/// Labels are in use when there is one for each node; a label list of any other length counts as no labels.
/// Without labels no look-up finds anything, although the largest label is the node count. A label that is
/// used twice finds the last of its nodes.
///
/// Units      model length, single precision.
/// Tolerance  AreNodesEqual: absolute difference per axis.
/// Errors     an unknown label gives bme_kNotFound; nex_TextException when no label is left above 2147483647.
/// Cost       copies share coordinates and labels; a change copies what is shared. The first look-up after a
///            change of labels builds the label map.
/// Threads    look-ups build the label map on first use and are not thread-safe until it is built.
/// Stored as  coordinates, userNodeLabels, numDim
class CORE_GEOMETRY_API bme_NodeData {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  bme_NodeData();
  explicit bme_NodeData(uti_CoordCont3D coordinates, unsigned numDim = 3);
  explicit bme_NodeData(const cls_ReadVisitor& visitor);
  bme_NodeData(const bme_NodeData&) = default;
  bme_NodeData& operator=(const bme_NodeData&) = default;
  virtual ~bme_NodeData();
  virtual bme_NodeData* Copy() const; ///< with the same uid

  // ask
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  unsigned NumNodes() const noexcept { return static_cast<unsigned>(coordinates_.Size()); }
  unsigned Dimension() const noexcept { return numDim_; }
  const uti_CoordCont3D& Coordinates() const noexcept { return coordinates_; }
  virtual bool GetNodalCoord(unsigned node, float& x, float& y, float& z) const;
  virtual bool GetNodalCoord(unsigned node, float& x, float& y) const;
  virtual uti_Coord3D operator[](unsigned node) const; ///< throws nex_OutOfRangeException
  virtual bool AreNodesEqual(unsigned a, unsigned b, float tolerance) const;
  /// Same coordinates, labels and dimension.
  bool operator==(const bme_NodeData& other) const noexcept;

  // labels
  bool HasUserNodeLabels() const noexcept {
    return !labels_.IsEmpty() && labels_.Size() == coordinates_.Size();
  }
  const cls_xp1DArrayListInt& UserNodeLabels() const noexcept { return labels_; }
  void GetUserNodeLabels(cow_List<int>& labels) const { labels = labels_.AsList(); }
  int GetMaxUserNodeLabel() const;
  virtual unsigned GetMeshNodeIndex(int label) const;
  /// indices[i] is the index of labels[i]; prefetches overlap the cache misses, and a lent wip_Executor is used.
  void GetMeshNodeIndices(std::span<const int> labels, std::span<unsigned> indices) const;
  /// Position of the first label that no node has, or the length when all labels are known.
  int CheckUserNodeLabels(const cow_List<int>& labels) const;
  int NextFreeLabel() const; ///< above every label that was ever stored, in use or not

  // change
  void SetDimension(unsigned numDim) noexcept { numDim_ = numDim; }
  virtual bool SetNodalCoord(unsigned node, float x, float y, float z);
  /// Flat x0 y0 z0 x1 ... of all nodes, owned by this object alone until it is copied; a copy shares them:
  /// after copying, do not write through an old span but call this again.
  std::span<float> CoordinatesToModify() { return coordinates_.Modify(); }
  virtual void AppendNode(float x, float y, float z,
                          int label); ///< the label is dropped when none are in use
  virtual void AppendNode(float x, float y, float z);
  /// Labels stay in use when both sides have them; unlabelled nodes appended to labelled ones get the next
  /// free labels; anything appended to unlabelled nodes loses its labels. An empty table takes over the
  /// labels of what is appended; a label list that it already held without nodes is dropped.
  virtual void AppendNodes(const bme_NodeData& other);
  virtual void AppendNodes(const uti_CoordCont3D& coordinates);
  virtual bool DeleteNode(unsigned node);
  /// One entry per node: its new index, or a negative value to delete it. The new indices of the kept nodes
  /// must be exactly 0 to (kept - 1); nex_AssertionException otherwise.
  virtual void DeleteNodes(const int* newIndex);
  void SetUserNodeLabels(const int* labels); ///< one per node
  void SetUserNodeLabels(const cow_List<int>& labels);
  void SetUserNodeLabels(const bme_NodeData& other);
  void SetUserNodeLabels(cls_xp1DArrayListInt labels); ///< without copying

private:
  friend class bme_Mesh;
  static constexpr auto StoredFields();
  void RaiseNextFreeLabel(std::span<const int> stored);
  int TakeFreeLabel();
  const omi_LabelTable& LabelMap() const;

  uti_CoordCont3D coordinates_;
  cls_xp1DArrayListInt labels_;
  unsigned numDim_ = 3;

  long long nextFreeLabel_ = 1;
  std::optional<gsl_BBox> boxAsRead_; ///< of the stored nodes, whatever was changed since
  mutable bme_Cache<omi_LabelTable> map_;
  cls_Uid uid_;
};
