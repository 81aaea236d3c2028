// fmt_Precision.h: what single precision does to the elements of a file
#pragma once

#include "fmt_Coordinates.h"

#include <functional>

/// Compares what rounding changed of each node with the elements there: fills coarseNodes and damagedElements, and
/// empties byNode. Nodes are read again by `readExactly` when elements may be damaged.
void fmt_CheckPrecision(fmt_Import& import, const std::function<void(fmt_ExactNodes&)>& readExactly);

/// nex_TextException when there are damaged elements, which the options do not accept.
void fmt_RefuseDamage(const cow_String& file, const fmt_Rounding& rounding, const fmt_ReadOptions& options);
