// cls_OpenBytes.h: a model database that another process has read
#pragma once

#include <BasicUtils/cls_Database.h>

/// Opens the bytes of a model file, which are copied, for reading. No file is touched; `file` is the name in messages.
///
/// Errors     those of cls_Database::Open for what is in the file.
CORE_GEOMETRY_PLATFORM_API cls_Database cls_OpenBytes(const cow_String& file,
                                                      std::span<const std::byte> bytes);
