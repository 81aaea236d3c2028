// exo_ClassicHeader.h: soundness of a NetCDF classic file, before a library trusts it
#pragma once

#include <CoreUtils/cow_String.h>

/// What is wrong with the header of a NetCDF classic file (versions 1, 2 and 5), empty when nothing is or
/// when the file is of another kind. The NetCDF library itself reads zeros where a file ends early, and takes
/// its time over counts that no file could hold.
cow_String exo_CheckClassicHeader(const cow_String& fileName);
