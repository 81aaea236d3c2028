// shp_ShapeDictionary.h: finding the shape of an element label
#pragma once

#include <BasicUtils/omi_Btree.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/aio_ostream.h>
#include <CoreUtils/cow_String.h>
#include <memory>

class shp_LabelIndex;

/// All element labels, and the shapes made of them so far.
///
/// Use thr_ThreadSingleton<shp_ShapeDictionary>::Instance(): each thread has its own dictionary and its own
/// shapes, released with the thread or by the finaliser at kDestructLevel, whichever comes first. Shapes that
/// are shared live on.
///
/// Cost       GetShape is one hash look-up, and allocates only when it makes a shape.
///            Construction enters every label.
/// Threads    one thread only, also for const queries: they create shapes.
class CORE_GEOMETRY_API shp_ShapeDictionary {
public:
  static constexpr int kDestructLevel = 25;

  shp_ShapeDictionary();
  ~shp_ShapeDictionary();
  shp_ShapeDictionary(const shp_ShapeDictionary&) = delete;
  shp_ShapeDictionary& operator=(const shp_ShapeDictionary&) = delete;

  // ask
  /// The shape of a label in upper or lower case, made on the first request; null for an unknown label.
  const shp_Shape* GetShape(const cow_String& label) const;
  /// The same for an object that may outlive the thread: the handle keeps the shape alive.
  std::shared_ptr<const shp_Shape> ShareShape(const cow_String& label) const;
  /// Every label with its attribute key, in byte order.
  const omi_Btree<cow_String, LongKey>& LabelTable() const noexcept { return labelTable_; }
  /// Number of shapes made so far; the next one gets this index.
  int NumShapes() const noexcept { return numShapes_; }

  // print: each makes the shape of every label
  void PrintShapeTable(aio_ostream& stream) const;
  /// A script that maps labels to node counts; flushed after each line.
  void PrintLabelToNodecountTable(aio_ostream& stream) const;
  void PrintAllShapes(aio_ostream& stream) const;

private:
  const shp_Shape& ShapeOf(const cow_String& registered) const { return *GetShape(registered); }

  omi_Btree<cow_String, LongKey> labelTable_;
  mutable omi_Btree<cow_String, std::shared_ptr<const shp_Shape>> shapeCache_;
  std::unique_ptr<shp_LabelIndex> index_; ///< over labelTable_
  mutable int numShapes_ = 0;
};
