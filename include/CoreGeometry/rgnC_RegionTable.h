// rgnC_RegionTable.h: regions that conversions add to a database
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <ROM/dbc_Row.h>

/// The regions of a database that is being upgraded, for the conversion of objects that named sets of their
/// own before there were regions of them.
class CORE_GEOMETRY_API rgnC_RegionTable {
public:
  /// Adds the region "regions/<name>", which refers to what the field "setData" of the row refers to, or to
  /// nothing: not internal, without owners, space 0 and no type bits. A region that is there already stays.
  /// False, and nothing is done, unless cls_Database::Upgrade is at work on the thread.
  static bool AddNewRegion(const dbc_Row& row, const cow_String& name);
};
