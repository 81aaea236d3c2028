// shp_Shape.h: the shape of an element type
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/shp_InverseTopoTable.h>
#include <CoreGeometry/shp_Topology.h>
#include <CoreUtils/aio_ostream.h>
#include <CoreUtils/cow_String.h>

/// An element type's label with everything that follows from its attribute key.
///
/// Shapes come from shp_ShapeDictionary::GetShape and are shared by pointer: get the pointer once per element
/// class.
/// Threads    immutable. A pointer is valid as long as the dictionary that made the shape, and so its thread;
///            objects that may live longer use a handle from ShareShape.
class CORE_GEOMETRY_API shp_Shape : public shp_Topology, public shp_InverseTopoTable {
public:
  shp_Shape(cow_String label, const LongKey& key, int index);
  virtual ~shp_Shape();

  // ask
  const cow_String& Label() const noexcept { return label_; } ///< in upper case
  int Index() const noexcept { return index_; }               ///< order of creation in the dictionary, from 0

  // print
  void PrintMembers(aio_ostream& stream) const;        ///< one member or group of members per line
  void PrintMembersInTable(aio_ostream& stream) const; ///< the row of the shape table, without the label

private:
  cow_String label_;
  int index_;
};
