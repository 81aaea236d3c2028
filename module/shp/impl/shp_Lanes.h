// shp_Lanes.h: four numbers that are worked on together
#pragma once

/// Worked on by one instruction where the processor can. Operations are those of each number by itself, so
/// the results are the same everywhere.
using shp_Lanes [[gnu::vector_size(4 * sizeof(double))]] = double;
using shp_FloatLanes [[gnu::vector_size(4 * sizeof(float))]] = float;
