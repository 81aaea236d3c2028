// exo_Layout.h: what the Exodus II library believes of a file unseen
#pragma once

#include <CoreUtils/cow_String.h>
#include <cstdint>
#include <optional>

/// Why the Exodus II library could not read an open NetCDF file, or not safely; empty when it can. The
/// library leaves a file open that it refuses, and reads some attributes and variables whole, however long
/// they are.
cow_String exo_CheckLayout(int file, std::int64_t fileBytes);

/// How many values a variable has; nothing when it is not there.
std::optional<std::int64_t> exo_NumValues(int file, const cow_String& variable);
