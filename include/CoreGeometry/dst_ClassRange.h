// dst_ClassRange.h: an element class of a whole mesh that is split
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <CoreGeometry/DistributedExport.h>
#include <CoreGeometry/bme_ElementClass.h>
#include <cstdint>

/// What an element class of the whole mesh is, without its elements, and which numbers they have. Every part has
/// every class, in the same order.
///
/// Numbering  elements of the whole mesh from 0, class after class.
/// Stored as  elemTypeLabel, controls, meshIndex, classIndex, regionClassIndex, regionIndex, category, orientation,
///            locationLabels, nodesPerElement, firstElement, numElements, hasLabels
class CORE_GEOMETRY_DISTRIBUTED_API dst_ClassRange {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dst_ClassRange();
  explicit dst_ClassRange(
      const bme_ElementClass& elements); ///< its facts and sizes; the first number stays 0
  explicit dst_ClassRange(const cls_ReadVisitor& visitor);
  /// The same facts of a stored element class, whose elements are not read.
  static dst_ClassRange OfStored(const cls_ReadVisitor& elementClass);
  dst_ClassRange(const dst_ClassRange&) = default;
  dst_ClassRange& operator=(const dst_ClassRange&) = default;
  virtual ~dst_ClassRange();
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  const cow_String& ElemTypeLabel() const noexcept { return elemTypeLabel_; }
  int NodesPerElement() const noexcept { return nodesPerElement_; }
  std::uint64_t FirstElement() const noexcept { return firstElement_; }
  std::uint64_t NumElements() const noexcept { return numElements_; }
  std::uint64_t EndElement() const noexcept { return FirstElement() + NumElements(); }
  bool HasLabels() const noexcept { return hasLabels_; } ///< the whole mesh has user labels of its elements
  /// A class with these facts and other elements: whole rows, and one label per row or none.
  bme_ElementClass* MakeClass(cow_ArrayCOW<int> connectivity, cow_ArrayCOW<int> labels) const;
  bool operator==(const dst_ClassRange& other) const;

  // change
  void SetNumbers(std::uint64_t first, std::uint64_t count);
  void SetHasLabels(bool hasLabels) noexcept { hasLabels_ = hasLabels; }
  void SetNodesPerElement(int nodes) noexcept { nodesPerElement_ = nodes; }

private:
  static constexpr auto StoredFields();

  cow_String elemTypeLabel_;
  bme_ElemCtrlParams controls_;
  int meshIndex_ = 0, classIndex_ = 0, regionClassIndex_ = 0, regionIndex_ = 0;
  cow_String category_;
  bme_OrientationFreqEnm orientation_ = bme_ORIENTATION_NONE;
  cls_xpListString locationLabels_;
  int nodesPerElement_ = 0;
  unsigned firstElement_ = 0, numElements_ = 0;
  bool hasLabels_ = false;
  cls_Uid uid_;
};
