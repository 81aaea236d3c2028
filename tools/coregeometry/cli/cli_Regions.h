// cli_Regions.h: words for the regions of a model
#pragma once

#include "cli_Model.h"

#include <CoreGeometry/bme_StoredSets.h>

const char* cli_KindText(int setTypeBits);       ///< "node set", "surface", "set" when it is not one kind
long long cli_NumItems(const rgnC_SetData& set); ///< of all its subsets
bool cli_HoldsElements(const rgnC_SetData& set, int meshId); ///< elements of that mesh, or parts of them
