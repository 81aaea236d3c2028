// typ_ArchCompTable.h: component numbers of the modules and their debug levels
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <map>

/// Data of one component.
struct typ_ArchCompEntry {
  const char* prefix; ///< class prefix of the module, for example "bme"
};

/// Component number -> entry, for every module that is started.
class CORE_GEOMETRY_PLATFORM_API typ_ArchCompTable {
public:
  static void InsertEntry(unsigned short component, typ_ArchCompEntry entry);
  static const std::map<unsigned short, typ_ArchCompEntry>& Entries();
  static void Clear();
};

/// Debug-trace level per component number; 0 unless set.
class CORE_GEOMETRY_PLATFORM_API typ_DebugFlags {
public:
  static int GetDebugFlags(unsigned component);
  static void SetDebugFlags(unsigned component, int level);
};
