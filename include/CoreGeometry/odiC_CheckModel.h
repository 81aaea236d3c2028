// odiC_CheckModel.h: everything that can be found wrong with a model
#pragma once

#include <CoreGeometry/chk_Findings.h>

class cls_Database;

/// The file, and when it is sound its meshes, sets and runs. A file that cannot be read is a finding, too.
///
/// Errors     cls_BusyException; wip_Cancelled.
CORE_GEOMETRY_API std::vector<chk_Finding> odiC_CheckModel(cls_Database& model);
/// The finding for a file that cannot be read.
CORE_GEOMETRY_API chk_Finding odiC_Unreadable(const cow_String& message);
