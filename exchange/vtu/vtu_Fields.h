// vtu_Fields.h: the values of one frame of a run as arrays of a VTU file
#pragma once

#include "vtu_Document.h"

#include <CoreGeometry/odiC_Values.h>

/// Where nodes and elements of a mesh stand in the file.
struct vtu_Places {
  std::size_t numPoints = 0, numCells = 0;
  /// When every element has points of its own: for each class the first point of its elements.
  std::vector<std::size_t> firstPoints{};
  /// For each class the nodes of an element in the order of its cell.
  std::vector<std::vector<std::size_t>> cellNodes{};
  std::span<const int> nodeOfPoint{}; ///< empty when points are nodes

  bool AreSeparate() const noexcept { return !firstPoints.empty(); }
};

/// One array: rows of points or of cells.
struct vtu_FieldArray {
  cow_String name;
  bool isOfPoints = true;
  std::vector<cow_String> components{}; ///< in the order of VTK: xx yy zz xy yz xz
  res_StorageTypeEnm storage = res_STORAGE_FLOAT;
  odiC_Values values;
  std::vector<int> columns{}; ///< of our components, the column in the array
  cow_String sectionPoint{}, region{};
};

/// The arrays of a frame. Values at integration points go to nodes, to cells or to the points of each element. Vectors have
/// three components and tensors six; axes are turned to the global ones.
class vtu_Fields {
public:
  vtu_Fields(const odiC_Run& run, const odiC_When& when, fmt_FieldPlace place);

  const std::vector<vtu_FieldArray>& Arrays() const noexcept { return arrays_; }
  /// Adds the arrays of points, or those of cells, to a file.
  void Write(vtu_Document& out, const vtu_Places& places, bool isOfPoints) const;
  /// What the arrays leave out, and what was added up.
  void AddTo(fmt_Ledger& ledger) const;

private:
  void AddVariable(int variable);
  void Add(const odiC_Values& values, const cow_String& name, bool isOfPoints);
  template<class T>
  void Produce(const vtu_FieldArray& array, const vtu_Places& places, T missing,
               const std::function<void(std::span<const T>)>& put) const;

  const odiC_Run& run_;
  odiC_When when_;
  fmt_FieldPlace place_;
  std::vector<vtu_FieldArray> arrays_;
  long long facesLost_ = 0, turned_ = 0;
  mutable long long severalValues_ = 0;
};
