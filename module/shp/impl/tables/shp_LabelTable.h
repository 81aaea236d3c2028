// shp_LabelTable.h: every element label and its attribute bits
#pragma once

#include <BasicUtils/LongKey.h>
#include <BasicUtils/omi_Btree.h>
#include <CoreUtils/cow_String.h>

/// Adds every label with its key, the numbered ones spelled out: CAXA4 with count 4 gives CAXA41 to CAXA44.
void shp_RegisterLabels(omi_Btree<cow_String, LongKey>& labelTable);
