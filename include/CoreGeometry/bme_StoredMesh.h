// bme_StoredMesh.h: a mesh of a model file of which only what is asked for is read
#pragma once

#include <BasicUtils/cls_Database.h>
#include <CoreGeometry/bme_ElementClass.h>
#include <CoreGeometry/bme_Placement.h>
#include <functional>

/// A mesh of a model file of which only what is asked for is read: the facts of the element classes at once,
/// labels, coordinates and rows by range.
///
/// Indices are those of the bme_Mesh that the model would give, and so are the rules for labels.
///
/// Errors     as in cls_Database; nex_TextException for an index that the mesh does not have.
/// Cost       a look-up goes through all stored labels once, however many are asked for together; it needs
///            memory for one piece of an array (2 MiB). Any other call reads the pieces with what it gives.
/// Lifetime   the model must outlive it. Who wants one state of a file that others write to keeps a
///            cls_ReadView meanwhile.
class CORE_GEOMETRY_API bme_StoredMesh {
public:
  struct Class {
    bme_ElementClass kind; ///< type, controls, category and region: a class without elements
    unsigned firstElement = 0, numElements = 0;
    unsigned nodesPerElement = 0;
    bool hasLabels = false;
    cls_Location object, labels, connectivity; ///< the stored class and its arrays
  };

  bme_StoredMesh(const cls_Database& model, const cow_String& root);

  // ask
  int Id() const noexcept { return id_; }
  unsigned Dimension() const noexcept { return numDim_; }
  unsigned NumNodes() const noexcept { return numNodes_; }
  unsigned NumElements() const noexcept { return numElements_; }
  const std::vector<Class>& Classes() const noexcept { return classes_; }
  const Class& ClassOf(unsigned element) const;
  const bme_Placement& Placement() const noexcept { return placement_; }
  bool HasUserNodeLabels() const noexcept { return hasNodeLabels_; }
  bool HasUserElementLabels() const noexcept; ///< false when the labels are implicit
  void Print(aio_ostream& out) const;         ///< as bme_Mesh prints itself

  // look up
  /// The index of each label, bme_kNotFound for a label that no node or element has.
  std::vector<unsigned> FindNodes(std::span<const int> labels) const;
  std::vector<unsigned> FindElements(std::span<const int> labels) const;

  // read
  std::vector<float> Coordinates(std::span<const int> nodes) const; ///< three for each node
  /// Of a mesh without user labels the labels of nodes are their indices, those of elements their indices + 1.
  std::vector<int> NodeLabels(std::span<const int> nodes) const;
  std::vector<int> ElementLabels(std::span<const int> elements) const;
  std::vector<int> Connectivity(unsigned element) const;
  /// These nodes with their labels, as a mesh without elements.
  bme_Mesh NodesAlone(std::span<const int> nodes) const;
  /// One element with its nodes and all labels, at its place.
  bme_Mesh ElementAlone(unsigned element) const;

  // all of one kind, piece by piece in order
  void ForEachCoordinates(const std::function<void(std::span<const float>)>& take) const;
  void ForEachNodeLabels(const std::function<void(std::span<const int>)>& take) const;
  void ForEachLabelsOf(const Class& type, const std::function<void(std::span<const int>)>& take) const;

private:
  const cls_Database& model_;
  int id_ = 0;
  unsigned numDim_ = 3, numNodes_ = 0, numElements_ = 0;
  bool hasNodeLabels_ = false;
  bme_Placement placement_;
  cls_Location coordinates_, nodeLabels_;
  std::vector<Class> classes_;
};
