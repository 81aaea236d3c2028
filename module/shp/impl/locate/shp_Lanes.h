// shp_Lanes.h: four numbers that are worked on together
#pragma once

/// Worked on by one instruction where the processor can. Operations are those of each number by itself, so
/// the results are the same everywhere.
using shp_Lanes [[gnu::vector_size(4 * sizeof(double))]] = double;
using shp_FloatLanes [[gnu::vector_size(4 * sizeof(float))]] = float;

// Lanes are handed to functions that are always inlined, so it does not matter how a call would pass them.
#pragma GCC diagnostic ignored "-Wpsabi"
