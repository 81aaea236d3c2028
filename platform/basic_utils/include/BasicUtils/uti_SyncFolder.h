// uti_SyncFolder.h: brings the names in a folder to the disk
#pragma once

#include <BasicUtils/nex_Exception.h>

/// After it the names of the files in the folder outlive a loss of power. Returns 0, or the system's reason why not; a
/// file system that cannot do it is none, nor is a folder that may not be read.
[[nodiscard]] CORE_GEOMETRY_PLATFORM_API int uti_SyncFolder(const cow_String& folder) noexcept;
