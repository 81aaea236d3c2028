// rgnC_RegionTable.h: regions that conversions add to a database
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <ROM/dbc_Row.h>

/// Adds regions to a database that is being upgraded, for objects of old versions that named sets directly,
/// without a region.
class CORE_GEOMETRY_API rgnC_RegionTable {
public:
  /// Adds the region "regions/<name>", which refers to the same contents as the field "setData" of the row,
  /// or to nothing: not internal, without owners, space 0 and no type bits. An existing region stays. False,
  /// and nothing is done, unless cls_Database::Upgrade is running on the thread.
  static bool AddNewRegion(const dbc_Row& row, const cow_String& name);
};
